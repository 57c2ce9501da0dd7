// A short tour of the library for a person at a terminal.
#include <iostream>

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

int Demo(const std::vector<std::string>&) {
  ykstd_Debug::SwitchOn(false);  // keep the demo's own failures out of any log
  ShowTypes();
  ShowFailure();
  ShowText();
  return 0;
}

yk::CommandRegistrar demo("demo", "demo", "run a short demonstration of the library", Demo);

}  // namespace
