// A concrete session for tests: it makes objects by stored class name from factories that a test
// registers, and counts the calls.
#pragma once

#include <functional>
#include <map>
#include <string>

#include <ykstd/ykstd_Session.hxx>

namespace ykstd_test {

class TestSession : public ykstd_Session {
 public:
  using Factory = std::function<Hnd_ykstd_Transient()>;

  const ApplicationPtr& GetApplication() override {
    // The host's interfaces are only declared here, so the empty pointer is never destroyed.
    static const ApplicationPtr& none = *new ApplicationPtr;
    return none;
  }
  std::int32_t GetDocumentMode() override { return 0; }
  char GetPathSeparator() override { return '\\'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix_; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString& className, unsigned char objOnly) override {
    ++creates;
    lastObjOnly = objOnly;
    const auto found = factories.find(className.Length() ? className.Text() : "");
    if (found == factories.end()) return Hnd_ykstd_Transient();
    return found->second();
  }
  ykenum::Unit GetUnitSetting(unsigned char, const char*, std::int32_t) override { return ykenum::Unit{}; }
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }

  std::map<std::string, Factory> factories;
  int creates = 0;
  unsigned char lastObjOnly = 0;

 private:
  ykstd_AsciiString prefix_;
};

}  // namespace ykstd_test
