#include <cstring>
#include <ostream>

#include <ykstd/platform/CString.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Failure.hxx>

namespace {
std::int32_t ClampedLength(std::size_t length) {
  return length > static_cast<std::size_t>(ykstd_AsciiString::MaxLength) ? ykstd_AsciiString::MaxLength
                                                                         : static_cast<std::int32_t>(length);
}
}  // namespace

ykstd_AsciiString::ykstd_AsciiString(const ykstd_AsciiString& other) : text_(nullptr), length_(0) {
  if (other.length_ > 0) SetBytes(other.text_, other.length_);
}

ykstd_AsciiString::ykstd_AsciiString(const char* text) : text_(nullptr), length_(0) {
  if (text) SetBytes(text, ClampedLength(std::strlen(text)));
}

ykstd_AsciiString& ykstd_AsciiString::operator=(ykstd_AsciiString&& other) noexcept {
  if (this != &other) {
    Destroy();
    text_ = other.text_;
    length_ = other.length_;
    other.text_ = nullptr;
    other.length_ = 0;
  }
  return *this;
}

void ykstd_AsciiString::Copy(const ykstd_AsciiString& other) {
  if (this == &other) return;
  if (other.length_ > 0)
    SetBytes(other.text_, other.length_);
  else
    Destroy();
}

void ykstd_AsciiString::Destroy() noexcept {
  delete[] text_;
  text_ = nullptr;
  length_ = 0;
}

void ykstd_AsciiString::SetBytes(const char* bytes, std::int32_t length) {
  if (length > MaxLength) length = MaxLength;
  char* fresh = new char[static_cast<std::size_t>(length) + 1];
  if (length > 0) std::memcpy(fresh, bytes, static_cast<std::size_t>(length));
  fresh[length] = '\0';
  delete[] text_;
  text_ = fresh;
  length_ = static_cast<std::int16_t>(length);
}

void ykstd_AsciiString::AssignCat(const char* other) {
  if (!other || !*other) return;
  const std::int32_t extra = ClampedLength(std::strlen(other));
  const std::int32_t total = length_ + extra > MaxLength ? MaxLength : length_ + extra;
  char* fresh = new char[static_cast<std::size_t>(total) + 1];
  if (length_ > 0) std::memcpy(fresh, text_, static_cast<std::size_t>(length_));
  // `other` may point into our own buffer, which is still alive here.
  std::memcpy(fresh + length_, other, static_cast<std::size_t>(total - length_));
  fresh[total] = '\0';
  delete[] text_;
  text_ = fresh;
  length_ = static_cast<std::int16_t>(total);
}

void ykstd_AsciiString::AssignCat(const ykstd_AsciiString& other) {
  if (other.length_ > 0) AssignCat(other.text_);
}

unsigned char ykstd_AsciiString::IsEqual(const ykstd_AsciiString& other) const {
  if (length_ != other.length_) return 0;
  return (length_ == 0 || std::memcmp(text_, other.text_, static_cast<std::size_t>(length_)) == 0) ? 1 : 0;
}

unsigned char ykstd_AsciiString::IsEqual(const char* other) const {
  if (!other) return text_ == nullptr ? 1 : 0;
  const std::size_t length = std::strlen(other);
  if (length != static_cast<std::size_t>(length_)) return 0;
  return (length_ == 0 || std::memcmp(text_, other, length) == 0) ? 1 : 0;
}

std::int32_t ykstd_AsciiString::HashCode(const ykstd_AsciiString& s, std::int32_t upper) {
  if (s.length_ < 1) return 0;
  std::uint32_t h = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s.text_); *p; ++p) h = h * 5u + *p;
  const auto signedHash = static_cast<std::int32_t>(h);
  const std::int64_t magnitude = signedHash < 0 ? -static_cast<std::int64_t>(signedHash) : signedHash;
  return static_cast<std::int32_t>(magnitude % upper);
}

std::int32_t HashCode(const ykstd_AsciiString& s, std::int32_t upper) { return ykstd_AsciiString::HashCode(s, upper); }

void ykstd_AsciiString::Print(std::ostream& out) const {
  if (length_ > 0) out << text_;
}

std::ostream& operator<<(std::ostream& out, const ykstd_AsciiString& s) {
  s.Print(out);
  return out;
}

ykstd_AsciiString::ykstd_AsciiString(HINSTANCE module, unsigned int id) : text_(nullptr), length_(0) {
  LoadAsciiString(module, id);
}

unsigned char ykstd_AsciiString::LoadAsciiString(HINSTANCE module, unsigned int id) {
  CString text;
  if (!text.LoadString(module, id)) return 0;
  *this = ykstd_AsciiString(text.GetString());
  return 1;
}
