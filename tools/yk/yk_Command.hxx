// The yk tool's sub-commands: each lives in its own source file and registers itself.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace yk {

// Runs one sub-command with the words after its name; returns the process exit code.
using CommandFn = std::function<int(const std::vector<std::string>& args)>;

struct CommandRegistrar {
  CommandRegistrar(const char* name, const char* usage, const char* summary, CommandFn fn);
};

}  // namespace yk
