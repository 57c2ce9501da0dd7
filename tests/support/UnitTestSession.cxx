#include "UnitTestSession.hxx"

#include <cstring>

ykenum::Unit UnitTestSession::GetUnitSetting(unsigned char flag, const char* name, std::int32_t arg) {
  calls.push_back(std::to_string(flag) + "," + (name ? name : "(null)") + "," + std::to_string(arg));
  return name && std::strcmp(name, "UnitAngular") == 0 ? angular_ : linear_;
}

const ApplicationPtr& UnitTestSession::GetApplication() {
  // Always empty: the host's application interface is incomplete here, so it is never destroyed.
  static const ApplicationPtr* const empty = new ApplicationPtr();
  return *empty;
}
