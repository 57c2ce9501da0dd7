// The system's result codes, with their Windows names and values, and the calling thread's last
// error.
#pragma once

#include <ykstd/platform/WinTypes.hxx>

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_PATH_NOT_FOUND = 3;
inline constexpr LONG ERROR_ACCESS_DENIED = 5;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_INVALID_DATA = 13;
inline constexpr LONG ERROR_OUTOFMEMORY = 14;
inline constexpr LONG ERROR_INVALID_PARAMETER = 87;
inline constexpr LONG ERROR_INSUFFICIENT_BUFFER = 122;
inline constexpr LONG ERROR_MOD_NOT_FOUND = 126;
inline constexpr LONG ERROR_MORE_DATA = 234;
inline constexpr LONG ERROR_RESOURCE_NAME_NOT_FOUND = 1814;
inline constexpr LONG ERROR_CANTREAD = 1012;
inline constexpr LONG ERROR_CANTWRITE = 1013;
inline constexpr LONG ERROR_REGISTRY_CORRUPT = 1015;
inline constexpr LONG ERROR_KEY_DELETED = 1018;

// The last error of the calling thread, as the failing platform calls leave it.
YKSTD_EXPORT DWORD GetLastError();
YKSTD_EXPORT void SetLastError(DWORD code);
