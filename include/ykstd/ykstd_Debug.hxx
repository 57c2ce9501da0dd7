// The debug log: enter and leave trace of functions, call stack, timings and statistics.
#pragma once

#include <cstdint>
#include <fstream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Timer.hxx>

// Flags of a ykstd_Debug scope.
inline constexpr std::int16_t DebugTrace = 1;      // enter and leave lines
inline constexpr std::int16_t DebugTime = 2;       // trace, and time the function
inline constexpr std::int16_t DebugAlloc = 4;      // the memory column on both lines
inline constexpr std::int16_t DebugRecursive = 8;  // inner recursive calls count no time
inline constexpr std::int16_t DebugCloseLog = 16;  // outermost scope: save statistics, close the trace

// Timings gathered for one function text.
struct ykstd_DebugStat {
  std::int32_t hits;
  double total;
  double minimum;
  double maximum;
};

// Put one at the head of a function: it logs the enter line now and the leave line when the
// scope ends, exceptions included. All state is static and serves one thread.
class YKSTD_EXPORT ykstd_Debug {
 public:
  ykstd_Debug(const char* className, const char* function, std::int16_t flags, const char* extra = nullptr);
  // A copy takes names, external-call data, timers and flags, and logs nothing.
  ykstd_Debug(const ykstd_Debug& other) = default;
  ykstd_Debug& operator=(const ykstd_Debug& other) = default;
  virtual ~ykstd_Debug();

  // Times a call into the host from this function; the pair logs "SE::" enter and leave lines.
  void StartExtTimer(const char* name, const char* place, std::int32_t line);
  void StopExtTimer(const char* name);
  // Reports a host call that was started and never stopped.
  void CheckExtFunc();

  // The log stream when logging is on, else the null stream. An unopened stream swallows output.
  static std::fstream& LogPrint() { return mIsOn ? mLogFile : mNulFile; }
  // As LogPrint, with the current indentation written first when logging is on.
  static std::fstream& LogMsg();
  static void SwitchOn(bool on) { mIsOn = on; }
  static void LogRight() { ++mIndent; }
  static void LogLeft() { --mIndent; }
  static void Restart();
  static void ClearCallStack() { mCallStack.clear(); }
  static void ClearAll();
  static void DumpCallStack();
  static void ShowAllocCounter(const char* text);
  static void ClearStats() { mStats.clear(); }
  static void SetProfileName(const char* name) { mPrfName = name ? name : ""; }

  // Bits of mStatusFlag.
  static constexpr unsigned char StatusUnopened = 1;
  static constexpr unsigned char StatusClosed = 2;

  static bool mIsOn;
  static unsigned char mStatusFlag;
  static std::int16_t mIndent;
  static std::fstream mLogFile;
  static std::fstream mNulFile;
  // Function texts of the open scopes, newest at the back.
  static std::vector<std::string> mCallStack;
  // Statistics by function text, in the order of the texts.
  static std::map<std::string, std::unique_ptr<ykstd_DebugStat>> mStats;
  static std::string mPrfName;

 private:
  static int OpenLog();
  static bool DbgGetPref(const std::string& key, const std::string& value, std::string& text);
  static bool DbgGetAppInfo(std::string& name, std::string& path, std::string& version);
  static void DbgDumpHeaderInfo(const char* tag);
  static void SaveStats();
  static void UpdateStats(const std::string& key, double seconds);
  static void WriteIndent(std::ostream& out);
  bool Timing() const;

  std::string className_;
  std::string function_;
  std::string extName_;
  std::string extPlace_;
  std::int32_t extLine_;
  ykstd_Timer timer_;
  ykstd_Timer extTimer_;
  std::uint8_t flags_;
};

// Silences the log for a scope. Its end switches the log on, whatever the state before.
class YKSTD_EXPORT ykstd_DebugOff {
 public:
  ykstd_DebugOff() { ykstd_Debug::SwitchOn(false); }
  ykstd_DebugOff(const ykstd_DebugOff&) {}
  ykstd_DebugOff& operator=(const ykstd_DebugOff&) { return *this; }
  virtual ~ykstd_DebugOff() { ykstd_Debug::SwitchOn(true); }
};
