#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <functional>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include <ykstd/ykstd.hxx>

#include "../src/ykstd/ykstd_ExpressionInput.hxx"
#include "SmallThread.hxx"
#include "ykstd_TestRaised.hxx"

namespace {

// What `std::istringstream >> double` makes of `text`: the value, whether it failed, and how many
// characters it took.
struct StreamResult {
  double value;
  bool failed;
  std::int32_t taken;
};

StreamResult ByStream(const std::string& text) {
  std::istringstream in(text);
  double value = -12345.0;
  in >> value;
  const bool failed = in.fail();
  in.clear();
  const auto at = in.tellg();
  return {value, failed, at < 0 ? static_cast<std::int32_t>(text.size()) : static_cast<std::int32_t>(at)};
}

// The input's number extraction agrees with the stream in value (bit for bit), failure and extent.
void ExpectSameAsStream(const std::string& text) {
  const StreamResult want = ByStream(text);
  ykstd_detail::ExprInput* input = ykstd_detail::ExprInput::Create(text.data(), static_cast<std::int32_t>(text.size()));
  const double got = input->ExtractDouble();
  std::uint64_t gotBits, wantBits;
  std::memcpy(&gotBits, &got, 8);
  std::memcpy(&wantBits, &want.value, 8);
  EXPECT_EQ(gotBits, wantBits) << "text \"" << text << "\": " << got << " vs " << want.value;
  EXPECT_EQ(input->Spent(), want.failed || want.taken == static_cast<std::int32_t>(text.size())) << text;
  if (!want.failed) {
    EXPECT_EQ(input->Position(), want.taken) << text;
  }
  ykstd_detail::ExprInput::Release(input);
}

TEST(ExpressionInput, NumbersAsTheStreamTakesThem_AllShortTexts) {
  // Every text of up to six characters over an alphabet that holds each decision of the number
  // rule (digits, zero, point, both exponent marks, both signs, a foreign letter and a blank),
  // starting where the scanner starts a number: at a digit or a point.
  const std::string alphabet = "07.eE+-x ";
  const std::string starts = "07.";
  std::vector<std::string> layer;
  for (char c : starts) layer.push_back(std::string(1, c));
  for (int length = 1; length <= 6; ++length) {
    std::vector<std::string> next;
    for (const std::string& text : layer) {
      ExpectSameAsStream(text);
      if (length < 6)
        for (char c : alphabet) next.push_back(text + c);
    }
    layer.swap(next);
  }
}

TEST(ExpressionInput, NumbersAsTheStreamTakesThem_HardConversions) {
  const char* texts[] = {
      "1e400",
      "1e-400",
      "1e308",
      "1.7976931348623157e308",
      "1.7976931348623159e308",
      "2.4703282292062328e-324",
      "2.4703282292062327e-324",
      "4.9e-324",
      "2.2250738585072011e-308",
      "9007199254740993",
      "9007199254740992.5",
      "123456789012345678901234567890",
      "0.000000000000000000000000000001e30",
      "1e22",
      "1e23",
      "3e-23",
      "123456789012345678",
      "12345678901234567890123",
      ".5",
      "5.",
      "1.e5",
      "00000000000000000000001.5",
      "0.1",
      "0.3",
      "8.98846567431158e307",
      "1e99999999999999999999",
      "1e-99999999999999999999",
      "0e99999999999",
      "0.0e-5",
      "7e+0",
      "17976931348623157"
      "0"
      "0000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "000000000000000000000000000000000000000000000000000000000000000000000000000"
      "0000000000000000000000000000000000000000000000000000",
  };
  for (const char* text : texts) ExpectSameAsStream(text);

  // Random decimals of every length and scale, with and without exponents.
  std::mt19937 random(20261123);
  for (int n = 0; n < 20000; ++n) {
    std::string text;
    const int intDigits = static_cast<int>(random() % 25);
    for (int i = 0; i < intDigits; ++i) text += static_cast<char>('0' + random() % 10);
    if (random() % 2 || intDigits == 0) {
      text += '.';
      const int fracDigits = static_cast<int>(random() % 25);
      for (int i = 0; i < fracDigits; ++i) text += static_cast<char>('0' + random() % 10);
    }
    if (text[0] != '.' && !ykstd_detail::IsDigit(text[0])) continue;
    if (random() % 2) {
      text += "eE"[random() % 2];
      if (random() % 2) text += "+-"[random() % 2];
      text += std::to_string(random() % 400);
    }
    ExpectSameAsStream(text);
  }
}

TEST(ExpressionInput, SpentAfterItsEndOrAFailedNumber) {
  ykstd_detail::ExprInput* input = ykstd_detail::ExprInput::Create("ab", 2);
  EXPECT_EQ(input->Get(), 'a');
  input->PutBack();
  EXPECT_EQ(input->Get(), 'a');
  EXPECT_EQ(input->Get(), 'b');
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);
  input->PutBack();  // a spent input stays spent
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);
  ykstd_detail::ExprInput::Release(input);

  input = ykstd_detail::ExprInput::Create("1e+x", 4);
  EXPECT_EQ(input->ExtractDouble(), 0.0);
  EXPECT_EQ(input->Get(), ykstd_detail::ExprInput::kEnd);  // "x" is never seen
  ykstd_detail::ExprInput::Release(input);

  // Bytes above 127 and zero bytes are characters like any other.
  const char bytes[] = {'\xff', '\0', '7'};
  input = ykstd_detail::ExprInput::Create(bytes, 3);
  EXPECT_EQ(input->Get(), 0xff);
  EXPECT_EQ(input->Get(), 0);
  EXPECT_EQ(input->ExtractDouble(), 7.0);
  EXPECT_TRUE(input->Spent());
  ykstd_detail::ExprInput::Release(input);
}

// --- The evaluator ---

using namespace ykenum;

}  // namespace

namespace ykenum {
void PrintTo(ExprError error, std::ostream* out) { *out << static_cast<int>(error); }
void PrintTo(Unit unit, std::ostream* out) { *out << static_cast<int>(unit); }
}  // namespace ykenum

namespace {

struct Outcome {
  ExprError error;
  ykstd_Dim result;
};

// Evaluates with a result argument that already holds a marker, so that a result the evaluator
// failed to write shows.
Outcome Eval(const std::string& text) {
  ykstd_Dim result(-777.0, UnitDeg);
  const ExprError error = ykstd_Expression::Evaluate(ykstd_AsciiString(text.c_str()), result);
  return {error, result};
}

void ExpectValue(const std::string& text, double raw, Unit unit) {
  const Outcome got = Eval(text);
  EXPECT_EQ(got.error, ExprNoError) << text;
  EXPECT_EQ(got.result.RawValue(), raw) << text;
  EXPECT_EQ(got.result.GetUnit(), unit) << text;
}

void ExpectError(const std::string& text, ExprError error) { EXPECT_EQ(Eval(text).error, error) << text; }

class ExpressionTest : public ::testing::Test {
 protected:
  void SetUp() override {
    ykstd_Debug::SwitchOn(false);
    ykstd_Expression::Init();
  }
  void TearDown() override {
    ykstd_Expression::Init();
    ykstd_Debug::SwitchOn(true);
  }
};

TEST_F(ExpressionTest, PrecedenceAndAssociativity) {
  ExpectValue("1+3/4", 1.75, UnitNone);
  ExpectValue("2*3+4", 10, UnitNone);
  ExpectValue("2+3*4", 14, UnitNone);
  ExpectValue("-2*3", -6, UnitNone);
  ExpectValue("(2+3)*4", 20, UnitNone);
  ExpectValue("10-2-3", 5, UnitNone);
  ExpectValue("8/4/2", 1, UnitNone);
  ExpectValue("1--1", 2, UnitNone);
  ExpectValue("2*-3", -6, UnitNone);
  ExpectValue(" 1 +\t2\r\v\f", 3, UnitNone);
  ExpectValue("1.5e1*.5", 7.5, UnitNone);
  EXPECT_STREQ(ykstd_Expression::ErrorMsg().Text(), "No error");
}

TEST_F(ExpressionTest, UnitsFollowTheDimArithmetic) {
  ExpectValue("mm(10)+in(1)", 10 * 0.001 + 1 * 0.0254, UnitMM);
  ExpectValue("in(1)+mm(10)", 1 * 0.0254 + 10 * 0.001, UnitInch);
  ExpectValue("mm(10)+in(1)/2", 10 * 0.001 + 1 * 0.0254 / 2, UnitMM);
  ExpectValue("mm(2)*mm(3)", (2 * 0.001) * (3 * 0.001), UnitMM2);
  ExpectValue("in(2)*mm(3)", (2 * 0.0254) * (3 * 0.001), UnitIn2);
  ExpectValue("mm(2)*mm(3)/mm(2)", (2 * 0.001) * (3 * 0.001) / (2 * 0.001), UnitMM);
  ExpectValue("2*deg(45)-deg(10)", 80, UnitDeg);
  ExpectValue("-mm(3)", -3 * 0.001, UnitMM);

  // Combinations the units do not allow are error codes, never failures.
  ExpectError("1+mm(2)", ExprInvalidOperation);
  ExpectError("mm(6)/mm(2)", ExprInvalidOperation);
  ExpectError("1/mm(2)", ExprInvalidOperation);
  ExpectError("deg(1)*deg(1)", ExprInvalidOperation);
  ExpectError("deg(1)*mm(1)", ExprInvalidOperation);
  EXPECT_EQ(ykstd_fail_Failure::LastFailure().IsNull(), 1);
  // The zero test comes before the unit test, and -0 is zero too.
  ExpectError("1/0", ExprDivisionByNull);
  ExpectError("mm(1)/mm(0)", ExprDivisionByNull);
  ExpectError("1/(0*-1)", ExprDivisionByNull);
  EXPECT_STREQ(ykstd_Expression::ErrorMsg().Text(), "ERROR in expression: division by null");
}

TEST_F(ExpressionTest, BuiltInFunctions) {
  ExpectValue("sin(deg(30))", std::sin(30 * 0.017453292519943295), UnitNone);
  ExpectValue("cos(rad(1))", std::cos(1 * 57.29577951308232 * 0.017453292519943295), UnitNone);
  ExpectValue("tan(deg(45))", std::tan(45 * 0.017453292519943295), UnitNone);
  ExpectValue("sin(rad(0))", 0, UnitNone);
  ExpectValue("sqrt(mm(2)*mm(2))", std::sqrt((2 * 0.001) * (2 * 0.001)), UnitMM);
  ExpectValue("sqrt(in(3)*in(3))", std::sqrt((3 * 0.0254) * (3 * 0.0254)), UnitInch);
  ExpectValue("deg(30)", 30, UnitDeg);
  ExpectValue("rad(2)", 2 * 57.29577951308232, UnitRad);
  EXPECT_NEAR(Eval("sin(deg(30))").result.RawValue(), 0.5, 1e-15);

  ExpectError("sin(0.5)", ExprInvalidArgument);
  ExpectError("sqrt(4)", ExprInvalidArgument);
  ExpectError("sqrt(mm(4))", ExprInvalidArgument);
  ExpectError("mm(in(1))", ExprInvalidArgument);
  ExpectError("deg(rad(1))", ExprInvalidArgument);
  // Built-ins take exactly one argument and their names are case-sensitive.
  ExpectError("sin(1,2)", ExprInvalidFunction);
  ExpectError("MM(1)", ExprInvalidFunction);
  ExpectError("f()", ExprInvalidFunction);
  EXPECT_STREQ(ykstd_Expression::ErrorMsg().Text(), "ERROR in expression: invalid function");
}

TEST_F(ExpressionTest, BadTextsGiveTheirCodeAndAResult) {
  struct Case {
    const char* text;
    ExprError error;
    double result;  // what EvalExpr gave, or the value field (the last number scanned)
  };
  Eval("0");  // the value field carries over from evaluation to evaluation
  const Case cases[] = {
      {"pi", ExprParenthesis, 0},          {"7+pi(1)", ExprInvalidFunction, 7},
      {"1 2", ExprTrailingCharacters, 2},  {"12mm", ExprTrailingCharacters, 12},
      {"+1", ExprInvalidFunction, 12},     {")", ExprInvalidFunction, 1},
      {"*3", ExprInvalidFunction, 1},      {"(1+2", ExprParenthesis, 2},
      {"1+2)", ExprTrailingCharacters, 2}, {"$", ExprInvalidCharacter, 2},
      {"1\n+2", ExprInvalidCharacter, 1},  {"--1", ExprInvalidOperation, -1},
      {"-(-4)", ExprInvalidOperation, -4}, {"mm(1,1/0)", ExprDivisionByNull, 0.001},
      {"1/0+2", ExprDivisionByNull, 0},    {"1_2", ExprInvalidCharacter, 1},
      {"5,", ExprTrailingCharacters, 5},
  };
  for (const Case& c : cases) {
    const Outcome got = Eval(c.text);
    EXPECT_EQ(got.error, c.error) << c.text;
    EXPECT_EQ(got.result.RawValue(), c.result) << c.text;
  }
  // The first error stays while the parse runs on; only an invalid character overwrites it.
  ExpectError("1/0+mm(1)*deg(1)+(", ExprDivisionByNull);
  ExpectError("1/0+mm(1)*deg(1)+$", ExprInvalidCharacter);
  // A zero byte is a character like any other, not the end of the text.
  ykstd_AsciiString zero(2, '1');
  zero.SetValue(2, '\0');
  ASSERT_EQ(zero.Length(), 2);
  ykstd_Dim result;
  EXPECT_EQ(ykstd_Expression::Evaluate(zero, result), ExprInvalidCharacter);
}

TEST_F(ExpressionTest, AMissingPrimaryIsTheLastNumber) {
  ExpectValue("2", 2, UnitNone);
  ExpectValue("2*", 4, UnitNone);
  ExpectValue("3", 3, UnitNone);
  ExpectValue("3+", 6, UnitNone);
  ExpectValue(" \t", 3, UnitNone);
  ExpectValue("-", -3, UnitNone);
  const Outcome open = Eval("mm(");
  EXPECT_EQ(open.error, ExprParenthesis);
  EXPECT_EQ(open.result.RawValue(), 3);
  // "." and "1e" are numbers that the stream cannot convert: 0, and the text ends there.
  ExpectValue("5+.", 5, UnitNone);
  ExpectValue("1e+9", 1e9, UnitNone);
  ExpectValue("7*1e", 0, UnitNone);
  ExpectValue("1e999*2", std::numeric_limits<double>::max(), UnitNone);
}

TEST_F(ExpressionTest, TheEmptyTextChangesNothing) {
  Eval("1/0");
  ykstd_Dim result(5, UnitMM);
  EXPECT_EQ(ykstd_Expression::Evaluate(ykstd_AsciiString(""), result), ExprInvalidCharacter);
  EXPECT_EQ(result.RawValue(), 5 * 0.001);
  EXPECT_EQ(result.GetUnit(), UnitMM);
  EXPECT_EQ(ykstd_Expression::Instance().Error(), ExprDivisionByNull);
  EXPECT_STREQ(ykstd_Expression::ErrorMsg().Text(), "ERROR in expression: division by null");
}

TEST_F(ExpressionTest, EverySingleByte) {
  for (int c = 1; c < 256; ++c) {
    ExprError want = ExprInvalidCharacter;
    if (ykstd_detail::IsDigit(c) || c == '.' || c == '-' || (ykstd_detail::IsBlank(c) && c != '\n'))
      want = ExprNoError;
    else if (ykstd_detail::IsLetter(c) || c == '(')
      want = ExprParenthesis;
    else if (c == ')' || c == '*' || c == '+' || c == ',' || c == '/')
      want = ExprInvalidFunction;
    ykstd_Dim result;
    const char text[] = {static_cast<char>(c), '\0'};
    EXPECT_EQ(ykstd_Expression::Evaluate(ykstd_AsciiString(text), result), want) << c;
  }
}

TEST_F(ExpressionTest, NestingIsLimitedOnlyByTheTextLength) {
  ykstd_test::RunOnSmallThread([] {
    // The longest text a string holds: 16382 parentheses on each side of 1+2.
    ExpectValue(std::string(16382, '(') + "1+2" + std::string(16382, ')'), 3, UnitNone);
    std::string calls;
    for (int i = 0; i < 3000; ++i) calls += "sin(deg(";
    ExpectValue(calls + "0" + std::string(6000, ')'), 0, UnitNone);
    // Unbalanced: the innermost primary meets the end, every level then misses its ")".
    ExpectError(std::string(32767, '('), ExprParenthesis);
    ExpectError(calls, ExprParenthesis);
  });
  // Long flat texts need no depth.
  std::string sum = "1";
  for (int i = 0; i < 10000; ++i) sum += "+1";
  ExpectValue(sum, 10001, UnitNone);
}

// --- Registered functions ---

// Records its calls and answers with a fixed result and code.
class Probe : public ykstd_fnc_Function {
 public:
  Probe(const char* name, ArgType type, ExprError answer = ExprNoError)
      : ykstd_fnc_Function(name, type), answer_(answer) {}
  ExprError Compute(std::int32_t i, std::int32_t j, ykstd_Dim& result) const override {
    calls += "(" + std::to_string(i) + "," + std::to_string(j) + ")";
    result.Set(i * 100 + j, UnitNone);
    return answer_;
  }
  ExprError Compute(const ykstd_Dim& argument, ykstd_Dim& result) const override {
    calls += "[" + std::to_string(argument.RawValue()) + "]";
    result.Set(argument.RawValue() * 1000, UnitMM);
    return answer_;
  }
  ExprError Compute(std::int32_t i, ykstd_Dim& result) const override {
    calls += "(" + std::to_string(i) + ")";
    result.Set(i + 0.5, UnitNone);
    return answer_;
  }
  mutable std::string calls;

 private:
  ExprError answer_;
};

Probe* Registered(const char* name, ArgType type, ExprError answer = ExprNoError) {
  Probe* probe = new Probe(name, type, answer);
  ykstd_Expression::AddFunction(probe);
  return probe;
}

class Bare : public ykstd_fnc_Function {
 public:
  Bare(const char* name, ArgType type) : ykstd_fnc_Function(name, type) {}
};

TEST_F(ExpressionTest, FunctionClassAndDefaults) {
  Hnd_ykstd_fnc_Function f = new Bare("kk", ArgIntInt);
  EXPECT_STREQ(f->Name().Text(), "kk");
  EXPECT_EQ(f->Type(), ArgIntInt);
  EXPECT_STREQ(f->DynamicType()->Name(), "ykstd_fnc_Function");
  EXPECT_EQ(f->IsKind(ykstd_TShared_Type_()), 1);
  EXPECT_FALSE(Hnd_ykstd_fnc_Function::DownCast(Hnd_ykstd_Transient(f)).IsNull());

  ykstd_Dim result;
  EXPECT_EQ(RaisedMessage([&] { f->Compute(1, result); }),
            "EXCEPTION ykstd_fail_ProgramError : ykstd_fnc_Function::Compute(INT) : method not redefined");
  EXPECT_EQ(RaisedMessage([&] { f->Compute(result, result); }),
            "EXCEPTION ykstd_fail_ProgramError : ykstd_fnc_Function::Compute(DIM) : method not redefined");
  EXPECT_EQ(RaisedMessage([&] { f->Compute(1, 2, result); }),
            "EXCEPTION ykstd_fail_ProgramError : ykstd_fnc_Function::Compute(INT,INT) : method not redefined");

  // Reached from an expression, the failure becomes an error code and is forgotten.
  ykstd_Expression::AddFunction(f);
  const Outcome got = Eval("2+kk(1,2)");
  EXPECT_EQ(got.error, ExprInvalidOperation);
  EXPECT_EQ(got.result.RawValue(), 2);  // the value field: the last number scanned
  EXPECT_EQ(ykstd_fail_Failure::LastFailure().IsNull(), 1);
  // The unfinished evaluation is nested under the next one, which still works.
  ExpectValue("1+1", 2, UnitNone);
  ExpectValue("3*3", 9, UnitNone);
}

// Gives back its argument, counting the calls.
class Same : public ykstd_fnc_Function {
 public:
  Same() : ykstd_fnc_Function("same", ArgDim) {}
  ExprError Compute(const ykstd_Dim& argument, ykstd_Dim& result) const override {
    ++calls;
    result = argument;
    return ExprNoError;
  }
  mutable int calls = 0;
};

TEST_F(ExpressionTest, RegisteredFunctionsNestAsDeepAsBuiltIns) {
  Same* same = new Same;
  ykstd_Expression::AddFunction(same);
  std::string text;
  for (int i = 0; i < 5000; ++i) text += "same(";
  text += "mm(2)" + std::string(5000, ')');
  ykstd_test::RunOnSmallThread([&] { ExpectValue(text, 0.002, UnitMM); });
  EXPECT_EQ(same->calls, 5000);
}

TEST_F(ExpressionTest, CallsByArgumentType) {
  Probe* single = Registered("one", ArgInt);
  Probe* dim = Registered("dim", ArgDim);
  Probe* pair = Registered("two", ArgIntInt);

  ExpectValue("one(-3)", -2.5, UnitNone);
  ExpectValue("one(2.0)+one(4/2)", 5, UnitNone);
  ExpectValue("dim(mm(2))", 2 * 0.001 * 1000 * 0.001, UnitMM);
  ExpectValue("two(3,4)", 304, UnitNone);
  ExpectValue("2*two(1,1)", 202, UnitNone);
  EXPECT_EQ(single->calls, "(-3)(2)(2)");
  EXPECT_EQ(pair->calls, "(3,4)(1,1)");

  // Whole-number test: cut towards zero, it must come back unchanged; never called otherwise.
  const char* notWhole[] = {"one(1.5)",   "one(mm(2))",       "one(-0.5)",
                            "one(3e9)",   "one(-2147483649)", "two(1,2.5)",
                            "two(0.1,2)", "one(1e300*1e300)", "one(1e300*1e300-1e300*1e300)"};
  for (const char* text : notWhole) ExpectError(text, ExprInvalidArgument);
  ExpectValue("one(2147483647)", 2147483647.5, UnitNone);
  ExpectValue("one(-2147483648)", -2147483647.5, UnitNone);
  EXPECT_EQ(single->calls, "(-3)(2)(2)(2147483647)(-2147483648)");
  EXPECT_EQ(pair->calls, "(3,4)(1,1)");

  ExpectError("one(1,2)", ExprWrongArgumentCount);
  ExpectError("dim(1,2,3)", ExprWrongArgumentCount);
  ExpectError("two(1)", ExprWrongArgumentCount);
  ExpectError("two(1,2,3)", ExprWrongArgumentCount);
  ExpectError("nope(1)", ExprInvalidFunction);
  ExpectError("one", ExprParenthesis);
  ExpectError("one(1", ExprParenthesis);
  // After an error in a later argument only the first one counts, and the call is still made.
  ExpectError("two(1,1/0)", ExprDivisionByNull);
  ExpectError("dim(7,1/0)", ExprDivisionByNull);
  EXPECT_EQ(dim->calls, "[0.002000][7.000000]");
}

TEST_F(ExpressionTest, FirstOfANameDecidesAndBuiltInsComeFirst) {
  Probe* sin2 = Registered("sin", ArgIntInt);
  Registered("f", ArgIntInt);
  Probe* second = Registered("f", ArgInt);
  ExpectValue("sin(1,2)", 102, UnitNone);
  ExpectError("sin(1)", ExprInvalidArgument);  // the built-in, which wants an angle
  ExpectError("f(1)", ExprWrongArgumentCount);
  ExpectValue("f(1,2)", 102, UnitNone);
  EXPECT_EQ(second->calls, "");
  EXPECT_EQ(sin2->calls, "(1,2)");
  ykstd_Expression::Destroy();
  ExpectError("f(1,2)", ExprInvalidFunction);
}

TEST_F(ExpressionTest, ErrorsOfFunctionsAndAllMessages) {
  const char* texts[] = {
      "No error",
      "ERROR in expression: division by null",
      "ERROR in expression: invalid function",
      "ERROR in expression: invalid character",
      "ERROR in expression: odd number of parenthesis",
      "ERROR in expression: index of function is out of range",
      "ERROR in expression: unknown plate function",
      "ERROR in expression: additional characters at the end",
      "ERROR in expression: invalid index or argument",
      "ERROR in expression: invalid operation",
      "ERROR in expression: wrong number of arguments",
      "ERROR in expression: no assembly defined for KK(i,j)",
      "ERROR in expression: program error [unknown expression error]",
  };
  for (int code = 0; code <= 12; ++code) {
    ykstd_Expression::Init();
    const ExprError answer = static_cast<ExprError>(code == 12 ? 200 : code);
    Registered("KK", ArgIntInt, answer);
    const Outcome got = Eval("KK(2,3)");
    EXPECT_EQ(got.error, answer);
    EXPECT_EQ(got.result.RawValue(), 203);  // the function's result stands also with its error
    EXPECT_STREQ(ykstd_Expression::ErrorMsg().Text(), texts[code]);
    EXPECT_EQ(ykstd_Expression::Instance().Error(), answer);
    EXPECT_STREQ(ykstd_Expression::ErrorText(answer).Text(), texts[code]);
  }
  // A function's error does not replace an earlier one.
  ExpectError("1/0+KK(1,1)", ExprDivisionByNull);
}

TEST_F(ExpressionTest, BrokenRegistrationsEndInInvalidOperation) {
  const std::string path = ::testing::TempDir() + "ykstd_expression_log_" + std::to_string(::getpid()) + ".txt";
  ykstd_Debug::mLogFile.open(path, std::ios::out | std::ios::trunc);
  ykstd_Debug::SwitchOn(true);
  ykstd_Expression::AddFunction(Hnd_ykstd_fnc_Function());
  ExpectError("x(1)", ExprInvalidOperation);
  ykstd_Expression::Init();
  ykstd_Expression::AddFunction(new Bare("odd", static_cast<ArgType>(7)));
  ExpectError("1+odd(1)", ExprInvalidOperation);
  ExpectValue("sin(rad(0))", 0, UnitNone);  // built-ins are not searched for in the registry
  ykstd_Debug::mLogFile.close();
  ykstd_Debug::mLogFile.clear();
  std::ifstream in(path);
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(in), {}),
            "EXCEPTION ykstd_fail_NullObject : NULL_HANDLE\n"
            "EXCEPTION ykstd_fail_ProgramError : ykstd_Expression::EvalPrim: invalid function type\n");
}

// Evaluates a text of its own from inside Compute.
class Nested : public ykstd_fnc_Function {
 public:
  explicit Nested(const char* text) : ykstd_fnc_Function("nest", ArgInt), text_(text) {}
  ExprError Compute(std::int32_t i, ykstd_Dim& result) const override {
    ykstd_Dim inner;
    innerError = ykstd_Expression::Evaluate(ykstd_AsciiString(text_), inner);
    innerResult = inner.RawValue();
    result.Set(inner.RawValue() + i, UnitNone);
    return ExprNoError;
  }
  mutable ExprError innerError = ExprNoError;
  mutable double innerResult = 0;

 private:
  const char* text_;
};

TEST_F(ExpressionTest, NestedEvaluationRestoresTheOuterState) {
  Nested* nest = new Nested("10*10 ");
  ykstd_Expression::AddFunction(nest);
  // The outer token (the "*" after the call), its input and its value come back after the call.
  ExpectValue("2+nest(1)*2+1", 2 + 101 * 2 + 1, UnitNone);
  EXPECT_EQ(nest->innerError, ExprNoError);
  EXPECT_EQ(nest->innerResult, 100);
  ExpectValue("nest(nest(0))", 200, UnitNone);
  // The end of the outer text right after the call: the restored value stands in for "2*".
  ExpectValue("nest(5)*", 105 * 105, UnitNone);

  // The inner error is the shared one; the outer goes on after it and keeps the first error.
  ykstd_Expression::Init();
  Nested* bad = new Nested("1/0");
  ykstd_Expression::AddFunction(bad);
  const Outcome got = Eval("nest(3)+4");
  EXPECT_EQ(bad->innerError, ExprDivisionByNull);
  EXPECT_EQ(got.error, ExprDivisionByNull);

  // An inner text that clears the error: the nested call starts it anew.
  ykstd_Expression::Init();
  ykstd_Expression::AddFunction(new Nested("1"));
  ExpectValue("1/0+nest(1)+1", 0 + 2 + 1, UnitNone);
}

TEST_F(ExpressionTest, SignGuardReachesIntoNestedEvaluations) {
  Nested* nest = new Nested("-1");
  ykstd_Expression::AddFunction(nest);
  ExpectValue("nest(1)", 0, UnitNone);
  EXPECT_EQ(nest->innerError, ExprNoError);
  const Outcome got = Eval("-nest(1)");
  EXPECT_EQ(nest->innerError, ExprInvalidOperation);
  EXPECT_EQ(got.error, ExprInvalidOperation);
}

// Empties the evaluator from inside a call, input and registry alike.
class Reset : public ykstd_fnc_Function {
 public:
  Reset() : ykstd_fnc_Function("reset", ArgInt) {}
  ExprError Compute(std::int32_t i, ykstd_Dim& result) const override {
    ykstd_Expression::Init();
    result.Set(i, UnitNone);
    return ExprNoError;
  }
};

TEST_F(ExpressionTest, InitFromInsideACallEndsTheText) {
  ykstd_Expression::AddFunction(new Reset);
  // The "*" was scanned before the call; what follows it is gone, so the missing primary is the
  // function's own result.
  ExpectValue("reset(3)*2+100", 9, UnitNone);
  ExpectError("reset(1)", ExprInvalidFunction);  // the registry went with it
}

// A nested evaluation that fails inside leaves its input behind: the outer reads on from there,
// and all of it is released in order.
TEST_F(ExpressionTest, FailureInsideANestedEvaluation) {
  ykstd_Expression::AddFunction(new Nested("3+boom(1)"));
  ykstd_Expression::AddFunction(new Bare("boom", ArgInt));
  const Outcome got = Eval("nest(1)*2");
  EXPECT_EQ(got.error, ExprInvalidOperation);
  EXPECT_EQ(ykstd_fail_Failure::LastFailure().IsNull(), 1);
  ExpectValue("4*4", 16, UnitNone);
  ykstd_Expression::Init();
  ExpectValue("5*5", 25, UnitNone);
}

}  // namespace
