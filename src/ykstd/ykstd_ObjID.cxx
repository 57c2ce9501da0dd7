#include <climits>

#include <ykstd/ykstd_Archive.hxx>
#include <ykstd/ykstd_Failure.hxx>
#include <ykstd/ykstd_ObjID.hxx>
#include <ykstd/ykstd_Schema.hxx>

namespace {

// Puts value before the first entry above it. An equal entry, or no entry above it, leaves the
// sequence as it is; tells whether the value went in.
bool InsertInOrder(ykstd_IntSeq& seq, std::int32_t value) {
  const std::int32_t n = seq.Length();
  for (std::int32_t k = 1; k <= n; ++k) {
    const std::int32_t entry = seq.Value(k);
    if (entry == value) return false;
    if (entry > value) {
      seq.InsertAfter(k - 1, value);
      return true;
    }
  }
  return false;
}

}  // namespace

ykstd_ObjID::ykstd_ObjID() { mFreeIDs.Append(1); }

ykstd_ObjID::ykstd_ObjID(const ykstd_ObjID& other) {
  mFreeIDs.Assign(other.mFreeIDs);
  mToFree.Assign(other.mToFree);
}

ykstd_ObjID& ykstd_ObjID::operator=(const ykstd_ObjID& other) {
  mFreeIDs.Assign(other.mFreeIDs);
  mToFree.Assign(other.mToFree);
  return *this;
}

ykstd_ObjID::~ykstd_ObjID() {
  mFreeIDs.Clear();
  mToFree.Clear();
}

void ykstd_ObjID::Init() {
  mFreeIDs.Clear();
  mToFree.Clear();
  mFreeIDs.Append(1);
}

std::int32_t ykstd_ObjID::New() {
  if (mFreeIDs.IsEmpty()) ykstd_fail_NoMoreObject::Raise("ykstd_ObjID::New: no free identifiers");
  const std::int32_t id = mFreeIDs.First();
  if (mFreeIDs.Length() == 1) {
    if (id == INT32_MAX) ykstd_fail_OutOfRange::Raise("ykstd_ObjID::New: identifiers exhausted");
    mFreeIDs.SetValue(1, id + 1);
  } else {
    mFreeIDs.Remove(1);
  }
  return id;
}

void ykstd_ObjID::Free(std::int32_t id) {
  if (mToFree.IsEmpty() || id > mToFree.Last()) {
    mToFree.Append(id);
    return;
  }
  InsertInOrder(mToFree, id);
}

void ykstd_ObjID::UpdateFreeIDs() {
  for (std::int32_t i = mToFree.Length(); i >= 1; --i) InsertInOrder(mFreeIDs, mToFree.Value(i));
  mToFree.Clear();
}

void ykstd_ObjID::Optimize() {
  for (std::int32_t k = mFreeIDs.Length(); k >= 2; --k) {
    if (std::int64_t{mFreeIDs.Value(k)} - 1 != mFreeIDs.Value(k - 1)) break;
    mFreeIDs.Remove(k);
  }
}

void ykstd_ObjID::Serialize(ykstd_Archive& archive) {
  if (archive.IsStoring()) {
    UpdateFreeIDs();
    Optimize();
    archive << mFreeIDs << EOC;
    return;
  }
  const ykstd_AsciiString name("ykstd_ObjID");
  const std::int32_t version = ykstd_Schema::ClassVersion(name);
  if (version < 0 || version > ykstd_Schema::LastClassVersion(name)) {
    ykstd_TextStream text;
    text << "ykstd_ObjID: bad class version [" << version << "]";
    ykstd_fail_FileIO::Raise(text, 16);
  }
  // The list is replaced before the end tag is checked: a bad tag leaves the loaded list in place.
  archive >> mFreeIDs;
  if (archive.dataVersion >= 16) {
    std::int16_t tag = 0;
    archive >> tag;
    if (tag != EOC) ykstd_fail_FileIO::Raise("ykstd_ObjID: expected end of class", 17);
  }
}
