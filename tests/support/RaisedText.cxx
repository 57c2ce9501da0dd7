#include "RaisedText.hxx"

#include <sstream>

#include <ykstd/ykstd_Failure.hxx>

std::string RaisedText(const std::function<void()>& action) {
  try {
    action();
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::ostringstream text;
    failure->Print(text);
    failure->Remove();
    return text.str();
  }
  return "<nothing raised>";
}
