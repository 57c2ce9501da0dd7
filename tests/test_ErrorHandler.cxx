// Built with -fnon-call-exceptions, so that faults of this file's code can be thrown out of.
#include <gtest/gtest.h>

#include <sys/mman.h>
#include <unistd.h>

#include <csignal>
#include <cstdint>
#include <cstdio>
#include <fstream>
#include <regex>
#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

#include "MemStorage.hxx"
#include "SmallThread.hxx"

namespace {

// The address and divisor come from volatile data, so that the compiler cannot see the fault.
volatile std::uintptr_t nullAddress = 0;
volatile int zero = 0;
// Results go here, so that no faulting call is dropped as unused.
volatile int sink = 0;

__attribute__((noinline, no_sanitize("undefined"))) int ReadAt(std::uintptr_t address) {
  return *reinterpret_cast<volatile int*>(address);
}
__attribute__((noinline, no_sanitize("undefined"))) void WriteAt(std::uintptr_t address) {
  *reinterpret_cast<volatile int*>(address) = 1;
}
__attribute__((noinline, no_sanitize("undefined"))) int Divide(int a, int b) { return a / b; }
// Reads its own frame through ReadAt, which may fault: a function the compiler holds for unable
// to throw would not let the exception pass.
__attribute__((noinline)) int Deep(int n) {
  volatile char frame[512];
  frame[0] = static_cast<char>(n);
  sink = ReadAt(reinterpret_cast<std::uintptr_t>(&frame[0]));
  return zero == 0 ? Deep(n + 1) + frame[0] : 0;
}

// The call to ReadAt makes the function one that may throw, so its callers keep landing pads.
__attribute__((noinline)) void IllegalInstruction() {
  sink = ReadAt(reinterpret_cast<std::uintptr_t>(&sink));
  asm volatile("ud2");
}

std::string MessageOf(const Hnd_ykstd_fail_Failure& failure) {
  std::ostringstream out;
  failure->Print(out);
  return out.str();
}

// The message raised for a constructed fault record.
std::string Raised(DWORD code, DWORD flags = 0, DWORD parameters = 0, ULONG_PTR kind = 0, ULONG_PTR address = 0,
                   bool withContext = true) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = code;
  record.ExceptionFlags = flags;
  record.ExceptionAddress = reinterpret_cast<PVOID>(0x1234);
  record.NumberParameters = parameters;
  record.ExceptionInformation[0] = kind;
  record.ExceptionInformation[1] = address;
  CONTEXT context{0x10001f, 0x33, 0x2b};
  _EXCEPTION_POINTERS info{&record, withContext ? &context : nullptr};
  try {
    ykstd_fail_SystemError::Raise(code, &info);
  } catch (Hnd_ykstd_fail_SystemError& failure) {
    failure->Remove();
    return MessageOf(failure);
  }
  return "not raised";
}

TEST(SystemErrorText, EveryCodeOfTheTableHasItsText) {
  const std::pair<DWORD, const char*> rows[] = {
      {0x80000002u,
       "DATATYPE_MISALIGNMENT:\nThe thread tried to read or write data that is misaligned on hardware that does not "
       "provide alignment."},
      {0x80000003u, "BREAKPOINT:\nA breakpoint was encountered."},
      {0x80000004u,
       "SINGLE_STEP:\nA trace trap or other single-instruction mechanism signaled that one instruction has been "
       "executed."},
      {0xC0000005u,
       "ACCESS VIOLATION:\nThe thread tried to read from or write to a virtual address for which it does not have the "
       "appropriate access."},
      {0xC0000006u,
       "IN_PAGE_ERROR:\nThe thread tried to access a page that was not present, and the system was unable to load the "
       "page."},
      {0xC000001Du, "ILLEGAL_INSTRUCTION:\nThe thread tried to execute an invalid instruction."},
      {0xC0000026u,
       "INVALID_DISPOSITION:\nAn exception handler returned an invalid disposition to the exception dispatcher.\n"
       "Programmers using a high-level language such as C should never encounter this exception."},
      {0xC000008Cu,
       "ARRAY_BOUNDS_EXCEEDED:\nThe thread tried to access an array element that is out of bounds and the underlying "
       "hardware supports bounds checking."},
      {0xC000008Du, "FLT_DENORMAL_OPERAND:\nOne of the operands in a floating-point operation is denormal."},
      {0xC000008Eu,
       "FLT_DIVIDE_BY_ZERO:\nThe thread tried to divide a floating-point value by a floating-point divisor of zero."},
      {0xC000008Fu,
       "FLT_INEXACT_RESULT:\nThe result of a floating-point operation cannot be represented exactly as a decimal "
       "fraction."},
      {0xC0000090u,
       "FLT_INVALID_OPERATION:\nThis exception represents any floating-point exception not included in this list."},
      {0xC0000091u,
       "FLT_OVERFLOW:\nThe exponent of a floating-point operation is greater than the magnitude allowed by the "
       "corresponding type."},
      {0xC0000092u,
       "FLT_STACK_CHECK:\nThe stack overflowed or underflowed as the result of a floating-point operation."},
      {0xC0000093u,
       "FLT_UNDERFLOW:\nThe exponent of a floating-point operation is less than the magnitude allowed by the "
       "corresponding type."},
      {0xC0000094u, "INT_DIVIDE_BY_ZERO:\nThe thread tried to divide an integer value by an integer divisor of zero."},
      {0xC0000095u,
       "INT_OVERFLOW:\nThe result of an integer operation caused a carry out of the most significant bit of the "
       "result."},
      {0xC0000096u,
       "PRIV_INSTRUCTION:\nThe thread tried to execute an instruction whose operation is not allowed in the current "
       "machine mode."},
      {0xC00000FDu, "STACK_OVERFLOW:\nThe thread used up its stack."},
  };
  for (const auto& [code, text] : rows) {
    std::ostringstream hex;
    hex << std::hex << code;
    EXPECT_EQ(Raised(code), "MILD EXCEPTION ykstd_fail_SystemError [" + hex.str() + "] at address 0x1234: " + text);
  }
}

TEST(SystemErrorText, AccessViolationDetailAndFatalWord) {
  EXPECT_EQ(Raised(0xC0000005u, 1, 2, 0, 0x40),
            "FATAL EXCEPTION ykstd_fail_SystemError [c0000005] at address 0x1234: ACCESS VIOLATION:\n"
            "The thread tried to read from the virtual address [0x40] for which it does not have the appropriate "
            "access.\nCONTEXT: flags=10001f\n   CS=33\n   SS=2b\n");
  EXPECT_EQ(Raised(0xC0000005u, 2, 1, 8, 0xdead0),
            "MILD EXCEPTION ykstd_fail_SystemError [c0000005] at address 0x1234: ACCESS VIOLATION:\n"
            "The thread tried to write to the virtual address [0xdead0] for which it does not have the appropriate "
            "access.\nCONTEXT: flags=10001f\n   CS=33\n   SS=2b\n");
  // Without a context record the dump is left out.
  EXPECT_EQ(Raised(0xC0000005u, 0, 2, 0, 0, false),
            "MILD EXCEPTION ykstd_fail_SystemError [c0000005] at address 0x1234: ACCESS VIOLATION:\n"
            "The thread tried to read from the virtual address [0] for which it does not have the appropriate "
            "access.\n");
}

TEST(SystemErrorText, TheHeadShowsTheArgumentAndTheTextFollowsTheRecord) {
  EXCEPTION_RECORD record{};
  record.ExceptionCode = 0x80000003u;
  _EXCEPTION_POINTERS info{&record, nullptr};
  try {
    ykstd_fail_SystemError::Raise(0xabcu, &info);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
    EXPECT_EQ(MessageOf(failure),
              "MILD EXCEPTION ykstd_fail_SystemError [abc] at address 0: BREAKPOINT:\nA breakpoint was encountered.");
  }
}

class EndOfProcessTest : public ::testing::Test {
 protected:
  void SetUp() override { Reopen(); }
  // A fresh log for the next child, which shares the stream's file offset with this process.
  void Reopen() {
    path_ = ::testing::TempDir() + "ykstd_errorhandler_end_" + std::to_string(::getpid()) + ".log";
    ykstd_Debug::mLogFile.close();
    ykstd_Debug::mLogFile.clear();
    ykstd_Debug::mLogFile.open(path_, std::ios::out | std::ios::trunc);
  }
  void TearDown() override { ykstd_Debug::mLogFile.close(); }
  std::string LogText() const {
    std::ifstream in(path_);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  std::string path_;
};

TEST_F(EndOfProcessTest, NoncontinuableAndUnknownCodesExitWithOne) {
  EXCEPTION_RECORD record{};
  _EXCEPTION_POINTERS info{&record, nullptr};
  record.ExceptionCode = 0xC0000025u;
  EXPECT_EXIT(ykstd_fail_SystemError::Raise(0xC0000025u, &info), ::testing::ExitedWithCode(1), "");
  EXPECT_EQ(LogText(),
            "NONCONTINUABLE_EXCEPTION:\nThe thread tried to continue execution after a noncontinuable exception "
            "occurred.\n");
  for (DWORD code : {0xE06D7363u, 0u, 0xC0000001u}) {
    record.ExceptionCode = code;
    Reopen();
    EXPECT_EXIT(ykstd_fail_SystemError::Raise(code, &info), ::testing::ExitedWithCode(1), "");
    EXPECT_EQ(LogText(), "UNHANDLED EXCEPTION:\nTesslor encountered an unknown exception.\n");
  }
  EXPECT_EXIT(ykstd_fail_SystemError::Raise(5, nullptr), ::testing::ExitedWithCode(1), "");
}

// ---- real faults ----

class TranslationTest : public ::testing::Test {
 protected:
  void SetUp() override { ykstd_ErrorHandler::Activate(); }
  void TearDown() override { ykstd_ErrorHandler::Deactivate(); }
};

// The faulting instruction's address varies; everything around it is fixed.
std::string WithoutAddress(const std::string& message) {
  return std::regex_replace(message, std::regex("at address 0x[0-9a-f]+: "), "at address *: ");
}

// The message of the system error that `fault` raises, without the faulting address; the
// failure must be caught as a plain failure too.
template <class Fault>
std::string Translated(Fault fault) {
  try {
    fault();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
    if (!failure->IsKind(ykstd_fail_SystemError_Type_())) return "other failure";
    return WithoutAddress(MessageOf(failure));
  }
  return "no fault";
}

TEST_F(TranslationTest, NullReadAndWriteBecomeAccessViolations) {
  EXPECT_EQ(Translated([] { sink = ReadAt(nullAddress); }),
            "MILD EXCEPTION ykstd_fail_SystemError [c0000005] at address *: ACCESS VIOLATION:\n"
            "The thread tried to read from the virtual address [0] for which it does not have the appropriate "
            "access.\nCONTEXT: flags=100001\n   CS=33\n   SS=2b\n");
  EXPECT_EQ(Translated([] { WriteAt(nullAddress + 16); }),
            "MILD EXCEPTION ykstd_fail_SystemError [c0000005] at address *: ACCESS VIOLATION:\n"
            "The thread tried to write to the virtual address [0x10] for which it does not have the appropriate "
            "access.\nCONTEXT: flags=100001\n   CS=33\n   SS=2b\n");
}

TEST_F(TranslationTest, IntegerDivisionByZeroIsCaughtAsAFailure) {
  // Twice: the signal must be delivered again after leaving the handler by an exception.
  for (int round = 0; round < 2; ++round)
    EXPECT_EQ(Translated([] { sink = Divide(7, zero); }),
              "MILD EXCEPTION ykstd_fail_SystemError [c0000094] at address *: INT_DIVIDE_BY_ZERO:\n"
              "The thread tried to divide an integer value by an integer divisor of zero.");
}

TEST_F(TranslationTest, StackOverflowIsServedOnTheAlternateStack) {
  EXPECT_EQ(Translated([] { sink = Deep(0); }),
            "MILD EXCEPTION ykstd_fail_SystemError [c00000fd] at address *: STACK_OVERFLOW:\n"
            "The thread used up its stack.");
}

TEST_F(TranslationTest, IllegalInstructionAndBusErrorHaveTheirCodes) {
  EXPECT_EQ(Translated(IllegalInstruction),
            "MILD EXCEPTION ykstd_fail_SystemError [c000001d] at address *: ILLEGAL_INSTRUCTION:\n"
            "The thread tried to execute an invalid instruction.");
  // A page of a mapped file beyond its end cannot be brought in.
  std::FILE* file = std::tmpfile();
  ASSERT_NE(file, nullptr);
  void* page = mmap(nullptr, 4096, PROT_READ, MAP_SHARED, fileno(file), 0);
  ASSERT_NE(page, MAP_FAILED);
  EXPECT_EQ(Translated([page] { sink = ReadAt(reinterpret_cast<std::uintptr_t>(page)); }),
            "MILD EXCEPTION ykstd_fail_SystemError [c0000006] at address *: IN_PAGE_ERROR:\n"
            "The thread tried to access a page that was not present, and the system was unable to load the page.");
  munmap(page, 4096);
  std::fclose(file);
}

void OtherTranslator(unsigned int, _EXCEPTION_POINTERS*) {}

// Writes the next link of a chain; the last link reads address 0 instead.
YKSTD_HANDLE(test_Link, ykstd_TShared);
class test_Link : public ykstd_TShared {
 public:
  void Serialize(ykstd_Archive& ar) override {
    if (next.IsNull()) sink = ReadAt(nullAddress);
    ar << next;
  }
  Hnd_ykstd_Transient next;
  YKSTD_DECLARE_TYPE(test_Link);
};
YKSTD_IMPLEMENT_TYPE(test_Link, ykstd_TShared)

TEST(ErrorHandler, AFaultDeepInsideNestedObjectsComesBackAcrossStackSegments) {
  ykstd_test::RunOnSmallThread([] {
    ykstd_ErrorHandler::Activate();
    Hnd_test_Link head = new test_Link;
    Hnd_test_Link tail = head;
    for (int i = 0; i < 20000; ++i) {
      Hnd_test_Link link = new test_Link;
      tail->next = link;
      tail = link;
    }
    ykstd_test::MemStorage storage;
    EXPECT_EQ(Translated([&] {
                ykstd_Archive ar(&storage, "s", 1, 4096, nullptr);
                ar << head;
              }),
              "MILD EXCEPTION ykstd_fail_SystemError [c0000005] at address *: ACCESS VIOLATION:\n"
              "The thread tried to read from the virtual address [0] for which it does not have the appropriate "
              "access.\nCONTEXT: flags=100001\n   CS=33\n   SS=2b\n");
    ykstd_ErrorHandler::Deactivate();
    while (!head.IsNull()) {  // unlink iteratively: releasing the chain at once would recurse
      Hnd_test_Link next = Hnd_test_Link::DownCast(head->next);
      head->next.Nullify();
      head = next;
    }
  });
}

TEST(ErrorHandler, ActivationIsCountedOnceAndRestoresThePreviousTranslator) {
  _set_se_translator(OtherTranslator);
  EXPECT_EQ(ykstd_ErrorHandler::Activate(), 1);
  EXPECT_EQ(ykstd_ErrorHandler::ActivateMdlEH(), 1);
  EXPECT_TRUE(ykstd_ErrorHandler::IsActive());
  EXPECT_EQ(ykstd_ErrorHandler::DeactivateMdlEH(), 1);
  EXPECT_TRUE(ykstd_ErrorHandler::IsActive());
  EXPECT_EQ(ykstd_ErrorHandler::Deactivate(), 1);
  EXPECT_FALSE(ykstd_ErrorHandler::IsActive());
  EXPECT_EQ(ykstd_ErrorHandler::Deactivate(), 1);
  EXPECT_EQ(_set_se_translator(nullptr), &OtherTranslator);
}

TEST(ErrorHandler, FaultsAfterDeactivationTakeTheirOrdinaryCourse) {
  ykstd_ErrorHandler::Activate();
  ykstd_ErrorHandler::Deactivate();
  EXPECT_EXIT(sink = ReadAt(nullAddress), ::testing::KilledBySignal(SIGSEGV), "");
  EXPECT_EXIT(sink = Divide(1, zero), ::testing::KilledBySignal(SIGFPE), "");
}

}  // namespace
