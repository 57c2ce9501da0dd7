// A short tour of the library for a person at a terminal.
#include <iostream>
#include <sstream>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

void ShowTypes() {
  Hnd_ykstd_Type type = ykstd_fail_OutOfRange_Type_();
  std::cout << "type " << type << " has " << type->NumberOfAncestor() << " ancestors;";
  std::cout << " kind of ykstd_fail_DomainError: "
            << int(Hnd_ykstd_fail_Failure(new ykstd_fail_OutOfRange)->IsKind(ykstd_fail_DomainError_Type_())) << "\n";
}

void ShowFailure() {
  try {
    ykstd_fail_FileIO::Raise("stream \"Demo\" ends early", 19);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::cout << "caught: " << failure << "\n";
    failure->Remove();
  }
}

void ShowText() {
  ykstd_AsciiString text("abc");
  std::cout << "hash of \"" << text << "\" in 32767 buckets: " << ykstd_AsciiString::HashCode(text, 32767) << "\n";
}

void ShowExpressions() {
  // "2*" ends where a number is due: the last number scanned stands in, so it reads 2*2.
  for (const char* text : {"mm(10)+in(1)/2", "sin(deg(30))", "sqrt(mm(3)*mm(3)+mm(4)*mm(4))", "2*", "1/0"}) {
    ykstd_Dim result;
    const ykenum::ExprError error = ykstd_Expression::Evaluate(ykstd_AsciiString(text), result);
    std::cout << "eval " << text << " -> "
              << (error == ykenum::ExprNoError ? result.ToAsciiString(-1, 1) : ykstd_Expression::ErrorText(error))
              << "\n";
  }
}

void ShowDimTexts() {
  const ykstd_Dim dims[] = {ykstd_Dim(12.5, ykenum::UnitMM), ykstd_Dim(1.5, ykenum::UnitInch),
                            ykstd_Dim(0.01, 0.02, 0.0025, ykenum::UnitMM), ykstd_Dim(0.5, ykenum::UnitThreadBSP)};
  for (const ykstd_Dim& dim : dims) std::cout << "dim " << dim.ToAsciiString(3, 1) << "  tag form " << dim << "\n";
  // Inch numbers in the tag form are expressions.
  std::istringstream tag("\\ 1+3/4");
  ykstd_Dim read;
  tag >> read;
  std::cout << "tag form " << tag.str() << " reads " << read.ToAsciiString(3, 1) << "\n";
}

int Demo(const std::vector<std::string>&) {
  ykstd_Debug::SwitchOn(false);  // keep the demo's own failures out of any log
  ShowTypes();
  ShowFailure();
  ShowText();
  ShowExpressions();
  ShowDimTexts();
  return 0;
}

yk::CommandRegistrar demo("demo", "demo", "run a short demonstration of the library", Demo);

}  // namespace
