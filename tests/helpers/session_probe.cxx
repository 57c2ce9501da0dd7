// Reports what the library set up when it was loaded into this program, which exports its own
// message texts.
#include <cstdio>

#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Session.hxx>

YKSTD_STRING_TABLE { return id == 7 ? "seven" : nullptr; }

int main() {
  std::printf("%s\n", theResDLLInst ? "ui module loaded" : "no ui module");
  std::printf("message 7: %s\n", ykstd_MsgEx::Get(7).Text());
  std::printf("message 8: %s\n", ykstd_MsgEx::Get(8).Text());
  return 0;
}
