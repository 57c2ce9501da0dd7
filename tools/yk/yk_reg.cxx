// yk reg: reads and writes values of the registry's hive files, e.g. to set the add-in's folder.
#include <cstdio>
#include <cstdlib>
#include <iostream>
#include <string>

#include <ykstd/ykstd.hxx>

#include "yk_Command.hxx"

namespace {

HKEY RootNamed(const std::string& name) {
  if (name == "HKCU" || name == "HKEY_CURRENT_USER") return HKEY_CURRENT_USER;
  if (name == "HKLM" || name == "HKEY_LOCAL_MACHINE") return HKEY_LOCAL_MACHINE;
  if (name == "HKCR" || name == "HKEY_CLASSES_ROOT") return HKEY_CLASSES_ROOT;
  return nullptr;
}

// "@" names the default value.
const char* ValueName(const std::string& name) { return name == "@" ? "" : name.c_str(); }

std::string HexList(const std::string& bytes) {
  std::string text;
  char digits[4];
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    std::snprintf(digits, sizeof digits, i ? ",%02x" : "%02x", static_cast<unsigned char>(bytes[i]));
    text += digits;
  }
  return text;
}

// A value in the form of a hive file's line: "text", dword:0000002a, hex:01,02 or hex(N):...
std::string Shown(DWORD type, const std::string& data) {
  if (type == REG_SZ && !data.empty() && data.back() == '\0') {
    std::string text(1, '"');
    text.append(data, 0, data.size() - 1);
    text.push_back('"');
    return text;
  }
  char text[24];
  if (type == REG_DWORD && data.size() == 4) {
    const auto* b = reinterpret_cast<const unsigned char*>(data.data());
    std::snprintf(text, sizeof text, "dword:%08x", unsigned(b[0] | (b[1] << 8) | (b[2] << 16) | (b[3] << 24)));
    return text;
  }
  if (type == REG_BINARY) return "hex:" + HexList(data);
  std::snprintf(text, sizeof text, "hex(%x):", unsigned(type));
  return text + HexList(data);
}

// Reads "dword:N" (hex), "hex:01,02" or else a text; false for a malformed number or list.
bool Parsed(const std::string& value, DWORD& type, std::string& data) {
  char* end = nullptr;
  if (value.rfind("dword:", 0) == 0) {
    const unsigned long number = std::strtoul(value.c_str() + 6, &end, 16);
    if (value.size() == 6 || *end || number > 0xFFFFFFFFul) return false;
    type = REG_DWORD;
    for (int i = 0; i < 4; ++i) data += char((number >> (8 * i)) & 0xFF);
    return true;
  }
  if (value.rfind("hex:", 0) == 0) {
    type = REG_BINARY;
    for (std::size_t at = 4; at < value.size(); at = std::size_t(end - value.c_str()) + 1) {
      const unsigned long byte = std::strtoul(value.c_str() + at, &end, 16);
      if (end == value.c_str() + at || byte > 0xFF || (*end && *end != ',')) return false;
      data += char(byte);
      if (!*end) break;
    }
    return true;
  }
  type = REG_SZ;
  data = value;
  return true;
}

int Fail(const std::string& what, LONG status) {
  std::cerr << "yk reg: " << what << " (error " << status << ")\n";
  return 1;
}

int Reg(const std::vector<std::string>& args) {
  const HKEY root = args.size() >= 2 ? RootNamed(args[1]) : nullptr;
  if (!root) {
    std::cerr << "yk reg: name a root: HKCU, HKLM or HKCR\n";
    return 2;
  }
  if (args[0] == "file" && args.size() == 2) {
    std::cout << ykstd_platform::RegistryHivePath(root) << "\n";
    return 0;
  }
  if (args[0] == "get" && (args.size() == 3 || args.size() == 4)) {
    HKEY key = nullptr;
    LONG status = RegOpenKeyExA(root, args[2].c_str(), 0, KEY_QUERY_VALUE, &key);
    if (status != ERROR_SUCCESS) return Fail("no key " + args[2], status);
    const char* name = args.size() == 4 ? ValueName(args[3]) : "";
    DWORD type = 0;
    DWORD size = 0;
    status = RegQueryValueExA(key, name, nullptr, &type, nullptr, &size);
    std::string data(size, '\0');
    if (status == ERROR_SUCCESS)
      status = RegQueryValueExA(key, name, nullptr, &type, reinterpret_cast<BYTE*>(data.data()), &size);
    RegCloseKey(key);
    if (status != ERROR_SUCCESS) return Fail("no value", status);
    std::cout << Shown(type, data.substr(0, size)) << "\n";
    return 0;
  }
  if (args[0] == "set" && args.size() == 5) {
    DWORD type = 0;
    std::string data;
    if (!Parsed(args[4], type, data)) {
      std::cerr << "yk reg: bad value " << args[4] << "\n";
      return 2;
    }
    HKEY key = nullptr;
    LONG status = RegCreateKeyExA(root, args[2].c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr, &key, nullptr);
    if (status != ERROR_SUCCESS) return Fail("cannot make key " + args[2], status);
    status = RegSetValueExA(key, ValueName(args[3]), 0, type, reinterpret_cast<const BYTE*>(data.data()),
                            DWORD(data.size()));
    RegCloseKey(key);
    return status == ERROR_SUCCESS ? 0 : Fail("cannot set the value", status);
  }
  std::cerr << "yk reg: unknown form; see yk help\n";
  return 2;
}

yk::CommandRegistrar reg("reg",
                         "reg file ROOT | reg get ROOT KEY [NAME] | reg set ROOT KEY NAME VALUE  (NAME @ is the "
                         "default value; VALUE is text, dword:HEX or hex:01,02)",
                         "show or change registry values in the hive files", Reg);

}  // namespace
