// Placeholders until the archive lands: every entry point raises, so a collection's Serialize fails
// in an orderly way instead of writing a form nobody can read.

#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_Failure.hxx>

namespace {
[[noreturn]] void NoArchive() { ykstd_fail_NotImplemented::Raise("ykstd_CollectionStore: no archive in this build"); }
}  // namespace

unsigned char ykstd_CollectionStore::IsLoading(ykstd_Archive&) { NoArchive(); }
void ykstd_CollectionStore::StoreCount(ykstd_Archive&, std::int32_t) { NoArchive(); }
std::int32_t ykstd_CollectionStore::LoadCount(ykstd_Archive&) { NoArchive(); }
void ykstd_CollectionStore::StoreLong(ykstd_Archive&, std::int32_t) { NoArchive(); }
std::int32_t ykstd_CollectionStore::LoadLong(ykstd_Archive&) { NoArchive(); }

void ykstd_CollectionStore::Store(ykstd_Archive&, ykstd_FormLong, const std::int32_t&) { NoArchive(); }
void ykstd_CollectionStore::Load(ykstd_Archive&, ykstd_FormLong, std::int32_t&) { NoArchive(); }
void ykstd_CollectionStore::Store(ykstd_Archive&, ykstd_FormByte, const unsigned char&) { NoArchive(); }
void ykstd_CollectionStore::Load(ykstd_Archive&, ykstd_FormByte, unsigned char&) { NoArchive(); }
void ykstd_CollectionStore::Store(ykstd_Archive&, ykstd_FormDouble, const double&) { NoArchive(); }
void ykstd_CollectionStore::Load(ykstd_Archive&, ykstd_FormDouble, double&) { NoArchive(); }
void ykstd_CollectionStore::Store(ykstd_Archive&, ykstd_FormString, const ykstd_AsciiString&) { NoArchive(); }
void ykstd_CollectionStore::Load(ykstd_Archive&, ykstd_FormString, ykstd_AsciiString&) { NoArchive(); }
void ykstd_CollectionStore::Store(ykstd_Archive&, ykstd_FormObject, const Hnd_ykstd_Transient&) { NoArchive(); }
void ykstd_CollectionStore::Load(ykstd_Archive&, ykstd_FormObject, Hnd_ykstd_Transient&) { NoArchive(); }
