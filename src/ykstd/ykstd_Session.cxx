#include <cstring>

#include <ykstd/platform/CString.hxx>
#include <ykstd/platform/Registry.hxx>
#include <ykstd/ykstd_Session.hxx>

namespace ykstd_detail {
Hnd_ykstd_Session& CurrentSessionHandle();
Hnd_ykstd_VersionMapper& CurrentMapperHandle();

// The add-in's folder, ending with its separator; false when the registry has none.
bool AddinFolder(CString& folder) {
  HKEY key = nullptr;
  if (RegOpenKeyExA(HKEY_CLASSES_ROOT, "CLSID\\{3F0A6C11-7D2E-4B58-9C41-5E2A81D0B6F7}\\InprocServer32", 0,
                    KEY_QUERY_VALUE, &key) != ERROR_SUCCESS)
    return false;
  char path[512] = {};
  LONG size = sizeof path;
  const LONG status = RegQueryValueA(key, nullptr, path, &size);
  RegCloseKey(key);
  if (status != ERROR_SUCCESS) return false;
  // The server's file name is taken to have 11 characters; a shorter path holds no folder.
  const std::size_t length = strnlen(path, sizeof path);
  if (length < 11) return false;
  folder = CString(path, static_cast<int>(length - 11));
  return true;
}

// Loads the module that `format` names in the add-in's folder into `module`; without a folder
// `module` keeps its value.
void LoadAddinModule(const char* format, HINSTANCE& module) {
  CString folder;
  if (!AddinFolder(folder)) return;
  CString file;
  file.Format(format, folder.GetString());
  module = LoadLibraryA(file);
}
}  // namespace ykstd_detail

namespace {
#if defined(_WIN32)
constexpr const char* kResourceModule = "%sykres.dll";
#else
constexpr const char* kResourceModule = "%sykres.so";
#endif
}  // namespace

ykstd_Session::ykstd_Session() {
  // The session before loses this count; if it was the last, its destructor frees the module.
  ykstd_detail::CurrentSessionHandle() = this;
  ykstd_detail::LoadAddinModule(kResourceModule, theCatResDllInst);
}

ykstd_Session::~ykstd_Session() {
  if (theCatResDllInst) {
    FreeLibrary(theCatResDllInst);
    theCatResDllInst = nullptr;
  }
}

std::int32_t ykstd_Session::Init() { return 0; }
void ykstd_Session::Destroy() { ykstd_detail::CurrentSessionHandle().Nullify(); }
void ykstd_Session::Reserved1() {}
void ykstd_Session::Reserved2() {}
void ykstd_Session::Reserved3() {}
void ykstd_Session::Reserved4() {}
void ykstd_Session::Reserved5() {}
void ykstd_Session::Reserved6() {}
void ykstd_Session::Reserved7() {}
void ykstd_Session::Reserved8() {}
void ykstd_Session::Reserved9() {}
void ykstd_Session::Reserved10() {}
void ykstd_Session::Reserved11() {}
void ykstd_Session::Reserved12() {}
void ykstd_Session::Reserved13() {}
void ykstd_Session::Reserved14() {}
const Hnd_ykstd_Session& ykstd_Session::CurSession() { return ykstd_detail::CurrentSessionHandle(); }

YKSTD_IMPLEMENT_TYPE(ykstd_Session, ykstd_TShared)

ykstd_VersionMapper::ykstd_VersionMapper() { ykstd_detail::CurrentMapperHandle() = this; }
ykstd_VersionMapper::~ykstd_VersionMapper() = default;
void ykstd_VersionMapper::Destroy() { ykstd_detail::CurrentMapperHandle().Nullify(); }
void ykstd_VersionMapper::Reserved1() {}
void ykstd_VersionMapper::Reserved2() {}
const Hnd_ykstd_VersionMapper& ykstd_VersionMapper::CurMapper() { return ykstd_detail::CurrentMapperHandle(); }

YKSTD_IMPLEMENT_TYPE(ykstd_VersionMapper, ykstd_TShared)
