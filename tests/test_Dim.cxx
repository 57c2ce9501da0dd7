#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "MemStorage.hxx"
#include "TempHives.hxx"
#include "UnitTestSession.hxx"

using namespace ykenum;

namespace {

// The message of the failure that `action` raises, or "no failure".
std::string FailureOf(const std::function<void()>& action) {
  try {
    action();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::ostringstream text;
    failure->Print(text);
    failure->Remove();
    return text.str();
  }
  return "no failure";
}

std::string ProgramError(const std::string& text) { return "EXCEPTION ykstd_fail_ProgramError : " + text; }

std::string Ascii(const ykstd_Dim& dim, std::int32_t decimals = 3, unsigned char withUnit = 1) {
  const ykstd_AsciiString text = dim.ToAsciiString(decimals, withUnit);
  return text.Length() > 0 ? text.Text() : "";
}

void ExpectFields(const ykstd_Dim& dim, double value, double max, double step, Unit unit) {
  EXPECT_EQ(dim.RawValue(), value);
  EXPECT_EQ(dim.RawMax(), max);
  EXPECT_EQ(dim.RawStep(), step);
  EXPECT_EQ(dim.GetUnit(), unit);
}

// Sends the debug log to a file for the life of the object.
class LogCapture {
 public:
  LogCapture() : path_(::testing::TempDir() + "ykstd_dim_log_" + std::to_string(::getpid()) + ".txt") {
    ykstd_Debug::SwitchOn(true);
    ykstd_Debug::mLogFile.open(path_, std::ios::out | std::ios::trunc);
  }
  ~LogCapture() {
    ykstd_Debug::mLogFile.close();
    ykstd_Debug::mLogFile.clear();
  }
  // The log so far, with the line numbers of catch sites replaced by "#".
  std::string Text() {
    ykstd_Debug::mLogFile.flush();
    std::ifstream in(path_);
    const std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return std::regex_replace(text, std::regex("\\} \\([0-9]+\\):"), "} (#):");
  }

 private:
  std::string path_;
};

std::string CaughtIn(const std::string& function, const std::string& failure) {
  return failure + "\nEXCEPTION caught in src/ykstd/ykstd_Dim{" + function + "} (#):\n" + failure + "\n";
}

const ykstd_Dim kMMRange(0.01, 0.02, 0.0025, UnitMM);

}  // namespace

TEST(DimValue, SetConvertsIntoInternalUnitsAndClearsTheRange) {
  ExpectFields(ykstd_Dim(), 0.0, 0.0, 0.0, UnitNone);
  ykstd_Dim dim(1.0, 2.0, 3.0, UnitMM);
  dim.Set(2.0, UnitMM2);
  ExpectFields(dim, 2.0 * 0.001 * 0.001, 0.0, 0.0, UnitMM2);
  ExpectFields(ykstd_Dim(3.0, UnitIn2), 3.0 * 0.0254 * 0.0254, 0.0, 0.0, UnitIn2);
  ExpectFields(ykstd_Dim(12.0, UnitThreadM), 12.0 * 0.001, 0.0, 0.0, UnitThreadM);
  ExpectFields(ykstd_Dim(0.5, UnitThreadNPT), 0.5 * 0.0254, 0.0, 0.0, UnitThreadNPT);
  ExpectFields(ykstd_Dim(1.0, UnitRad), 57.29577951308232, 0.0, 0.0, UnitRad);
  ExpectFields(ykstd_Dim(7.0, UnitDeg), 7.0, 0.0, 0.0, UnitDeg);
  ExpectFields(ykstd_Dim(7.0, UnitNone), 7.0, 0.0, 0.0, UnitNone);
  // An unknown unit is recorded while the number stays.
  ykstd_Dim odd(1.5, 2.0, 3.0, UnitMM);
  odd.Set(99.0, static_cast<Unit>(13));
  ExpectFields(odd, 1.5, 0.0, 0.0, static_cast<Unit>(13));
  // Millimetres and inches share one internal unit.
  EXPECT_EQ(ykstd_Dim(25.4, UnitMM).RawValue(), ykstd_Dim(1.0, UnitInch).RawValue());
}

TEST(DimValue, ValueConvertsOutWithinACategory) {
  const ykstd_Dim inch(1.0, UnitInch);
  EXPECT_EQ(inch.Value(UnitMM), 0.0254 * 1000.0);
  EXPECT_EQ(inch.Value(UnitInch), 0.0254 * 39.37007874015748);
  const ykstd_Dim area(0.5, 0.0, 0.0, UnitMM2);
  EXPECT_EQ(area.Value(UnitMM2), 0.5 * 1000000.0);
  EXPECT_EQ(area.Value(UnitIn2), 0.5 * 1550.0031000062002);
  const ykstd_Dim angle(90.0, UnitDeg);
  EXPECT_EQ(angle.Value(UnitRad), 90.0 * 0.017453292519943295);
  EXPECT_EQ(angle.Value(UnitDeg), 90.0);
  EXPECT_EQ(ykstd_Dim(12.0, UnitThreadM).Value(UnitThreadM), 12.0 * 0.001 * 1000.0);
  EXPECT_EQ(ykstd_Dim(0.5, UnitThreadBSW).Value(UnitThreadBSW), 0.5 * 0.0254 * 39.37007874015748);
  EXPECT_EQ(kMMRange.MaxVal(UnitMM), 0.02 * 1000.0);
  EXPECT_EQ(kMMRange.StepVal(UnitInch), 0.0025 * 39.37007874015748);
  EXPECT_EQ(ykstd_Dim(1.0, 2.0, 3.0, UnitRad).StepVal(UnitRad), 3.0 * 0.017453292519943295);
}

TEST(DimValue, ValueFailsAcrossCategories) {
  const ykstd_Dim none;
  EXPECT_EQ(FailureOf([&] { none.Value(UnitMM); }),
            ProgramError("ykstd_Dim::Value : cannot convert [-0.000] to LENGTH"));
  EXPECT_EQ(FailureOf([&] { none.Value(UnitNone); }),
            ProgramError("ykstd_Dim::Value : invalid unit to convert to [12]"));
  EXPECT_EQ(FailureOf([] { ykstd_Dim(12.5, UnitMM).Value(UnitIn2); }),
            ProgramError("ykstd_Dim::Value : cannot convert [12.500 mm] to AREA"));
  EXPECT_EQ(FailureOf([] { ykstd_Dim(4.0, 0.0, 0.0, UnitMM2).Value(UnitDeg); }),
            ProgramError("ykstd_Dim::Value : cannot convert [4000000.000 mm2] to ANGLE"));
  // A thread converts to nothing but its own standard.
  EXPECT_EQ(FailureOf([] { ykstd_Dim(12.0, UnitThreadM).Value(UnitMM); }),
            ProgramError("ykstd_Dim::Value : cannot convert [M 12.000] to LENGTH"));
  EXPECT_EQ(FailureOf([] { ykstd_Dim(12.0, UnitMM).Value(UnitThreadM); }),
            ProgramError("ykstd_Dim::Value : cannot convert a THREAD"));
  EXPECT_EQ(FailureOf([] { ykstd_Dim(0.5, UnitThreadBSP).Value(UnitThreadBSF); }),
            ProgramError("ykstd_Dim::Value : cannot convert a THREAD"));
  // Max and step exist only for lengths and angles, and show as plain doubles.
  EXPECT_EQ(FailureOf([] { kMMRange.MaxVal(UnitMM2); }),
            ProgramError("ykstd_Dim::Value : invalid unit to convert to [2]"));
  EXPECT_EQ(FailureOf([] { kMMRange.StepVal(UnitNone); }),
            ProgramError("ykstd_Dim::Value : invalid unit to convert to [12]"));
  EXPECT_EQ(FailureOf([] { kMMRange.MaxVal(UnitDeg); }),
            ProgramError("ykstd_Dim::Value : cannot convert [0.02] to ANGLE"));
  EXPECT_EQ(FailureOf([] { ykstd_Dim(1.0, 2.0, 0.125, UnitDeg).StepVal(UnitInch); }),
            ProgramError("ykstd_Dim::Value : cannot convert [0.125] to LENGTH"));
}

TEST(DimValue, TypeOfEveryUnit) {
  const DimType expected[] = {DimLength, DimLength, DimArea,   DimArea,  DimThread, DimThread, DimThread,
                              DimThread, DimThread, DimThread, DimAngle, DimAngle,  DimAny};
  for (int unit = 0; unit <= 12; ++unit)
    EXPECT_EQ(ykstd_Dim(0.0, 0.0, 0.0, static_cast<Unit>(unit)).Type(), expected[unit]) << unit;
  const ykstd_Dim odd(0.0, 0.0, 0.0, static_cast<Unit>('A'));
  EXPECT_EQ(FailureOf([&] { odd.Type(); }), ProgramError("ykstd_Dim::Type : unknown unit [A]"));
  // Everything that asks for the type fails the same way.
  EXPECT_EQ(FailureOf([&] { odd.IsEqual(odd); }), ProgramError("ykstd_Dim::Type : unknown unit [A]"));
  EXPECT_EQ(FailureOf([&] { ykstd_Dim(1.0, UnitMM).Add(odd); }), ProgramError("ykstd_Dim::Type : unknown unit [A]"));
}

TEST(DimArithmetic, AddAndSubtractKeepTheLeftUnit) {
  ykstd_Dim mm(10.0, UnitMM);
  mm.Add(ykstd_Dim(1.0, UnitInch));
  ExpectFields(mm, 0.01 + 0.0254, 0.0, 0.0, UnitMM);
  const ykstd_Dim inch = ykstd_Dim(1.0, UnitInch).Subtracted(ykstd_Dim(10.0, UnitMM));
  ExpectFields(inch, 0.0254 - 0.01, 0.0, 0.0, UnitInch);
  // In place, only the first value of a range moves; with a result, the range is gone.
  ykstd_Dim range = kMMRange;
  range.Subtract(ykstd_Dim(1.0, UnitMM));
  ExpectFields(range, 0.01 - 0.001, 0.02, 0.0025, UnitMM);
  ExpectFields(kMMRange.Added(ykstd_Dim(1.0, UnitMM)), 0.01 + 0.001, 0.0, 0.0, UnitMM);
  // Threads of different standards share a type.
  ykstd_Dim thread(0.5, UnitThreadBSP);
  thread.Add(ykstd_Dim(0.5, UnitThreadUNC));
  ExpectFields(thread, 0.5 * 0.0254 * 2, 0.0, 0.0, UnitThreadBSP);
}

TEST(DimArithmetic, DifferentTypesDoNotAddAndStayUnchanged) {
  ykstd_Dim mm(12.5, UnitMM);
  const ykstd_Dim deg(30.0, UnitDeg);
  EXPECT_EQ(FailureOf([&] { mm.Add(deg); }),
            ProgramError("ykstd_Dim::Add : cannot add different types [12.500 mm+30.000 deg]"));
  EXPECT_EQ(FailureOf([&] { mm.Added(deg); }),
            ProgramError("ykstd_Dim::Added : cannot add different types [12.500 mm+30.000 deg]"));
  EXPECT_EQ(FailureOf([&] { mm.Subtract(ykstd_Dim(2.0, UnitNone)); }),
            ProgramError("ykstd_Dim::Subtract : cannot add different types [12.500 mm-2.000]"));
  EXPECT_EQ(FailureOf([&] { mm.Subtracted(ykstd_Dim(12.0, UnitThreadM)); }),
            ProgramError("ykstd_Dim::Subtracted : cannot add different types [12.500 mm-M 12.000]"));
  ExpectFields(mm, 12.5 * 0.001, 0.0, 0.0, UnitMM);
}

TEST(DimArithmetic, ProductsAndQuotientsFollowTheUnitTables) {
  const ykstd_Dim inch(1.0, UnitInch);
  const ykstd_Dim mm(2.0, UnitMM);
  const ykstd_Dim two(2.0, UnitNone);
  const ykstd_Dim square = inch.Multiplied(inch);
  ExpectFields(square, 0.0254 * 0.0254, 0.0, 0.0, UnitIn2);
  ExpectFields(square.Sqrt(), 0.0254, 0.0, 0.0, UnitInch);
  EXPECT_EQ(mm.Multiplied(inch).GetUnit(), UnitMM2);
  EXPECT_EQ(mm.Multiplied(inch).Sqrt().GetUnit(), UnitMM);
  ExpectFields(two.Multiplied(ykstd_Dim(30.0, UnitDeg)), 60.0, 0.0, 0.0, UnitDeg);
  ExpectFields(ykstd_Dim(12.0, UnitThreadM).Multiplied(two), 0.024, 0.0, 0.0, UnitThreadM);
  ExpectFields(square.Divided(mm), 0.0254 * 0.0254 / 0.002, 0.0, 0.0, UnitInch);
  ExpectFields(mm.Multiplied(inch).Divided(inch), 0.002 * 0.0254 / 0.0254, 0.0, 0.0, UnitMM);
  ExpectFields(ykstd_Dim(30.0, UnitDeg).Divided(two), 15.0, 0.0, 0.0, UnitDeg);

  ykstd_Dim range = kMMRange;
  range.Multiply(two);
  ExpectFields(range, 0.02, 0.02, 0.0025, UnitMM);
  range.Multiply(inch);
  ExpectFields(range, 0.02 * 0.0254, 0.02, 0.0025, UnitMM2);
  range.Divide(mm);
  ExpectFields(range, 0.02 * 0.0254 / 0.002, 0.02, 0.0025, UnitMM);

  EXPECT_EQ(FailureOf([&] { mm.Divided(inch); }),
            ProgramError("ykstd_Dim::Divided : invalid combination of units [2.000 mm/1 \"]"));
  EXPECT_EQ(FailureOf([&] { two.Divided(mm); }),
            ProgramError("ykstd_Dim::Divided : invalid combination of units [2.000/2.000 mm]"));
  EXPECT_EQ(FailureOf([&] { mm.Multiplied(ykstd_Dim(30.0, UnitDeg)); }),
            ProgramError("ykstd_Dim::Multiplied : invalid combination of units [2.000 mm*30.000 deg]"));
  EXPECT_EQ(FailureOf([&] { square.Multiplied(mm); }),
            ProgramError("ykstd_Dim::Multiplied : invalid combination of units [1.000 in2*2.000 mm]"));
  ykstd_Dim left = mm;
  EXPECT_EQ(FailureOf([&] { left.Multiply(ykstd_Dim(12.0, UnitThreadM)); }),
            ProgramError("ykstd_Dim::Multiply : invalid combination of units [2.000 mm*M 12.000]"));
  EXPECT_EQ(FailureOf([&] { left.Divide(mm); }),
            ProgramError("ykstd_Dim::Divide : invalid combination of units [2.000 mm/2.000 mm]"));
  ExpectFields(left, 0.002, 0.0, 0.0, UnitMM);
  EXPECT_EQ(FailureOf([&] { mm.Sqrt(); }), ProgramError("ykstd_Dim::Sqrt : unit must be an AREA [2.000 mm]"));
}

TEST(DimArithmetic, ScalingNeverFailsAndDropsTheRange) {
  ExpectFields(kMMRange.Multiplied(2.0), 0.02, 0.0, 0.0, UnitMM);
  ExpectFields(kMMRange.Negated(), -0.01, 0.0, 0.0, UnitMM);
  const ykstd_Dim odd(3.0, 0.0, 0.0, static_cast<Unit>(200));
  ExpectFields(odd.Divided(2.0), 1.5, 0.0, 0.0, static_cast<Unit>(200));
  EXPECT_TRUE(std::isinf(ykstd_Dim(1.0, UnitMM).Divided(0.0).RawValue()));
  ykstd_Dim area(1.0, UnitMM2);
  area.Divide(ykstd_Dim(0.0, UnitMM));
  EXPECT_TRUE(std::isinf(area.RawValue()));
  EXPECT_EQ(area.GetUnit(), UnitMM);
}

TEST(DimCompare, EqualityUsesTolerancesAndTurnsForAngles) {
  EXPECT_TRUE(ykstd_Dim(25.4, UnitMM).IsEqual(ykstd_Dim(1.0, UnitInch)));
  EXPECT_FALSE(ykstd_Dim(25.4, UnitMM).IsGreater(ykstd_Dim(1.0, UnitInch)));
  EXPECT_FALSE(ykstd_Dim(25.4, UnitMM).IsLess(ykstd_Dim(1.0, UnitInch)));
  // The tolerance is strict: exactly 1e-6 apart is not equal.
  EXPECT_TRUE(ykstd_Dim(1.0, UnitNone).IsEqual(ykstd_Dim(1.0 + 0.9e-6, UnitNone)));
  EXPECT_FALSE(ykstd_Dim(0.0, UnitNone).IsEqual(ykstd_Dim(1e-6, UnitNone)));

  EXPECT_TRUE(ykstd_Dim(90.0, UnitDeg).IsEqual(ykstd_Dim(450.0, UnitDeg)));
  EXPECT_TRUE(ykstd_Dim(-90.0, UnitDeg).IsEqual(ykstd_Dim(270.0, UnitDeg)));
  EXPECT_TRUE(ykstd_Dim(720.0, UnitDeg).IsEqual(ykstd_Dim(0.0, UnitRad)));
  EXPECT_FALSE(ykstd_Dim(359.9999999, UnitDeg).IsEqual(ykstd_Dim(0.0, UnitDeg)));
  EXPECT_TRUE(ykstd_Dim(450.0, UnitDeg).IsGreater(ykstd_Dim(90.0, UnitDeg)));
  EXPECT_TRUE(ykstd_Dim(-90.0, UnitDeg).IsLess(ykstd_Dim(270.0, UnitDeg)));
  // Far-off and infinite angles end, and an infinite one equals nothing.
  EXPECT_TRUE(ykstd_Dim(1e300, UnitDeg).IsEqual(ykstd_Dim(std::fmod(1e300, 360.0), UnitDeg)));
  const double inf = std::numeric_limits<double>::infinity();
  EXPECT_FALSE(ykstd_Dim(-inf, UnitDeg).IsEqual(ykstd_Dim(-inf, UnitDeg)));

  // Different types are simply unequal, but not comparable by size.
  const ykstd_Dim thread(12.0, UnitThreadM);
  const ykstd_Dim mm(12.0, UnitMM);
  EXPECT_FALSE(thread.IsEqual(mm));
  EXPECT_EQ(FailureOf([&] { thread.IsGreater(mm); }),
            ProgramError("ykstd_Dim::IsGreater : type mismatch [M 12.000>12.000 mm]"));
  EXPECT_EQ(FailureOf([&] { mm.IsLess(ykstd_Dim(12.0, UnitDeg)); }),
            ProgramError("ykstd_Dim::IsLess : type mismatch [12.000 mm<12.000 deg]"));
}

TEST(DimCompare, ThreadsOfDifferentStandardsAreNeitherEqualNorOrdered) {
  const ykstd_Dim bsp(0.5, UnitThreadBSP);
  const ykstd_Dim unc(0.5, UnitThreadUNC);
  EXPECT_FALSE(bsp.IsEqual(unc));
  EXPECT_FALSE(bsp.IsGreater(ykstd_Dim(0.25, UnitThreadUNC)));
  EXPECT_FALSE(bsp.IsLess(ykstd_Dim(1.0, UnitThreadUNC)));
  EXPECT_TRUE(bsp.IsEqual(ykstd_Dim(0.5, UnitThreadBSP)));
  EXPECT_TRUE(bsp.IsLess(ykstd_Dim(1.0, UnitThreadBSP)));
}

TEST(DimCompare, RangeEqualityDependsOnTheLeftOperand) {
  const ykstd_Dim first(0.01, UnitNone);
  const ykstd_Dim range(0.01, 0.02, 0.0025, UnitNone);
  EXPECT_TRUE(first.IsEqual(range));
  EXPECT_FALSE(range.IsEqual(first));
  EXPECT_TRUE(range.IsEqual(ykstd_Dim(0.01 + 1e-7, 0.02, 0.0025, UnitNone)));
  EXPECT_FALSE(range.IsEqual(ykstd_Dim(0.01, 0.02, 0.0026, UnitNone)));
}

TEST(DimCompare, RangeMembershipIsOnTheSteps) {
  EXPECT_TRUE(kMMRange.IsInRange(ykstd_Dim(12.5, UnitMM)));
  EXPECT_TRUE(kMMRange.IsInRange(ykstd_Dim(10.0, UnitMM)));
  EXPECT_TRUE(kMMRange.IsInRange(ykstd_Dim(0.02, 0.0, 0.0, UnitInch)));
  EXPECT_TRUE(kMMRange.IsInRange(ykstd_Dim(12.5000001, UnitMM)));
  EXPECT_FALSE(kMMRange.IsInRange(ykstd_Dim(11.0, UnitMM)));
  EXPECT_FALSE(kMMRange.IsInRange(ykstd_Dim(22.5, UnitMM)));
  EXPECT_FALSE(kMMRange.IsInRange(ykstd_Dim(12.5, UnitDeg)));
  EXPECT_FALSE(kMMRange.IsInRange(ykstd_Dim(std::nan(""), 0.0, 0.0, UnitMM)));
  // Without a step nothing is inside, not even the value itself.
  EXPECT_FALSE(ykstd_Dim(0.01, 0.01, 0.0, UnitMM).IsInRange(ykstd_Dim(10.0, UnitMM)));
  // A step so small that the position overflows 32 bits is answered, not truncated wildly.
  EXPECT_FALSE(ykstd_Dim(0.0, 1.0, 1e-300, UnitNone).IsInRange(ykstd_Dim(0.5, UnitNone)));
}

TEST(DimTag, WriteUsesThePrefixAndScalesRanges) {
  const auto written = [](const ykstd_Dim& dim) {
    std::ostringstream out;
    out << dim;
    return out.str();
  };
  EXPECT_EQ(written(ykstd_Dim(12.0, UnitMM)), "/ 12");
  EXPECT_EQ(written(ykstd_Dim(1.5, UnitInch)), "\\ 1.5");
  EXPECT_EQ(written(ykstd_Dim(12.0, UnitThreadM)), "/m12");
  EXPECT_EQ(written(ykstd_Dim(0.5, UnitThreadBSP)), "\\p0.5");
  EXPECT_EQ(written(ykstd_Dim(0.75, UnitThreadBSF)), "\\f0.75");
  EXPECT_EQ(written(ykstd_Dim(0.25, UnitThreadBSW)), "\\w0.25");
  EXPECT_EQ(written(ykstd_Dim(1.0, UnitThreadNPT)), "\\n1");
  EXPECT_EQ(written(ykstd_Dim(2.0, UnitThreadUNC)), "\\u2");
  EXPECT_EQ(written(ykstd_Dim(1.0, UnitRad)), "/r1");
  EXPECT_EQ(written(ykstd_Dim(-45.0, UnitDeg)), "/d-45");
  EXPECT_EQ(written(ykstd_Dim(3.25, UnitNone)), "X 3.25");
  EXPECT_EQ(written(kMMRange), "[/ 10,20,2.5]");
  EXPECT_EQ(written(ykstd_Dim(0.0254, 0.0508, 0.00635, UnitInch)), "[\\ 1,2,0.25]");
  EXPECT_EQ(written(ykstd_Dim(10.0, 20.0, 2.5, UnitDeg)), "[/d10,20,2.5]");
  EXPECT_EQ(written(ykstd_Dim(1.0, 2.0, 0.5, UnitNone)), "[X 1,2,0.5]");
  // Default formatting keeps six digits.
  EXPECT_EQ(written(ykstd_Dim(12.3456789, UnitMM)), "/ 12.3457");
}

TEST(DimTag, WriteRefusesUnitsWithoutTagForm) {
  std::ostringstream out;
  EXPECT_EQ(FailureOf([&] { out << ykstd_Dim(1.0, UnitMM2); }), ProgramError("ykstd_Dim::Write : unknown unit [\x02]"));
  EXPECT_EQ(FailureOf([&] { out << ykstd_Dim(0.0, 0.0, 0.0, static_cast<Unit>('Z')); }),
            ProgramError("ykstd_Dim::Write : unknown unit [Z]"));
  EXPECT_EQ(FailureOf([&] { out << ykstd_Dim(0.012, 0.02, 0.001, UnitThreadM); }),
            ProgramError("ykstd_Dim::Write : unknown unit [\x04] for range"));
  EXPECT_EQ(out.str(), "");
}

TEST(DimText, RoundedStringRoundsHalfAwayFromZero) {
  const auto rounded = [](double number, std::int32_t decimals) {
    return std::string(ykstd_Dim::RoundedString(number, decimals).Text());
  };
  EXPECT_EQ(rounded(2.5, 0), "3");
  EXPECT_EQ(rounded(-2.5, 0), "-3");
  EXPECT_EQ(rounded(1.0005, 3), "1.001");
  EXPECT_EQ(rounded(-0.0004, 3), "-0.000");
  EXPECT_EQ(rounded(0.0, 2), "-0.00");
  EXPECT_EQ(rounded(0.0, 0), "-0");
  EXPECT_EQ(rounded(2.345678901234, -1), "2.345678901");
  EXPECT_EQ(rounded(0.125, -5), "0.125");
  EXPECT_EQ(rounded(1.5, 300).substr(0, 6), "1.5000");
  EXPECT_EQ(rounded(1.5, 300).size(), 302u);
  // Past the double range the scaling factor is infinite; a huge count ends at once.
  EXPECT_NE(rounded(1.5, 2147483647).find("nan"), std::string::npos);
}

TEST(DimText, DisplayTextByUnit) {
  EXPECT_EQ(Ascii(ykstd_Dim(12.5, UnitMM)), "12.500 mm");
  EXPECT_EQ(Ascii(ykstd_Dim(12.5, UnitMM), -1, 0), "12.5");
  EXPECT_EQ(Ascii(ykstd_Dim(0.0254, 0.0, 0.0, UnitInch)), "1 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(1.5, UnitInch), 0), "1 1/2 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(0.75, UnitInch), 5, 0), "3/4");
  EXPECT_EQ(Ascii(ykstd_Dim(1.3, UnitInch)), "1.300 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(1.0 / 128.0, UnitInch), 4), "0.0078 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(-1.5, UnitInch), 1), "-1.5 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(63.0 / 64.0, UnitInch), 1), "63/64 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(2.0, UnitMM2), 1), "2.0 mm2");
  EXPECT_EQ(Ascii(ykstd_Dim(1.0, UnitIn2), 2), "1.00 in2");
  EXPECT_EQ(Ascii(ykstd_Dim(0.5, UnitRad), 2), "0.50 rad");
  EXPECT_EQ(Ascii(ykstd_Dim(45.0, UnitDeg), 0), "45 deg");
  EXPECT_EQ(Ascii(ykstd_Dim(7.25, UnitNone), 2), "7.25");
  EXPECT_EQ(Ascii(ykstd_Dim(12.0, UnitThreadM), 0), "M 12");
  EXPECT_EQ(Ascii(ykstd_Dim(12.0, UnitThreadM), 1, 0), "12.0");
  EXPECT_EQ(Ascii(ykstd_Dim(0.5, UnitThreadBSP)), "BSP 1/2");
  EXPECT_EQ(Ascii(ykstd_Dim(1.25, UnitThreadUNC)), "UNC 1 1/4");
  EXPECT_EQ(Ascii(ykstd_Dim(0.3, UnitThreadNPT), 2, 0), "0.30");
}

TEST(DimText, DisplayTextOfRanges) {
  EXPECT_EQ(Ascii(kMMRange), "10.000~20.000 mm/2.500 mm");
  EXPECT_EQ(Ascii(kMMRange, 1, 0), "10.0~20.0/2.5");
  EXPECT_EQ(Ascii(ykstd_Dim(0.0381, 0.0508, 0.00635, UnitInch), 2), "1 1/2~2.00 \"/0.25 \"");
  EXPECT_EQ(Ascii(ykstd_Dim(10.0, 20.0, 2.5, UnitDeg), 1), "10.0~20.0 deg/2.5 deg");
  EXPECT_EQ(Ascii(ykstd_Dim(1.0, 2.0, 0.5, UnitNone), 1), "1.0~2.0/0.5");
}

TEST(DimText, DisplayFailuresAreLoggedAndGiveAnEmptyText) {
  LogCapture log;
  const ykstd_Dim threads(0.012, 0.02, 0.001, UnitThreadM);
  EXPECT_EQ(Ascii(threads), "");
  EXPECT_EQ(threads.ToLocalString(3, 1).Length(), 0);
  const ykstd_Dim odd(0.0, 0.0, 0.0, static_cast<Unit>('q'));
  EXPECT_EQ(Ascii(odd), "");
  const std::string range = ProgramError("ykstd_Dim::ToAscStr : unknown unit [\x04] for range");
  EXPECT_EQ(log.Text(), CaughtIn("ykstd_Dim::ToAsciiString", range) + CaughtIn("ykstd_Dim::ToLocalString", range) +
                            CaughtIn("ykstd_Dim::ToAsciiString", ProgramError("ykstd_Dim::UnitToString")));
  EXPECT_TRUE(ykstd_fail_Failure::LastFailure().IsNull());
  // An area range has no display text either, and so shows empty inside failure texts.
  EXPECT_EQ(FailureOf([] { ykstd_Dim(1.0, 2.0, 1.0, UnitMM2).Value(UnitDeg); }),
            ProgramError("ykstd_Dim::Value : cannot convert [] to ANGLE"));
}

TEST(DimValue, UnitListingsAppendInListingOrder) {
  const auto units = [](DimType type) {
    ykstd_IntSeq seq;
    seq.Append(-1);  // appended to, never cleared
    ykstd_Dim::TypeUnits(type, seq);
    std::string text;
    for (std::int32_t i = 1; i <= seq.Length(); ++i) text += std::to_string(seq.Value(i)) + " ";
    return text;
  };
  EXPECT_EQ(units(DimAngle), "-1 11 10 ");
  EXPECT_EQ(units(DimLength), "-1 0 1 ");
  EXPECT_EQ(units(DimThread), "-1 4 5 7 6 9 8 ");
  EXPECT_EQ(units(DimArea), "-1 2 3 ");
  EXPECT_EQ(units(DimAny), "-1 0 1 11 10 2 3 4 5 7 6 9 8 ");
  EXPECT_EQ(units(static_cast<DimType>(5)), "-1 ");

  ykstd_AsciiStringSeq names;
  ykstd_Dim::TypeStrings(DimThread, names);
  ykstd_Dim::TypeStrings(DimAny, names);
  std::string text;
  for (std::int32_t i = 1; i <= names.Length(); ++i) text += std::string(names.Value(i).Text()) + "|";
  EXPECT_EQ(text, "M|BSP|BSW|BSF|UNC|NPT|mm|\"|deg|rad|mm2|in2|M|BSP|BSW|BSF|UNC|NPT|");
}

namespace {

using Bytes = std::vector<unsigned char>;

// Stores and loads dimensions through a stream in memory, with a schema that holds `dimVersion`
// for ykstd_Dim (none when negative).
class DimStoreTest : public ::testing::Test {
 protected:
  void SetUp() override { ykstd_Debug::SwitchOn(false); }
  void TearDown() override {
    ykstd_Schema::Destroy();
    ykstd_Debug::SwitchOn(true);
  }
  void UseSchema(std::int16_t dimVersion) {
    ykstd_test::MemStorage schemaStorage;
    {
      ykstd_Archive ar(&schemaStorage, "YKSchema", 1, 4096, nullptr);
      ar.Write("YKS", 4);
      ar << std::int32_t{1} << ykstd_AsciiString("ykstd") << std::int32_t{dimVersion < 0 ? 1 : 2}
         << ykstd_AsciiString("Date") << std::int16_t{0};
      if (dimVersion >= 0) ar << ykstd_AsciiString("Dim") << dimVersion;
    }
    ASSERT_EQ(ykstd_Schema::Load(IStoragePtr(&schemaStorage)), 0);
  }
  Bytes Store(const ykstd_Dim& dim) {
    storage.streams.erase(L"s");
    {
      ykstd_Archive ar(&storage, "s", 1, 4096, nullptr);
      ar << dim;
    }
    return storage.Bytes(L"s");
  }
  ykstd_Dim Load(const Bytes& bytes, std::int32_t dataVersion, ykstd_Dim into = ykstd_Dim(7.0, 8.0, 9.0, UnitDeg)) {
    storage.Bytes(L"s") = bytes;
    ykstd_Archive ar(&storage, "s", 2, 4096, nullptr);
    ar.dataVersion = dataVersion;
    ar >> into;
    return into;
  }
  static Bytes DoubleBytes(double value) {
    Bytes bytes(8);
    std::memcpy(bytes.data(), &value, 8);  // the archive is little-endian, as this machine
    return bytes;
  }

  ykstd_test::MemStorage storage;
};

Bytes Joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const Bytes& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

}  // namespace

TEST_F(DimStoreTest, PlainValueStoresFlagUnitValueAndMarker) {
  UseSchema(0);
  const Bytes bytes = Store(ykstd_Dim(12.5, UnitMM));
  EXPECT_EQ(bytes, Joined({{0x00, 0x00}, DoubleBytes(0.0125), {0x0C, 0x0E}}));
  ExpectFields(Load(bytes, 16), 0.0125, 0.0, 0.0, UnitMM);
  // Before data version 16 there is no marker to read.
  ExpectFields(Load(Joined({{0x00, 0x0B}, DoubleBytes(90.0)}), 15), 90.0, 0.0, 0.0, UnitDeg);
}

TEST_F(DimStoreTest, RangeStoresMaxAndStep) {
  UseSchema(0);
  const Bytes bytes = Store(kMMRange);
  EXPECT_EQ(bytes, Joined({{0x01, 0x00}, DoubleBytes(0.01), DoubleBytes(0.02), DoubleBytes(0.0025), {0x0C, 0x0E}}));
  ExpectFields(Load(bytes, 16), 0.01, 0.02, 0.0025, UnitMM);
  // Max alone is no range, so it is not stored.
  EXPECT_EQ(Store(ykstd_Dim(1.0, 5.0, 0.0, UnitNone)), Joined({{0x00, 0x0C}, DoubleBytes(1.0), {0x0C, 0x0E}}));
  // An area has a stored form although it has no tag form.
  ExpectFields(Load(Store(ykstd_Dim(3.0, 0.0, 0.0, UnitIn2)), 20), 3.0, 0.0, 0.0, UnitIn2);
}

TEST_F(DimStoreTest, BadVersionsAndMarkersFailAndLeaveTheValue) {
  UseSchema(0);
  const ykstd_Dim before(7.0, 8.0, 9.0, UnitDeg);
  ykstd_Dim into = before;
  const Bytes wrongMarker = Joined({{0x00, 0x00}, DoubleBytes(1.0), {0x0E, 0x0C}});
  EXPECT_EQ(FailureOf([&] { into = Load(wrongMarker, 16); }),
            "EXCEPTION ykstd_fail_FileIO (Invalid File Format) : ykstd_Dim: expected end of class");
  ExpectFields(into, 7.0, 8.0, 9.0, UnitDeg);
  ExpectFields(Load(wrongMarker, 15), 1.0, 0.0, 0.0, UnitMM);

  UseSchema(1);
  EXPECT_EQ(FailureOf([&] { into = Load(Store(ykstd_Dim(1.0, UnitMM)), 16); }),
            "EXCEPTION ykstd_fail_FileIO (Bad Class Version) : ykstd_Dim: bad class version [1]");
  UseSchema(-1);
  EXPECT_EQ(FailureOf([&] { into = Load(Store(ykstd_Dim(1.0, UnitMM)), 16); }),
            "EXCEPTION ykstd_fail_FileIO (Bad Class Version) : ykstd_Dim: bad class version [-1]");
  ExpectFields(into, 7.0, 8.0, 9.0, UnitDeg);
  EXPECT_EQ(ykstd_Dim().ConvertVersion(3), 0);
}

TEST(DimText, UnitNamesAsciiAndFromMessages) {
  const char* ascii[] = {"mm", "\"", "mm2", "in2", "M", "BSP", "BSF", "BSW", "NPT", "UNC", "rad", "deg", ""};
  const std::int32_t messages[] = {500, 501, 504, 505, 506, 507, 509, 508, 511, 510, 503, 502, 0};
  for (int unit = 0; unit <= 12; ++unit) {
    const ykstd_AsciiString name = ykstd_Dim::UnitToString(static_cast<Unit>(unit), 0);
    EXPECT_EQ(std::string(name.Length() ? name.Text() : ""), ascii[unit]);
    const ykstd_AsciiString local = ykstd_Dim::UnitToString(static_cast<Unit>(unit), 1);
    const ykstd_AsciiString expected = messages[unit] ? ykstd_MsgEx::Get(messages[unit]) : ykstd_AsciiString();
    EXPECT_TRUE(local.IsEqual(expected)) << unit;
    EXPECT_EQ(ykstd_Dim::StringToUnit(name, 0), static_cast<Unit>(unit));
  }
  EXPECT_EQ(FailureOf([] { ykstd_Dim::UnitToString(static_cast<Unit>(13), 0); }),
            ProgramError("ykstd_Dim::UnitToString"));
  EXPECT_EQ(ykstd_Dim::StringToUnit(ykstd_AsciiString("MM"), 0), UnitNone);
  EXPECT_EQ(ykstd_Dim::StringToUnit(ykstd_AsciiString(), 1), UnitNone);
  EXPECT_EQ(ykstd_Dim::StringToUnit(ykstd_MsgEx::Get(507), 1), UnitThreadBSP);

  // The local display text takes the message text where the ASCII one has the fixed name.
  const std::string local = ykstd_Dim(12.5, UnitMM).ToLocalString(1, 1).Text();
  EXPECT_EQ(local, std::string("12.5 ") + ykstd_MsgEx::Get(500).Text());
  EXPECT_EQ(std::string(ykstd_Dim(12.0, UnitThreadM).ToLocalString(0, 1).Text()),
            std::string(ykstd_MsgEx::Get(506).Text()) + " 12");
}

namespace {

ykstd_Dim ReadFrom(const std::string& text) {
  std::istringstream in(text);
  ykstd_Dim dim(7.0, 8.0, 9.0, UnitDeg);
  in >> dim;
  return dim;
}

}  // namespace

TEST(DimTag, ReadTakesTheUnitFromThePrefix) {
  ExpectFields(ReadFrom("/ 12"), 12 * 0.001, 0.0, 0.0, UnitMM);
  ExpectFields(ReadFrom("/12"), 12 * 0.001, 0.0, 0.0, UnitMM);
  ExpectFields(ReadFrom("  X -3.25"), -3.25, 0.0, 0.0, UnitNone);
  ExpectFields(ReadFrom("/r1"), 57.29577951308232, 0.0, 0.0, UnitRad);
  ExpectFields(ReadFrom("?d-45"), -45.0, 0.0, 0.0, UnitDeg);
  // Inch numbers and threads are expressions in the prefix's unit, whatever unit they compute.
  ExpectFields(ReadFrom("\\ 1+3/4"), 1.75 * 0.0254, 0.0, 0.0, UnitInch);
  ExpectFields(ReadFrom("\\ 2*mm(1)"), 0.002 * 0.0254, 0.0, 0.0, UnitInch);
  ExpectFields(ReadFrom("/m12"), 12 * 0.001, 0.0, 0.0, UnitThreadM);
  ExpectFields(ReadFrom("\\p1/2"), 0.5 * 0.0254, 0.0, 0.0, UnitThreadBSP);
  ExpectFields(ReadFrom("\\f3/8"), 0.375 * 0.0254, 0.0, 0.0, UnitThreadBSF);
  ExpectFields(ReadFrom("\\w1"), 0.0254, 0.0, 0.0, UnitThreadBSW);
  ExpectFields(ReadFrom("\\n(1+1)/4"), 0.5 * 0.0254, 0.0, 0.0, UnitThreadNPT);
  ExpectFields(ReadFrom("\\u2"), 2 * 0.0254, 0.0, 0.0, UnitThreadUNC);
}

TEST(DimTag, ReadRanges) {
  ExpectFields(ReadFrom("[\\ 1+1/2,2,0.25]"), 1.5 * 0.0254, 2 * 0.0254, 0.25 * 0.0254, UnitInch);
  ExpectFields(ReadFrom("[/ 10,20,2.5]"), 10 * 0.001, 20 * 0.001, 2.5 * 0.001, UnitMM);
  ExpectFields(ReadFrom("[/r1,2,0.5]"), 57.29577951308232, 2 * 57.29577951308232, 0.5 * 57.29577951308232, UnitRad);
  ExpectFields(ReadFrom("[/d10,20,2.5]"), 10.0, 20.0, 2.5, UnitDeg);
  ExpectFields(ReadFrom("[X 1,2,0.5]"), 1.0, 2.0, 0.5, UnitNone);
  // The expression of a range ends at the comma, blanks and all.
  ExpectFields(ReadFrom("[\\  1 + 1/4 ,2,0.25]"), 1.25 * 0.0254, 2 * 0.0254, 0.25 * 0.0254, UnitInch);
}

TEST(DimTag, WrittenValuesReadBackInSequence) {
  const ykstd_Dim values[] = {
      ykstd_Dim(12.5, UnitMM),          ykstd_Dim(1.5, UnitInch),      ykstd_Dim(12, UnitThreadM),
      ykstd_Dim(0.75, UnitThreadBSP),   ykstd_Dim(0.5, UnitThreadUNC), ykstd_Dim(0.25, UnitRad),
      ykstd_Dim(-30, UnitDeg),          ykstd_Dim(4.5, UnitNone),      kMMRange,
      ykstd_Dim(1.0, 2.0, 0.5, UnitDeg)};
  std::stringstream stream;
  for (const ykstd_Dim& dim : values) stream << dim << ' ';
  EXPECT_EQ(stream.str(), "/ 12.5 \\ 1.5 /m12 \\p0.75 \\u0.5 /r0.25 /d-30 X 4.5 [/ 10,20,2.5] [/d1,2,0.5] ");
  for (const ykstd_Dim& dim : values) {
    ykstd_Dim back;
    stream >> back;
    EXPECT_TRUE(back.IsEqual(dim)) << Ascii(dim);
    EXPECT_EQ(back.GetUnit(), dim.GetUnit());
  }
}

TEST(DimTag, ReadFailuresNameTheBadPart) {
  const auto readFails = [](const std::string& source) { return FailureOf([&] { ReadFrom(source); }); };
  EXPECT_EQ(readFails("Q 5"), ProgramError("ykstd_Dim::Read : unknown unit [Q]"));
  EXPECT_EQ(readFails("[m1,2,3]"), ProgramError("ykstd_Dim::Read : unknown unit [m]"));
  EXPECT_EQ(readFails("/q5"), ProgramError("ykstd_Dim::Read : unknown thread or angle [q]"));
  // At the end of the stream the unit character is a NUL, which ends the failure's text.
  EXPECT_EQ(readFails("/"), ProgramError("ykstd_Dim::Read : unknown thread or angle ["));
  EXPECT_EQ(readFails(""), ProgramError("ykstd_Dim::Read : unknown thread or angle ["));
  // An inch number must start like a number: a parenthesis is taken for a thread letter.
  EXPECT_EQ(readFails("\\ (1+2)"), ProgramError("ykstd_Dim::Read : unknown thread or angle [(]"));
  EXPECT_EQ(readFails("\\ 1+(2"), ProgramError("ykstd_Dim::Read : error in expression [1+(2]"));
  EXPECT_EQ(readFails("\\ 12mm"), ProgramError("ykstd_Dim::Read : error in expression [12mm]"));
  EXPECT_EQ(readFails("\\p"), ProgramError("ykstd_Dim::Read : error in expression []"));
  // A range's expression is cut at 127 characters, here before its closing parenthesis.
  EXPECT_EQ(readFails("[\\ 1*(" + std::string(124, '1') + "),2,0.25]"),
            ProgramError("ykstd_Dim::Read : error in expression [1*(" + std::string(124, '1') + "]"));
  // A failed read leaves the value as it was.
  std::istringstream in("/q5");
  ykstd_Dim dim(7.0, 8.0, 9.0, UnitDeg);
  EXPECT_NE(FailureOf([&] { in >> dim; }), "no failure");
  ExpectFields(dim, 7.0, 8.0, 9.0, UnitDeg);
}

namespace {

// Display texts read with a session whose lengths are in inches and angles in radians, and whose
// message module (found through the registry) gives the local unit names.
class DimReadTest : public ::testing::Test {
 protected:
  void SetUp() override {
    WriteFileBytes(hives_.ClassesHive(),
                   "Windows Registry Editor Version 5.00\n\n[HKEY_CLASSES_ROOT\\CLSID\\"
                   "{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}\\InprocServer32]\n@=\"" YKSTD_ADDIN_DIR "ykaddin.dll\"\n");
    session_ = new UnitTestSession(UnitInch, UnitRad);
    ASSERT_STREQ(ykstd_MsgEx::Get(500).Text(), "mm");
  }
  void TearDown() override {
    if (!ykstd_Session::CurSession().IsNull()) ykstd_Session::CurSession()->Destroy();
  }
  // The result, then the fields, for comparing whole.
  static std::string Read(const std::string& text, ykstd_Dim& dim, bool local = false) {
    const ykstd_AsciiString source(text.c_str());
    const unsigned char ok = local ? dim.FromLocalString(source) : dim.FromAsciiString(source);
    std::ostringstream out;
    out.precision(17);
    out << int(ok) << " " << dim.RawValue() << " " << int(dim.GetUnit());
    return out.str();
  }
  static std::string Read(const std::string& text) {
    ykstd_Dim dim(5.0, 6.0, 7.0, UnitMM);
    return Read(text, dim);
  }
  static std::string Expected(unsigned char ok, double value, Unit unit) {
    std::ostringstream out;
    out.precision(17);
    out << int(ok) << " " << value << " " << int(unit);
    return out.str();
  }
  TempHives hives_;
  UnitTestSession* session_ = nullptr;
};

}  // namespace

TEST_F(DimReadTest, DisplayTextsReadWithTheirUnit) {
  EXPECT_EQ(Read("12.5 mm"), Expected(1, 12.5 * 0.001, UnitMM));
  EXPECT_EQ(Read("mm 12.5"), Expected(1, 12.5 * 0.001, UnitMM));
  EXPECT_EQ(Read(" \t-3\tdeg"), Expected(1, -3.0, UnitDeg));
  EXPECT_EQ(Read("1 1/2 \""), Expected(1, 1.5 * 0.0254, UnitInch));
  EXPECT_EQ(Read("2 1/2 \""), Expected(1, 2.5 * 0.0254, UnitInch));
  EXPECT_EQ(Read("3/4 \""), Expected(1, 0.75 * 0.0254, UnitInch));
  EXPECT_EQ(Read("M 12"), Expected(1, 12 * 0.001, UnitThreadM));
  EXPECT_EQ(Read("BSP 1/2"), Expected(1, 0.5 * 0.0254, UnitThreadBSP));
  EXPECT_EQ(Read("UNC 1 1/4"), Expected(1, 1.25 * 0.0254, UnitThreadUNC));
  EXPECT_EQ(Read("2 mm2"), Expected(1, 2 * 0.001 * 0.001, UnitMM2));
  // An unknown name behind the number gives a plain number, without failure.
  EXPECT_EQ(Read("12 feet"), Expected(1, 12.0, UnitNone));
  // The denominator is not tested.
  EXPECT_EQ(Read("1/0 mm"), Expected(1, std::numeric_limits<double>::infinity(), UnitMM));
  EXPECT_TRUE(session_->calls.empty());
}

TEST_F(DimReadTest, TextsWithoutUnitAskTheSession) {
  EXPECT_EQ(Read("12.5"), Expected(1, 12.5 * 0.0254, UnitInch));
  // Letters joined to the number are no unit name of their own.
  EXPECT_EQ(Read("12.5mm"), Expected(1, 12.5 * 0.0254, UnitInch));
  ykstd_Dim angle(1.0, UnitDeg);
  EXPECT_EQ(Read("0.5", angle), Expected(1, 0.5 * 57.29577951308232, UnitRad));
  const std::vector<std::string> asked = {"0,UnitLinear,1", "0,UnitLinear,1", "0,UnitAngular,1"};
  EXPECT_EQ(session_->calls, asked);
  // Without a session the read fails and is logged.
  ykstd_Session::CurSession()->Destroy();
  LogCapture log;
  EXPECT_EQ(Read("12.5"), Expected(0, 0.0, UnitNone));
  EXPECT_EQ(log.Text(), CaughtIn("ykstd_Dim::FromAsciiString", "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE"));
}

TEST_F(DimReadTest, RefusedTexts) {
  EXPECT_EQ(Read(""), Expected(0, 0.0, UnitNone));
  EXPECT_EQ(Read("abc"), Expected(0, 5.0, UnitNone));  // unit first but unknown: only the unit is cleared
  EXPECT_EQ(Read("mm abc"), Expected(0, 0.0, UnitNone));
  EXPECT_EQ(Read("#12"), Expected(0, 0.0, UnitNone));
  LogCapture log;
  // Blanks only, or a unit name with nothing behind it, run past the end of the text.
  EXPECT_EQ(Read("   "), Expected(0, 0.0, UnitNone));
  EXPECT_EQ(Read("mm"), Expected(0, 0.0, UnitNone));
  ykstd_Dim local(5.0, UnitDeg);
  EXPECT_EQ(Read("deg ", local, true), Expected(0, 0.0, UnitNone));
  const std::string outOfRange = "EXCEPTION ykstd_fail_OutOfRange : ykstd_AsciiString::SubString(int,int)";
  EXPECT_EQ(log.Text(), CaughtIn("ykstd_Dim::FromAsciiString", outOfRange) +
                            CaughtIn("ykstd_Dim::FromAsciiString", outOfRange) +
                            CaughtIn("ykstd_Dim::FromLocalString", outOfRange));
}

TEST_F(DimReadTest, DisplayTextReadsBackTheSameNumber) {
  for (int sixtyfourths = 0; sixtyfourths <= 200; ++sixtyfourths) {
    const ykstd_Dim inch(sixtyfourths / 64.0, UnitInch);
    const std::string shown = Ascii(inch, 3);
    ykstd_Dim back;
    EXPECT_EQ(Read(shown, back), Expected(1, inch.RawValue(), UnitInch)) << shown;
  }
  for (const ykstd_Dim& dim : {ykstd_Dim(12.5, UnitMM), ykstd_Dim(0.25, UnitThreadBSW), ykstd_Dim(16, UnitThreadM),
                               ykstd_Dim(30, UnitDeg), ykstd_Dim(2.25, UnitIn2)}) {
    ykstd_Dim back;
    EXPECT_EQ(Read(Ascii(dim, -1), back), Expected(1, dim.RawValue(), dim.GetUnit())) << Ascii(dim, -1);
    ykstd_Dim local;
    EXPECT_EQ(Read(std::string(dim.ToLocalString(-1, 1).Text()), local, true),
              Expected(1, dim.RawValue(), dim.GetUnit()));
  }
}

TEST(DimTag, SetReadsTheTagFormWithFixedFractions) {
  const auto set = [](const char* text) {
    ykstd_Dim dim(5.0, 6.0, 7.0, UnitNone);
    dim.Set(ykstd_AsciiString(text));
    return dim;
  };
  // Max and step stay when the text is no range.
  ExpectFields(set("/ 12"), 12 * 0.001, 6.0, 7.0, UnitMM);
  ExpectFields(set("\\ 1+1/2"), 1.5 * 0.0254, 6.0, 7.0, UnitInch);
  ExpectFields(set("\\ 3/4"), 0.75 * 0.0254, 6.0, 7.0, UnitInch);
  ExpectFields(set("/d-45"), -45.0, 6.0, 7.0, UnitDeg);
  ExpectFields(set("/r1"), 57.29577951308232, 6.0, 7.0, UnitRad);
  ExpectFields(set("/m12"), 12 * 0.001, 6.0, 7.0, UnitThreadM);
  ExpectFields(set("\\f1/4"), 0.25 * 0.0254, 6.0, 7.0, UnitThreadBSF);
  ExpectFields(set("\\n1+1/8"), 1.125 * 0.0254, 6.0, 7.0, UnitThreadNPT);
  ExpectFields(set("\\p2"), 2 * 0.0254, 6.0, 7.0, UnitThreadBSP);
  ExpectFields(set("\\u1/2"), 0.5 * 0.0254, 6.0, 7.0, UnitThreadUNC);
  ExpectFields(set("\\w3/8"), 0.375 * 0.0254, 6.0, 7.0, UnitThreadBSW);
  // The metric thread takes no fraction.
  ExpectFields(set("/m12/2"), 12 * 0.001, 6.0, 7.0, UnitThreadM);

  ExpectFields(set("[\\ 1+1/2,2,0.25]"), 1.5 * 0.0254, 2 * 0.0254, 0.25 * 0.0254, UnitInch);
  ExpectFields(set("[/ 10,20,2.5]"), 10 * 0.001, 20 * 0.001, 2.5 * 0.001, UnitMM);
  ExpectFields(set("[/d10,20,5]"), 10.0, 20.0, 5.0, UnitDeg);
  ExpectFields(set("[/r1,2,0.5]"), 57.29577951308232, 2 * 57.29577951308232, 0.5 * 57.29577951308232, UnitRad);
}

TEST(DimTag, SetFailuresLeaveTheValue) {
  ykstd_Dim dim(5.0, 6.0, 7.0, UnitDeg);
  const auto setFails = [&dim](const char* text) { return FailureOf([&] { dim.Set(ykstd_AsciiString(text)); }); };
  EXPECT_EQ(setFails("X 5"), ProgramError("ykstd_Dim::Set : unknown length type [X]"));
  EXPECT_EQ(setFails("[X 1,2,3]"), ProgramError("ykstd_Dim::Set : unknown length type [X]"));
  EXPECT_EQ(setFails("/q5"), ProgramError("ykstd_Dim::Set : unknown category [q]"));
  EXPECT_EQ(setFails("[/m1,2,3]"), ProgramError("ykstd_Dim::Set : unknown category [m] for range"));
  EXPECT_EQ(setFails("/ "), "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::RealValue");
  EXPECT_EQ(setFails("/"), "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::RealValue");
  EXPECT_EQ(setFails("[/ 1,2"), "EXCEPTION ykstd_fail_NumericValue : ykstd_AsciiString::RealValue");
  EXPECT_EQ(setFails(""), "EXCEPTION ykstd_fail_OutOfRange : ");
  ExpectFields(dim, 5.0, 6.0, 7.0, UnitDeg);
}
