// Any text given to the evaluator ends in an error code: no failure escapes, no crash, no hang.
// Functions of every argument type are registered, among them one that evaluates again from its
// Compute (also itself, and a text whose function raises), so that nesting and the recovery from
// a failure inside a nested evaluation are reached as well.
#include <cstddef>
#include <cstdint>
#include <cstdlib>

#include <ykstd/ykstd.hxx>

namespace {

using namespace ykenum;

class Whole : public ykstd_fnc_Function {
 public:
  Whole() : ykstd_fnc_Function("idx", ArgInt) {}
  ExprError Compute(std::int32_t i, ykstd_Dim& result) const override {
    if (i < 0) return ExprIndexOutOfRange;
    result.Set(i, UnitMM);
    return ExprNoError;
  }
};

class Twice : public ykstd_fnc_Function {
 public:
  Twice() : ykstd_fnc_Function("twice", ArgDim) {}
  ExprError Compute(const ykstd_Dim& argument, ykstd_Dim& result) const override {
    result = argument.Multiplied(2.0);
    return ExprNoError;
  }
};

class Pair : public ykstd_fnc_Function {
 public:
  Pair() : ykstd_fnc_Function("KK", ArgIntInt) {}
  ExprError Compute(std::int32_t i, std::int32_t j, ykstd_Dim& result) const override {
    if (j == 0) return ExprNoAssembly;
    result.Set(static_cast<double>(i) / j, UnitDeg);
    return ExprNoError;
  }
};

// Leaves every Compute undefined: calling it raises.
class Boom : public ykstd_fnc_Function {
 public:
  Boom() : ykstd_fnc_Function("boom", ArgInt) {}
};

class Nest : public ykstd_fnc_Function {
 public:
  Nest() : ykstd_fnc_Function("nest", ArgInt) {}
  ExprError Compute(std::int32_t i, ykstd_Dim& result) const override {
    static const char* const texts[] = {"1+2*3", "nest(1)", "-1", "boom(1)", "sqrt(mm(2)*mm(2))", ")", "x"};
    const std::size_t n = sizeof(texts) / sizeof(texts[0]);
    const std::size_t k = static_cast<std::size_t>(i < 0 ? -(i + 1) : i) % n;
    // "nest(1)" calls this again without end; the evaluator no longer cuts it off, so the
    // function bounds its own re-entry as any recursive add-in function must.
    static int active = 0;
    if (active >= 16) return ExprIndexOutOfRange;
    ++active;
    const ExprError error = ykstd_Expression::Evaluate(ykstd_AsciiString(texts[k]), result);
    --active;
    return error == ExprTrailingCharacters ? ExprUnknownPlateFunction : ExprNoError;
  }
};

void Register() {
  ykstd_Debug::SwitchOn(false);
  ykstd_Expression::AddFunction(new Whole);
  ykstd_Expression::AddFunction(new Twice);
  ykstd_Expression::AddFunction(new Pair);
  ykstd_Expression::AddFunction(new Boom);
  ykstd_Expression::AddFunction(new Nest);
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool registered = (Register(), true);
  (void)registered;
  // Every byte goes in, zero bytes too, up to the longest text a string holds.
  const std::int32_t length = static_cast<std::int32_t>(size < 32767 ? size : 32767);
  ykstd_AsciiString text(length, ' ');
  for (std::int32_t i = 0; i < length; ++i) text.SetValue(i + 1, static_cast<char>(data[i]));
  ykstd_Dim result;
  const ExprError error = ykstd_Expression::Evaluate(text, result);
  if (error > ExprNoAssembly) std::abort();  // no function here gives another code
  if (ykstd_Expression::ErrorMsg().Length() == 0) std::abort();
  if (!ykstd_fail_Failure::LastFailure().IsNull()) std::abort();  // every failure was absorbed
  return 0;
}
