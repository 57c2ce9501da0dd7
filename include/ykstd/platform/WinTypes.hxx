// The basic Windows types, result codes and GUIDs, with their Windows names and widths, so that
// the library reads the same on every platform.
#pragma once

#include <cstdint>
#include <cstring>

#include <ykstd/ykstd_Export.hxx>

using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using SHORT = std::int16_t;
using USHORT = std::uint16_t;
using INT = int;
using UINT = unsigned int;
using BOOL = int;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;
using HRESULT = std::int32_t;
using SCODE = std::int32_t;
using CHAR = char;
using WCHAR = wchar_t;
using LPSTR = char*;
using LPCSTR = const char*;
using LPBYTE = BYTE*;
using LPDWORD = DWORD*;
using LPVOID = void*;
using OLECHAR = wchar_t;
using LPOLESTR = OLECHAR*;
using LPCOLESTR = const OLECHAR*;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif

union LARGE_INTEGER {
  struct {
    DWORD LowPart;
    LONG HighPart;
  } u;
  LONGLONG QuadPart;
};

union ULARGE_INTEGER {
  struct {
    DWORD LowPart;
    DWORD HighPart;
  } u;
  ULONGLONG QuadPart;
};

struct FILETIME {
  DWORD dwLowDateTime;
  DWORD dwHighDateTime;
};

inline constexpr HRESULT MakeHResult(std::uint32_t bits) { return static_cast<HRESULT>(bits); }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_NOTIMPL = MakeHResult(0x80004001u);
inline constexpr HRESULT E_NOINTERFACE = MakeHResult(0x80004002u);
inline constexpr HRESULT E_POINTER = MakeHResult(0x80004003u);
inline constexpr HRESULT E_ABORT = MakeHResult(0x80004004u);
inline constexpr HRESULT E_FAIL = MakeHResult(0x80004005u);
inline constexpr HRESULT E_UNEXPECTED = MakeHResult(0x8000FFFFu);
inline constexpr HRESULT E_ACCESSDENIED = MakeHResult(0x80070005u);
inline constexpr HRESULT E_HANDLE = MakeHResult(0x80070006u);
inline constexpr HRESULT E_OUTOFMEMORY = MakeHResult(0x8007000Eu);
inline constexpr HRESULT E_INVALIDARG = MakeHResult(0x80070057u);

inline constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
inline constexpr bool FAILED(HRESULT hr) { return hr < 0; }

struct GUID {
  DWORD Data1;
  WORD Data2;
  WORD Data3;
  BYTE Data4[8];
};
using IID = GUID;
using CLSID = GUID;
using REFIID = const IID&;
using REFCLSID = const CLSID&;
using REFGUID = const GUID&;

inline bool IsEqualGUID(REFGUID a, REFGUID b) { return std::memcmp(&a, &b, sizeof(GUID)) == 0; }
inline bool operator==(REFGUID a, REFGUID b) { return IsEqualGUID(a, b); }
#define IsEqualIID(a, b) IsEqualGUID(a, b)
