// Process, clock and debugger services of the platform, with their Windows names and shapes.
#pragma once

#include <ykstd/platform/WinTypes.hxx>

// The folder for temporary files, with its trailing separator: $TMPDIR, else "/tmp/". Gives the
// length written, or the size needed (with the NUL) when `size` is too small, or 0 on failure.
YKSTD_EXPORT DWORD GetTempPathA(DWORD size, LPSTR buffer);
YKSTD_EXPORT DWORD GetCurrentProcessId();
// Hands the text to the debugger channel (see ykstd_platform::SetDebugOutputHandler).
YKSTD_EXPORT void OutputDebugStringA(LPCSTR text);

// A monotonic counter and its rate. The counter ticks in nanoseconds.
YKSTD_EXPORT BOOL QueryPerformanceCounter(LARGE_INTEGER* count);
YKSTD_EXPORT BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency);
// Wall-clock time in 100 ns units since 1601-01-01 UTC.
YKSTD_EXPORT void GetSystemTimeAsFileTime(FILETIME* time);

namespace ykstd_platform {

// Receives what OutputDebugStringA is given. Without a handler (the start) the text is dropped,
// since a plain process has no debugger channel.
using DebugOutputHandler = void (*)(const char* text);
// Installs `handler` (null: none) and gives the one it replaces.
YKSTD_EXPORT DebugOutputHandler SetDebugOutputHandler(DebugOutputHandler handler);

// Replaces the source of QueryPerformanceCounter by `source` (null: the monotonic clock again) and
// gives the one it replaces. A source counts nanoseconds, like the clock it stands for; this lets
// tests make timings exact.
using CounterSource = LONGLONG (*)();
YKSTD_EXPORT CounterSource SetPerformanceCounterSource(CounterSource source);

// The running program's name, as the framework would give the application's name.
YKSTD_EXPORT const char* ApplicationName();
// The file that swallows whatever is written to it.
inline constexpr const char* NullFileName = "/dev/null";

}  // namespace ykstd_platform
