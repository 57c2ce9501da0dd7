#include <gtest/gtest.h>
#include <unistd.h>

#include <fstream>
#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

namespace {

class ShowVariableTest : public ::testing::Test {
 protected:
  void SetUp() override {
    path_ = ::testing::TempDir() + "ykstd_showvariable_" + std::to_string(::getpid()) + ".log";
    ykstd_Debug::mLogFile.close();
    ykstd_Debug::mLogFile.clear();
    ykstd_Debug::mLogFile.open(path_, std::ios::out | std::ios::trunc);
  }
  void TearDown() override {
    ykstd_Debug::SwitchOn(true);
    ykstd_Debug::mLogFile.close();
  }
  std::string Log() const {
    std::ifstream in(path_);
    return std::string(std::istreambuf_iterator<char>(in), {});
  }
  std::string path_;
};

TEST_F(ShowVariableTest, PlainValuesWithTheirTags) {
  ShowVariable("s", "text");
  ShowVariable("n", static_cast<const char*>(nullptr));
  ShowVariable("c", 'q');
  ShowVariable("b", static_cast<unsigned char>(0));
  ShowVariable("t", static_cast<unsigned char>(7));
  ShowVariable("h", static_cast<std::int16_t>(-12));
  ShowVariable("i", std::int32_t{-2147483647 - 1});
  ShowVariable("f", 0.5f);
  ShowVariable("x", 2.5);
  ShowVariable("p", reinterpret_cast<const void*>(0x1234));
  ShowVariable("a", ykstd_AsciiString("asc"));
  ShowVariable("e", ykstd_AsciiString());
  EXPECT_EQ(Log(),
            "[Str]: s = \"text\"\n"
            "[Str]: n = \"\"\n"
            "[Char]: c = 'q'\n"
            "[Bool]: b = False\n"
            "[Bool]: t = True\n"
            "[Short]: h = -12\n"
            "[Int]: i = -2147483648\n"
            "[Float]: f = 0.5\n"
            "[Real]: x = 2.5\n"
            "[Ptr]: p = 0x1234\n"
            "[AscStr]: a = \"asc\"\n"
            "[AscStr]: e = \"\"\n");
}

TEST_F(ShowVariableTest, RealsShowTenDigitsAndLeaveSixBehind) {
  ykstd_Debug::mLogFile.precision(3);
  ShowVariable("r", 3.14159265358979);
  EXPECT_EQ(ykstd_Debug::mLogFile.precision(), 6);
  ykstd_Debug::mLogFile << 3.14159265358979 << std::endl;
  EXPECT_EQ(Log(), "[Real]: r = 3.141592654\n3.14159\n");
}

TEST_F(ShowVariableTest, HandlesShowClassDumpAndCount) {
  ShowVariable("h", Hnd_ykstd_Transient());
  const Hnd_ykstd_Type& type = ykstd_fail_OutOfRange_Type_();
  ShowVariable("t", type);
  Hnd_ykstd_fail_Failure failure(new ykstd_fail_OutOfRange(ykstd_AsciiString("x")));
  Hnd_ykstd_fail_Failure second = failure;
  ShowVariable("f", failure);
  std::ostringstream address;
  address << static_cast<const void*>(static_cast<ykstd_Transient*>(failure));
  EXPECT_EQ(Log(),
            "[Hnd]: h = NULL\n"
            "[Hnd(ykstd_Type)]: t = ykstd_fail_OutOfRange (cnt=" +
                std::to_string(type->GetRefCount()) +
                ")\n"
                "[Hnd(ykstd_fail_OutOfRange)]: f = " +
                address.str() + " (cnt=2)\n");
}

TEST_F(ShowVariableTest, DimensionsShowRangesInBrackets) {
  ShowVariable("d", ykstd_Dim(12.5, ykenum::UnitMM));
  ShowVariable("r", ykstd_Dim(0.01, 0.02, 0.0025, ykenum::UnitMM));
  EXPECT_EQ(Log(), "[Dim]: d = 12.5 mm\n[Dim]: r = [10~20 mm/2.5 mm]\n");
}

TEST_F(ShowVariableTest, SequencesShowCountThenElements) {
  ykstd_AsciiStringSeq texts;
  ShowVariable("s", texts);
  texts.Append("one");
  texts.Append("two");
  ShowVariable("t", texts);
  ykstd_IntSeq numbers;
  ShowVariable("e", numbers);
  for (std::int32_t i : {1, 2, 3}) numbers.Append(i);
  ShowVariable("n", numbers);
  ykstd_DimSeq dims;
  dims.Append(ykstd_Dim(12.5, ykenum::UnitMM));
  dims.Append(ykstd_Dim(0.01, 0.02, 0.0025, ykenum::UnitMM));
  ShowVariable("d", dims);
  ykstd_IntList list;
  list.Append(4);
  list.Append(-5);
  ShowVariable("l", list);
  EXPECT_EQ(Log(),
            "[AscStrSeq]: s = 0 AscStr(s) :\n"
            "[AscStrSeq]: t = 2 AscStr(s) :\n"
            "[AscStr]: 1 = \"one\"\n"
            "[AscStr]: 2 = \"two\"\n"
            "[IntSeq]: e = 0 int(s) :\n"
            "[IntSeq]: n = 3 int(s) :1, 2, 3\n"
            "[DimSeq]: d = 2 dim(s) :\n"
            "[Dim]: 1 = 12.5 mm\n"
            "[Dim]: 2 = [10~20 mm/2.5 mm]\n"
            "[IntList]: l = 2 int(s) :4, -5\n");
}

TEST_F(ShowVariableTest, NothingReachesTheLogWhenSwitchedOff) {
  ykstd_Debug::SwitchOn(false);
  ShowVariable("x", 1.0);
  ShowVariable("h", Hnd_ykstd_Transient());
  ykstd_Debug::SwitchOn(true);
  ShowVariable("y", std::int32_t{3});
  EXPECT_EQ(Log(), "[Int]: y = 3\n");
}

}  // namespace
