// The expression evaluator over dimensioned values, and the base of the functions that the
// add-in's modules register with it.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_TShared.hxx>

YKSTD_HANDLE(ykstd_fnc_Function, ykstd_TShared);

// A function callable by name in an expression. A module derives from it, redefines the Compute
// that its argument type selects and registers an instance with ykstd_Expression::AddFunction.
class YKSTD_EXPORT ykstd_fnc_Function : public ykstd_TShared {
 public:
  ~ykstd_fnc_Function() override;

  ykstd_AsciiString Name() const { return name_; }
  ykenum::ArgType Type() const { return type_; }

  // Each gives its result in `result` (the evaluator's current value on entry) and returns
  // ExprNoError, or an error code. The defaults raise ykstd_fail_ProgramError.
  virtual ykenum::ExprError Compute(std::int32_t i, std::int32_t j, ykstd_Dim& result) const;
  virtual ykenum::ExprError Compute(const ykstd_Dim& argument, ykstd_Dim& result) const;
  virtual ykenum::ExprError Compute(std::int32_t i, ykstd_Dim& result) const;

  YKSTD_DECLARE_TYPE(ykstd_fnc_Function);

 protected:
  ykstd_fnc_Function(const char* name, ykenum::ArgType type);

 private:
  friend class ykstd_Expression;

  ykstd_AsciiString name_;
  ykenum::ArgType type_;
};

// The registry of functions, in order of registration.
YKSTD_SEQUENCE(FunctionSeq, Hnd_ykstd_fnc_Function, ykstd_FormObject);

// The process-wide evaluator: Evaluate("mm(10)+in(1)/2", result). It computes while it parses;
// a bad expression gives an error code, never a failure. A registered function may evaluate
// again from its Compute: the outer evaluation's state is saved and comes back afterwards.
class YKSTD_EXPORT ykstd_Expression {
 public:
  ykstd_Expression();
  ykstd_Expression(const ykstd_Expression&) = delete;
  ykstd_Expression& operator=(const ykstd_Expression&) = delete;
  ~ykstd_Expression();

  static ykenum::ExprError Evaluate(const ykstd_AsciiString& text, ykstd_Dim& result);
  // "No error", or "ERROR in expression: " and the text of the last evaluation's error.
  static ykstd_AsciiString ErrorMsg();
  // The same text for any code, e.g. for the one Evaluate returned for an empty text.
  static ykstd_AsciiString ErrorText(ykenum::ExprError error);
  static void AddFunction(const Hnd_ykstd_fnc_Function& function);
  // Forgets the registered functions and any evaluation left unfinished by a failure.
  static void Init();
  // Forgets the registered functions.
  static void Destroy();

  // The one evaluator that the static operations work on.
  static const ykstd_Expression& Instance();

  ykenum::ExprError Error() const { return static_cast<ykenum::ExprError>(error_); }

 private:
  enum Token : unsigned char {
    TokName = 0,
    TokNumber = 1,
    TokComma = 2,
    TokEnd = 3,
    TokPlus = 4,
    TokMinus = 5,
    TokMul = 6,
    TokDiv = 7,
    TokOpen = 8,
    TokClose = 9
  };

  // The arguments of one call.
  struct Args;

  void NextToken();
  ykstd_Dim EvalExpr();
  ykstd_Dim EvalTerm();
  ykstd_Dim EvalPrim();
  void EvalArgs(Args& list);
  void Call(const ykstd_AsciiString& function, const Args& list);
  bool CallBuiltIn(const ykstd_AsciiString& function, const ykstd_Dim& argument);
  // Keeps the first error of an evaluation.
  void SetError(ykenum::ExprError error) {
    if (error_ == ykenum::ExprNoError) error_ = error;
  }

  ykstd_FunctionSeq functions_;
  ykstd_Dim value_;
  ykstd_AsciiString name_;
  unsigned char token_;
  unsigned char error_;
};
