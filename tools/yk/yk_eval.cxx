// Evaluates expressions given on the command line and prints each result with its unit.
#include <cstdio>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

// All digits that a double can need; trailing zeros are left off by the display form.
constexpr std::int32_t kShownDecimals = -1;

int Eval(const std::vector<std::string>& args) {
  if (args.empty()) {
    std::fprintf(stderr, "usage: yk eval EXPR...\n");
    return 2;
  }
  int status = 0;
  for (const std::string& text : args) {
    ykstd_Dim result;
    const ykenum::ExprError error = ykstd_Expression::Evaluate(ykstd_AsciiString(text.c_str()), result);
    if (error == ykenum::ExprNoError) {
      std::printf("%s = %s\n", text.c_str(), result.ToAsciiString(kShownDecimals, 1).Text());
    } else {
      std::fprintf(stderr, "%s: %s\n", text.c_str(), ykstd_Expression::ErrorText(error).Text());
      status = 1;
    }
  }
  return status;
}

yk::CommandRegistrar eval("eval", "eval EXPR...", "evaluate expressions such as mm(10)+in(1)/2", Eval);

}  // namespace
