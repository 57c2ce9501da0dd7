#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

namespace {

LONGLONG fakeNow = 0;
LONGLONG FakeClock() { return fakeNow; }
void Advance(double seconds) { fakeNow += static_cast<LONGLONG>(seconds * 1e9 + 0.5); }

std::vector<std::string> Lines(const std::string& path) {
  std::ifstream in(path);
  std::vector<std::string> lines;
  for (std::string line; std::getline(in, line);) lines.push_back(line);
  return lines;
}

std::string Joined(const std::vector<std::string>& lines, std::size_t from, std::size_t to) {
  std::string text;
  for (std::size_t i = from; i < to && i < lines.size(); ++i) text += lines[i] + "\n";
  return text;
}

std::string debugChannel;
void CaptureDebugChannel(const char* text) { debugChannel += text; }

// Each test gets its own temporary folder, a log that is opened afresh and the fake clock.
class DebugTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::path(::testing::TempDir()) /
              ("ykstd_debug_" + std::string(::testing::UnitTest::GetInstance()->current_test_info()->name()));
    std::filesystem::remove_all(folder_);
    std::filesystem::create_directories(folder_);
    previousTmp_ = std::getenv("TMPDIR") ? std::getenv("TMPDIR") : "";
    setenv("TMPDIR", folder_.c_str(), 1);
    ykstd_Debug::mLogFile.close();
    ykstd_Debug::mStatusFlag = ykstd_Debug::StatusUnopened;
    ykstd_Debug::mIndent = 0;
    ykstd_Debug::mIsOn = true;
    ykstd_Debug::ClearAll();
    ykstd_Debug::SetProfileName((folder_ / "debug.prf").c_str());
    ykstd_platform::SetPerformanceCounterSource(FakeClock);
    fakeNow = 1000;
    ykstd_platform::SetRegistryFolders((folder_ / "user").c_str(), (folder_ / "machine").c_str());
  }
  void TearDown() override {
    ykstd_platform::SetPerformanceCounterSource(nullptr);
    ykstd_platform::SetDebugOutputHandler(nullptr);
    ykstd_platform::SetRegistryFolders(nullptr, nullptr);
    if (previousTmp_.empty())
      unsetenv("TMPDIR");
    else
      setenv("TMPDIR", previousTmp_.c_str(), 1);
    ykstd_Debug::mLogFile.close();
    ykstd_Debug::mIsOn = true;
    ykstd_Debug::ClearAll();
    ykstd_Debug::SetProfileName("");
  }

  std::string LogPath() const {
    return (folder_ / ("debug_" + std::to_string(GetCurrentProcessId()) + ".log")).string();
  }
  // The log without the header block that opened it.
  std::vector<std::string> Body() const {
    std::vector<std::string> lines = Lines(LogPath());
    if (lines.size() >= 11) lines.erase(lines.begin(), lines.begin() + 11);
    return lines;
  }

  // Stores a text value under `subKey` of `root`.
  static void SetText(HKEY root, const char* subKey, const char* name, const std::string& text) {
    HKEY key = nullptr;
    ASSERT_EQ(RegCreateKeyExA(root, subKey, 0, nullptr, 0, KEY_SET_VALUE, nullptr, &key, nullptr), ERROR_SUCCESS);
    ASSERT_EQ(RegSetValueExA(key, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                             static_cast<DWORD>(text.size() + 1)),
              ERROR_SUCCESS);
    RegCloseKey(key);
  }
  static void SetDebugValue(const char* name, const std::string& text) {
    SetText(HKEY_CURRENT_USER, "Software\\Brimlow\\Kalvane\\Debug", name, text);
  }

  std::filesystem::path folder_;
  std::string previousTmp_;
};

// ---- the trace ----

void Leaf(double seconds) {
  ykstd_Debug dbg("Calc", "Leaf", DebugTime);
  Advance(seconds);
}

void Recurse(int depth) {
  ykstd_Debug dbg("Calc", "Recurse", DebugTime | DebugRecursive);
  Advance(0.1);
  if (depth > 1) Recurse(depth - 1);
}

void Failing() {
  ykstd_Debug dbg("Calc", "Failing", DebugTrace);
  ykstd_fail_OutOfRange::Raise("bad index");
}

void Host() {
  ykstd_Debug dbg("Calc", "Host", DebugTime);
  dbg.StartExtTimer("Open", "calc.cxx", 12);
  Advance(0.05);
  dbg.StopExtTimer("Open");
  dbg.StartExtTimer("GetName", "calc.cxx", 42);
  Advance(0.5);
  ykstd_fail_NoSuchObject::Raise("no name");
}

void Top() {
  ykstd_Debug dbg("Calc", "Top", DebugTime | DebugCloseLog);
  Leaf(0.25);
  Recurse(2);
  try {
    Failing();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
  }
  try {
    Host();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
  }
  Advance(1.0);
}

TEST_F(DebugTest, TracedRunWritesEnterLeaveTimingErrorAndStatistics) {
  Top();
  const std::vector<std::string> lines = Lines(LogPath());
  ASSERT_GE(lines.size(), 11u + 18u + 11u);
  EXPECT_EQ(Joined(lines, 11, 30),
            "{ENTER: Calc::Top \n"
            "  {ENTER: Calc::Leaf \n"
            "  }LEAVE: Calc::Leaf  (0.25000 sec.)\n"
            "  {ENTER: Calc::Recurse \n"
            "    {ENTER: Calc::Recurse \n"
            "    }LEAVE: Calc::Recurse  (0.10000 sec.)\n"
            "  }LEAVE: Calc::Recurse  (0.20000 sec.)\n"
            "  {ENTER: Calc::Failing \n"
            "EXCEPTION ykstd_fail_OutOfRange : bad index\n"
            "  }LEAVE: Calc::Failing  \n"
            "  {ENTER: Calc::Host \n"
            "    {ENTER: SE::Open\n"
            "    }LEAVE: SE::Open (0.05000 sec.)\n"
            "    {ENTER: SE::GetName\n"
            "EXCEPTION ykstd_fail_NoSuchObject : no name\n"
            "      ERROR: GetName failed in calc.cxx (42).\n"
            "    }LEAVE: SE::GetName\n"
            "  }LEAVE: Calc::Host  (0.55000 sec.)\n"
            "}LEAVE: Calc::Top  (2.00000 sec.)\n");
  // One more line end, then the closing header block.
  EXPECT_EQ(lines[30], "");
  EXPECT_EQ(lines[31], "/******************************************************\\");
  EXPECT_TRUE(std::regex_match(lines[38], std::regex(R"( \* CLOSED ON   :  \w+, \w+ \d\d, \d{4})"))) << lines[38];

  // The recursive inner call counts a hit of no time; the failed host call counts nothing.
  EXPECT_EQ(Joined(Lines((folder_ / "debug.prf").string()), 0, 100),
            "Function|Hits|Total|Average|Minimum|Maximum\n"
            "Calc::Host|1|0.55000|0.55000|0.55000|0.55000\n"
            "Calc::Leaf|1|0.25000|0.25000|0.25000|0.25000\n"
            "Calc::Recurse|2|0.20000|0.10000|0.00000|0.20000\n"
            "Calc::Top|1|2.00000|2.00000|2.00000|2.00000\n"
            "SE::Open|1|0.05000|0.05000|0.05000|0.05000\n");
  EXPECT_TRUE(ykstd_Debug::mStats.empty());
  EXPECT_TRUE(ykstd_Debug::mCallStack.empty());
  EXPECT_EQ(ykstd_Debug::mIndent, 0);
  EXPECT_EQ(ykstd_Debug::mStatusFlag, ykstd_Debug::StatusClosed);

  // Closed for tracing: lines are still written, but nothing is pushed or timed.
  {
    ykstd_Debug later("Calc", "Later", DebugTime);
    EXPECT_TRUE(ykstd_Debug::mCallStack.empty());
    Advance(3.0);
  }
  EXPECT_TRUE(ykstd_Debug::mStats.empty());
  const std::vector<std::string> after = Lines(LogPath());
  EXPECT_EQ(Joined(after, after.size() - 2, after.size()), "{ENTER: Calc::Later \n}LEAVE: Calc::Later  \n");
}

TEST_F(DebugTest, FlagsChooseWordMemoryColumnAndExtraText) {
  {
    ykstd_Debug silent("A", "None", 0);
    EXPECT_EQ(ykstd_Debug::mIndent, 0);
    EXPECT_EQ(ykstd_Debug::mCallStack, std::vector<std::string>{"A::None"});
    ykstd_Debug alloc("A", "Alloc", DebugAlloc, "x");
    ykstd_Debug all("A", "All", DebugTrace | DebugTime | DebugAlloc, "y");
    ykstd_Debug::ShowAllocCounter("count");
    ykstd_Debug::ShowAllocCounter(nullptr);
    ykstd_Debug::LogMsg() << "message" << std::endl;
    ykstd_Debug::LogRight();
    ykstd_Debug::LogMsg() << "deeper" << std::endl;
    ykstd_Debug::LogLeft();
  }
  EXPECT_TRUE(ykstd_Debug::mCallStack.empty());
  EXPECT_EQ(ykstd_Debug::mIndent, 0);
  EXPECT_EQ(Joined(Body(), 0, 100),
            " A::Alloc [x] (0)\n"
            "  {ENTER: A::All [y] (0)\n"
            "    count (0)\n"
            "     (0)\n"
            "    message\n"
            "      deeper\n"
            "  }LEAVE: A::All (0) (0.00000 sec.)\n"
            " A::Alloc (0) \n");
}

TEST_F(DebugTest, DebugOffSilencesAScopeAndSwitchesOnAfterwards) {
  ykstd_Debug::SwitchOn(false);
  {
    ykstd_DebugOff off;
    ykstd_DebugOff copy(off);
    EXPECT_FALSE(ykstd_Debug::mIsOn);
    ykstd_Debug dbg("A", "Quiet", DebugTrace);
    EXPECT_EQ(ykstd_Debug::mIndent, 0);
    // Still pushed while silent.
    EXPECT_EQ(ykstd_Debug::mCallStack.size(), 1u);
    ykstd_Debug::LogPrint() << "lost" << std::endl;
  }
  EXPECT_TRUE(ykstd_Debug::mIsOn);
  { ykstd_Debug dbg("A", "Loud", DebugTrace); }
  EXPECT_EQ(Joined(Body(), 0, 100), "{ENTER: A::Loud \n}LEAVE: A::Loud  \n");
}

TEST_F(DebugTest, DumpCallStackListsNewestFirst) {
  {
    ykstd_Debug outer("A", "Outer", DebugTrace);
    ykstd_Debug inner("B", "Inner", 0, "k=1");
    ykstd_Debug::DumpCallStack();
  }
  ykstd_Debug::DumpCallStack();
  EXPECT_EQ(Joined(Body(), 0, 100),
            "{ENTER: A::Outer \n"
            "  CallStack:   2 calls\n"
            "   2) B::Inner [k=1]\n"
            "   1) A::Outer\n"
            "}LEAVE: A::Outer  \n"
            "WARNING: nothing to dump in the call stack!\n");
}

TEST_F(DebugTest, OpeningWritesHeaderAndTellsTheDebugger) {
  ykstd_platform::SetDebugOutputHandler(CaptureDebugChannel);
  debugChannel.clear();
  { ykstd_Debug dbg("A", "F", 0); }
  ykstd_Debug::Restart();
  EXPECT_EQ(debugChannel, "\n+------------------------------------------------+\n| Sending debug output to '" +
                              LogPath() + "'!\n+------------------------------------------------+\n\n");
  const std::vector<std::string> lines = Lines(LogPath());
  ASSERT_EQ(lines.size(), 24u);
  for (std::size_t start : {0u, 13u}) {
    EXPECT_EQ(lines[start], "/******************************************************\\");
    EXPECT_EQ(lines[start + 1], " * Application :  test_Debug");
    // No registered server: no path, and so no version.
    EXPECT_EQ(Joined(lines, start + 2, start + 4), " * FullPath    :  \n * Version     :  \n");
    EXPECT_EQ(Joined(lines, start + 4, start + 7),
              " * ATL Version :  14.0\n * MFC Version :  14.0\n * MSC Version :  7.136\n");
    EXPECT_TRUE(std::regex_match(lines[start + 8], std::regex(R"( \*                \d\d:\d\d:\d\d)")));
    EXPECT_EQ(Joined(lines, start + 9, start + 11), "\\******************************************************/\n\n");
  }
  EXPECT_TRUE(std::regex_match(lines[7], std::regex(R"( \* STARTED ON  :  [A-Z][a-z]+day, [A-Z][a-z]+ \d\d, \d{4})")))
      << lines[7];
  EXPECT_EQ(Joined(lines, 11, 13), "\n\n");
  EXPECT_TRUE(std::regex_match(lines[20], std::regex(R"( \* RESTARTED ON:  .*)"))) << lines[20];
}

TEST_F(DebugTest, ALogThatCannotOpenSwallowsAndIsTriedAgain) {
  setenv("TMPDIR", (folder_ / "missing").c_str(), 1);
  {
    ykstd_Debug dbg("A", "F", DebugTrace);
    EXPECT_EQ(ykstd_Debug::mIndent, 1);
  }
  EXPECT_EQ(ykstd_Debug::mStatusFlag & ykstd_Debug::StatusUnopened, ykstd_Debug::StatusUnopened);
  setenv("TMPDIR", folder_.c_str(), 1);
  { ykstd_Debug dbg("A", "G", DebugTrace); }
  EXPECT_EQ(ykstd_Debug::mStatusFlag, 0);
  EXPECT_EQ(Joined(Body(), 0, 100), "{ENTER: A::G \n}LEAVE: A::G  \n");
}

TEST_F(DebugTest, ProfileFileFallsBackToTheTemporaryFolder) {
  ykstd_Debug::SetProfileName(nullptr);
  { ykstd_Debug dbg("A", "F", DebugTime | DebugCloseLog); }
  EXPECT_EQ(ykstd_Debug::mPrfName, (folder_ / "debug.prf").string());
  EXPECT_EQ(Joined(Lines(ykstd_Debug::mPrfName), 0, 100),
            "Function|Hits|Total|Average|Minimum|Maximum\nA::F|1|0.00000|0.00000|0.00000|0.00000\n");
}

TEST_F(DebugTest, StatisticsFollowMinimumAndMaximum) {
  for (double t : {3.0, 1.0, 2.0, 4.0}) {
    ykstd_Debug dbg("A", "F", DebugTime);
    Advance(t);
  }
  const ykstd_DebugStat& stat = *ykstd_Debug::mStats.at("A::F");
  EXPECT_EQ(stat.hits, 4);
  EXPECT_DOUBLE_EQ(stat.total, 10.0);
  EXPECT_DOUBLE_EQ(stat.minimum, 1.0);
  EXPECT_DOUBLE_EQ(stat.maximum, 4.0);
  // A scope with extra text counts under the plain function text.
  { ykstd_Debug dbg("A", "F", DebugTime, "x"); }
  EXPECT_EQ(ykstd_Debug::mStats.at("A::F")->hits, 5);
  EXPECT_EQ(ykstd_Debug::mStats.size(), 1u);
}

TEST_F(DebugTest, CopyLogsNothingAndCarriesTheFlags) {
  {
    ykstd_Debug dbg("A", "F", DebugTrace);
    ykstd_Debug copy(dbg);
    EXPECT_EQ(ykstd_Debug::mCallStack.size(), 1u);
  }
  // The copy leaves like the original, so both leave lines appear.
  EXPECT_EQ(Joined(Body(), 0, 100), "{ENTER: A::F \n}LEAVE: A::F  \n}LEAVE: A::F  \n");
  EXPECT_EQ(ykstd_Debug::mIndent, -1);
}

TEST_F(DebugTest, ConfiguredLogNameGetsTheProcessNumberOnlyWhenAsked) {
  // A name with "%d" is a format: "%%" becomes "%" there, and stays as written in a name without "%d".
  const std::string numbered = (folder_ / "x_%d_%%.log").string();
  SetDebugValue("LogFile", numbered);
  { ykstd_Debug dbg("A", "F", DebugTrace); }
  const std::string expected = (folder_ / ("x_" + std::to_string(GetCurrentProcessId()) + "_%.log")).string();
  EXPECT_EQ(Lines(expected).size(), 13u);

  const std::string shared = (folder_ / "x_%%.log").string();
  SetDebugValue("LogFile", shared);
  ykstd_Debug::mStatusFlag = ykstd_Debug::StatusUnopened;
  { ykstd_Debug dbg("A", "G", DebugTrace); }
  const std::vector<std::string> lines = Lines(shared);
  EXPECT_EQ(Joined(lines, 11, 100), "{ENTER: A::G \n}LEAVE: A::G  \n");
  EXPECT_FALSE(std::filesystem::exists(LogPath()));
  EXPECT_EQ(ykstd_platform::OpenRegistryKeyCount(), 0);
}

TEST_F(DebugTest, ProfileNameComesFromTheCallerThenTheRegistry) {
  const std::string configured = (folder_ / "configured.prf").string();
  SetDebugValue("ProfileFile", configured);
  { ykstd_Debug dbg("A", "F", DebugTime | DebugCloseLog); }
  EXPECT_FALSE(std::filesystem::exists(configured));
  EXPECT_TRUE(std::filesystem::exists(folder_ / "debug.prf"));

  ykstd_Debug::SetProfileName("");
  ykstd_Debug::mStatusFlag = ykstd_Debug::StatusUnopened;
  { ykstd_Debug dbg("A", "G", DebugTime | DebugCloseLog); }
  EXPECT_EQ(ykstd_Debug::mPrfName, configured);
  EXPECT_EQ(Joined(Lines(configured), 0, 100),
            "Function|Hits|Total|Average|Minimum|Maximum\nA::G|1|0.00000|0.00000|0.00000|0.00000\n");
}

TEST_F(DebugTest, HeaderShowsTheRegisteredServerPath) {
  SetText(HKEY_CLASSES_ROOT, "CLSID\\{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}\\InprocServer32", nullptr,
          "/opt/addin/ykaddin.so");
  { ykstd_Debug dbg("A", "F", 0); }
  const std::vector<std::string> lines = Lines(LogPath());
  ASSERT_GE(lines.size(), 3u);
  EXPECT_EQ(lines[2], " * FullPath    :  /opt/addin/ykaddin.so");
  EXPECT_TRUE(std::regex_match(lines[3], std::regex(R"( \* Version     :  \d+\.\d+\.\d+\.\d+)"))) << lines[3];
}

// ---- the timer ----

TEST_F(DebugTest, TimerAddsIntervalsAndGivesEachStopItsOwn) {
  ykstd_Timer timer;
  EXPECT_FALSE(timer.IsRunning());
  timer.Start(true);
  Advance(1.5);
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0);
  EXPECT_DOUBLE_EQ(timer.Stop(), 1.5);
  Advance(10.0);
  timer.Start(false);
  EXPECT_TRUE(timer.IsRunning());
  Advance(0.25);
  EXPECT_DOUBLE_EQ(timer.Stop(), 0.25);
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 1.75);
  ykstd_Timer copy(timer);
  EXPECT_DOUBLE_EQ(copy.Elapsed(), 1.75);
  timer.Start(true);
  EXPECT_DOUBLE_EQ(timer.Elapsed(), 0.0);
  EXPECT_EQ(ykstd_Timer::mFrequency, 1000000000);
  EXPECT_TRUE(ykstd_Timer::mPerfCounterInstalled);
}

TEST(Clock, RealCounterRunsForward) {
  ykstd_Timer timer;
  timer.Start(true);
  volatile double sink = 0;
  for (int i = 0; i < 1000; ++i) sink = sink + i;
  EXPECT_GT(timer.Stop(), 0.0);
  FILETIME time;
  GetSystemTimeAsFileTime(&time);
  // After 2020-01-01 in 100 ns ticks since 1601.
  EXPECT_GT((static_cast<ULONGLONG>(time.dwHighDateTime) << 32) | time.dwLowDateTime, 132223104000000000ull);
}

TEST(TempPath, EndsWithSeparatorAndReportsSmallBuffers) {
  const char* saved = std::getenv("TMPDIR");
  const std::string keep = saved ? saved : "";
  setenv("TMPDIR", "/var/tmp", 1);
  char buffer[64];
  EXPECT_EQ(GetTempPathA(sizeof buffer, buffer), 9u);
  EXPECT_STREQ(buffer, "/var/tmp/");
  EXPECT_EQ(GetTempPathA(5, buffer), 10u);
  unsetenv("TMPDIR");
  EXPECT_EQ(GetTempPathA(sizeof buffer, buffer), 5u);
  EXPECT_STREQ(buffer, "/tmp/");
  if (saved) setenv("TMPDIR", keep.c_str(), 1);
}

}  // namespace
