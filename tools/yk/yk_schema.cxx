// yk schema FILE [STORAGE]: the class versions that a compound file's "YKSchema" stream lists.
// Exit 0 with the list, 1 when the file has no such stream, 2 on any error.
#include <cstdio>
#include <cstring>
#include <string>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

std::wstring Wide(const std::string& text) { return std::wstring(text.begin(), text.end()); }

int Fail(const std::string& text) {
  std::fprintf(stderr, "yk schema: %s\n", text.c_str());
  return 2;
}

std::string Hex(HRESULT hr) {
  char text[16];
  std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(hr));
  return text;
}

// Prints the modules and classes of the stream as they come; raises on damage.
void PrintVersions(ykstd_Archive& ar) {
  std::int32_t modules = 0;
  ar >> modules;
  std::printf("%d modules\n", modules);
  for (std::int32_t m = 0; m < modules; ++m) {
    ykstd_AsciiString module;
    std::int32_t classes = 0;
    ar >> module >> classes;
    std::printf("module %s: %d classes\n", module.Length() ? module.Text() : "(no name)", classes);
    for (std::int32_t c = 0; c < classes; ++c) {
      ykstd_AsciiString name;
      std::int16_t version = 0;
      ar >> name >> version;
      const std::string full = module.Length() ? std::string(module.Text()) + "_" + (name.Length() ? name.Text() : "")
                                               : std::string(name.Length() ? name.Text() : "");
      std::printf("  %s %d\n", full.c_str(), version);
    }
  }
}

int Schema(const std::vector<std::string>& args) {
  if (args.empty() || args.size() > 2) return Fail("usage: yk schema FILE [STORAGE]");
  ykstd_Debug::SwitchOn(false);
  const std::string& file = args[0];
  const std::string where = args.size() == 2 ? file + " (storage " + args[1] + ")" : file;
  IStoragePtr root;
  HRESULT hr = StgOpenStorage(Wide(file).c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &root);
  if (FAILED(hr)) return Fail("cannot open " + file + " as a compound file (hr=" + Hex(hr) + ")");
  IStoragePtr storage = root;
  if (args.size() == 2) {
    IStoragePtr sub;
    hr = root->OpenStorage(Wide(args[1]).c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &sub);
    if (FAILED(hr)) return Fail("no storage " + args[1] + " in " + file + " (hr=" + Hex(hr) + ")");
    storage = sub;
  }
  try {
    ykstd_Archive ar(storage, "YKSchema", ykstd_Archive::ModeLoad, 4096, nullptr);
    if (!ar.GetIStream()) {
      std::printf("no \"YKSchema\" stream in %s\n", where.c_str());
      return 1;
    }
    char magic[4] = {};
    if (ar.Read(magic, 4) != 4 || std::memcmp(magic, "YKS", 4) != 0)
      return Fail("the \"YKSchema\" stream of " + where + " is not a schema (wrong magic)");
    std::printf("\"YKSchema\" of %s: ", where.c_str());
    PrintVersions(ar);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    const std::string text = failure->Message().Text();
    failure->Remove();
    std::fflush(stdout);
    return Fail("damaged \"YKSchema\" stream in " + where + ": " + text);
  } catch (const _com_error& error) {
    return Fail("cannot read " + where + " (hr=" + Hex(error.Error()) + ")");
  }
  return 0;
}

yk::CommandRegistrar schema("schema", "schema FILE [STORAGE]", "print the class versions of a \"YKSchema\" stream",
                            Schema);

}  // namespace
