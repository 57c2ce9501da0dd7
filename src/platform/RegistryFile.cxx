#include "RegistryFile.hxx"

#include <algorithm>
#include <cstdio>
#include <utility>

#include <ykstd/platform/Registry.hxx>

namespace ykstd_detail {

namespace {

constexpr std::string_view kHeader5 = "Windows Registry Editor Version 5.00";
constexpr std::string_view kHeader4 = "REGEDIT4";

char Lower(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

std::string_view Trim(std::string_view s) {
  while (!s.empty() && (s.front() == ' ' || s.front() == '\t')) s.remove_prefix(1);
  while (!s.empty() && (s.back() == ' ' || s.back() == '\t' || s.back() == '\r')) s.remove_suffix(1);
  return s;
}

int HexDigit(char c) {
  if (c >= '0' && c <= '9') return c - '0';
  c = Lower(c);
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// Up to 8 hex digits as a number; false for anything else.
bool ParseHexNumber(std::string_view s, DWORD& out) {
  s = Trim(s);
  if (s.empty() || s.size() > 8) return false;
  DWORD value = 0;
  for (char c : s) {
    const int d = HexDigit(c);
    if (d < 0) return false;
    value = (value << 4) | static_cast<DWORD>(d);
  }
  out = value;
  return true;
}

// A comma-separated list of bytes in hex; the list may be empty and may end with a comma.
bool ParseHexList(std::string_view s, std::string& out) {
  s = Trim(s);
  out.clear();
  while (!s.empty()) {
    const std::size_t comma = s.find(',');
    const std::string_view item = Trim(s.substr(0, comma));
    if (item.empty() || item.size() > 2) return false;
    int value = 0;
    for (char c : item) {
      const int d = HexDigit(c);
      if (d < 0) return false;
      value = value * 16 + d;
    }
    out.push_back(static_cast<char>(value));
    if (comma == std::string_view::npos) break;
    s = Trim(s.substr(comma + 1));
  }
  return true;
}

// Reads a quoted text with \\ and \" escapes from the start of `s`; `rest` gets what follows the
// closing quote.
bool ParseQuoted(std::string_view s, std::string& out, std::string_view& rest) {
  if (s.empty() || s.front() != '"') return false;
  out.clear();
  for (std::size_t i = 1; i < s.size(); ++i) {
    const char c = s[i];
    if (c == '"') {
      rest = s.substr(i + 1);
      return true;
    }
    if (c == '\\') {
      if (i + 1 >= s.size() || (s[i + 1] != '\\' && s[i + 1] != '"')) return false;
      out.push_back(s[++i]);
    } else {
      out.push_back(c);
    }
  }
  return false;
}

void AppendQuoted(std::string& out, std::string_view text) {
  out.push_back('"');
  for (char c : text) {
    if (c == '\\' || c == '"') out.push_back('\\');
    out.push_back(c);
  }
  out.push_back('"');
}

// A text the quoted form can carry: one NUL at the end and no other control byte.
bool IsPlainText(std::string_view data) {
  if (data.empty() || data.back() != '\0') return false;
  data.remove_suffix(1);
  return std::none_of(data.begin(), data.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; });
}

void AppendHexList(std::string& out, std::string_view data) {
  static constexpr char kDigits[] = "0123456789abcdef";
  std::size_t column = out.size() - (out.rfind('\n') == std::string::npos ? 0 : out.rfind('\n') + 1);
  for (std::size_t i = 0; i < data.size(); ++i) {
    // Wrapped as exports do: lines of at most 80 columns, continued by a backslash.
    if (i > 0 && column + 3 > 79) {
      out += "\\\r\n  ";
      column = 2;
    }
    const auto byte = static_cast<unsigned char>(data[i]);
    out.push_back(kDigits[byte >> 4]);
    out.push_back(kDigits[byte & 15]);
    column += 2;
    if (i + 1 < data.size()) {
      out.push_back(',');
      ++column;
    }
  }
}

void AppendUtf8(std::string& out, std::uint32_t cp) {
  if (cp < 0x80) {
    out.push_back(static_cast<char>(cp));
  } else if (cp < 0x800) {
    out.push_back(static_cast<char>(0xC0 | (cp >> 6)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else if (cp < 0x10000) {
    out.push_back(static_cast<char>(0xE0 | (cp >> 12)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  } else {
    out.push_back(static_cast<char>(0xF0 | (cp >> 18)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 12) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | ((cp >> 6) & 0x3F)));
    out.push_back(static_cast<char>(0x80 | (cp & 0x3F)));
  }
}

std::string DecodeUtf16(std::string_view bytes, bool littleEndian) {
  std::string out;
  auto unit = [&](std::size_t i) -> std::uint32_t {
    const auto a = static_cast<unsigned char>(bytes[i]);
    const auto b = static_cast<unsigned char>(bytes[i + 1]);
    return littleEndian ? (a | (b << 8)) : ((a << 8) | b);
  };
  for (std::size_t i = 0; i + 1 < bytes.size(); i += 2) {
    std::uint32_t cp = unit(i);
    if (cp >= 0xD800 && cp < 0xDC00 && i + 3 < bytes.size()) {
      const std::uint32_t low = unit(i + 2);
      if (low >= 0xDC00 && low < 0xE000) {
        cp = 0x10000 + ((cp - 0xD800) << 10) + (low - 0xDC00);
        i += 2;
      } else {
        cp = 0xFFFD;
      }
    } else if (cp >= 0xD800 && cp < 0xE000) {
      cp = 0xFFFD;
    }
    AppendUtf8(out, cp);
  }
  return out;
}

bool StartsWithName(std::string_view path, std::string_view prefix) {
  return path.size() >= prefix.size() && SameName(path.substr(0, prefix.size()), prefix);
}

// `path` is `key` or lies below it.
bool AtOrBelow(std::string_view path, std::string_view key) {
  if (key.empty()) return true;
  if (!StartsWithName(path, key)) return false;
  return path.size() == key.size() || path[key.size()] == '\\';
}

}  // namespace

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i)
    if (Lower(a[i]) != Lower(b[i])) return false;
  return true;
}

bool ValidKeyPath(std::string_view path) {
  if (path.empty()) return true;
  std::size_t start = 0;
  while (true) {
    const std::size_t end = path.find('\\', start);
    const std::string_view part = path.substr(start, end == std::string_view::npos ? path.npos : end - start);
    if (part.empty() || part.size() > 255) return false;
    if (std::any_of(part.begin(), part.end(), [](char c) { return static_cast<unsigned char>(c) < 0x20; }))
      return false;
    if (end == std::string_view::npos) return true;
    start = end + 1;
  }
}

std::string_view CanonicalRootName(std::string_view name) {
  static constexpr std::string_view kRoots[][2] = {
      {"HKEY_CLASSES_ROOT", "HKCR"}, {"HKEY_CURRENT_USER", "HKCU"}, {"HKEY_LOCAL_MACHINE", "HKLM"}};
  for (const auto& root : kRoots)
    if (SameName(name, root[0]) || SameName(name, root[1])) return root[0];
  return {};
}

std::string DecodeHiveText(std::string_view bytes) {
  if (bytes.size() >= 2 && bytes[0] == '\xFF' && bytes[1] == '\xFE') return DecodeUtf16(bytes.substr(2), true);
  if (bytes.size() >= 2 && bytes[0] == '\xFE' && bytes[1] == '\xFF') return DecodeUtf16(bytes.substr(2), false);
  if (bytes.size() >= 3 && bytes.substr(0, 3) == "\xEF\xBB\xBF") bytes.remove_prefix(3);
  return std::string(bytes);
}

void RegHive::Parse(std::string_view text) {
  keys_.clear();
  damaged_ = false;
  bool seenHeader = false;
  int current = -1;  // index of the section the values go to; -1 before any
  std::size_t pos = 0;
  while (pos < text.size()) {
    std::size_t end = text.find('\n', pos);
    if (end == std::string_view::npos) end = text.size();
    std::string_view raw = Trim(text.substr(pos, end - pos));
    pos = end + 1;
    if (raw.empty() || raw.front() == ';') continue;
    if (!seenHeader) {
      seenHeader = true;
      if (raw == kHeader5 || raw == kHeader4) continue;
      damaged_ = true;
    }
    if (raw.front() == '[') {
      if (!ParseSection(raw, current)) {
        damaged_ = true;
        current = -1;
      }
      continue;
    }
    // A value whose hex list goes on over the next lines.
    std::string joined(raw);
    while (!joined.empty() && joined.back() == '\\' && pos < text.size()) {
      joined.pop_back();
      end = text.find('\n', pos);
      if (end == std::string_view::npos) end = text.size();
      joined += Trim(text.substr(pos, end - pos));
      pos = end + 1;
    }
    if (current < 0 || !ParseValue(joined, &keys_[static_cast<std::size_t>(current)])) damaged_ = true;
  }
}

bool RegHive::ParseSection(std::string_view line, int& current) {
  if (line.size() < 2 || line.back() != ']') return false;
  std::string_view inner = line.substr(1, line.size() - 2);
  const bool remove = !inner.empty() && inner.front() == '-';
  if (remove) inner.remove_prefix(1);
  const std::size_t slash = inner.find('\\');
  if (CanonicalRootName(inner.substr(0, slash)) != rootName_) return false;
  const std::string_view path = slash == std::string_view::npos ? std::string_view() : inner.substr(slash + 1);
  if (!ValidKeyPath(path)) return false;
  if (remove) {
    std::erase_if(keys_, [&](const RegKey& key) { return AtOrBelow(key.path, path); });
    current = -1;
    return true;
  }
  MakeKey(path);
  for (std::size_t i = 0; i < keys_.size(); ++i)
    if (SameName(keys_[i].path, path)) current = static_cast<int>(i);
  return true;
}

bool RegHive::ParseValue(std::string_view line, RegKey* current) {
  std::string name;
  std::string_view rest;
  if (line.front() == '@') {
    rest = line.substr(1);
  } else if (!ParseQuoted(line, name, rest)) {
    return false;
  }
  rest = Trim(rest);
  if (rest.empty() || rest.front() != '=') return false;
  rest = Trim(rest.substr(1));

  if (rest == "-") {
    DeleteValue(*current, name);
    return true;
  }
  std::string data;
  DWORD type = REG_SZ;
  if (!rest.empty() && rest.front() == '"') {
    std::string_view after;
    if (!ParseQuoted(rest, data, after) || !Trim(after).empty()) return false;
    data.push_back('\0');
  } else if (rest.size() >= 6 && SameName(rest.substr(0, 6), "dword:")) {
    DWORD value = 0;
    if (!ParseHexNumber(rest.substr(6), value)) return false;
    type = REG_DWORD;
    for (int i = 0; i < 4; ++i) data.push_back(static_cast<char>((value >> (8 * i)) & 0xFF));
  } else if (rest.size() >= 4 && SameName(rest.substr(0, 4), "hex:")) {
    type = REG_BINARY;
    if (!ParseHexList(rest.substr(4), data)) return false;
  } else if (rest.size() >= 4 && SameName(rest.substr(0, 4), "hex(")) {
    const std::size_t close = rest.find("):");
    if (close == std::string_view::npos || !ParseHexNumber(rest.substr(4, close - 4), type)) return false;
    if (!ParseHexList(rest.substr(close + 2), data)) return false;
  } else {
    return false;
  }
  SetValue(*current, name, type, std::move(data));
  return true;
}

std::string RegHive::Serialize() const {
  std::string out(kHeader5);
  out += "\r\n\r\n";
  for (const RegKey& key : keys_) {
    out += '[';
    out += rootName_;
    if (!key.path.empty()) {
      out += '\\';
      out += key.path;
    }
    out += "]\r\n";
    for (const RegValue& value : key.values) {
      if (value.name.empty())
        out += '@';
      else
        AppendQuoted(out, value.name);
      out += '=';
      if (value.type == REG_SZ && IsPlainText(value.data)) {
        AppendQuoted(out, std::string_view(value.data).substr(0, value.data.size() - 1));
      } else if (value.type == REG_DWORD && value.data.size() == 4) {
        DWORD number = 0;
        for (int i = 3; i >= 0; --i)
          number = (number << 8) | static_cast<unsigned char>(value.data[static_cast<std::size_t>(i)]);
        char text[16];
        std::snprintf(text, sizeof text, "dword:%08x", static_cast<unsigned>(number));
        out += text;
      } else {
        if (value.type == REG_BINARY) {
          out += "hex:";
        } else {
          char text[16];
          std::snprintf(text, sizeof text, "hex(%x):", static_cast<unsigned>(value.type));
          out += text;
        }
        AppendHexList(out, value.data);
      }
      out += "\r\n";
    }
    out += "\r\n";
  }
  return out;
}

bool RegHive::KeyExists(std::string_view path) const {
  if (path.empty()) return true;
  return std::any_of(keys_.begin(), keys_.end(), [&](const RegKey& key) { return AtOrBelow(key.path, path); });
}

const RegKey* RegHive::FindKey(std::string_view path) const {
  for (const RegKey& key : keys_)
    if (SameName(key.path, path)) return &key;
  return nullptr;
}

RegKey* RegHive::FindKey(std::string_view path) { return const_cast<RegKey*>(std::as_const(*this).FindKey(path)); }

RegKey& RegHive::MakeKey(std::string_view path) {
  if (RegKey* found = FindKey(path)) return *found;
  keys_.push_back(RegKey{std::string(path), {}});
  return keys_.back();
}

const RegValue* RegHive::FindValue(const RegKey& key, std::string_view name) {
  for (const RegValue& value : key.values)
    if (SameName(value.name, name)) return &value;
  return nullptr;
}

void RegHive::SetValue(RegKey& key, std::string_view name, DWORD type, std::string data) {
  for (RegValue& value : key.values) {
    if (SameName(value.name, name)) {
      value.type = type;
      value.data = std::move(data);
      return;
    }
  }
  key.values.push_back(RegValue{std::string(name), type, std::move(data)});
}

bool RegHive::DeleteValue(RegKey& key, std::string_view name) {
  return std::erase_if(key.values, [&](const RegValue& value) { return SameName(value.name, name); }) > 0;
}

}  // namespace ykstd_detail
