// A session for tests and fuzz targets that answers unit settings from two fields and records
// what it was asked. Header-only, so that targets outside the test build can use it too.
#pragma once

#include <cstring>
#include <string>
#include <vector>

#include <ykstd/ykstd_Session.hxx>

class UnitTestSession : public ykstd_Session {
 public:
  UnitTestSession(ykenum::Unit linear, ykenum::Unit angular) : linear_(linear), angular_(angular) {}

  const ApplicationPtr& GetApplication() override {
    // Always empty: the host's application interface is incomplete here, so it is never destroyed.
    static const ApplicationPtr* const empty = new ApplicationPtr();
    return *empty;
  }
  std::int32_t GetDocumentMode() override { return 0; }
  char GetPathSeparator() override { return '/'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix_; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString&, unsigned char) override { return {}; }
  ykenum::Unit GetUnitSetting(unsigned char flag, const char* name, std::int32_t arg) override {
    calls.push_back(std::to_string(flag) + "," + (name ? name : "(null)") + "," + std::to_string(arg));
    return name && std::strcmp(name, "UnitAngular") == 0 ? angular_ : linear_;
  }
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }

  // Each GetUnitSetting call as "flag,name,arg".
  std::vector<std::string> calls;

 private:
  ykenum::Unit linear_;
  ykenum::Unit angular_;
  ykstd_AsciiString prefix_;
};
