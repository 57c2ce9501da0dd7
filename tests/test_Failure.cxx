#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

namespace {

std::string MessageOf(const Hnd_ykstd_fail_Failure& failure) {
  std::ostringstream out;
  failure->Print(out);
  return out.str();
}

// Runs `raise` and tells whether its failure was caught as a `Caught`.
template <class Caught>
bool CaughtAs(void (*raise)()) {
  try {
    try {
      raise();
    } catch (Caught& handle) {
      Hnd_ykstd_fail_Failure::DownCast(handle)->Remove();
      return true;
    }
  } catch (Hnd_ykstd_fail_Failure& other) {
    other->Remove();
  }
  return false;
}

class FailureTest : public ::testing::Test {
 protected:
  void TearDown() override {
    ykstd_Debug::SwitchOn(true);
    if (ykstd_Debug::mLogFile.is_open()) ykstd_Debug::mLogFile.close();
    ykstd_Debug::mLogFile.clear();
  }

  // Sends the log to a fresh file and gives its path.
  std::string OpenLog() {
    // One file per test process: CTest runs the tests of this suite side by side.
    path_ = ::testing::TempDir() + "ykstd_failure_log_" + std::to_string(::getpid()) + ".txt";
    ykstd_Debug::mLogFile.open(path_, std::ios::out | std::ios::trunc);
    return path_;
  }
  std::string LogText() {
    ykstd_Debug::mLogFile.flush();
    std::ifstream in(path_);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }

  std::string path_;
};

struct ClassRow {
  void (*raise)();
  const Hnd_ykstd_Type& (*type)();
  const char* message;
};

#define ROW(CLASS)                                                                          \
  {                                                                                         \
    [] { CLASS::Raise("abc"); }, []() -> const Hnd_ykstd_Type& { return CLASS##_Type_(); }, \
        "EXCEPTION " #CLASS " : abc"                                                        \
  }

TEST_F(FailureTest, EveryClassRaisesWithItsPrefixAndType) {
  const std::vector<ClassRow> rows = {
      ROW(ykstd_fail_DomainError),     ROW(ykstd_fail_DimensionError), ROW(ykstd_fail_DimensionMismatch),
      ROW(ykstd_fail_MultiplyDefined), ROW(ykstd_fail_NoMoreObject),   ROW(ykstd_fail_NoSuchObject),
      ROW(ykstd_fail_NullObject),      ROW(ykstd_fail_RangeError),     ROW(ykstd_fail_OutOfRange),
      ROW(ykstd_fail_TypeMismatch),    ROW(ykstd_fail_ModellerError),  ROW(ykstd_fail_NumericValue),
      ROW(ykstd_fail_DivideByZero),    ROW(ykstd_fail_ProgramError),   ROW(ykstd_fail_NotImplemented),
      ROW(ykstd_fail_OutOfMemory),     ROW(ykstd_fail_SystemError),    ROW(ykstd_fail_Failure),
  };
  for (const ClassRow& row : rows) {
    try {
      row.raise();
      ADD_FAILURE() << row.message << ": nothing raised";
    } catch (Hnd_ykstd_fail_Failure& failure) {
      EXPECT_EQ(MessageOf(failure), row.message);
      EXPECT_EQ(failure->DynamicType(), row.type()) << row.message;
      EXPECT_EQ(ykstd_fail_Failure::LastFailure(), failure);
      failure->Remove();
      EXPECT_TRUE(ykstd_fail_Failure::LastFailure().IsNull());
    }
  }
}

TEST_F(FailureTest, FileFailuresNameTheirCause) {
  const char* texts[] = {"Generic/Unknown", "Access Denied",  "Lock Violation", "Hardware Failure", "Disk Full",
                         "Bad Path",        "File Not Found", "Invalid Handle", "Read Only",        "Write Only"};
  for (unsigned cause = 0; cause <= 20; ++cause) {
    std::string text = "Generic/Unknown";
    if (cause < 10) text = texts[cause];
    if (cause == 16) text = "Bad Class Version";
    if (cause == 17) text = "Invalid File Format";
    if (cause == 18) text = "Invalid Document Version";
    if (cause == 19) text = "End Of File";
    try {
      ykstd_fail_FileIO::Raise("abc", static_cast<unsigned char>(cause));
    } catch (Hnd_ykstd_fail_FileIO& failure) {
      EXPECT_EQ(MessageOf(failure), "EXCEPTION ykstd_fail_FileIO (" + text + ") : abc");
      EXPECT_EQ(failure->Cause(), cause);
      failure->Remove();
    }
  }
  EXPECT_EQ(ykstd_fail_FileIO().Cause(), 0);
  EXPECT_EQ(ykstd_fail_FileIO(7).Cause(), 7);
}

TEST_F(FailureTest, StreamFormCarriesTheTextUpToEnds) {
  ykstd_TextStream text;
  text << "position " << 7 << " of " << 3 << std::ends << "hidden";
  try {
    ykstd_fail_OutOfRange::Raise(text);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    EXPECT_EQ(MessageOf(failure), "EXCEPTION ykstd_fail_OutOfRange : position 7 of 3");
    failure->Remove();
  }
  text << "!";  // the stream stays usable after the raise
  ykstd_TextStream cause;
  cause << "stream "
        << "Tags";
  try {
    ykstd_fail_FileIO::Raise(cause, 17);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    EXPECT_EQ(MessageOf(failure), "EXCEPTION ykstd_fail_FileIO (Invalid File Format) : stream Tags");
    failure->Remove();
  }
}

TEST_F(FailureTest, CaughtByEveryHandleBaseButNotBySiblings) {
  auto raise = [] { ykstd_fail_OutOfRange::Raise("x"); };
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_OutOfRange>(raise));
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_RangeError>(raise));
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_DomainError>(raise));
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_Failure>(raise));
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_TShared>(raise));
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_Transient>(raise));
  EXPECT_FALSE(CaughtAs<Hnd_ykstd_fail_NoSuchObject>(raise));
  EXPECT_FALSE(CaughtAs<Hnd_ykstd_fail_FileIO>(raise));

  auto raiseFile = [] { ykstd_fail_FileIO::Raise("x", 19); };
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_FileIO>(raiseFile));
  EXPECT_FALSE(CaughtAs<Hnd_ykstd_fail_DomainError>(raiseFile));
  auto raiseZero = [] { ykstd_fail_DivideByZero::Raise("x"); };
  EXPECT_TRUE(CaughtAs<Hnd_ykstd_fail_NumericValue>(raiseZero));
  EXPECT_FALSE(CaughtAs<Hnd_ykstd_fail_ProgramError>(raiseZero));
}

TEST_F(FailureTest, CountsOfAFailureInFlight) {
  Hnd_ykstd_fail_Failure kept;
  try {
    ykstd_fail_NoSuchObject::Raise("abc");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    // The thrown handle and the last-failure handle; the raise's own handle is gone.
    EXPECT_EQ(failure->GetRefCount(), 2);
    kept = failure;
    failure->Remove();
    EXPECT_EQ(failure->GetRefCount(), 2);
  }
  EXPECT_EQ(kept->GetRefCount(), 1) << "after Remove the catcher's copy alone keeps it";
  EXPECT_EQ(MessageOf(kept), "EXCEPTION ykstd_fail_NoSuchObject : abc");
}

TEST_F(FailureTest, NextThrowReleasesTheLastFailure) {
  Hnd_ykstd_fail_Failure first;
  try {
    ykstd_fail_ProgramError::Raise("first");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    first = failure;
  }
  EXPECT_EQ(first->GetRefCount(), 2);  // ours and the last-failure handle
  try {
    ykstd_fail_ProgramError::Raise("second");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    EXPECT_EQ(first->GetRefCount(), 1);
    EXPECT_EQ(ykstd_fail_Failure::LastFailure(), failure);
    failure->Remove();
  }
}

TEST_F(FailureTest, ThrowLogsTheMessageOrSendsItToTheNullLog) {
  OpenLog();
  try {
    ykstd_fail_NoSuchObject::Raise("logged");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
  }
  ykstd_Debug::SwitchOn(false);
  EXPECT_EQ(&ykstd_Debug::LogPrint(), &ykstd_Debug::mNulFile);
  bool thrown = false;
  try {
    ykstd_fail_NoSuchObject::Raise("not logged");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    thrown = true;
    failure->Remove();
  }
  EXPECT_TRUE(thrown);
  EXPECT_EQ(LogText(), "EXCEPTION ykstd_fail_NoSuchObject : logged\n");
}

TEST_F(FailureTest, ReraiseReplacesTheMessageAndLogsAgain) {
  OpenLog();
  try {
    try {
      ykstd_fail_RangeError::Raise("inner");
    } catch (Hnd_ykstd_fail_Failure& failure) {
      failure->Reraise("other");
    }
  } catch (Hnd_ykstd_fail_RangeError& failure) {
    EXPECT_EQ(MessageOf(failure), "other");
    failure->Remove();
  }
  EXPECT_EQ(LogText(), "EXCEPTION ykstd_fail_RangeError : inner\nother\n");
}

TEST_F(FailureTest, CatchConventionLogsWhereAndForgets) {
  OpenLog();
  try {
    ykstd_fail_OutOfRange::Raise("ykstd_AsciiString::Trunc(int)");
  } catch (Hnd_ykstd_fail_Failure& failure) {
    ykstd_LogCaught("src/ykstd/ykstd_Dim", "ykstd_Dim::Format", 42, failure);
  }
  EXPECT_TRUE(ykstd_fail_Failure::LastFailure().IsNull());
  EXPECT_EQ(LogText(),
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Trunc(int)\n"
            "EXCEPTION caught in src/ykstd/ykstd_Dim{ykstd_Dim::Format} (42):\n"
            "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::Trunc(int)\n");
}

TEST_F(FailureTest, RaiseWithoutMemoryEndsInOneNullObjectFailure) {
  for (int failing : {1, 1000}) {
    ykstd_Transient::FailNextAllocations(failing);
    try {
      ykstd_fail_NoSuchObject::Raise("never made");
    } catch (Hnd_ykstd_fail_NullObject& failure) {
      EXPECT_EQ(MessageOf(failure), "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE");
      failure->Remove();
    } catch (...) {
      ADD_FAILURE() << "expected the null-object failure";
    }
    ykstd_Transient::FailNextAllocations(0);
  }
}

TEST_F(FailureTest, PrintingANullFailureHandleRaises) {
  try {
    std::ostringstream out;
    out << Hnd_ykstd_fail_Failure();
    FAIL() << "no raise";
  } catch (Hnd_ykstd_fail_NullObject& failure) {
    EXPECT_EQ(MessageOf(failure), "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE");
    failure->Remove();
  }
}

TEST_F(FailureTest, OverlongTextIsCutToTheStringLimit) {
  const std::string text(40000, 'x');
  try {
    ykstd_fail_ProgramError::Raise(text.c_str());
  } catch (Hnd_ykstd_fail_Failure& failure) {
    const std::string prefix = "EXCEPTION ykstd_fail_ProgramError : ";
    EXPECT_EQ(MessageOf(failure), prefix + std::string(32767 - prefix.size(), 'x'));
    failure->Remove();
  }
}

}  // namespace
