// The library's narrow text: one exact-fit buffer, a 16-bit length, positions from 1.
//
// Empty comes in two forms: a null text (made empty), or a one-byte buffer holding the NUL (left
// empty by Remove or Split). Every operation accepts both; Length() < 1 tells emptiness.
// Text runs on a single-byte code page whose collation is plain byte order, so the character
// operations are the byte operations.
#pragma once

#include <cstdint>
#include <iosfwd>

#include <ykstd/platform/Module.hxx>
#include <ykstd/ykstd_Export.hxx>

class _bstr_t;

class YKSTD_EXPORT ykstd_AsciiString {
 public:
  // The longest text a string holds; results that would be longer keep their first MaxLength bytes.
  static constexpr std::int32_t MaxLength = 32767;
  // Size of the scratch buffer through which Cat, the number constructors, Read and SetValue past
  // the end build their results: those results keep at most ScratchSize - 1 bytes.
  static constexpr std::int32_t ScratchSize = 4096;

  ykstd_AsciiString() noexcept : text_(nullptr), length_(0) {}
  ykstd_AsciiString(const ykstd_AsciiString& other);
  ykstd_AsciiString(ykstd_AsciiString&& other) noexcept : text_(other.text_), length_(other.length_) {
    other.text_ = nullptr;
    other.length_ = 0;
  }
  ykstd_AsciiString(const char* text);
  explicit ykstd_AsciiString(char c);
  explicit ykstd_AsciiString(std::int32_t value);
  ykstd_AsciiString(std::int32_t length, char filler);
  ykstd_AsciiString(double value, std::int32_t precision);
  explicit ykstd_AsciiString(const wchar_t* text);
  explicit ykstd_AsciiString(const _bstr_t& text);
  ~ykstd_AsciiString() { Destroy(); }

  ykstd_AsciiString& operator=(const ykstd_AsciiString& other) {
    Copy(other);
    return *this;
  }
  ykstd_AsciiString& operator=(ykstd_AsciiString&& other) noexcept;

  void Copy(const ykstd_AsciiString& other);
  void Clear() noexcept { Destroy(); }
  void Destroy() noexcept;

  std::int32_t Length() const noexcept { return length_; }
  const char* Text() const noexcept { return text_; }

  char Value(std::int32_t where) const;
  void SetValue(std::int32_t where, char c);
  void SetValue(std::int32_t where, const ykstd_AsciiString& s);
  void SetValue(std::int32_t where, const char* s);

  void AssignCat(const ykstd_AsciiString& other);
  void AssignCat(const char* other);
  ykstd_AsciiString Cat(const ykstd_AsciiString& other) const;
  ykstd_AsciiString Cat(const char* other) const;
  void Prepend(const ykstd_AsciiString& other);
  void Insert(std::int32_t where, const ykstd_AsciiString& s);
  void Insert(std::int32_t where, char c);
  void Insert(std::int32_t where, const char* s);
  void InsertAfter(std::int32_t where, const ykstd_AsciiString& s);
  void InsertBefore(std::int32_t where, const ykstd_AsciiString& s);

  void Remove(std::int32_t where, std::int32_t count);
  void RemoveAll(char c);
  void RemoveAll(char c, unsigned char caseSensitive);
  void Trunc(std::int32_t newLength);
  ykstd_AsciiString Split(std::int32_t where);
  ykstd_AsciiString SubString(std::int32_t from, std::int32_t to) const;
  ykstd_AsciiString Token(const char* separators, std::int32_t n) const;
  void LeftAdjust();
  void RightAdjust();
  // Kept for callers written against the full interface; they change nothing.
  void Center(std::int32_t, char) {}
  void LeftJustify(std::int32_t, char) {}
  void RightJustify(std::int32_t, char) {}

  std::int32_t Search(const ykstd_AsciiString& s) const;
  std::int32_t Search(const char* s) const;
  std::int32_t SearchFromEnd(const ykstd_AsciiString& s) const;
  std::int32_t SearchFromEnd(const char* s) const;
  // A `to` of -1 stands for the length. Only the first occurrence in the whole text counts.
  std::int32_t Location(const ykstd_AsciiString& s, std::int32_t from, std::int32_t to) const;
  std::int32_t Location(std::int32_t n, char c, std::int32_t from, std::int32_t to) const;
  std::int32_t FirstLocationInSet(const ykstd_AsciiString& set, std::int32_t from, std::int32_t to) const;
  std::int32_t FirstLocationNotInSet(const ykstd_AsciiString& set, std::int32_t from, std::int32_t to) const;

  unsigned char IsEqual(const ykstd_AsciiString& other) const;
  unsigned char IsEqual(const char* other) const;
  unsigned char IsDifferent(const ykstd_AsciiString& other) const { return IsEqual(other) ? 0 : 1; }
  unsigned char IsDifferent(const char* other) const { return IsEqual(other) ? 0 : 1; }
  unsigned char IsCaseInsensitiveEqual(const ykstd_AsciiString& other) const;
  unsigned char IsCaseInsensitiveEqual(const char* other) const;
  unsigned char IsLess(const ykstd_AsciiString& other) const;
  unsigned char IsLess(const char* other) const;
  unsigned char IsGreater(const ykstd_AsciiString& other) const;
  unsigned char IsGreater(const char* other) const;

  void UpperCase();
  void LowerCase();
  void Capitalize();
  void ChangeAll(char from, char to, unsigned char caseSensitive);
  unsigned char IsAscii() const;
  std::int32_t UsefulLength() const;

  std::int32_t IntegerValue() const;
  unsigned char IsIntegerValue() const;
  double RealValue() const;
  unsigned char IsRealValue() const;

  static std::int32_t HashCode(const ykstd_AsciiString& s, std::int32_t upper);

  void Print(std::ostream& out) const;
  void Read(std::istream& in);

  // The string resource `id` of `module` (null: the program's own texts); empty when missing.
  ykstd_AsciiString(HINSTANCE module, unsigned int id);
  // Loads as that constructor does and gives 1; 0, with the string unchanged, when the load fails.
  unsigned char LoadAsciiString(HINSTANCE module, unsigned int id);

 private:
  // Replaces the buffer by an exact-fit one holding `length` bytes of `bytes` (at most MaxLength).
  void SetBytes(const char* bytes, std::int32_t length);
  // Replaces the text by head + middle + tail (each a byte range), cut at `limit` bytes. The
  // ranges may point into the current buffer, which stays alive until the new one is filled.
  void Splice(const char* head, std::int32_t headLength, const char* middle, std::int32_t middleLength,
              const char* tail, std::int32_t tailLength, std::int32_t limit = MaxLength);
  void InsertBytes(std::int32_t at, const char* bytes, std::int32_t length);

  char* text_;
  std::int16_t length_;
};

YKSTD_EXPORT std::int32_t HashCode(const ykstd_AsciiString& s, std::int32_t upper);
YKSTD_EXPORT std::ostream& operator<<(std::ostream& out, const ykstd_AsciiString& s);
YKSTD_EXPORT std::istream& operator>>(std::istream& in, ykstd_AsciiString& s);
