#include "ykstd_TestRaised.hxx"

#include <ykstd/ykstd_Failure.hxx>

std::string RaisedMessage(const std::function<void()>& action) {
  try {
    action();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::string message = failure->Message().Text() ? failure->Message().Text() : "";
    failure->Remove();
    return message;
  }
  return "<nothing raised>";
}
