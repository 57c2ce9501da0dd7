// One hive in memory, and its text form.
#pragma once

#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

#include <ykstd/platform/WinTypes.hxx>

namespace ykstd_detail {

// Comment lines of a hand-written file stay with the section or value they stand before, so that
// a write keeps them.
struct RegValue {
  std::string name;  // empty for the default value
  DWORD type = 0;
  std::string data;  // the stored bytes
  std::vector<std::string> comments;
};

struct RegKey {
  std::string path;  // below the root, components split by '\', as first written
  std::vector<RegValue> values;
  std::vector<std::string> comments;
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
  static RegValue& SetValue(RegKey& key, std::string_view name, DWORD type, std::string data);
  static bool DeleteValue(RegKey& key, std::string_view name);

  const std::vector<RegKey>& Keys() const { return keys_; }

 private:
  bool ParseSection(std::string_view line, int& current, std::vector<std::string>& comments);
  bool ParseValue(std::string_view line, RegKey* current, std::vector<std::string>& comments);

  std::string rootName_;
  void Reindex();
  void IndexKey(std::size_t position);

  std::vector<RegKey> keys_;
  // By lower-case path: the sections, and every key above a section, so that large exports parse
  // and answer in linear time.
  std::unordered_map<std::string, std::size_t> index_;
  std::unordered_set<std::string> above_;
  std::vector<std::string> trailing_;  // comments behind the last section or value
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
