// Modules (shared objects loaded at run time) and their string resources, with the Windows names.
//
// A module's string resources are a table it exports as the C function
//   extern "C" const char* YkStringResource(unsigned int id);
// giving the text of `id`, or null when it has none; YKSTD_STRING_TABLE declares it in a module's
// source. A null module means the program's own table: the function exported by the executable.
#pragma once

#include <ykstd/platform/WinError.hxx>
#include <ykstd/platform/WinTypes.hxx>

struct HINSTANCE__;
using HINSTANCE = HINSTANCE__*;
using HMODULE = HINSTANCE;

#define YKSTD_STRING_TABLE_SYMBOL "YkStringResource"
#if defined(_WIN32)
#define YKSTD_STRING_TABLE extern "C" __declspec(dllexport) const char* YkStringResource(unsigned int id)
#else
#define YKSTD_STRING_TABLE \
  extern "C" __attribute__((visibility("default"))) const char* YkStringResource(unsigned int id)
#endif

// Loads a module by its file name (a name without a folder is searched as the platform does) and
// counts one more use of it; null when it cannot be loaded, with GetLastError ERROR_MOD_NOT_FOUND.
YKSTD_EXPORT HMODULE LoadLibraryA(LPCSTR fileName);
// Ends one use of a module; FALSE for a handle that LoadLibraryA did not give or that is used up.
YKSTD_EXPORT BOOL FreeLibrary(HMODULE module);
// Copies the string resource `id` into `buffer`, cut to bufferMax - 1 bytes and ended with a NUL;
// gives the number of bytes copied, 0 when there is no such text.
YKSTD_EXPORT int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int bufferMax);

namespace ykstd_platform {
// The string resource `id` of `module`, or null; the text lives as long as the module is loaded.
YKSTD_EXPORT const char* FindStringResource(HINSTANCE module, UINT id);
}  // namespace ykstd_platform
