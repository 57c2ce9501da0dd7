// The heads and element forms of the collections' stored forms, on the archive's primitives.

#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_Failure.hxx>

unsigned char ykstd_CollectionStore::IsLoading(ykstd_Archive& archive) { return archive.IsLoading(); }

void ykstd_CollectionStore::StoreCount(ykstd_Archive& archive, std::int32_t count) {
  archive.WriteCount(static_cast<std::uint32_t>(count));
}

std::int32_t ykstd_CollectionStore::LoadCount(ykstd_Archive& archive) {
  return static_cast<std::int32_t>(archive.ReadCount());
}

void ykstd_CollectionStore::StoreLong(ykstd_Archive& archive, std::int32_t value) { archive << value; }

std::int32_t ykstd_CollectionStore::LoadLong(ykstd_Archive& archive) {
  std::int32_t value = 0;
  archive >> value;
  return value;
}

void ykstd_CollectionStore::Store(ykstd_Archive& archive, ykstd_FormLong, const std::int32_t& value) {
  archive << value;
}
void ykstd_CollectionStore::Load(ykstd_Archive& archive, ykstd_FormLong, std::int32_t& value) { archive >> value; }
void ykstd_CollectionStore::Store(ykstd_Archive& archive, ykstd_FormByte, const unsigned char& value) {
  archive << value;
}
void ykstd_CollectionStore::Load(ykstd_Archive& archive, ykstd_FormByte, unsigned char& value) { archive >> value; }
void ykstd_CollectionStore::Store(ykstd_Archive& archive, ykstd_FormDouble, const double& value) { archive << value; }
void ykstd_CollectionStore::Load(ykstd_Archive& archive, ykstd_FormDouble, double& value) { archive >> value; }
void ykstd_CollectionStore::Store(ykstd_Archive& archive, ykstd_FormString, const ykstd_AsciiString& value) {
  archive << value;
}
void ykstd_CollectionStore::Load(ykstd_Archive& archive, ykstd_FormString, ykstd_AsciiString& value) {
  archive >> value;
}
void ykstd_CollectionStore::Store(ykstd_Archive& archive, ykstd_FormObject, const Hnd_ykstd_Transient& value) {
  archive.WriteTransient(value);
}
void ykstd_CollectionStore::Load(ykstd_Archive& archive, ykstd_FormObject, Hnd_ykstd_Transient& value) {
  value = archive.ReadTransient();
}
