// Wall-clock stopwatch in seconds on the platform's performance counter.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_Export.hxx>

class YKSTD_EXPORT ykstd_Timer {
 public:
  ykstd_Timer();
  ykstd_Timer(const ykstd_Timer& other) = default;
  ykstd_Timer& operator=(const ykstd_Timer& other) = default;
  virtual ~ykstd_Timer();

  // Begins an interval; `reset` also drops what has been accumulated.
  void Start(bool reset);
  // Ends the interval begun by the last Start, adds it to the total and gives that interval alone.
  double Stop();
  // The accumulated seconds, without the interval that may be running.
  double Elapsed() const { return elapsed_; }
  bool IsRunning() const { return running_; }

  // Clock ticks per second; the start value is the rate of the fallback clock.
  static std::int64_t mFrequency;
  static bool mInitFrequency;
  static bool mPerfCounterInstalled;

 private:
  static std::int64_t Now();

  std::int64_t start_;
  double elapsed_;
  bool running_;
};
