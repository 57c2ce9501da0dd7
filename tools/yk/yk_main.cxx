#include <cstdio>
#include <exception>
#include <map>
#include <string>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

struct Command {
  std::string usage;
  std::string summary;
  yk::CommandFn fn;
};

std::map<std::string, Command>& Commands() {
  static std::map<std::string, Command> commands;
  return commands;
}

int Usage(std::FILE* out) {
  std::fprintf(out, "usage: yk COMMAND [ARGS...]\n\ncommands:\n");
  for (const auto& [name, command] : Commands())
    std::fprintf(out, "  %-28s %s\n", command.usage.c_str(), command.summary.c_str());
  return out == stdout ? 0 : 2;
}

}  // namespace

yk::CommandRegistrar::CommandRegistrar(const char* name, const char* usage, const char* summary, CommandFn fn) {
  Commands()[name] = Command{usage, summary, std::move(fn)};
}

int main(int argc, char** argv) {
  if (argc < 2) return Usage(stderr);
  const std::string name = argv[1];
  if (name == "help" || name == "--help" || name == "-h") return Usage(stdout);
  auto found = Commands().find(name);
  if (found == Commands().end()) {
    std::fprintf(stderr, "yk: unknown command '%s'\n", name.c_str());
    return Usage(stderr);
  }
  std::vector<std::string> args(argv + 2, argv + argc);
  try {
    return found->second.fn(args);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    std::fprintf(stderr, "yk %s: %s\n", name.c_str(), failure.IsNull() ? "failure" : failure->Message().Text());
  } catch (const std::exception& error) {
    std::fprintf(stderr, "yk %s: %s\n", name.c_str(), error.what());
  }
  return 1;
}
