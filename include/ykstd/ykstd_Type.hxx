// Run-time class descriptors: one per counted class, identified by address.
#pragma once

#include <ostream>
#include <vector>

#include <ykstd/ykstd_Transient.hxx>

class ykstd_Type;

YKSTD_EXPORT Hnd_ykstd_Type& ykstd_Transient_Type_();
YKSTD_EXPORT Hnd_ykstd_Type& ykstd_Type_Type_();

class YKSTD_EXPORT Hnd_ykstd_Type : public Hnd_ykstd_Transient {
 public:
  Hnd_ykstd_Type() noexcept = default;
  Hnd_ykstd_Type(const ykstd_Type* type) noexcept;
  Hnd_ykstd_Type& operator=(const ykstd_Type* type);
  Hnd_ykstd_Type& operator=(const Hnd_ykstd_Type& other) = default;
  Hnd_ykstd_Type(const Hnd_ykstd_Type& other) noexcept = default;
  ykstd_Type* operator->() const;
  ykstd_Type& operator*() const;
};

class YKSTD_EXPORT ykstd_Type : public ykstd_Transient {
 public:
  // `ancestors` is an array of Hnd_ykstd_Type ending with a null handle, or null; it is not copied.
  ykstd_Type(const char* name, std::int32_t size, std::int32_t parents, void* const ancestors);

  const Hnd_ykstd_Type& DynamicType() const override;
  unsigned char IsKind(const Hnd_ykstd_Type& type) const override;
  void ShallowDump(std::ostream& out) const override;

  const char* Name() const { return name_; }
  std::int32_t Size() const { return size_; }
  std::int32_t NumberOfParent() const { return parents_; }
  std::int32_t NumberOfAncestor() const { return ancestorCount_; }

  void Print(std::ostream& out) const;
  void operator<<(std::ostream& out) const;

 private:
  friend class ykstd_TypeRecord;
  void* Ancestors() const { return ancestors_; }

  const char* name_;
  std::int16_t size_;
  std::uint8_t parents_;
  std::uint8_t ancestorCount_;
  void* ancestors_;
};

inline Hnd_ykstd_Type::Hnd_ykstd_Type(const ykstd_Type* type) noexcept : Hnd_ykstd_Transient(type) {}
inline Hnd_ykstd_Type& Hnd_ykstd_Type::operator=(const ykstd_Type* type) {
  Hnd_ykstd_Transient::operator=(type);
  return *this;
}
inline ykstd_Type* Hnd_ykstd_Type::operator->() const { return static_cast<ykstd_Type*>(ControlAccess()); }
inline ykstd_Type& Hnd_ykstd_Type::operator*() const { return *static_cast<ykstd_Type*>(ControlAccess()); }

YKSTD_EXPORT std::ostream& operator<<(std::ostream& out, const Hnd_ykstd_Type& type);

// The statics behind one descriptor function: the ancestors (nearest first, ending with a null
// handle) and the descriptor. Made on the first call of the descriptor function.
class YKSTD_EXPORT ykstd_TypeRecord {
 public:
  ykstd_TypeRecord(const char* name, std::int32_t size, Hnd_ykstd_Type& (*baseTypeFn)());
  ykstd_TypeRecord(const ykstd_TypeRecord&) = delete;
  ykstd_TypeRecord& operator=(const ykstd_TypeRecord&) = delete;
  Hnd_ykstd_Type& Type() { return type_; }

 private:
  std::vector<Hnd_ykstd_Type> ancestors_;
  Hnd_ykstd_Type type_;
};

// Declares the run-time type operations inside a counted class's body.
#define YKSTD_DECLARE_TYPE(CLASS)                     \
 public:                                              \
  const Hnd_ykstd_Type& DynamicType() const override; \
  unsigned char IsKind(const Hnd_ykstd_Type& type) const override

// Defines CLASS_Type_(), DynamicType and IsKind of CLASS, whose direct base is BASE, with the
// stored class name NAME. Use in exactly one source file.
#define YKSTD_IMPLEMENT_TYPE_NAMED(CLASS, BASE, NAME)                                              \
  Hnd_ykstd_Type& CLASS##_Type_() {                                                                \
    static ykstd_TypeRecord record(NAME, static_cast<std::int32_t>(sizeof(CLASS)), &BASE##_Type_); \
    return record.Type();                                                                          \
  }                                                                                                \
  const Hnd_ykstd_Type& CLASS::DynamicType() const { return CLASS##_Type_(); }                     \
  unsigned char CLASS::IsKind(const Hnd_ykstd_Type& type) const {                                  \
    return (!type.IsNull() && type == CLASS##_Type_()) ? 1 : BASE::IsKind(type);                   \
  }

#define YKSTD_IMPLEMENT_TYPE(CLASS, BASE) YKSTD_IMPLEMENT_TYPE_NAMED(CLASS, BASE, #CLASS)
