// The counted root object and the handle that keeps it alive.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <type_traits>

#include <ykstd/ykstd_Export.hxx>

class ykstd_Transient;
class ykstd_Archive;
class Hnd_ykstd_Type;

// Handles never hold 0: an empty handle holds this marker, so that a stray 0 is never mistaken
// for "no object" and a comparison with 0 is always false.
inline constexpr std::uintptr_t ykstd_NullHandleBits =
    static_cast<std::uintptr_t>(static_cast<std::intptr_t>(static_cast<std::int32_t>(0xFEFD0000u)));

class YKSTD_EXPORT Hnd_ykstd_Transient {
 public:
  static ykstd_Transient* NullMarker() noexcept { return reinterpret_cast<ykstd_Transient*>(ykstd_NullHandleBits); }

  Hnd_ykstd_Transient() noexcept : entity_(NullMarker()) {}
  Hnd_ykstd_Transient(const Hnd_ykstd_Transient& other) noexcept : entity_(other.entity_) { BeginScope(); }
  Hnd_ykstd_Transient(const ykstd_Transient* object) noexcept : entity_(Normalized(object)) { BeginScope(); }
  ~Hnd_ykstd_Transient() { EndScope(); }

  Hnd_ykstd_Transient& operator=(const Hnd_ykstd_Transient& other) {
    Assign(other.entity_);
    return *this;
  }
  Hnd_ykstd_Transient& operator=(const ykstd_Transient* object) {
    Assign(object);
    return *this;
  }

  // Compare the stored values, so a null handle equals another null handle but not 0. The
  // language also derives the reversed forms (pointer == handle) from these.
  bool operator==(const Hnd_ykstd_Transient& other) const noexcept { return entity_ == other.entity_; }
  bool operator==(const ykstd_Transient* object) const noexcept { return entity_ == object; }
  // Exact matches for pointers to derived classes and for nullptr, which would otherwise tie with
  // the built-in pointer comparison reached through the conversion below.
  template <class U>
  requires(!std::is_same_v<U, ykstd_Transient> && std::is_base_of_v<ykstd_Transient, U>) bool operator==(
      const U* object) const noexcept {
    return entity_ == static_cast<const ykstd_Transient*>(object);
  }
  bool operator==(std::nullptr_t) const noexcept { return false; }

  // The stored pointer as it is: the marker itself for a null handle.
  operator ykstd_Transient*() const noexcept { return entity_; }

  ykstd_Transient* operator->() const { return ControlAccess(); }
  ykstd_Transient& operator*() const { return *ControlAccess(); }

  unsigned char IsNull() const noexcept { return entity_ == NullMarker() ? 1 : 0; }
  void Nullify() noexcept { EndScope(); }
  void Dump(std::ostream& out) const;

 protected:
  ykstd_Transient* ControlAccess() const;

 private:
  static ykstd_Transient* Normalized(const ykstd_Transient* object) noexcept {
    return object ? const_cast<ykstd_Transient*>(object) : NullMarker();
  }
  inline void BeginScope() const noexcept;
  inline void EndScope() noexcept;
  void Assign(const ykstd_Transient* object);

  ykstd_Transient* entity_;
};

class YKSTD_EXPORT ykstd_Transient {
 public:
  ykstd_Transient() noexcept : count_(0) {}
  // A copy is a new object: it starts unowned, whatever the source's count.
  ykstd_Transient(const ykstd_Transient&) noexcept : count_(0) {}
  ykstd_Transient& operator=(const ykstd_Transient&) noexcept { return *this; }

  virtual Hnd_ykstd_Transient This() const;
  virtual void Delete() const;
  virtual ~ykstd_Transient();
  virtual void Serialize(ykstd_Archive& archive);
  virtual std::int16_t PersistentIdx() const;
  virtual const Hnd_ykstd_Type& DynamicType() const;
  virtual unsigned char IsKind(const Hnd_ykstd_Type& type) const;
  virtual std::int32_t HashCode(std::int32_t upper) const;
  virtual void ShallowDump(std::ostream& out) const;

  unsigned char IsInstance(const Hnd_ykstd_Type&) const { return 0; }

  // Number of handles holding this object.
  std::int32_t GetRefCount() const noexcept { return count_; }

  // Counted objects come from malloc and a failed allocation yields a null pointer (and so a
  // null handle) instead of an exception.
  static void* operator new(std::size_t size) noexcept;
  static void operator delete(void* block, std::size_t size) noexcept;

  // Makes the next `count` counted allocations fail as exhausted memory would; lets tests reach
  // the paths that only run out of memory.
  static void FailNextAllocations(std::int32_t count) noexcept;

 protected:
  virtual ykstd_Transient* Entity();

 private:
  virtual void Initialize();

  friend class Hnd_ykstd_Transient;
  std::int32_t count_;
};

inline void Hnd_ykstd_Transient::BeginScope() const noexcept {
  if (entity_ != NullMarker()) ++entity_->count_;
}

inline void Hnd_ykstd_Transient::EndScope() noexcept {
  if (entity_ == NullMarker()) return;
  ykstd_Transient* object = entity_;
  entity_ = NullMarker();
  if (--object->count_ == 0) object->Delete();
}

// -1 for a null handle, else the object's own hash.
YKSTD_EXPORT std::int32_t HashCode(const Hnd_ykstd_Transient& handle, std::int32_t upper);

// The typed handle of a counted class: it only narrows the pointer type of the root handle and
// adds DownCast. Self is the concrete handle class, T the class it holds, Base the handle of T's
// base class, TypeFn the descriptor function of T.
template <class Self, class T, class Base, Hnd_ykstd_Type& (*TypeFn)()>
class ykstd_HandleOf : public Base {
 public:
  ykstd_HandleOf() noexcept = default;
  ykstd_HandleOf(const T* object) noexcept : Base() { RootAssign(object); }

  Self& operator=(const T* object) {
    RootAssign(object);
    return static_cast<Self&>(*this);
  }

  T* operator->() const { return static_cast<T*>(this->ControlAccess()); }
  T& operator*() const { return *static_cast<T*>(this->ControlAccess()); }

  // A null handle when `other` is null or holds an object of another kind; never raises.
  static const Self DownCast(const Hnd_ykstd_Transient& other) {
    Self result;
    if (!other.IsNull() && other->IsKind(TypeFn())) result.Hnd_ykstd_Transient::operator=(other);
    return result;
  }

 private:
  void RootAssign(const T* object) { Hnd_ykstd_Transient::operator=(static_cast<const ykstd_Transient*>(object)); }
};

// Declares the handle class Hnd_CLASS (child of Hnd_BASE) and the descriptor function
// CLASS_Type_(). Place it before the class definition.
#define YKSTD_HANDLE(CLASS, BASE)                                                                          \
  class CLASS;                                                                                             \
  YKSTD_EXPORT Hnd_ykstd_Type& CLASS##_Type_();                                                            \
  class YKSTD_EXPORT Hnd_##CLASS : public ykstd_HandleOf<Hnd_##CLASS, CLASS, Hnd_##BASE, &CLASS##_Type_> { \
   public:                                                                                                 \
    using ykstd_HandleOf<Hnd_##CLASS, CLASS, Hnd_##BASE, &CLASS##_Type_>::ykstd_HandleOf;                  \
    using ykstd_HandleOf<Hnd_##CLASS, CLASS, Hnd_##BASE, &CLASS##_Type_>::operator=;                       \
  }
