// A session for tests that answers unit settings from two fields and records what it was asked.
#pragma once

#include <string>
#include <vector>

#include <ykstd/ykstd_Session.hxx>

class UnitTestSession : public ykstd_Session {
 public:
  UnitTestSession(ykenum::Unit linear, ykenum::Unit angular) : linear_(linear), angular_(angular) {}

  const ApplicationPtr& GetApplication() override;
  std::int32_t GetDocumentMode() override { return 0; }
  char GetPathSeparator() override { return '/'; }
  const ykstd_AsciiString& GetFilePrefix() override { return prefix_; }
  void NormalizeFullName(ykstd_AsciiString&) override {}
  void NoteNewDocument(const ykstd_AsciiString&) override {}
  Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString&, unsigned char) override { return {}; }
  ykenum::Unit GetUnitSetting(unsigned char flag, const char* name, std::int32_t arg) override;
  ykstd_AsciiString GetStringSetting(unsigned char, const char*, std::int32_t) override { return {}; }

  // Each GetUnitSetting call as "flag,name,arg".
  std::vector<std::string> calls;

 private:
  ykenum::Unit linear_;
  ykenum::Unit angular_;
  ykstd_AsciiString prefix_;
};
