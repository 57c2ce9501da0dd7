#include <cstring>

#include <ykstd/ykstd_VarArg.hxx>

YKSTD_IMPLEMENT_SEQUENCE(VarArgSeq)

ykstd_VarArg::ykstd_VarArg(const ykstd_VarArg& other)
    : kind_(other.kind_), text_(other.text_), object_(other.object_), dimension_(other.dimension_) {
  std::memcpy(scalar_, other.scalar_, sizeof scalar_);
}

ykstd_VarArg& ykstd_VarArg::operator=(const ykstd_VarArg& other) {
  if (this == &other) return *this;
  kind_ = other.kind_;
  std::memcpy(scalar_, other.scalar_, sizeof scalar_);
  text_.Copy(other.text_);
  object_ = other.object_;
  dimension_.Copy(other.dimension_);
  return *this;
}

ykstd_VarArg::~ykstd_VarArg() = default;

template <class T>
void ykstd_VarArg::SetScalar(Kind kind, T value) {
  static_assert(sizeof(T) <= sizeof scalar_);
  kind_ = kind;
  std::memcpy(scalar_, &value, sizeof value);
}

template <class T>
T ykstd_VarArg::Scalar() const {
  T value;
  std::memcpy(&value, scalar_, sizeof value);
  return value;
}

void ykstd_VarArg::Set(char value) { SetScalar(VarArgChar, value); }
void ykstd_VarArg::Set(std::int32_t value) { SetScalar(VarArgLong, value); }
void ykstd_VarArg::Set(double value) { SetScalar(VarArgDouble, value); }
void ykstd_VarArg::Set(void* const value) { SetScalar(VarArgPtr, value); }

void ykstd_VarArg::Set(const ykstd_AsciiString& value) {
  kind_ = VarArgString;
  text_.Copy(value);
}

void ykstd_VarArg::Set(const Hnd_ykstd_Transient& value) {
  kind_ = VarArgTransient;
  object_ = value;
}

void ykstd_VarArg::Set(const ykstd_Dim& value) {
  kind_ = VarArgDim;
  dimension_.Copy(value);
}

char ykstd_VarArg::CharValue() const { return Scalar<char>(); }
std::int32_t ykstd_VarArg::LongValue() const { return Scalar<std::int32_t>(); }
double ykstd_VarArg::DoubleValue() const { return Scalar<double>(); }
void* ykstd_VarArg::PtrValue() const { return Scalar<void*>(); }

ykstd_Archive& operator<<(ykstd_Archive& archive, const ykstd_VarArg&) { return archive; }
ykstd_Archive& operator>>(ykstd_Archive& archive, ykstd_VarArg&) { return archive; }
