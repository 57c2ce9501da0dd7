// A tagged value: one of seven kinds of value with the tag that says which, as used for argument
// lists of mixed types. A plain value class; it has no stored form.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Seq.hxx>
#include <ykstd/ykstd_Transient.hxx>

class YKSTD_EXPORT ykstd_VarArg {
 public:
  enum Kind : std::int32_t {
    VarArgNone = 0,
    VarArgChar = 1,
    VarArgLong = 2,
    VarArgDouble = 3,
    VarArgPtr = 4,
    VarArgString = 5,
    VarArgTransient = 6,
    VarArgDim = 7
  };

  ykstd_VarArg() noexcept = default;
  explicit ykstd_VarArg(char value) { Set(value); }
  explicit ykstd_VarArg(std::int32_t value) { Set(value); }
  explicit ykstd_VarArg(double value) { Set(value); }
  explicit ykstd_VarArg(void* const value) { Set(value); }
  explicit ykstd_VarArg(const ykstd_AsciiString& value) { Set(value); }
  explicit ykstd_VarArg(const Hnd_ykstd_Transient& value) { Set(value); }
  explicit ykstd_VarArg(const ykstd_Dim& value) { Set(value); }
  // Every member is copied, whatever the kind.
  ykstd_VarArg(const ykstd_VarArg& other);
  ykstd_VarArg& operator=(const ykstd_VarArg& other);
  virtual ~ykstd_VarArg();

  // Each Set changes the kind and the member of the new kind only: a text, object or dimension
  // set earlier stays held (an object stays alive) until it is replaced or the value dies.
  void Set(char value);
  void Set(std::int32_t value);
  void Set(double value);
  void Set(void* const value);
  void Set(const ykstd_AsciiString& value);
  void Set(const Hnd_ykstd_Transient& value);
  void Set(const ykstd_Dim& value);

  Kind GetKind() const { return static_cast<Kind>(kind_); }
  // The scalar read as each kind; meaningful for the kind last set.
  char CharValue() const;
  std::int32_t LongValue() const;
  double DoubleValue() const;
  void* PtrValue() const;
  const ykstd_AsciiString& Text() const { return text_; }
  const Hnd_ykstd_Transient& Object() const { return object_; }
  const ykstd_Dim& Dimension() const { return dimension_; }

 private:
  template <class T>
  void SetScalar(Kind kind, T value);
  template <class T>
  T Scalar() const;

  std::int32_t kind_ = VarArgNone;
  unsigned char scalar_[8] = {};  // shared by the char, long, double and pointer kinds
  ykstd_AsciiString text_;
  Hnd_ykstd_Transient object_;
  ykstd_Dim dimension_;
};

// A tagged value has no stored form: the archive neither writes nor reads anything for it.
YKSTD_EXPORT ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_VarArg& value);
YKSTD_EXPORT ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_VarArg& value);

// Only the count of the sequence is stored; it loads as that many default values.
YKSTD_SEQUENCE(VarArgSeq, ykstd_VarArg, ykstd_FormNone);
