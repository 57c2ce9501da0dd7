#include <errno.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>

#include <ykstd/platform/Process.hxx>

namespace {

ykstd_platform::DebugOutputHandler debugOutput = nullptr;
ykstd_platform::CounterSource counterSource = nullptr;

LONGLONG MonotonicNanoseconds() {
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::steady_clock::now().time_since_epoch())
      .count();
}

}  // namespace

DWORD GetTempPathA(DWORD size, LPSTR buffer) {
  const char* folder = std::getenv("TMPDIR");
  if (!folder || !*folder) folder = "/tmp/";
  const std::size_t length = std::strlen(folder);
  const bool addSeparator = folder[length - 1] != '/';
  const std::size_t total = length + (addSeparator ? 1 : 0);
  if (total + 1 > size || !buffer) return static_cast<DWORD>(total + 1);
  std::memcpy(buffer, folder, length);
  if (addSeparator) buffer[length] = '/';
  buffer[total] = '\0';
  return static_cast<DWORD>(total);
}

DWORD GetCurrentProcessId() { return static_cast<DWORD>(getpid()); }

void OutputDebugStringA(LPCSTR text) {
  if (debugOutput && text) debugOutput(text);
}

BOOL QueryPerformanceCounter(LARGE_INTEGER* count) {
  if (!count) return FALSE;
  count->QuadPart = counterSource ? counterSource() : MonotonicNanoseconds();
  return TRUE;
}

BOOL QueryPerformanceFrequency(LARGE_INTEGER* frequency) {
  if (!frequency) return FALSE;
  frequency->QuadPart = 1000000000;
  return TRUE;
}

void GetSystemTimeAsFileTime(FILETIME* time) {
  // 100 ns ticks from 1601-01-01 to 1970-01-01.
  constexpr ULONGLONG kEpochOffset = 116444736000000000ull;
  const auto since1970 =
      std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()).count();
  const ULONGLONG ticks = kEpochOffset + static_cast<ULONGLONG>(since1970 / 100);
  time->dwLowDateTime = static_cast<DWORD>(ticks & 0xFFFFFFFFu);
  time->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
}

namespace ykstd_platform {

DebugOutputHandler SetDebugOutputHandler(DebugOutputHandler handler) {
  DebugOutputHandler previous = debugOutput;
  debugOutput = handler;
  return previous;
}

CounterSource SetPerformanceCounterSource(CounterSource source) {
  CounterSource previous = counterSource;
  counterSource = source;
  return previous;
}

const char* ApplicationName() { return program_invocation_short_name; }

}  // namespace ykstd_platform
