// The add-in's session, through which the library reaches back to the add-in, and the version
// mapper slot.
#pragma once

#include <ykstd/platform/Host.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_TShared.hxx>

YKSTD_HANDLE(ykstd_Session, ykstd_TShared);

// Abstract: the add-in derives its session from it. Making one makes it the current session.
class YKSTD_EXPORT ykstd_Session : public ykstd_TShared {
 public:
  ykstd_Session();
  ~ykstd_Session() override;

  virtual std::int32_t Init();
  // Releases the current session, whichever session it is called on.
  virtual void Destroy();
  virtual const ApplicationPtr& GetApplication() = 0;
  virtual std::int32_t GetDocumentMode() = 0;
  virtual char GetPathSeparator() = 0;
  virtual const ykstd_AsciiString& GetFilePrefix() = 0;
  virtual void NormalizeFullName(ykstd_AsciiString& name) = 0;
  virtual void NoteNewDocument(const ykstd_AsciiString& name) = 0;
  // A new object of the class stored under `className`, or a null handle.
  virtual Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString& className, unsigned char objOnly) = 0;
  virtual ykenum::Unit GetUnitSetting(unsigned char flag, const char* name, std::int32_t arg) = 0;
  virtual ykstd_AsciiString GetStringSetting(unsigned char flag, const char* name, std::int32_t arg) = 0;

  static const Hnd_ykstd_Session& CurSession();

  YKSTD_DECLARE_TYPE(ykstd_Session);
};

YKSTD_HANDLE(ykstd_VersionMapper, ykstd_TShared);

class YKSTD_EXPORT ykstd_VersionMapper : public ykstd_TShared {
 public:
  ykstd_VersionMapper();
  ~ykstd_VersionMapper() override;

  virtual void Destroy();

  static const Hnd_ykstd_VersionMapper& CurMapper();

  YKSTD_DECLARE_TYPE(ykstd_VersionMapper);
};
