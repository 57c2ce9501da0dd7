// One hive in memory, and its text form.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include <ykstd/platform/WinTypes.hxx>

namespace ykstd_detail {

struct RegValue {
  std::string name;  // empty for the default value
  DWORD type = 0;
  std::string data;  // the stored bytes
};

struct RegKey {
  std::string path;  // below the root, components split by '\', as first written
  std::vector<RegValue> values;
};

class RegHive {
 public:
  // `rootName` is the full name of the one root the file holds, e.g. "HKEY_CURRENT_USER".
  explicit RegHive(std::string rootName) : rootName_(std::move(rootName)) {}

  // Replaces the content by the parse of `text`. Lines that cannot be parsed are skipped, and
  // the hive is then marked damaged.
  void Parse(std::string_view text);
  std::string Serialize() const;

  bool Damaged() const { return damaged_; }
  void MarkDamaged() { damaged_ = true; }

  // A key exists when it has a section or lies above one; the root always exists.
  bool KeyExists(std::string_view path) const;
  // The key's section, or null when it has none (an implied key has no values).
  const RegKey* FindKey(std::string_view path) const;
  RegKey* FindKey(std::string_view path);
  RegKey& MakeKey(std::string_view path);

  static const RegValue* FindValue(const RegKey& key, std::string_view name);
  static void SetValue(RegKey& key, std::string_view name, DWORD type, std::string data);
  static bool DeleteValue(RegKey& key, std::string_view name);

  const std::vector<RegKey>& Keys() const { return keys_; }

 private:
  bool ParseSection(std::string_view line, int& current);
  bool ParseValue(std::string_view line, RegKey* current);

  std::string rootName_;
  std::vector<RegKey> keys_;
  bool damaged_ = false;
};

// Key and value names compare without regard to ASCII case.
bool SameName(std::string_view a, std::string_view b);
// A key path is valid when it is empty or its components are 1 to 255 bytes without control
// characters.
bool ValidKeyPath(std::string_view path);
// The root name of a section line's first component, or empty when it names no root.
std::string_view CanonicalRootName(std::string_view name);
// The text of a file: UTF-16 with a byte-order mark becomes UTF-8, a UTF-8 mark is dropped.
std::string DecodeHiveText(std::string_view bytes);

}  // namespace ykstd_detail
