
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iomanip>

#include <ykstd/platform/Process.hxx>
#include <ykstd/platform/Registry.hxx>
#include <ykstd/ykstd_Debug.hxx>

namespace {

constexpr const char* kDebugKey = "Software\\Brimlow\\Kalvane\\Debug";

// A name holding "%d" is a format with the process number as its one argument: "%%" gives "%" and
// "%d" the number. Any other conversion has no argument to take and is kept as written, so that a
// configured name can never read past what it is given.
std::string WithProcessNumber(const std::string& name) {
  if (name.find("%d") == std::string::npos) return name;
  const std::string pid = std::to_string(GetCurrentProcessId());
  std::string out;
  for (std::size_t i = 0; i < name.size(); ++i) {
    if (name[i] == '%' && i + 1 < name.size() && (name[i + 1] == '%' || name[i + 1] == 'd')) {
      out += name[i + 1] == '%' ? std::string("%") : pid;
      ++i;
    } else {
      out += name[i];
    }
  }
  return out;
}

// The temporary folder followed by `file`, or `fallback` when there is no such folder.
std::string InTempFolder(const char* file, const char* fallback) {
  char folder[512];
  if (GetTempPathA(sizeof folder, folder) == 0 || std::strlen(folder) >= sizeof folder) return fallback;
  return std::string(folder) + file;
}

std::string Seconds(double t) {
  char text[64];
  std::snprintf(text, sizeof text, "(%.5lf sec.)", t);
  return text;
}

// The full path of the add-in's in-process server, as registered for its class; empty when the
// registry does not have it.
std::string AddinServerPath() {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CLASSES_ROOT, "CLSID\\{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}\\InprocServer32", 0,
                    KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
    return {};
  char buffer[512];
  LONG size = sizeof buffer;
  const LSTATUS status = RegQueryValueA(key, nullptr, buffer, &size);
  RegCloseKey(key);
  if (status != ERROR_SUCCESS || size <= 0) return {};
  return std::string(buffer, strnlen(buffer, static_cast<std::size_t>(size)));
}

// The library's own version in the four numbers of a file version.
std::string BuildVersion() {
  int part[4] = {0, 0, 0, 0};
  std::sscanf(YKSTD_VERSION_TEXT, "%d.%d.%d.%d", &part[0], &part[1], &part[2], &part[3]);
  char text[64];
  std::snprintf(text, sizeof text, "%d.%d.%d.%d", part[0], part[1], part[2], part[3]);
  return text;
}

}  // namespace

// ---- the scope ----

ykstd_Debug::ykstd_Debug(const char* className, const char* function, std::int16_t flags, const char* extra)
    : className_(className ? className : ""),
      function_(function ? function : ""),
      extLine_(0),
      flags_(static_cast<std::uint8_t>(flags)) {
  if (mStatusFlag & StatusUnopened) OpenLog();
  const bool traced = flags_ & (DebugTrace | DebugTime | DebugAlloc);
  const char* word = (flags_ & (DebugTrace | DebugTime)) ? "{ENTER:" : "";
  const char* memory = (flags_ & DebugAlloc) ? "(0)" : "";
  std::string text = className_ + "::" + function_;
  if (extra) text.append(" [").append(extra).append("]");
  if (!(mStatusFlag & StatusClosed)) mCallStack.push_back(text);
  if (mIsOn && traced) {
    WriteIndent(mLogFile);
    mLogFile << word << ' ' << text << ' ' << memory << std::endl;
    ++mIndent;
  }
  if (Timing()) timer_.Start(true);
}

ykstd_Debug::~ykstd_Debug() {
  std::string timeText;
  if (Timing()) {
    CheckExtFunc();
    timer_.Stop();
    extTimer_.Stop();
    double t = timer_.Elapsed();
    const std::string key = className_ + "::" + function_;
    timeText = Seconds(t);
    if ((flags_ & DebugRecursive) && mCallStack.size() > 1) {
      for (auto entry = mCallStack.rbegin() + 1; entry != mCallStack.rend(); ++entry)
        if (*entry == key) {
          t = 0.0;
          break;
        }
    }
    UpdateStats(key, t);
  }
  const char* word = (flags_ & (DebugTrace | DebugTime)) ? "}LEAVE:" : "";
  const char* memory = (flags_ & DebugAlloc) ? "(0)" : "";
  if (!(mStatusFlag & StatusClosed) && !mCallStack.empty()) mCallStack.pop_back();
  if (!mIsOn) return;
  if (flags_ & (DebugTrace | DebugTime | DebugAlloc)) {
    --mIndent;
    WriteIndent(mLogFile);
    mLogFile << word << ' ' << className_ << "::" << function_ << ' ' << memory << ' ' << timeText << std::endl;
  }
  if (flags_ & DebugCloseLog) {
    SaveStats();
    ClearStats();
    mCallStack.clear();
    mLogFile << std::endl;
    DbgDumpHeaderInfo("CLOSED ON");
    mStatusFlag |= StatusClosed;
  }
}

bool ykstd_Debug::Timing() const { return (flags_ & DebugTime) && !(mStatusFlag & StatusClosed); }

// ---- calls into the host ----

void ykstd_Debug::StartExtTimer(const char* name, const char* place, std::int32_t line) {
  if (!Timing()) return;
  extTimer_.Start(true);
  extName_ = name ? name : "";
  extPlace_ = place ? place : "";
  extLine_ = line;
  if (mIsOn) {
    WriteIndent(mLogFile);
    mLogFile << "{ENTER: SE::" << extName_ << std::endl;
    ++mIndent;
  }
}

void ykstd_Debug::StopExtTimer(const char* name) {
  if (!Timing()) return;
  extTimer_.Stop();
  const std::string key = std::string("SE::") + (name ? name : "");
  const double t = extTimer_.Elapsed();
  UpdateStats(key, t);
  if (mIsOn) {
    --mIndent;
    WriteIndent(mLogFile);
    mLogFile << "}LEAVE: " << key << ' ' << Seconds(t) << std::endl;
  }
}

void ykstd_Debug::CheckExtFunc() {
  if (!Timing() || !extTimer_.IsRunning()) return;
  if (mIsOn) {
    WriteIndent(mLogFile);
    mLogFile << "ERROR: " << extName_ << " failed in " << extPlace_ << " (" << extLine_ << ")." << std::endl;
    --mIndent;
    WriteIndent(mLogFile);
    mLogFile << "}LEAVE: SE::" << extName_ << std::endl;
  }
  extTimer_.Stop();
}

// ---- statistics ----

void ykstd_Debug::UpdateStats(const std::string& key, double seconds) {
  std::unique_ptr<ykstd_DebugStat>& stat = mStats[key];
  if (!stat) {
    stat.reset(new ykstd_DebugStat{1, seconds, seconds, seconds});
    return;
  }
  ++stat->hits;
  stat->total += seconds;
  if (stat->minimum > seconds)
    stat->minimum = seconds;
  else if (seconds > stat->maximum)
    stat->maximum = seconds;
}

void ykstd_Debug::SaveStats() {
  if (mPrfName.empty() && !DbgGetPref(kDebugKey, "ProfileFile", mPrfName))
    mPrfName = InTempFolder("debug.prf", "C:\\debug.prf");
  std::fstream out(mPrfName, std::ios::out | std::ios::trunc);
  if (!out) return;
  out << "Function|Hits|Total|Average|Minimum|Maximum" << std::endl;
  out << std::fixed << std::showpoint << std::setprecision(5);
  for (const auto& [key, stat] : mStats) {
    if (!stat) continue;
    out << key << '|' << stat->hits << '|' << stat->total << '|' << stat->total / stat->hits << '|' << stat->minimum
        << '|' << stat->maximum << std::endl;
  }
}

void ykstd_Debug::ClearAll() {
  ClearStats();
  mCallStack.clear();
}

// ---- the log ----

void ykstd_Debug::WriteIndent(std::ostream& out) {
  for (int level = 0; level < mIndent; ++level) out << "  ";
}

std::fstream& ykstd_Debug::LogMsg() {
  if (mIsOn) WriteIndent(mLogFile);
  return LogPrint();
}

int ykstd_Debug::OpenLog() {
  std::string name;
  if (!DbgGetPref(kDebugKey, "LogFile", name)) name = InTempFolder("debug_%d.log", "C:\\debug_%d.log");
  name = WithProcessNumber(name);
  mLogFile.clear();
  if (mLogFile.is_open()) mLogFile.close();
  mLogFile.open(name, std::ios::out | std::ios::trunc);
  const bool good = !mLogFile.fail() && !mLogFile.bad();
  if (good) {
    const std::string banner = "\n+------------------------------------------------+\n| Sending debug output to '" +
                               name + "'!\n+------------------------------------------------+\n\n";
    OutputDebugStringA(banner.c_str());
    DbgDumpHeaderInfo("STARTED ON");
    mStatusFlag &= static_cast<unsigned char>(~StatusUnopened);
  }
  mNulFile.clear();
  if (mNulFile.is_open()) mNulFile.close();
  mNulFile.open(ykstd_platform::NullFileName, std::ios::out | std::ios::trunc);
  mStatusFlag &= static_cast<unsigned char>(~StatusClosed);
  return good ? 1 : 0;
}

void ykstd_Debug::DbgDumpHeaderInfo(const char* tag) {
  if (!mIsOn) return;
  std::string name, path, version;
  DbgGetAppInfo(name, path, version);
  char date[128] = "";
  char clock[128] = "";
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  if (localtime_r(&now, &local)) {
    std::strftime(date, sizeof date, "%A, %B %d, %Y", &local);
    std::strftime(clock, sizeof clock, "%H:%M:%S", &local);
  }
  char tagText[64];
  std::snprintf(tagText, sizeof tagText, "%-12s", tag ? tag : "");
  std::fstream& out = LogPrint();
  out << "/******************************************************\\" << std::endl;
  out << " * Application :  " << name << std::endl;
  out << " * FullPath    :  " << path << std::endl;
  out << " * Version     :  " << version << std::endl;
  out << " * ATL Version :  " << 14 << "." << 0 << std::endl;
  out << " * MFC Version :  " << 14 << "." << 0 << std::endl;
  out << " * MSC Version :  " << 7 << "." << 136 << std::endl;
  out << " * " << tagText << ":  " << date << std::endl;
  out << " *                " << clock << std::endl;
  out << "\\******************************************************/\n" << std::endl;
}

void ykstd_Debug::Restart() {
  if (!mIsOn) return;
  mLogFile << std::endl << std::endl;
  DbgDumpHeaderInfo("RESTARTED ON");
}

void ykstd_Debug::DumpCallStack() {
  if (!mIsOn) return;
  if (mCallStack.empty()) {
    WriteIndent(mLogFile);
    mLogFile << "WARNING: nothing to dump in the call stack!" << std::endl;
    return;
  }
  WriteIndent(mLogFile);
  mLogFile << "CallStack:   " << mCallStack.size() << " calls" << std::endl;
  std::size_t number = mCallStack.size();
  for (auto entry = mCallStack.rbegin(); entry != mCallStack.rend(); ++entry, --number) {
    WriteIndent(mLogFile);
    mLogFile << std::setw(2) << number << ") " << *entry << std::endl;
  }
}

void ykstd_Debug::ShowAllocCounter(const char* text) {
  if (!mIsOn) return;
  WriteIndent(mLogFile);
  mLogFile << (text ? text : "") << " (0)" << std::endl;
}

// ---- registry and application ----

bool ykstd_Debug::DbgGetPref(const std::string& key, const std::string& value, std::string& text) {
  HKEY opened = nullptr;
  if (RegOpenKeyExA(HKEY_CURRENT_USER, key.c_str(), 0, KEY_QUERY_VALUE, &opened) != ERROR_SUCCESS) return false;
  char buffer[512];
  DWORD size = sizeof buffer;
  DWORD type = REG_NONE;
  const LSTATUS status =
      RegQueryValueExA(opened, value.c_str(), nullptr, &type, reinterpret_cast<LPBYTE>(buffer), &size);
  RegCloseKey(opened);
  if (status != ERROR_SUCCESS || size == 0 || type != REG_SZ) return false;
  text.assign(buffer, strnlen(buffer, size));
  return true;
}

bool ykstd_Debug::DbgGetAppInfo(std::string& name, std::string& path, std::string& version) {
  try {
    name = ykstd_platform::ApplicationName();
    path = AddinServerPath();
    if (!path.empty()) version = BuildVersion();
    return true;
  } catch (...) {
    return false;
  }
}
