// Helpers shared by the suites.
#pragma once

#include <functional>
#include <string>

// Runs `action` and gives the whole message of the failure it raised (and forgets that failure),
// or "<nothing raised>".
std::string RaisedMessage(const std::function<void()>& action);
