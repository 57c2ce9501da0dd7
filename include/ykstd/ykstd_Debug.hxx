// The debug log's streams and switch.
#pragma once

#include <fstream>

#include <ykstd/ykstd_Export.hxx>

class YKSTD_EXPORT ykstd_Debug {
 public:
  // The log stream when logging is on, else the null stream. An unopened stream swallows output.
  static std::fstream& LogPrint() { return mIsOn ? mLogFile : mNulFile; }
  static void SwitchOn(bool on) { mIsOn = on; }

  static bool mIsOn;
  static std::fstream mLogFile;
  static std::fstream mNulFile;
};
