#include <gtest/gtest.h>

#include <string>

#include <ykstd/ykstd.hxx>

namespace {

// The text of the failure that body raises, as the class that caught it sees it.
template <class Body>
std::string RaisedText(Body body) {
  try {
    body();
  } catch (Hnd_ykstd_fail_ProgramError& failure) {
    const std::string text = failure->Message().Text();
    failure->Remove();
    return "ProgramError: " + text;
  } catch (Hnd_ykstd_fail_Failure& failure) {
    const std::string text = failure->Message().Text();
    failure->Remove();
    return "other failure: " + text;
  }
  return "<nothing raised>";
}

std::string Text(const ykstd_AsciiString& text) { return text.Text() ? text.Text() : ""; }

TEST(Date, PrintsTheThreeNumbersInTheChosenOrder) {
  const ykstd_Date date(7, 3, 2006);
  EXPECT_EQ(Text(date.Print('/', ykenum::DateDMY, ykenum::MonthNumber)), "7/3/2006");
  EXPECT_EQ(Text(date.Print('/', ykenum::DateMDY, ykenum::MonthNumber)), "3/7/2006");
  EXPECT_EQ(Text(date.Print('/', ykenum::DateYMD, ykenum::MonthNumber)), "2006/3/7");
  EXPECT_EQ(Text(date.Print('.', static_cast<ykenum::DateFormat>(3), ykenum::MonthNumber)), "");
  EXPECT_EQ(Text(date.Print('.', static_cast<ykenum::DateFormat>(-1), ykenum::MonthNumber)), "");
  // Nothing is checked: any numbers pass, in plain decimal.
  EXPECT_EQ(Text(ykstd_Date(45, -2, 0).Print('-', ykenum::DateDMY, ykenum::MonthNumber)), "45--2-0");
  EXPECT_EQ(Text(ykstd_Date().Print(' ', ykenum::DateYMD, ykenum::MonthNumber)), "0 0 0");
  EXPECT_EQ(RaisedText([&] { date.Print('/', ykenum::DateDMY, ykenum::MonthText); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Print: month format TEXT not yet supported");
  // The month check comes first, whatever the format.
  EXPECT_EQ(RaisedText([&] { date.Print('/', static_cast<ykenum::DateFormat>(9), ykenum::MonthText); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Print: month format TEXT not yet supported");
}

TEST(Date, SetYearRefusesTwoDigitYearsAndTodayIsNotThere) {
  ykstd_Date date(1, 2, 2003);
  EXPECT_EQ(RaisedText([&] { date.SetYear(999); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::SetYear : Y2K bug detected!");
  EXPECT_EQ(date.Year(), 2003);
  EXPECT_EQ(RaisedText([&] { date.SetYear(1000); }), "<nothing raised>");
  EXPECT_EQ(date.Year(), 1000);
  EXPECT_EQ(RaisedText([&] { date.Today(); }),
            "ProgramError: EXCEPTION ykstd_fail_ProgramError : ykstd_Date::Today: not yet implemented");
  date.SetDate(31, 12, 5);
  EXPECT_EQ(Text(date.Print(':', ykenum::DateDMY, ykenum::MonthNumber)), "31:12:5");
  EXPECT_EQ(date.ConvertVersion(7), 0);
}

}  // namespace
