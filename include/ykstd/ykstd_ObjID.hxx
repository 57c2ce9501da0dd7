// Hands out integer identifiers from 1. A freed identifier is given again only after the next store
// (or UpdateFreeIDs): until then it waits in a list of its own.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Seq.hxx>

class ykstd_Archive;

class YKSTD_EXPORT ykstd_ObjID {
 public:
  ykstd_ObjID();
  ykstd_ObjID(const ykstd_ObjID& other);
  ykstd_ObjID& operator=(const ykstd_ObjID& other);
  virtual ~ykstd_ObjID();

  // Back to the state of a new object: nothing given, nothing pending.
  void Init();
  // The lowest free identifier, or the high mark when there is no hole below it. Raises
  // ykstd_fail_NoMoreObject when a loaded list was empty and ykstd_fail_OutOfRange when the high
  // mark has reached the largest 32-bit number.
  std::int32_t New();
  // Puts id on the pending list (kept rising, without duplicates); nothing is checked.
  void Free(std::int32_t id);
  // Merges the pending identifiers into the free list; those above the high mark are dropped.
  void UpdateFreeIDs();
  // Lowers the high mark over a run of free values just below it.
  void Optimize();

  // Storing merges and shortens the free list first, then writes it and the end-of-class tag.
  // Loading replaces the free list, and leaves it as it was when the stream fails.
  virtual void Serialize(ykstd_Archive& archive);
  std::int32_t ConvertVersion(std::int32_t) { return 0; }

  // The identifiers New may give, rising; the last one is the high mark.
  const ykstd_IntSeq& FreeIDs() const { return mFreeIDs; }
  // Identifiers freed since the last store, rising.
  const ykstd_IntSeq& ToFree() const { return mToFree; }

 private:
  ykstd_IntSeq mFreeIDs;
  ykstd_IntSeq mToFree;
};

inline ykstd_Archive& operator<<(ykstd_Archive& archive, ykstd_ObjID& ids) {
  ids.Serialize(archive);
  return archive;
}
inline ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_ObjID& ids) {
  ids.Serialize(archive);
  return archive;
}
