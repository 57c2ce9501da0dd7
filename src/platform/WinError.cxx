#include <ykstd/platform/WinError.hxx>

namespace {
thread_local DWORD lastError = 0;
}

DWORD GetLastError() { return lastError; }
void SetLastError(DWORD code) { lastError = code; }
