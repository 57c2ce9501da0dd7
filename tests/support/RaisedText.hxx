// Runs an action that is expected to raise and gives the failure's whole message.
#pragma once

#include <functional>
#include <string>

// The message of the failure raised by `action` (the failure is then forgotten), or
// "<nothing raised>" when the action returns normally.
std::string RaisedText(const std::function<void()>& action);
