// How collections meet the archive: the heads of their stored forms and one form per element kind.
//
// A collection's Serialize is written once per family in terms of these, and each member names its
// element form as a template argument. The bodies live beside the archive; until it exists they
// raise ykstd_fail_NotImplemented.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Transient.hxx>

class YKSTD_EXPORT ykstd_CollectionStore {
 public:
  // 1 when the archive reads, 0 when it writes.
  static unsigned char IsLoading(ykstd_Archive& archive);
  // The count form: the head of a sequence.
  static void StoreCount(ykstd_Archive& archive, std::int32_t count);
  static std::int32_t LoadCount(ykstd_Archive& archive);
  // A plain 32-bit long: the head of every other family (bounds, extent, depth).
  static void StoreLong(ykstd_Archive& archive, std::int32_t value);
  static std::int32_t LoadLong(ykstd_Archive& archive);
};

// Element forms. Each has Store(archive, const T&) and Load(archive, T&) for the element types it
// serves.

// A 32-bit long.
struct YKSTD_EXPORT ykstd_FormLong {
  static void Store(ykstd_Archive& archive, const std::int32_t& value);
  static void Load(ykstd_Archive& archive, std::int32_t& value);
};

// One byte.
struct YKSTD_EXPORT ykstd_FormByte {
  static void Store(ykstd_Archive& archive, const unsigned char& value);
  static void Load(ykstd_Archive& archive, unsigned char& value);
};

// An 8-byte double.
struct YKSTD_EXPORT ykstd_FormDouble {
  static void Store(ykstd_Archive& archive, const double& value);
  static void Load(ykstd_Archive& archive, double& value);
};

// The string form.
struct YKSTD_EXPORT ykstd_FormString {
  static void Store(ykstd_Archive& archive, const ykstd_AsciiString& value);
  static void Load(ykstd_Archive& archive, ykstd_AsciiString& value);
};

// The object form of a handle. Typed handles load through the root handle and a DownCast, so an
// object of another class loads as a null handle.
struct YKSTD_EXPORT ykstd_FormObject {
  static void Store(ykstd_Archive& archive, const Hnd_ykstd_Transient& value);
  static void Load(ykstd_Archive& archive, Hnd_ykstd_Transient& value);
  template <class H>
  static void Load(ykstd_Archive& archive, H& value) {
    Hnd_ykstd_Transient loaded;
    Load(archive, loaded);
    value = H::DownCast(loaded);
  }
};

// Nothing per element: only the head is stored; loaded elements keep the value they were made with.
struct ykstd_FormNone {
  template <class T>
  static void Store(ykstd_Archive&, const T&) {}
  template <class T>
  static void Load(ykstd_Archive&, T&) {}
};

// The element's own stored form, by its Serialize (a sequence of sequences, a value class with a
// Serialize of its own). Storing does not change the element.
struct ykstd_FormNested {
  template <class T>
  static void Store(ykstd_Archive& archive, const T& value) {
    const_cast<T&>(value).Serialize(archive);
  }
  template <class T>
  static void Load(ykstd_Archive& archive, T& value) {
    value.Serialize(archive);
  }
};
