// The add-in's session, through which the library reaches back to the add-in, the version mapper
// slot, and the two resource modules of the add-in.
#pragma once

#include <ykstd/platform/Host.hxx>
#include <ykstd/platform/Module.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Enum.hxx>
#include <ykstd/ykstd_TShared.hxx>

// The add-in's ui module, loaded when the library loads and freed when it unloads; null when it
// was not found.
extern YKSTD_EXPORT HINSTANCE theResDLLInst;
// The add-in's resource module with the message texts, loaded by each new session and freed by a
// session's destructor; null when it was not found.
extern YKSTD_EXPORT HINSTANCE theCatResDllInst;

YKSTD_HANDLE(ykstd_Session, ykstd_TShared);

// Abstract: the add-in derives its session from it and makes it with new. Making one makes it the
// current session (the one before is released) and loads the resource module from the add-in's
// folder: the default value of HKEY_CLASSES_ROOT "CLSID\{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}
// \InprocServer32" without its last 11 characters (the add-in server's file name).
//
// The ReservedN operations keep the places of the add-in's own operations in the table; the
// library never calls them, and a session class need not fill them.
class YKSTD_EXPORT ykstd_Session : public ykstd_TShared {
 public:
  ykstd_Session();
  ~ykstd_Session() override;

  // 0 unless the add-in's session says otherwise.
  virtual std::int32_t Init();
  // Releases the current session, whichever session it is called on.
  virtual void Destroy();
  virtual const ApplicationPtr& GetApplication() = 0;
  virtual void Reserved1();
  virtual std::int32_t GetDocumentMode() = 0;
  virtual char GetPathSeparator() = 0;
  virtual const ykstd_AsciiString& GetFilePrefix() = 0;
  virtual void Reserved2();
  virtual void NormalizeFullName(ykstd_AsciiString& name) = 0;
  virtual void Reserved3();
  virtual void NoteNewDocument(const ykstd_AsciiString& name) = 0;
  // A new object of the class stored under `className`, or a null handle.
  virtual Hnd_ykstd_Transient CreateObject(const ykstd_AsciiString& className, unsigned char objOnly) = 0;
  virtual void Reserved4();
  virtual ykenum::Unit GetUnitSetting(unsigned char flag, const char* name, std::int32_t arg) = 0;
  virtual void Reserved5();
  virtual void Reserved6();
  virtual void Reserved7();
  virtual void Reserved8();
  virtual void Reserved9();
  virtual ykstd_AsciiString GetStringSetting(unsigned char flag, const char* name, std::int32_t arg) = 0;
  virtual void Reserved10();
  virtual void Reserved11();
  virtual void Reserved12();
  virtual void Reserved13();
  virtual void Reserved14();

  // The current session; a null handle when there is none.
  static const Hnd_ykstd_Session& CurSession();

  YKSTD_DECLARE_TYPE(ykstd_Session);
};

YKSTD_HANDLE(ykstd_VersionMapper, ykstd_TShared);

// A slot for the add-in's use: making one makes it the current mapper.
class YKSTD_EXPORT ykstd_VersionMapper : public ykstd_TShared {
 public:
  ykstd_VersionMapper();
  ~ykstd_VersionMapper() override;

  // Releases the current mapper, whichever mapper it is called on.
  virtual void Destroy();
  virtual void Reserved1();
  virtual void Reserved2();

  static const Hnd_ykstd_VersionMapper& CurMapper();

  YKSTD_DECLARE_TYPE(ykstd_VersionMapper);
};
