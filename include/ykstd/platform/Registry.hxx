// The registry, with the Windows names and signatures, over hive files in the text form of a
// registry export.
//
// Where the hives live:
//   HKEY_CURRENT_USER   <user folder>/user.reg
//   HKEY_LOCAL_MACHINE  <machine folder>/machine.reg
//   HKEY_CLASSES_ROOT   <machine folder>/classes.reg, overlaid by HKEY_CURRENT_USER\Software\Classes:
//                       a key that exists under the user's Software\Classes is used from there,
//                       any other from classes.reg (so a user without rights on the machine
//                       folder can still register classes, as on Windows).
// The user folder is $XDG_CONFIG_HOME/ykstd when XDG_CONFIG_HOME is an absolute path, else
// $HOME/.config/ykstd (HOME, or the account's home directory when HOME is unset): the operating
// system's convention for per-user settings, read when a hive is first needed. The machine folder
// is /etc/ykstd. SetRegistryFolders points both elsewhere.
//
// A hive file starts with "Windows Registry Editor Version 5.00" (or "REGEDIT4") and holds
// "[HKEY_...\key\path]" sections with "name"="text", @=... for the default value, dword:8 hex
// digits, hex:bytes and hex(type):bytes; lines starting with ';' are comments; a hex list goes on
// after a trailing backslash. Files in UTF-16 with a byte-order mark (as Windows exports them) are
// read too. Each file holds the keys of its own root only.
//
// Reads parse the file afresh and skip lines they cannot parse. Writes lock "<hive>.lock", parse,
// change, write a temporary file, flush it and rename it over the hive, so readers see either the
// old or the new file and concurrent writers of other processes keep each other's values. A hive
// with a line that cannot be parsed is never rewritten: the write fails with
// ERROR_REGISTRY_CORRUPT. A written hive is in UTF-8 with CRLF line ends and holds no comments.
#pragma once

#include <string>

#include <ykstd/platform/WinError.hxx>
#include <ykstd/platform/WinTypes.hxx>

struct HKEY__;
using HKEY = HKEY__*;
using PHKEY = HKEY*;
using REGSAM = DWORD;
using LSTATUS = LONG;
using PLONG = LONG*;

struct SECURITY_ATTRIBUTES {
  DWORD nLength;
  LPVOID lpSecurityDescriptor;
  BOOL bInheritHandle;
};
using LPSECURITY_ATTRIBUTES = SECURITY_ATTRIBUTES*;

// The predefined roots, with the Windows values.
#define HKEY_CLASSES_ROOT (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000000u)))
#define HKEY_CURRENT_USER (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000001u)))
#define HKEY_LOCAL_MACHINE (reinterpret_cast<HKEY>(static_cast<std::uintptr_t>(0x80000002u)))

inline constexpr DWORD REG_NONE = 0;
inline constexpr DWORD REG_SZ = 1;
inline constexpr DWORD REG_EXPAND_SZ = 2;
inline constexpr DWORD REG_BINARY = 3;
inline constexpr DWORD REG_DWORD = 4;
inline constexpr DWORD REG_MULTI_SZ = 7;
inline constexpr DWORD REG_QWORD = 11;

inline constexpr REGSAM KEY_QUERY_VALUE = 0x0001;
inline constexpr REGSAM KEY_SET_VALUE = 0x0002;
inline constexpr REGSAM KEY_CREATE_SUB_KEY = 0x0004;
inline constexpr REGSAM KEY_ENUMERATE_SUB_KEYS = 0x0008;
inline constexpr REGSAM KEY_NOTIFY = 0x0010;
inline constexpr REGSAM KEY_CREATE_LINK = 0x0020;
inline constexpr REGSAM KEY_READ = 0x20019;
inline constexpr REGSAM KEY_WRITE = 0x20006;
inline constexpr REGSAM KEY_EXECUTE = 0x20019;
inline constexpr REGSAM KEY_ALL_ACCESS = 0xF003F;

inline constexpr DWORD REG_OPTION_NON_VOLATILE = 0;
inline constexpr DWORD REG_CREATED_NEW_KEY = 1;
inline constexpr DWORD REG_OPENED_EXISTING_KEY = 2;

// Opens an existing key. A null or empty subKey opens `key` itself again. Asking for
// KEY_SET_VALUE or KEY_CREATE_SUB_KEY on a hive whose file or folder is not writable gives
// ERROR_ACCESS_DENIED. On failure *result is null.
YKSTD_EXPORT LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY result);
// Opens a key, making it and the keys above it when missing; *disposition (optional) tells which.
YKSTD_EXPORT LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR keyClass, DWORD options,
                                     REGSAM access, const LPSECURITY_ATTRIBUTES security, PHKEY result,
                                     LPDWORD disposition);
// The default value of subKey (or of `key` itself), which must be text. A key without a default
// value gives an empty text. With a null data, *size gets the size needed, NUL included.
YKSTD_EXPORT LSTATUS RegQueryValueA(HKEY key, LPCSTR subKey, LPSTR data, PLONG size);
// A value's type and bytes; a null or empty name is the default value. With a null data, *size
// gets the size; a buffer too small gives ERROR_MORE_DATA with the needed size and leaves the
// buffer unchanged.
YKSTD_EXPORT LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size);
// Stores a value of the key; the key must exist (see RegCreateKeyExA). A text (REG_SZ) without a
// terminating NUL gets one.
YKSTD_EXPORT LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size);
YKSTD_EXPORT LSTATUS RegDeleteValueA(HKEY key, LPCSTR name);
// Closing a predefined root does nothing; an unknown handle gives ERROR_INVALID_HANDLE.
YKSTD_EXPORT LSTATUS RegCloseKey(HKEY key);

namespace ykstd_platform {
// Points the hives to other folders; a null or empty argument restores that default. Handles
// opened before keep their key path and use the new files from their next call.
YKSTD_EXPORT void SetRegistryFolders(const char* userFolder, const char* machineFolder);
// The file behind a predefined root (for HKEY_CLASSES_ROOT the machine-wide classes.reg); empty
// for any other handle.
YKSTD_EXPORT std::string RegistryHivePath(HKEY root);
// The number of keys opened and not yet closed, to find leaks.
YKSTD_EXPORT int OpenRegistryKeyCount();
}  // namespace ykstd_platform
