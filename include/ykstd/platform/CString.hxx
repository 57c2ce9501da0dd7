// The application framework's narrow string, with the members the library and its callers use.
#pragma once

#include <cstdarg>
#include <string>

#include <ykstd/platform/Module.hxx>
#include <ykstd/platform/WinTypes.hxx>

class YKSTD_EXPORT CString {
 public:
  CString() = default;
  CString(const char* text) : text_(text ? text : "") {}
  CString(const char* text, int length);
  explicit CString(char c, int repeat = 1) : text_(repeat > 0 ? static_cast<std::size_t>(repeat) : 0, c) {}
  CString(const CString&) = default;
  CString(CString&&) noexcept = default;
  CString& operator=(const CString&) = default;
  CString& operator=(CString&&) noexcept = default;
  CString& operator=(const char* text) {
    text_ = text ? text : "";
    return *this;
  }
  CString& operator=(char c) {
    text_.assign(1, c);
    return *this;
  }

  int GetLength() const { return static_cast<int>(text_.size()); }
  bool IsEmpty() const { return text_.empty(); }
  void Empty() { text_.clear(); }
  const char* GetString() const { return text_.c_str(); }
  operator const char*() const { return text_.c_str(); }
  // The byte at `index`, 0 to length - 1; any other index gives 0.
  char GetAt(int index) const;
  // Replaces the byte at `index`; an index outside the text changes nothing.
  void SetAt(int index, char c);

  CString& operator+=(const char* text) {
    if (text) text_ += text;
    return *this;
  }
  CString& operator+=(const CString& other) {
    text_ += other.text_;
    return *this;
  }
  CString& operator+=(char c) {
    text_ += c;
    return *this;
  }
  friend CString operator+(const CString& a, const CString& b) { return CString(a) += b; }
  friend CString operator+(const CString& a, const char* b) { return CString(a) += b; }
  friend CString operator+(const char* a, const CString& b) { return CString(a) += b; }

  int Compare(const char* other) const;
  int CompareNoCase(const char* other) const;
  friend bool operator==(const CString& a, const CString& b) { return a.text_ == b.text_; }
  friend bool operator==(const CString& a, const char* b) { return a.Compare(b) == 0; }
  friend bool operator<(const CString& a, const CString& b) { return a.text_ < b.text_; }

  // printf-style formatting replaces the text.
  void Format(const char* format, ...) __attribute__((format(printf, 2, 3)));
  void FormatV(const char* format, va_list args);
  void AppendFormat(const char* format, ...) __attribute__((format(printf, 2, 3)));

  // A writable buffer of at least minLength + 1 bytes holding the text; ReleaseBuffer ends the
  // writing and sets the length (-1: up to the first NUL).
  char* GetBuffer(int minLength = 0);
  char* GetBufferSetLength(int length);
  void ReleaseBuffer(int newLength = -1);

  CString Left(int count) const;
  CString Right(int count) const;
  CString Mid(int first) const;
  CString Mid(int first, int count) const;
  // Positions from 0; -1 when not found.
  int Find(char c, int start = 0) const;
  int Find(const char* text, int start = 0) const;
  int ReverseFind(char c) const;
  CString& MakeUpper();
  CString& MakeLower();
  CString& Trim();
  CString& TrimLeft();
  CString& TrimRight();
  int Replace(const char* from, const char* to);

  // The string resource `id` of `module` (null: the program's own texts). FALSE, and the text
  // unchanged, when there is none.
  BOOL LoadString(HINSTANCE module, UINT id);
  BOOL LoadString(UINT id) { return LoadString(nullptr, id); }

 private:
  std::string text_;
};
