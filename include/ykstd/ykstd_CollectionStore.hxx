// How sequences, arrays, lists and stacks meet the archive: the heads of their stored forms and the
// element forms, chosen by the form tags of ykstd_StoredForm.hxx.
//
// A family's Serialize is written once over these, and each member names its element form as a
// template argument. The out-of-line bodies live beside the archive.
#pragma once

#include <cstdint>
#include <type_traits>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_StoredForm.hxx>
#include <ykstd/ykstd_Transient.hxx>

struct ykstd_FormByte {};    // one byte
struct ykstd_FormDouble {};  // an 8-byte double
struct ykstd_FormNested {};  // the element's own stored form, by its Serialize

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

  // Element forms.
  static void Store(ykstd_Archive& archive, ykstd_FormLong, const std::int32_t& value);
  static void Load(ykstd_Archive& archive, ykstd_FormLong, std::int32_t& value);
  static void Store(ykstd_Archive& archive, ykstd_FormByte, const unsigned char& value);
  static void Load(ykstd_Archive& archive, ykstd_FormByte, unsigned char& value);
  static void Store(ykstd_Archive& archive, ykstd_FormDouble, const double& value);
  static void Load(ykstd_Archive& archive, ykstd_FormDouble, double& value);
  static void Store(ykstd_Archive& archive, ykstd_FormString, const ykstd_AsciiString& value);
  static void Load(ykstd_Archive& archive, ykstd_FormString, ykstd_AsciiString& value);
  static void Store(ykstd_Archive& archive, ykstd_FormObject, const Hnd_ykstd_Transient& value);
  static void Load(ykstd_Archive& archive, ykstd_FormObject, Hnd_ykstd_Transient& value);

  // A typed handle loads through the root handle and a DownCast: an object of another class comes
  // back as a null handle.
  template <class H>
  static void Load(ykstd_Archive& archive, ykstd_FormObject form, H& value) {
    Hnd_ykstd_Transient loaded;
    Load(archive, form, loaded);
    value = H::DownCast(loaded);
  }
  // Nothing per element: loaded elements keep the value they were made with.
  template <class T>
  static void Store(ykstd_Archive&, ykstd_FormNone, const T&) {}
  template <class T>
  static void Load(ykstd_Archive&, ykstd_FormNone, T&) {}
  // A collection element, or a value class with a Serialize of its own. Storing changes nothing.
  template <class T>
  static void Store(ykstd_Archive& archive, ykstd_FormNested, const T& value) {
    const_cast<T&>(value).Serialize(archive);
  }
  template <class T>
  static void Load(ykstd_Archive& archive, ykstd_FormNested, T& value) {
    value.Serialize(archive);
  }

  // Reads `count` elements of form Form one after the other and hands each to `take`; a count
  // under 1 reads nothing.
  template <class Form, class T, class Take>
  static void LoadEach(ykstd_Archive& archive, std::int32_t count, Take&& take) {
    for (std::int32_t k = 0; k < count; ++k) {
      T value{};
      Load(archive, Form{}, value);
      take(value);
    }
  }
};
