#include <algorithm>
#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <istream>
#include <ostream>

#include <ykstd/platform/Nls.hxx>
#include <ykstd/platform/OleAuto.hxx>
#include <ykstd/platform/CString.hxx>
#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Failure.hxx>

namespace {

constexpr std::int32_t kScratchLimit = ykstd_AsciiString::ScratchSize - 1;

std::int32_t Clamped(std::size_t length, std::int32_t limit = ykstd_AsciiString::MaxLength) {
  return length > static_cast<std::size_t>(limit) ? limit : static_cast<std::int32_t>(length);
}

std::int32_t LengthOf(const char* text) { return text ? Clamped(std::strlen(text)) : 0; }

[[noreturn]] void RaiseOutOfRange(const char* operation) { ykstd_fail_OutOfRange::Raise(operation); }

int Lower(char c) { return std::tolower(static_cast<unsigned char>(c)); }
int Upper(char c) { return std::toupper(static_cast<unsigned char>(c)); }
bool IsSpace(char c) { return std::isspace(static_cast<unsigned char>(c)) != 0; }

// Byte-order collation over the shorter length; on a tie the shorter text is the lesser.
int Collate(const char* a, std::int32_t aLength, const char* b, std::int32_t bLength) {
  const std::int32_t common = std::min(aLength, bLength);
  if (common > 0) {
    const int order = std::memcmp(a, b, static_cast<std::size_t>(common));
    if (order != 0) return order;
  }
  return aLength < bLength ? -1 : (aLength > bLength ? 1 : 0);
}

// First occurrence of `needle` in the NUL-ended `text`, as a position from 1, or 0.
std::int32_t Find(const char* text, const char* needle) {
  const char* hit = std::strstr(text, needle);
  return hit ? static_cast<std::int32_t>(hit - text) + 1 : 0;
}

// Last occurrence, stepping one byte past each hit so that overlapping hits count.
std::int32_t FindLast(const char* text, const char* needle) {
  if (!*needle) return 0;
  std::int32_t last = 0;
  for (const char* from = text; (from = std::strstr(from, needle)) != nullptr; ++from)
    last = static_cast<std::int32_t>(from - text) + 1;
  return last;
}

}  // namespace

// ---- construction and assignment ----

ykstd_AsciiString::ykstd_AsciiString(const ykstd_AsciiString& other) : text_(nullptr), length_(0) {
  if (other.length_ > 0) SetBytes(other.text_, other.length_);
}

ykstd_AsciiString::ykstd_AsciiString(const char* text) : text_(nullptr), length_(0) {
  if (text) SetBytes(text, LengthOf(text));
}

ykstd_AsciiString::ykstd_AsciiString(char c) : text_(nullptr), length_(0) { SetBytes(&c, 1); }

ykstd_AsciiString::ykstd_AsciiString(std::int32_t value) : text_(nullptr), length_(0) {
  char scratch[ScratchSize];
  const int written = std::snprintf(scratch, sizeof scratch, "%d", static_cast<int>(value));
  SetBytes(scratch, written);
}

ykstd_AsciiString::ykstd_AsciiString(std::int32_t length, char filler) : text_(nullptr), length_(0) {
  if (length < 1) return;
  SetBytes(nullptr, std::min(length, MaxLength));
  std::memset(text_, filler, static_cast<std::size_t>(length_));
}

ykstd_AsciiString::ykstd_AsciiString(double value, std::int32_t precision) : text_(nullptr), length_(0) {
  char format[20];
  if (precision < 0)
    std::strcpy(format, "%.10g");
  else
    std::snprintf(format, sizeof format, "%%.%dlf", static_cast<int>(precision));
  char scratch[ScratchSize];
  const int wanted = std::snprintf(scratch, sizeof scratch, format, value);
  SetBytes(scratch, Clamped(static_cast<std::size_t>(wanted < 0 ? 0 : wanted), kScratchLimit));
}

ykstd_AsciiString::ykstd_AsciiString(const wchar_t* text) : text_(nullptr), length_(0) {
  if (!text) return;
  const int wideLength = static_cast<int>(std::min<std::size_t>(std::wcslen(text), MaxLength));
  if (wideLength == 0) return;
  SetBytes(nullptr, wideLength);
  const int written = WideCharToMultiByte(CP_ACP, 0, text, wideLength, text_, wideLength, nullptr, nullptr);
  length_ = static_cast<std::int16_t>(written);
  text_[written] = '\0';
}

ykstd_AsciiString::ykstd_AsciiString(const _bstr_t& text) : text_(nullptr), length_(0) {
  const char* narrow = static_cast<const char*>(text);
  if (narrow && text.length() > 0) SetBytes(narrow, LengthOf(narrow));
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
  length = std::clamp(length, 0, MaxLength);
  char* fresh = new char[static_cast<std::size_t>(length) + 1];
  if (bytes && length > 0) std::memcpy(fresh, bytes, static_cast<std::size_t>(length));
  fresh[length] = '\0';
  delete[] text_;
  text_ = fresh;
  length_ = static_cast<std::int16_t>(length);
}

void ykstd_AsciiString::Splice(const char* head, std::int32_t headLength, const char* middle, std::int32_t middleLength,
                               const char* tail, std::int32_t tailLength, std::int32_t limit) {
  // Widen before adding: the parts may each be near the limit.
  const std::int64_t wanted = std::int64_t{headLength} + middleLength + tailLength;
  const std::int32_t total = static_cast<std::int32_t>(std::min<std::int64_t>(wanted, limit));
  char* fresh = new char[static_cast<std::size_t>(total) + 1];
  std::int32_t at = 0;
  for (auto [bytes, length] :
       {std::pair{head, headLength}, std::pair{middle, middleLength}, std::pair{tail, tailLength}}) {
    const std::int32_t take = std::min(length, total - at);
    if (take > 0) std::memcpy(fresh + at, bytes, static_cast<std::size_t>(take));
    at += std::max(take, 0);
  }
  fresh[total] = '\0';
  delete[] text_;
  text_ = fresh;
  length_ = static_cast<std::int16_t>(total);
}

void ykstd_AsciiString::InsertBytes(std::int32_t at, const char* bytes, std::int32_t length) {
  Splice(text_, at, bytes, length, text_ + at, length_ - at);
}

// ---- one place ----

char ykstd_AsciiString::Value(std::int32_t where) const {
  if (where < 1 || where > length_) RaiseOutOfRange("");
  return text_[where - 1];
}

void ykstd_AsciiString::SetValue(std::int32_t where, char c) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::SetValue(int,char)");
  if (where <= length_)
    text_[where - 1] = c;
  else
    InsertBytes(length_, &c, 1);
}

void ykstd_AsciiString::SetValue(std::int32_t where, const ykstd_AsciiString& s) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::SetValue(int,ascstr)");
  if (s.length_ > 0) SetValue(where, s.text_);
}

void ykstd_AsciiString::SetValue(std::int32_t where, const char* s) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::SetValue(int,char*)");
  if (!s) return;
  const std::int32_t count = LengthOf(s);
  if (where - 1 + count <= length_) {
    if (count > 0) std::memmove(text_ + where - 1, s, static_cast<std::size_t>(count));
    return;
  }
  Splice(text_, where - 1, s, count, nullptr, 0, kScratchLimit);
}

// ---- joining and inserting ----

void ykstd_AsciiString::AssignCat(const char* other) {
  const std::int32_t extra = LengthOf(other);
  if (extra > 0) InsertBytes(length_, other, extra);
}

void ykstd_AsciiString::AssignCat(const ykstd_AsciiString& other) {
  if (other.length_ > 0) InsertBytes(length_, other.text_, other.length_);
}

ykstd_AsciiString ykstd_AsciiString::Cat(const char* other) const {
  ykstd_AsciiString result;
  result.Splice(text_, length_, other, LengthOf(other), nullptr, 0, kScratchLimit);
  if (result.length_ == 0) result.Destroy();
  return result;
}

ykstd_AsciiString ykstd_AsciiString::Cat(const ykstd_AsciiString& other) const {
  return Cat(other.length_ > 0 ? other.text_ : nullptr);
}

void ykstd_AsciiString::Prepend(const ykstd_AsciiString& other) {
  if (other.length_ > 0) InsertBytes(0, other.text_, other.length_);
}

void ykstd_AsciiString::Insert(std::int32_t where, const ykstd_AsciiString& s) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::Insert(int,ascstr)");
  if (!text_)
    Copy(s);
  else if (s.length_ > 0)
    InsertBytes(where - 1, s.text_, s.length_);
}

void ykstd_AsciiString::Insert(std::int32_t where, char c) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::Insert(int,char)");
  InsertBytes(where - 1, &c, 1);
}

void ykstd_AsciiString::Insert(std::int32_t where, const char* s) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::Insert(int,char*)");
  const std::int32_t count = LengthOf(s);
  if (count > 0) InsertBytes(where - 1, s, count);
}

void ykstd_AsciiString::InsertAfter(std::int32_t where, const ykstd_AsciiString& s) {
  if (where < 0 || where > length_) RaiseOutOfRange("ykstd_AsciiString::InsertAfter(int,ascstr)");
  if (!text_)
    Copy(s);
  else if (s.length_ > 0)
    InsertBytes(where, s.text_, s.length_);
}

// Like Insert, a string with no buffer becomes a copy of the argument.
void ykstd_AsciiString::InsertBefore(std::int32_t where, const ykstd_AsciiString& s) {
  if (where < 1 || where > length_ + 1) RaiseOutOfRange("ykstd_AsciiString::InsertBefore(int,ascstr)");
  if (!text_)
    Copy(s);
  else if (s.length_ > 0)
    InsertBytes(where - 1, s.text_, s.length_);
}

// ---- removing and cutting ----

void ykstd_AsciiString::Remove(std::int32_t where, std::int32_t count) {
  if (where < 1 || count < 1 || std::int64_t{where} - 1 + count > length_)
    RaiseOutOfRange("ykstd_AsciiString::Remove(int,int)");
  const std::int32_t behind = where - 1 + count;
  Splice(text_, where - 1, text_ + behind, length_ - behind, nullptr, 0);
}

void ykstd_AsciiString::RemoveAll(char c) { RemoveAll(c, 1); }

void ykstd_AsciiString::RemoveAll(char c, unsigned char caseSensitive) {
  if (length_ < 1) return;
  std::int32_t kept = 0;
  for (std::int32_t i = 0; i < length_; ++i) {
    const bool match = caseSensitive ? text_[i] == c : Lower(text_[i]) == Lower(c);
    if (!match) text_[kept++] = text_[i];
  }
  if (kept != length_) SetBytes(text_, kept);
}

void ykstd_AsciiString::Trunc(std::int32_t newLength) {
  if (newLength < 1 || newLength >= length_) RaiseOutOfRange("ykstd_AsciiString::Trunc(int)");
  SetBytes(text_, newLength);
}

ykstd_AsciiString ykstd_AsciiString::Split(std::int32_t where) {
  if (where < 0 || where > length_) RaiseOutOfRange("ykstd_AsciiString::Split(int)");
  ykstd_AsciiString behind;
  if (where == length_) return behind;
  behind.SetBytes(text_ + where, length_ - where);
  SetBytes(text_, where);
  return behind;
}

ykstd_AsciiString ykstd_AsciiString::SubString(std::int32_t from, std::int32_t to) const {
  if (from < 1 || from > to || to > length_) RaiseOutOfRange("ykstd_AsciiString::SubString(int,int)");
  ykstd_AsciiString result;
  result.SetBytes(text_ + from - 1, to - from + 1);
  return result;
}

ykstd_AsciiString ykstd_AsciiString::Token(const char* separators, std::int32_t n) const {
  if (!separators) ykstd_fail_NullObject::Raise("ykstd_AsciiString::Token(char*,int)");
  ykstd_AsciiString result;
  if (n < 1 || length_ < 1) return result;
  const char* at = text_;
  const char* start = nullptr;
  std::size_t runLength = 0;
  while (n > 0 && *at) {
    at += std::strspn(at, separators);
    start = at;
    runLength = std::strcspn(at, separators);
    at += runLength;
    if (runLength > 0) --n;
  }
  if (n == 0) result.SetBytes(start, static_cast<std::int32_t>(runLength));
  return result;
}

void ykstd_AsciiString::LeftAdjust() {
  std::int32_t first = 0;
  while (first < length_ && IsSpace(text_[first])) ++first;
  if (first > 0 && first < length_) SetBytes(text_ + first, length_ - first);
}

void ykstd_AsciiString::RightAdjust() {
  std::int32_t end = length_;
  while (end > 0 && IsSpace(text_[end - 1])) --end;
  if (end > 0 && end < length_) SetBytes(text_, end);
}

// ---- searching ----

std::int32_t ykstd_AsciiString::Search(const ykstd_AsciiString& s) const {
  if (length_ < 1 || !s.text_) return 0;
  return Find(text_, s.text_);
}

std::int32_t ykstd_AsciiString::Search(const char* s) const {
  if (length_ < 1 || !s) return 0;
  return Find(text_, s);
}

std::int32_t ykstd_AsciiString::SearchFromEnd(const ykstd_AsciiString& s) const {
  if (!text_ || s.length_ < 1) return 0;
  return FindLast(text_, s.text_);
}

std::int32_t ykstd_AsciiString::SearchFromEnd(const char* s) const {
  if (!text_ || !s) return 0;
  return FindLast(text_, s);
}

std::int32_t ykstd_AsciiString::Location(const ykstd_AsciiString& s, std::int32_t from, std::int32_t to) const {
  if (to == -1) to = length_;
  if (from < 1 || from > to || to > length_) RaiseOutOfRange("ykstd_AsciiString::Location(ascstr,int,int)");
  // A pattern without a buffer is found nowhere.
  if (!s.text_) return 0;
  const std::int32_t first = Find(text_, s.text_);
  return (first >= from && first <= to) ? first : 0;
}

std::int32_t ykstd_AsciiString::Location(std::int32_t n, char c, std::int32_t from, std::int32_t to) const {
  if (n < 1 || from < 1 || from > to || to > length_) RaiseOutOfRange("ykstd_AsciiString::Location(int,char,int,int)");
  for (std::int32_t i = from; i <= to; ++i)
    if (text_[i - 1] == c && --n == 0) return i;
  return 0;
}

std::int32_t ykstd_AsciiString::FirstLocationInSet(const ykstd_AsciiString& set, std::int32_t from,
                                                   std::int32_t to) const {
  if (from < 1 || from > to || to > length_) RaiseOutOfRange("ykstd_AsciiString::FirstLocationInSet(ascstr,int,int)");
  if (set.length_ < 1) return from;
  for (std::int32_t i = from; i <= to; ++i)
    if (std::memchr(set.text_, text_[i - 1], static_cast<std::size_t>(set.length_))) return i;
  return 0;
}

std::int32_t ykstd_AsciiString::FirstLocationNotInSet(const ykstd_AsciiString& set, std::int32_t from,
                                                      std::int32_t to) const {
  if (from < 1 || from > to || to > length_)
    RaiseOutOfRange("ykstd_AsciiString::FirstLocationNotInSet(ascstr,int,int)");
  if (set.length_ < 1) return from;
  for (std::int32_t i = from; i <= to; ++i)
    if (!std::memchr(set.text_, text_[i - 1], static_cast<std::size_t>(set.length_))) return i;
  return 0;
}

// ---- comparison ----

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

unsigned char ykstd_AsciiString::IsCaseInsensitiveEqual(const ykstd_AsciiString& other) const {
  if (length_ != other.length_) return 0;
  for (std::int32_t i = 0; i < length_; ++i)
    if (Lower(text_[i]) != Lower(other.text_[i])) return 0;
  return 1;
}

unsigned char ykstd_AsciiString::IsCaseInsensitiveEqual(const char* other) const {
  if (!other) return text_ == nullptr ? 1 : 0;
  if (std::strlen(other) != static_cast<std::size_t>(length_)) return 0;
  for (std::int32_t i = 0; i < length_; ++i)
    if (Lower(text_[i]) != Lower(other[i])) return 0;
  return 1;
}

unsigned char ykstd_AsciiString::IsLess(const ykstd_AsciiString& other) const {
  return Collate(text_, length_, other.text_, other.length_) < 0 ? 1 : 0;
}

unsigned char ykstd_AsciiString::IsLess(const char* other) const {
  if (!other) return 0;
  return Collate(text_, length_, other, LengthOf(other)) < 0 ? 1 : 0;
}

unsigned char ykstd_AsciiString::IsGreater(const ykstd_AsciiString& other) const {
  return Collate(text_, length_, other.text_, other.length_) > 0 ? 1 : 0;
}

unsigned char ykstd_AsciiString::IsGreater(const char* other) const {
  if (!other) return length_ > 0 ? 1 : 0;
  return Collate(text_, length_, other, LengthOf(other)) > 0 ? 1 : 0;
}

// ---- case and classification ----

void ykstd_AsciiString::UpperCase() {
  for (std::int32_t i = 0; i < length_; ++i) text_[i] = static_cast<char>(Upper(text_[i]));
}

void ykstd_AsciiString::LowerCase() {
  for (std::int32_t i = 0; i < length_; ++i) text_[i] = static_cast<char>(Lower(text_[i]));
}

void ykstd_AsciiString::Capitalize() {
  if (length_ < 1) return;
  LowerCase();
  text_[0] = static_cast<char>(Upper(text_[0]));
}

void ykstd_AsciiString::ChangeAll(char from, char to, unsigned char caseSensitive) {
  for (std::int32_t i = 0; i < length_; ++i) {
    const bool match = caseSensitive ? text_[i] == from : Lower(text_[i]) == Lower(from);
    if (match) text_[i] = to;
  }
}

unsigned char ykstd_AsciiString::IsAscii() const {
  for (std::int32_t i = 0; i < length_; ++i)
    if (static_cast<unsigned char>(text_[i]) >= 128) return 0;
  return 1;
}

std::int32_t ykstd_AsciiString::UsefulLength() const {
  std::int32_t count = 0;
  for (std::int32_t i = 0; i < length_; ++i)
    if (!IsSpace(text_[i])) ++count;
  return count;
}

// ---- numbers ----

namespace {
// strtol at the width of the stored integers: out-of-range values saturate as a 32-bit strtol's do.
std::int32_t ParseInteger(const char* text, const char** end) {
  char* stop = nullptr;
  const long long value = std::strtoll(text, &stop, 10);
  *end = stop;
  return static_cast<std::int32_t>(std::clamp<long long>(value, INT32_MIN, INT32_MAX));
}
}  // namespace

std::int32_t ykstd_AsciiString::IntegerValue() const {
  if (length_ >= 1) {
    const char* end = nullptr;
    const std::int32_t value = ParseInteger(text_, &end);
    if (value != 0 || end != text_) return value;
  }
  ykstd_fail_NumericValue::Raise("ykstd_AsciiString::IntegerValue");
}

unsigned char ykstd_AsciiString::IsIntegerValue() const {
  if (length_ < 1) return 0;
  const char* end = nullptr;
  ParseInteger(text_, &end);
  return end != text_ ? 1 : 0;
}

double ykstd_AsciiString::RealValue() const {
  if (length_ >= 1) {
    char* end = nullptr;
    const double value = std::strtod(text_, &end);
    if (value != 0.0 || end != text_) return value;
  }
  ykstd_fail_NumericValue::Raise("ykstd_AsciiString::RealValue");
}

unsigned char ykstd_AsciiString::IsRealValue() const {
  if (length_ < 1) return 0;
  char* end = nullptr;
  const double value = std::strtod(text_, &end);
  return (value != 0.0 || end != text_) ? 1 : 0;
}

// ---- hashing and streams ----

std::int32_t ykstd_AsciiString::HashCode(const ykstd_AsciiString& s, std::int32_t upper) {
  if (s.length_ < 1) return 0;
  // A bucket count below 1 has no buckets to choose from.
  if (upper < 1) return 0;
  std::uint32_t h = 0;
  for (const unsigned char* p = reinterpret_cast<const unsigned char*>(s.text_); *p; ++p) h = h * 5u + *p;
  const auto signedHash = static_cast<std::int32_t>(h);
  // Widened, so that the most negative value has a magnitude too.
  const std::int64_t magnitude = signedHash < 0 ? -static_cast<std::int64_t>(signedHash) : signedHash;
  return static_cast<std::int32_t>(magnitude % upper);
}

std::int32_t HashCode(const ykstd_AsciiString& s, std::int32_t upper) { return ykstd_AsciiString::HashCode(s, upper); }

void ykstd_AsciiString::Print(std::ostream& out) const {
  if (length_ > 0) out << text_;
}

void ykstd_AsciiString::Read(std::istream& in) {
  // One word, as the stream reads into a character array; the scratch buffer bounds it, and what
  // does not fit stays in the stream for the next read.
  static char scratch[ScratchSize];
  const std::streamsize width = in.width();
  in.width(width > 0 && width < ScratchSize ? width : ScratchSize);
  scratch[0] = '\0';
  in >> scratch;
  if (scratch[0] == '\0')
    Destroy();
  else
    SetBytes(scratch, LengthOf(scratch));
}

std::ostream& operator<<(std::ostream& out, const ykstd_AsciiString& s) {
  s.Print(out);
  return out;
}

std::istream& operator>>(std::istream& in, ykstd_AsciiString& s) {
  s.Read(in);
  return in;
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
