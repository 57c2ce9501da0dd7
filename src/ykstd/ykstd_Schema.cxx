#include <cstring>

#include <ykstd/platform/MessageBox.hxx>
#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Schema.hxx>

namespace ykstd_detail {
Hnd_ykstd_Schema& CurrentSchemaHandle();
}

namespace {

constexpr ykstd_Schema::ClassEntry algClasses[] = {{"Crd3d", 0}, {"Trsf3d", 0}};
constexpr ykstd_Schema::ClassEntry mdlClasses[] = {
    {"Axis3d", 0}, {"BBox2d", 0}, {"BBox3d", 0}, {"CrdSys3d", 0}, {"Data2d", 0}, {"Data3d", 0}, {"ErosionPos", 0},
    {"Pnt2d", 0},  {"Pnt3d", 0},  {"Topo", 0},   {"Trsf2d", 0},   {"Trsf3d", 0}, {"Vec2d", 0},  {"Vec3d", 0}};
constexpr ykstd_Schema::ClassEntry objClasses[] = {{"Base", 0},
                                                   {"CompoundElectrode", 0},
                                                   {"DocumentBased", 0},
                                                   {"Electrode", 2},
                                                   {"feat_YK", 0},
                                                   {"feat_Root", 0},
                                                   {"feat_SE", 0},
                                                   {"feat_SEParallelPlane", 0},
                                                   {"feat_SEProtrusionFromTo", 0},
                                                   {"Front", 1},
                                                   {"Object", 0},
                                                   {"PlateInsert", 2},
                                                   {"Profile", 0},
                                                   {"Session", 1},
                                                   {"SimpleElectrode", 2}};
constexpr ykstd_Schema::ClassEntry sesClasses[] = {{"Session", 0}};
constexpr ykstd_Schema::ClassEntry stdClasses[] = {{"Date", 0}, {"Dim", 0}, {"ObjID", 0}, {"SEPersistTag", 0}};
constexpr ykstd_Schema::ClassEntry addinClasses[] = {{"YKSession", 0}};

template <std::size_t N>
constexpr std::int32_t CountOf(const ykstd_Schema::ClassEntry (&)[N]) {
  return static_cast<std::int32_t>(N);
}

constexpr ykstd_Schema::ModuleEntry modules[ykstd_Schema::ModuleCount] = {
    {"ykalg", CountOf(algClasses), algClasses}, {"ykmdl", CountOf(mdlClasses), mdlClasses},
    {"ykobj", CountOf(objClasses), objClasses}, {"ykses", CountOf(sesClasses), sesClasses},
    {"ykstd", CountOf(stdClasses), stdClasses}, {nullptr, CountOf(addinClasses), addinClasses}};

constexpr char magic[4] = {'Y', 'K', 'S', '\0'};
constexpr const char* streamName = "YKSchema";
constexpr const char* sourceName = "src/ykstd/ykstd_Schema";

std::string FullName(const char* module, const char* name) {
  if (!module || !*module) return name;
  return std::string(module) + "_" + name;
}

std::string Key(const ykstd_AsciiString& text) {
  return text.Length() ? std::string(text.Text(), static_cast<std::size_t>(text.Length())) : std::string();
}

ykstd_Schema& Current() {
  Hnd_ykstd_Schema& current = ykstd_detail::CurrentSchemaHandle();
  if (current.IsNull()) ykstd_fail_ProgramError::Raise("Schema not initialized");
  return *current;
}

ykstd_Schema& Made() {
  Hnd_ykstd_Schema& current = ykstd_detail::CurrentSchemaHandle();
  if (current.IsNull()) current = new ykstd_Schema;
  return *current;
}

}  // namespace

const ykstd_Schema::ModuleEntry* ykstd_Schema::Modules() { return modules; }

ykstd_Schema::ykstd_Schema() = default;
ykstd_Schema::~ykstd_Schema() = default;

void ykstd_Schema::MakeTables() {
  fileVersions.clear();
  lastVersions.clear();
  for (const ModuleEntry& module : modules)
    for (std::int32_t i = 0; i < module.count; ++i)
      lastVersions[FullName(module.name, module.classes[i].name)] = module.classes[i].version;
}

std::int32_t ykstd_Schema::Load(IStoragePtr storage) {
  ykstd_Schema& schema = Made();
  schema.MakeTables();
  ykstd_Archive archive(storage, streamName, ykstd_Archive::ModeLoad, 4096, nullptr);
  bool failed = false;
  try {
    schema.Serialize(archive);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    ykstd_LogCaught(sourceName, "ykstd_Schema::Load", 147, failure);
    failed = true;
  }
  archive.Close();
  if (failed) {
    // A document without a readable schema is read as written by the first version of everything.
    schema.fileVersions.clear();
    for (const ModuleEntry& module : modules)
      for (std::int32_t i = 0; i < module.count; ++i)
        schema.fileVersions[FullName(module.name, module.classes[i].name)] = 0;
  }
  return 0;
}

std::int32_t ykstd_Schema::Save(IStoragePtr storage) {
  ykstd_Schema& schema = Made();
  schema.MakeTables();
  ykstd_Archive archive(storage, streamName, ykstd_Archive::ModeStore, 4096, nullptr);
  try {
    schema.Serialize(archive);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    ykstd_LogCaught(sourceName, "ykstd_Schema::Save", 192, failure);
    AfxMessageBox(ykstd_MsgEx::Get(4222).Text(), 0, 0);
  }
  archive.Close();
  return 0;
}

std::int32_t ykstd_Schema::ClassVersion(const ykstd_AsciiString& fullName) {
  const ykstd_Schema& schema = Current();
  const auto found = schema.fileVersions.find(Key(fullName));
  return found == schema.fileVersions.end() ? -1 : found->second;
}

std::int32_t ykstd_Schema::LastClassVersion(const ykstd_AsciiString& fullName) {
  const ykstd_Schema& schema = Current();
  const auto found = schema.lastVersions.find(Key(fullName));
  if (found == schema.lastVersions.end())
    ykstd_fail_ProgramError::Raise("Cannot get class version: classname is not bound");
  return found->second;
}

void ykstd_Schema::Destroy() { ykstd_detail::CurrentSchemaHandle().Nullify(); }

void ykstd_Schema::Serialize(ykstd_Archive& archive) {
  if (archive.IsStoring()) {
    // Without a stream nothing could take the bytes; say so instead of failing in the buffer.
    if (!archive.GetIStream()) ykstd_fail_FileIO::Raise("ykstd_Schema: cannot write the schema stream", 1);
    archive.Write(magic, sizeof magic);
    archive << ModuleCount;
    for (const ModuleEntry& module : modules) {
      archive << ykstd_AsciiString(module.name) << module.count;
      for (std::int32_t i = 0; i < module.count; ++i)
        archive << ykstd_AsciiString(module.classes[i].name) << module.classes[i].version;
    }
    return;
  }
  char read[sizeof magic] = {};
  archive.Read(read, sizeof read);
  if (std::strncmp(read, magic, sizeof magic) != 0)
    ykstd_fail_FileIO::Raise("ykstd_Schema: wrong Kalvane schema format", 17);
  std::int32_t moduleCount = 0;
  archive >> moduleCount;
  for (std::int32_t m = 0; m < moduleCount; ++m) {
    ykstd_AsciiString module;
    std::int32_t classCount = 0;
    archive >> module >> classCount;
    for (std::int32_t c = 0; c < classCount; ++c) {
      ykstd_AsciiString name;
      std::int16_t version = 0;
      archive >> name >> version;
      fileVersions[FullName(module.Text(), name.Length() ? name.Text() : "")] = version;
    }
  }
}

YKSTD_IMPLEMENT_TYPE(ykstd_Schema, ykstd_TShared)
