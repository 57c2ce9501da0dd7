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

void ykstd_FormLong::Store(ykstd_Archive&, const std::int32_t&) { NoArchive(); }
void ykstd_FormLong::Load(ykstd_Archive&, std::int32_t&) { NoArchive(); }
void ykstd_FormByte::Store(ykstd_Archive&, const unsigned char&) { NoArchive(); }
void ykstd_FormByte::Load(ykstd_Archive&, unsigned char&) { NoArchive(); }
void ykstd_FormDouble::Store(ykstd_Archive&, const double&) { NoArchive(); }
void ykstd_FormDouble::Load(ykstd_Archive&, double&) { NoArchive(); }
void ykstd_FormString::Store(ykstd_Archive&, const ykstd_AsciiString&) { NoArchive(); }
void ykstd_FormString::Load(ykstd_Archive&, ykstd_AsciiString&) { NoArchive(); }
void ykstd_FormObject::Store(ykstd_Archive&, const Hnd_ykstd_Transient&) { NoArchive(); }
void ykstd_FormObject::Load(ykstd_Archive&, Hnd_ykstd_Transient&) { NoArchive(); }
