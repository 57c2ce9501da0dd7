// Arrays of fixed size with free bounds: an array may run from 0, from 1 or from -5.
//
// ykstd_Array1 holds the logic once for every member; each named class is one line. To add a member:
//   YKSTD_ARRAY1(DimArr1, ykstd_Dim, ykstd_FormNested);   // value class, header only
//   YKSTD_HARRAY1(DimHArr1, DimArr1);                      // counted form, if wanted, plus
//   YKSTD_IMPLEMENT_HARRAY1(DimHArr1)                      // in one source file
// The third argument is the element's stored form, a tag of ykstd_StoredForm.hxx or
// ykstd_CollectionStore.hxx: a collection element, or a value class with a Serialize of its own,
// takes ykstd_FormNested; a handle of any counted class takes ykstd_FormObject.
#pragma once

#include <cstddef>
#include <cstdint>
#include <new>
#include <type_traits>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_CollectionStore.hxx>
#include <ykstd/ykstd_TShared.hxx>

// What the array family does out of line: its failures and its storage.
class YKSTD_EXPORT ykstd_Array1Support {
 public:
  [[noreturn]] static void RaiseCreate();
  [[noreturn]] static void RaiseWrap();
  [[noreturn]] static void RaiseNoMemory();
  [[noreturn]] static void RaiseAssign();
  [[noreturn]] static void RaiseValue();
  [[noreturn]] static void RaiseChangeValue();
  [[noreturn]] static void RaiseSetValue();
  // Storage for `count` elements of `size` bytes, zero-filled or not; raises when it cannot be
  // had, including counts that do not fit a 32-bit length.
  static void* Allocate(std::int64_t count, std::size_t size, bool zeroed);
  static void Free(void* block) noexcept;
};

// Self is the member class, T its element, Form the stored form of an element.
template <class Self, class T, class Form>
class YKSTD_EXPORT ykstd_Array1 {
 public:
  using Element = T;

  // Allocates upper - lower + 1 elements; only strings and handles are initialised (empty, null).
  ykstd_Array1(std::int32_t lower, std::int32_t upper) : mLowerBound(lower), mUpperBound(upper) {
    if (upper < lower) ykstd_Array1Support::RaiseCreate();
    MakeStorage(false);
  }
  // Wraps the caller's array whose first element is `first`: nothing is copied and nothing owned.
  ykstd_Array1(const T& first, std::int32_t lower, std::int32_t upper) : mLowerBound(lower), mUpperBound(upper) {
    if (upper < lower) ykstd_Array1Support::RaiseWrap();
    Bind(const_cast<T*>(&first));
  }
  ykstd_Array1(const ykstd_Array1&) = delete;
  ykstd_Array1& operator=(const ykstd_Array1& other) {
    Assign(static_cast<const Self&>(other));
    return *this;
  }
  virtual ~ykstd_Array1() { Destroy(); }

  // Frees storage that the array made; the bounds stay, but the elements are gone, so every later
  // access raises and a second Destroy does nothing.
  void Destroy() noexcept {
    if (!mIsAllocated || !mBlock) return;
    if constexpr (!std::is_trivially_destructible_v<T>) {
      for (std::int64_t k = 0; k < Count(); ++k) mBlock[k].~T();
    }
    ykstd_Array1Support::Free(mBlock);
    mBlock = nullptr;
  }

  void Init(const T& value) {
    ChangeValue(mLowerBound);
    for (std::int64_t k = 0; k < Count(); ++k) mBlock[k] = value;
  }

  // Copies element by element from each array's own lower bound; the bounds stay.
  const Self& Assign(const Self& other) {
    if (&other == this) return static_cast<const Self&>(*this);
    if (Length() != other.Length()) ykstd_Array1Support::RaiseAssign();
    ChangeValue(mLowerBound);
    other.Value(other.mLowerBound);
    for (std::int64_t k = 0; k < Count(); ++k) mBlock[k] = other.mBlock[k];
    return static_cast<const Self&>(*this);
  }

  std::int32_t Lower() const { return mLowerBound; }
  std::int32_t Upper() const { return mUpperBound; }
  // Bounds read from a damaged stream may give any length; it is clamped to 32 bits.
  std::int32_t Length() const {
    const std::int64_t n = Count();
    return n > INT32_MAX ? INT32_MAX : (n < INT32_MIN ? INT32_MIN : static_cast<std::int32_t>(n));
  }

  const T& Value(std::int32_t i) const {
    if (!Holds(i)) ykstd_Array1Support::RaiseValue();
    return *At(i);
  }
  T& ChangeValue(std::int32_t i) {
    if (!Holds(i)) ykstd_Array1Support::RaiseChangeValue();
    return *At(i);
  }
  void SetValue(std::int32_t i, const T& value) {
    if (!Holds(i)) ykstd_Array1Support::RaiseSetValue();
    *At(i) = value;
  }

  // Head: lower and upper bound as plain longs; then the elements from lower to upper. Loading
  // replaces the storage, which the array then owns.
  virtual void Serialize(ykstd_Archive& archive) {
    if (ykstd_CollectionStore::IsLoading(archive)) {
      // Bounds first and storage for them, then the elements in place: a load that fails part-way
      // leaves the stream's bounds and what was read so far.
      Destroy();
      mLowerBound = ykstd_CollectionStore::LoadLong(archive);
      mUpperBound = ykstd_CollectionStore::LoadLong(archive);
      if (Count() < 1) return;
      MakeStorage(true);
      for (std::int64_t k = 0; k < Count(); ++k) ykstd_CollectionStore::Load(archive, Form{}, mBlock[k]);
    } else {
      if (Count() >= 1) Value(mLowerBound);
      ykstd_CollectionStore::StoreLong(archive, mLowerBound);
      ykstd_CollectionStore::StoreLong(archive, mUpperBound);
      for (std::int64_t k = 0; k < Count(); ++k) ykstd_CollectionStore::Store(archive, Form{}, mBlock[k]);
    }
  }

 private:
  std::int64_t Count() const { return std::int64_t{mUpperBound} - mLowerBound + 1; }
  bool Holds(std::int32_t i) const { return i >= mLowerBound && i <= mUpperBound && mBlock; }
  // Element i sits at mData + i * sizeof(T): the bias is kept as an address number, so no pointer
  // ever points outside the block.
  T* At(std::int32_t i) const {
    return reinterpret_cast<T*>(mData + static_cast<std::uintptr_t>(static_cast<std::intptr_t>(i)) * sizeof(T));
  }
  void Bind(T* block) {
    mBlock = block;
    mData = reinterpret_cast<std::uintptr_t>(block) -
            static_cast<std::uintptr_t>(static_cast<std::intptr_t>(mLowerBound)) * sizeof(T);
  }
  // Loading zeroes plain elements: zeroed memory comes from the system untouched, so bounds from a
  // damaged stream cost only the pages that elements are actually read into.
  void MakeStorage(bool zeroed) {
    constexpr bool plain = std::is_trivially_default_constructible_v<T>;
    T* block = static_cast<T*>(ykstd_Array1Support::Allocate(Count(), sizeof(T), zeroed && plain));
    if constexpr (!plain) {
      for (std::int64_t k = 0; k < Count(); ++k) new (block + k) T();
    }
    Bind(block);
    mIsAllocated = 1;
  }

  std::int32_t mLowerBound;
  std::int32_t mUpperBound;
  std::uintptr_t mData = 0;
  unsigned char mIsAllocated = 0;
  // The start of the storage; null once freed.
  T* mBlock = nullptr;
};

// The counted form: a value array that a handle can hold. Self is the counted class, Arr the array.
template <class Self, class Arr>
class YKSTD_EXPORT ykstd_HArray1 : public ykstd_TShared {
 public:
  using T = typename Arr::Element;

  ykstd_HArray1(std::int32_t lower, std::int32_t upper) : arr_(lower, upper) {}
  ykstd_HArray1(std::int32_t lower, std::int32_t upper, const T& value) : arr_(lower, upper) { arr_.Init(value); }

  const Arr& Array1() const { return arr_; }
  Arr& ChangeArray1() { return arr_; }
  void Init(const T& value) { arr_.Init(value); }
  std::int32_t Lower() const { return arr_.Lower(); }
  std::int32_t Upper() const { return arr_.Upper(); }
  std::int32_t Length() const { return arr_.Length(); }
  const T& Value(std::int32_t i) const { return arr_.Value(i); }
  T& ChangeValue(std::int32_t i) { return arr_.ChangeValue(i); }
  void SetValue(std::int32_t i, const T& value) { arr_.SetValue(i, value); }

  void Serialize(ykstd_Archive& archive) override { arr_.Serialize(archive); }

 private:
  Arr arr_;
};

template <class Self, class T, class Form>
ykstd_Archive& operator<<(ykstd_Archive& archive, ykstd_Array1<Self, T, Form>& array) {
  array.Serialize(archive);
  return archive;
}
template <class Self, class T, class Form>
ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_Array1<Self, T, Form>& array) {
  array.Serialize(archive);
  return archive;
}

#define YKSTD_ARRAY1(NAME, ELEMENT, FORM)                                              \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_Array1<ykstd_##NAME, ELEMENT, FORM> { \
   public:                                                                             \
    using ykstd_Array1<ykstd_##NAME, ELEMENT, FORM>::ykstd_Array1;                     \
  }

#define YKSTD_HARRAY1(NAME, ARR)                                                      \
  YKSTD_HANDLE(ykstd_##NAME, ykstd_TShared);                                          \
  class YKSTD_EXPORT ykstd_##NAME : public ykstd_HArray1<ykstd_##NAME, ykstd_##ARR> { \
   public:                                                                            \
    using ykstd_HArray1<ykstd_##NAME, ykstd_##ARR>::ykstd_HArray1;                    \
    YKSTD_DECLARE_TYPE(ykstd_##NAME);                                                 \
  }

#define YKSTD_IMPLEMENT_HARRAY1(NAME) YKSTD_IMPLEMENT_TYPE(ykstd_##NAME, ykstd_TShared)

YKSTD_ARRAY1(AsciiStringArr1, ykstd_AsciiString, ykstd_FormString);
YKSTD_ARRAY1(BoolArr1, unsigned char, ykstd_FormByte);
YKSTD_ARRAY1(IntArr1, std::int32_t, ykstd_FormLong);
YKSTD_ARRAY1(PtrArr1, void*, ykstd_FormNone);
YKSTD_ARRAY1(RealArr1, double, ykstd_FormDouble);

class YKSTD_EXPORT ykstd_TransientArr1
    : public ykstd_Array1<ykstd_TransientArr1, Hnd_ykstd_Transient, ykstd_FormObject> {
 public:
  using ykstd_Array1<ykstd_TransientArr1, Hnd_ykstd_Transient, ykstd_FormObject>::ykstd_Array1;
  // One null handle at index 0.
  ykstd_TransientArr1() : ykstd_Array1(0, 0) {}
};

YKSTD_HARRAY1(BoolHArr1, BoolArr1);
YKSTD_HARRAY1(IntHArr1, IntArr1);
YKSTD_HARRAY1(PtrHArr1, PtrArr1);
YKSTD_HARRAY1(RealHArr1, RealArr1);
