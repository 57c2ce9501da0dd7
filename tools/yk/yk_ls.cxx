// yk ls: the storages and streams of a compound file, nested, with the size of each stream.
#include <clocale>
#include <cstdio>
#include <cwchar>
#include <string>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

// Control characters, which some element names begin with, are shown as \xNN; the rest as UTF-8.
std::string Printable(const std::wstring& name) {
  std::string text;
  for (wchar_t wc : name) {
    const auto c = static_cast<std::uint32_t>(wc);
    if (c < 0x20 || c == 0x7F || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) {
      char code[8];
      std::snprintf(code, sizeof code, "\\x%02X", c & 0xFF);
      text += c < 0x100 ? code : "?";
    } else if (c < 0x80) {
      text += char(c);
    } else if (c < 0x800) {
      text += char(0xC0 | (c >> 6)), text += char(0x80 | (c & 0x3F));
    } else if (c < 0x10000) {
      text += char(0xE0 | (c >> 12)), text += char(0x80 | ((c >> 6) & 0x3F)), text += char(0x80 | (c & 0x3F));
    } else {
      text += char(0xF0 | (c >> 18)), text += char(0x80 | ((c >> 12) & 0x3F));
      text += char(0x80 | ((c >> 6) & 0x3F)), text += char(0x80 | (c & 0x3F));
    }
  }
  return text;
}

const char* Describe(HRESULT hr) {
  switch (hr) {
    case STG_E_FILENOTFOUND: return "no such file";
    case STG_E_PATHNOTFOUND: return "no such folder";
    case STG_E_ACCESSDENIED: return "access denied";
    case STG_E_FILEALREADYEXISTS: return "not a compound file";
    case STG_E_DOCFILECORRUPT: return "damaged compound file";
    case STG_E_INSUFFICIENTMEMORY: return "out of memory";
    case STG_E_READFAULT: return "read error";
    case STG_E_INVALIDNAME: return "file name is not UTF-8";
    default: return "cannot read";
  }
}

struct Failed {
  HRESULT hr;
};

void Check(HRESULT hr) {
  if (FAILED(hr)) throw Failed{hr};
}

void List(IStorage* storage, int depth, std::string& out) {
  IEnumSTATSTGPtr elements;
  Check(storage->EnumElements(0, nullptr, 0, &elements));
  STATSTG stat;
  for (;;) {
    const HRESULT hr = elements->Next(1, &stat, nullptr);
    Check(hr);
    if (hr != S_OK) break;
    const std::wstring name(stat.pwcsName);
    CoTaskMemFree(stat.pwcsName);
    out.append(2 * std::size_t(depth), ' ');
    out += Printable(name);
    if (stat.type == STGTY_STORAGE) {
      out += "/\n";
      IStoragePtr sub;
      Check(storage->OpenStorage(name.c_str(), nullptr, STGM_READ | STGM_SHARE_EXCLUSIVE, nullptr, 0, &sub));
      List(sub, depth + 1, out);
    } else {
      out += "  " + std::to_string(stat.cbSize.QuadPart) + "\n";
    }
  }
}

// The library takes wide file names and stores them as UTF-8.
std::wstring WidePath(const std::string& path) {
  std::setlocale(LC_CTYPE, "C.UTF-8");
  std::wstring wide;
  std::mbstate_t state{};
  const char* from = path.c_str();
  const std::size_t length = std::mbsrtowcs(nullptr, &from, 0, &state);
  if (length == static_cast<std::size_t>(-1)) throw Failed{STG_E_INVALIDNAME};
  wide.resize(length);
  from = path.c_str();
  std::mbsrtowcs(wide.data(), &from, length, &state);
  return wide;
}

int Ls(const std::vector<std::string>& args) {
  if (args.size() != 1) {
    std::fprintf(stderr, "usage: yk ls FILE\n");
    return 2;
  }
  std::string out;
  try {
    IStoragePtr root;
    Check(StgOpenStorage(WidePath(args[0]).c_str(), nullptr, STGM_READ | STGM_SHARE_DENY_WRITE, nullptr, 0, &root));
    List(root, 0, out);
  } catch (const Failed& failed) {
    std::fprintf(stderr, "yk ls: %s: %s (0x%08X)\n", args[0].c_str(), Describe(failed.hr), unsigned(failed.hr));
    return 1;
  }
  std::fwrite(out.data(), 1, out.size(), stdout);
  return 0;
}

yk::CommandRegistrar ls("ls", "ls FILE", "list the storages and streams of a compound file", Ls);

}  // namespace
