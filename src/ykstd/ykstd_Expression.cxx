#include <cmath>
#include <cstring>
#include <memory>
#include <new>
#include <string>

#include <ykstd/ykstd_Expression.hxx>
#include <ykstd/ykstd_Failure.hxx>

#include "ykstd_DeepStack.hxx"
#include "ykstd_ExpressionInput.hxx"

using namespace ykenum;

YKSTD_IMPLEMENT_TYPE(ykstd_fnc_Function, ykstd_TShared)
YKSTD_IMPLEMENT_SEQUENCE(FunctionSeq)

ykstd_fnc_Function::ykstd_fnc_Function(const char* name, ArgType type) : name_(name), type_(type) {}

ykstd_fnc_Function::~ykstd_fnc_Function() = default;

ExprError ykstd_fnc_Function::Compute(std::int32_t, std::int32_t, ykstd_Dim&) const {
  ykstd_fail_ProgramError::Raise("ykstd_fnc_Function::Compute(INT,INT) : method not redefined");
}

ExprError ykstd_fnc_Function::Compute(const ykstd_Dim&, ykstd_Dim&) const {
  ykstd_fail_ProgramError::Raise("ykstd_fnc_Function::Compute(DIM) : method not redefined");
}

ExprError ykstd_fnc_Function::Compute(std::int32_t, ykstd_Dim&) const {
  ykstd_fail_ProgramError::Raise("ykstd_fnc_Function::Compute(INT) : method not redefined");
}

// Only the first two arguments are ever passed on (no call takes more), so only they are kept;
// the count decides the rest.
struct ykstd_Expression::Args {
  ykstd_Dim first;
  ykstd_Dim second;
  std::int32_t count = 0;
};

namespace {

using ykstd_detail::ExpressionStatics;
using ykstd_detail::ExprInput;

const char* const kErrorTexts[] = {
    "No error",
    "division by null",
    "invalid function",
    "invalid character",
    "odd number of parenthesis",
    "index of function is out of range",
    "unknown plate function",
    "additional characters at the end",
    "invalid index or argument",
    "invalid operation",
    "wrong number of arguments",
    "no assembly defined for KK(i,j)",
};

bool IsLength(Unit unit) { return unit == UnitMM || unit == UnitInch; }
bool IsArea(Unit unit) { return unit == UnitMM2 || unit == UnitIn2; }
bool IsAngle(Unit unit) { return unit == UnitRad || unit == UnitDeg; }

// Is the stored number a whole 32-bit number? Cut towards zero, it must come back unchanged;
// a number outside the 32-bit range or not a number at all is no whole number.
bool WholeNumber(double x, std::int32_t& whole) {
  if (std::isnan(x)) return false;
  const double cut = x > 0 ? std::floor(x) : std::ceil(x);
  if (!(cut >= -2147483648.0 && cut <= 2147483647.0)) return false;
  whole = static_cast<std::int32_t>(cut);
  return static_cast<double>(whole) == x;
}

bool NameIs(const ykstd_AsciiString& name, const char* builtIn, std::int32_t length) {
  return name.Length() == length && std::memcmp(name.Text(), builtIn, static_cast<std::size_t>(length)) == 0;
}

// Gives a variable a value for the lifetime of the guard and restores it, whatever way the scope is
// left (a failure from a function's Compute unwinds through here).
template <class T>
class ScopedValue {
 public:
  ScopedValue(T& variable, T value) : variable_(variable), saved_(variable) { variable_ = value; }
  ScopedValue(const ScopedValue&) = delete;
  ScopedValue& operator=(const ScopedValue&) = delete;
  ~ScopedValue() { variable_ = saved_; }

 private:
  T& variable_;
  T saved_;
};

}  // namespace

ykstd_Expression::ykstd_Expression() : token_(TokEnd), error_(ExprNoError) { ExpressionStatics().input = nullptr; }

ykstd_Expression::~ykstd_Expression() = default;

const ykstd_Expression& ykstd_Expression::Instance() { return ykstd_detail::ExpressionInstance(); }

ExprError ykstd_Expression::Evaluate(const ykstd_AsciiString& text, ykstd_Dim& result) {
  if (text.Length() == 0) return ExprInvalidCharacter;
  ykstd_Expression& self = ykstd_detail::ExpressionInstance();
  ykstd_detail::ExprStatics& statics = ExpressionStatics();
  self.error_ = ExprNoError;
  try {
    if (statics.input) {
      std::unique_ptr<ykstd_detail::ExprSavedState> record(
          new ykstd_detail::ExprSavedState{statics.input, self.value_, self.name_, self.token_});
      statics.saved.Push(record.get());
      record.release();
      statics.input = nullptr;
    }
    statics.input = ExprInput::Create(text.Text(), text.Length());
    self.NextToken();
    const ykstd_Dim computed = self.EvalExpr();
    ExprInput::Release(statics.input);
    statics.input = nullptr;
    const bool leftOver = self.token_ != TokEnd && self.error_ == ExprNoError;
    if (ykstd_detail::ExprSavedState* outer = statics.Pop()) {
      statics.input = outer->input;
      self.value_ = outer->value;
      self.name_ = static_cast<ykstd_AsciiString&&>(outer->name);
      self.token_ = outer->token;
      delete outer;
    }
    if (leftOver) {
      self.error_ = ExprTrailingCharacters;
      result.Copy(self.value_);
    } else {
      result.Copy(computed);
    }
  } catch (Hnd_ykstd_fail_Failure& failure) {
    // The unfinished evaluation's input stays; the next evaluation nests above it.
    failure->Remove();
    self.SetError(ExprInvalidOperation);
    result.Copy(self.value_);
  }
  return static_cast<ExprError>(self.error_);
}

ykstd_AsciiString ykstd_Expression::ErrorMsg() {
  return ErrorText(static_cast<ExprError>(ykstd_detail::ExpressionInstance().error_));
}

ykstd_AsciiString ykstd_Expression::ErrorText(ExprError error) {
  if (error == ExprNoError) return ykstd_AsciiString(kErrorTexts[0]);
  ykstd_AsciiString message("ERROR in expression: ");
  message.AssignCat(error < sizeof(kErrorTexts) / sizeof(kErrorTexts[0]) ? kErrorTexts[error]
                                                                         : "program error [unknown expression error]");
  return message;
}

void ykstd_Expression::AddFunction(const Hnd_ykstd_fnc_Function& function) {
  ykstd_detail::ExpressionInstance().functions_.Append(function);
}

void ykstd_Expression::Init() {
  ykstd_detail::ExpressionInstance().functions_.Clear();
  ExpressionStatics().ReleaseAll();
}

void ykstd_Expression::Destroy() { ykstd_detail::ExpressionInstance().functions_.Clear(); }

void ykstd_Expression::NextToken() {
  // Init called from a function's Compute takes the input away: the text has ended then.
  if (!ExpressionStatics().input) {
    token_ = TokEnd;
    return;
  }
  ExprInput& input = *ExpressionStatics().input;
  for (;;) {
    const int c = input.Get();
    if (c == ExprInput::kEnd) {
      token_ = TokEnd;
      return;
    }
    if (c != '\n' && ykstd_detail::IsBlank(c)) continue;
    switch (c) {
      case '(': token_ = TokOpen; return;
      case ')': token_ = TokClose; return;
      case '*': token_ = TokMul; return;
      case '+': token_ = TokPlus; return;
      case ',': token_ = TokComma; return;
      case '-': token_ = TokMinus; return;
      case '/': token_ = TokDiv; return;
      default: break;
    }
    if (ykstd_detail::IsDigit(c) || c == '.') {
      input.PutBack();
      value_.Set(input.ExtractDouble(), UnitNone);
      token_ = TokNumber;
      return;
    }
    if (!ykstd_detail::IsLetter(c)) {
      token_ = TokEnd;
      error_ = ExprInvalidCharacter;
      return;
    }
    // An identifier: the run of letters from here.
    std::string letters(1, static_cast<char>(c));
    for (int next = input.Get(); next != ExprInput::kEnd; next = input.Get()) {
      if (!ykstd_detail::IsLetter(next)) {
        input.PutBack();
        break;
      }
      letters += static_cast<char>(next);
    }
    name_ = ykstd_AsciiString(letters.c_str());
    token_ = TokName;
    return;
  }
}

ykstd_Dim ykstd_Expression::EvalExpr() {
  ykstd_Dim left = EvalTerm();
  while (token_ == TokPlus || token_ == TokMinus) {
    const unsigned char op = token_;
    NextToken();
    const ykstd_Dim right = EvalTerm();
    if (error_ != ExprNoError) continue;
    if (left.Type() != right.Type()) {
      error_ = ExprInvalidOperation;
      return value_;
    }
    if (op == TokPlus)
      left.Add(right);
    else
      left.Subtract(right);
  }
  return left;
}

ykstd_Dim ykstd_Expression::EvalTerm() {
  ykstd_Dim left = EvalPrim();
  while (token_ == TokMul || token_ == TokDiv) {
    const unsigned char op = token_;
    NextToken();
    const ykstd_Dim right = EvalPrim();
    if (error_ != ExprNoError) continue;
    const Unit l = left.GetUnit();
    const Unit r = right.GetUnit();
    if (op == TokMul) {
      if (l != UnitNone && r != UnitNone && !(IsLength(l) && IsLength(r))) {
        error_ = ExprInvalidOperation;
        return value_;
      }
      left.Multiply(right);
    } else {
      if (right.RawValue() == 0.0) {
        error_ = ExprDivisionByNull;
        return value_;
      }
      if (r != UnitNone && (!IsArea(l) || !IsLength(r))) {
        error_ = ExprInvalidOperation;
        return value_;
      }
      left.Divide(right);
    }
  }
  return left;
}

ykstd_Dim ykstd_Expression::EvalPrim() {
  // Nesting is as deep as the text makes it; when the stack runs low the rest continues on a new
  // segment, and only a segment that memory cannot give ends the evaluation.
  if (ykstd_detail::StackIsLow()) {
    try {
      return ykstd_detail::WithDeepStack([this] { return EvalPrim(); });
    } catch (const std::bad_alloc&) {
      SetError(ExprInvalidOperation);
      return value_;
    }
  }
  ykstd_detail::ExprStatics& statics = ExpressionStatics();
  switch (token_) {
    case TokNumber: NextToken(); return value_;
    case TokEnd:
      // End of input where a primary is due is no error: the last number scanned stands in.
      return value_;
    case TokMinus: {
      NextToken();
      if (statics.signGuard) {
        SetError(ExprInvalidOperation);
        return value_;
      }
      const ScopedValue<bool> guard(statics.signGuard, true);
      return EvalPrim().Multiplied(-1.0);
    }
    case TokOpen: {
      NextToken();
      const ykstd_Dim inner = EvalExpr();
      if (token_ == TokClose) {
        NextToken();
        return inner;
      }
      SetError(ExprParenthesis);
      return value_;
    }
    case TokName: {
      const ykstd_AsciiString function(name_);
      NextToken();
      if (token_ != TokOpen) {
        SetError(ExprParenthesis);
        return value_;
      }
      NextToken();
      Args args;
      EvalArgs(args);
      if (token_ != TokClose) {
        SetError(ExprParenthesis);
        return value_;
      }
      NextToken();
      Call(function, args);
      return value_;
    }
    default: SetError(ExprInvalidFunction); return value_;
  }
}

void ykstd_Expression::EvalArgs(Args& list) {
  list.count = 0;
  for (;;) {
    const ykstd_Dim argument = EvalExpr();
    if (list.count == 0)
      list.first = argument;
    else if (list.count == 1)
      list.second = argument;
    ++list.count;
    if (token_ != TokComma) break;
    NextToken();
  }
  // The arguments after the first join the list only when the whole list was read without error.
  if (list.count > 1 && error_ != ExprNoError) list.count = 1;
}

bool ykstd_Expression::CallBuiltIn(const ykstd_AsciiString& function, const ykstd_Dim& argument) {
  static const struct {
    const char* name;
    std::int32_t length;
    Unit unit;  // the unit a number is given, for the four unit names
  } kUnitNames[] = {{"mm", 2, UnitMM}, {"in", 2, UnitInch}, {"deg", 3, UnitDeg}, {"rad", 3, UnitRad}};
  const Unit unit = argument.GetUnit();
  for (const auto& entry : kUnitNames) {
    if (!NameIs(function, entry.name, entry.length)) continue;
    if (unit == UnitNone)
      value_.Set(argument.RawValue(), entry.unit);
    else
      SetError(ExprInvalidArgument);
    return true;
  }
  const char* const kAngleFunctions[] = {"sin", "cos", "tan"};
  for (int k = 0; k < 3; ++k) {
    if (!NameIs(function, kAngleFunctions[k], 3)) continue;
    if (IsAngle(unit)) {
      const double radians = argument.Value(UnitRad);
      value_.Set(k == 0 ? std::sin(radians) : k == 1 ? std::cos(radians) : std::tan(radians), UnitNone);
    } else {
      SetError(ExprInvalidArgument);
    }
    return true;
  }
  if (NameIs(function, "sqrt", 4)) {
    if (IsArea(unit))
      value_ = argument.Sqrt();
    else
      SetError(ExprInvalidArgument);
    return true;
  }
  return false;
}

void ykstd_Expression::Call(const ykstd_AsciiString& function, const Args& list) {
  if (list.count == 1 && CallBuiltIn(function, list.first)) return;
  // The first registered function of the name decides. A copy of its handle keeps it alive should
  // its Compute change the registry.
  Hnd_ykstd_fnc_Function found;
  const std::int32_t registered = functions_.Length();
  for (std::int32_t i = 1; i <= registered; ++i) {
    const Hnd_ykstd_fnc_Function& candidate = functions_.Value(i);
    if (candidate->name_.IsEqual(function)) {
      found = candidate;
      break;
    }
  }
  if (found.IsNull()) {
    SetError(ExprInvalidFunction);
    return;
  }
  ExprError outcome = ExprNoError;
  std::int32_t i = 0;
  std::int32_t j = 0;
  switch (found->type_) {
    case ArgInt:
      if (list.count != 1) {
        SetError(ExprWrongArgumentCount);
        return;
      }
      if (!WholeNumber(list.first.RawValue(), i)) {
        SetError(ExprInvalidArgument);
        return;
      }
      outcome = found->Compute(i, value_);
      break;
    case ArgDim:
      if (list.count != 1) {
        SetError(ExprWrongArgumentCount);
        return;
      }
      outcome = found->Compute(list.first, value_);
      break;
    case ArgIntInt:
      if (list.count != 2) {
        SetError(ExprWrongArgumentCount);
        return;
      }
      if (!WholeNumber(list.first.RawValue(), i) || !WholeNumber(list.second.RawValue(), j)) {
        SetError(ExprInvalidArgument);
        return;
      }
      outcome = found->Compute(i, j, value_);
      break;
    default: ykstd_fail_ProgramError::Raise("ykstd_Expression::EvalPrim: invalid function type");
  }
  if (outcome != ExprNoError) SetError(outcome);
}
