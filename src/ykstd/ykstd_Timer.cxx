#include <ykstd/platform/Process.hxx>
#include <ykstd/ykstd_Timer.hxx>

ykstd_Timer::ykstd_Timer() : start_(0), elapsed_(0.0), running_(false) {
  if (mInitFrequency) {
    LARGE_INTEGER frequency;
    mPerfCounterInstalled = QueryPerformanceFrequency(&frequency) != FALSE && frequency.QuadPart > 0;
    // Without the counter the file-time clock is read, and the start value is its rate.
    if (mPerfCounterInstalled) mFrequency = frequency.QuadPart;
    mInitFrequency = false;
  }
}

ykstd_Timer::~ykstd_Timer() = default;

std::int64_t ykstd_Timer::Now() {
  if (mPerfCounterInstalled) {
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
  }
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  return static_cast<std::int64_t>((static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime);
}

void ykstd_Timer::Start(bool reset) {
  start_ = Now();
  running_ = true;
  if (reset) elapsed_ = 0.0;
}

double ykstd_Timer::Stop() {
  const double interval = static_cast<double>(Now() - start_) / static_cast<double>(mFrequency);
  running_ = false;
  elapsed_ += interval;
  return interval;
}
