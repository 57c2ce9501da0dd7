// The class versions of the open file and of this build, kept process-wide and stored in the
// stream "YKSchema" beside a document's data.
#pragma once

#include <string>
#include <unordered_map>

#include <ykstd/platform/Storage.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_TShared.hxx>

YKSTD_HANDLE(ykstd_Schema, ykstd_TShared);

class YKSTD_EXPORT ykstd_Schema : public ykstd_TShared {
 public:
  // One persistent class of the compiled table.
  struct ClassEntry {
    const char* name;
    std::int16_t version;
  };
  // One module of the compiled table; the last module has no name.
  struct ModuleEntry {
    const char* name;
    std::int32_t count;
    const ClassEntry* classes;
  };
  static constexpr std::int32_t ModuleCount = 6;
  // The table of this build, in stored order.
  static const ModuleEntry* Modules();

  ykstd_Schema();
  ~ykstd_Schema() override;

  static std::int32_t Load(IStoragePtr storage);
  static std::int32_t Save(IStoragePtr storage);
  static std::int32_t ClassVersion(const ykstd_AsciiString& fullName);
  static std::int32_t LastClassVersion(const ykstd_AsciiString& fullName);
  static void Destroy();

  void Serialize(ykstd_Archive& archive) override;

  YKSTD_DECLARE_TYPE(ykstd_Schema);

 private:
  void MakeTables();

  std::unordered_map<std::string, std::int32_t> fileVersions;
  std::unordered_map<std::string, std::int32_t> lastVersions;
};
