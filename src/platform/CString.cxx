#include <cctype>
#include <cstdio>
#include <cstring>

#include <ykstd/platform/CString.hxx>

namespace {
std::size_t Clamp(int value, std::size_t upper) {
  if (value < 0) return 0;
  return static_cast<std::size_t>(value) > upper ? upper : static_cast<std::size_t>(value);
}
}  // namespace

CString::CString(const char* text, int length) {
  if (text && length > 0) text_.assign(text, static_cast<std::size_t>(length));
}

char CString::GetAt(int index) const {
  return index >= 0 && index < GetLength() ? text_[static_cast<std::size_t>(index)] : '\0';
}

void CString::SetAt(int index, char c) {
  if (index >= 0 && index < GetLength()) text_[static_cast<std::size_t>(index)] = c;
}

int CString::Compare(const char* other) const {
  const int result = std::strcmp(text_.c_str(), other ? other : "");
  return result < 0 ? -1 : (result > 0 ? 1 : 0);
}

int CString::CompareNoCase(const char* other) const {
  const unsigned char* a = reinterpret_cast<const unsigned char*>(text_.c_str());
  const unsigned char* b = reinterpret_cast<const unsigned char*>(other ? other : "");
  for (;; ++a, ++b) {
    const int ca = std::tolower(*a);
    const int cb = std::tolower(*b);
    if (ca != cb) return ca < cb ? -1 : 1;
    if (ca == 0) return 0;
  }
}

void CString::FormatV(const char* format, va_list args) {
  if (!format) {
    text_.clear();
    return;
  }
  va_list copy;
  va_copy(copy, args);
  const int needed = std::vsnprintf(nullptr, 0, format, copy);
  va_end(copy);
  if (needed < 0) {
    text_.clear();
    return;
  }
  std::string result(static_cast<std::size_t>(needed) + 1, '\0');
  std::vsnprintf(result.data(), result.size(), format, args);
  result.resize(static_cast<std::size_t>(needed));
  text_.swap(result);
}

void CString::Format(const char* format, ...) {
  va_list args;
  va_start(args, format);
  FormatV(format, args);
  va_end(args);
}

void CString::AppendFormat(const char* format, ...) {
  CString tail;
  va_list args;
  va_start(args, format);
  tail.FormatV(format, args);
  va_end(args);
  text_ += tail.text_;
}

char* CString::GetBuffer(int minLength) {
  if (minLength > GetLength()) text_.resize(static_cast<std::size_t>(minLength));
  return text_.data();
}

char* CString::GetBufferSetLength(int length) {
  text_.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
  return text_.data();
}

void CString::ReleaseBuffer(int newLength) {
  // std::string keeps one byte behind its size for the NUL, so strnlen stays inside.
  text_.resize(newLength < 0 ? strnlen(text_.c_str(), text_.size()) : Clamp(newLength, text_.size()));
}

CString CString::Left(int count) const { return CString(text_.c_str(), static_cast<int>(Clamp(count, text_.size()))); }

CString CString::Right(int count) const {
  const std::size_t n = Clamp(count, text_.size());
  return CString(text_.c_str() + text_.size() - n, static_cast<int>(n));
}

CString CString::Mid(int first) const { return Mid(first, GetLength()); }

CString CString::Mid(int first, int count) const {
  const std::size_t start = Clamp(first, text_.size());
  const std::size_t n = Clamp(count, text_.size() - start);
  return CString(text_.c_str() + start, static_cast<int>(n));
}

int CString::Find(char c, int start) const {
  if (start < 0 || start >= GetLength()) return -1;
  const std::size_t at = text_.find(c, static_cast<std::size_t>(start));
  return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::Find(const char* text, int start) const {
  if (!text || start < 0 || start > GetLength()) return -1;
  const std::size_t at = text_.find(text, static_cast<std::size_t>(start));
  return at == std::string::npos ? -1 : static_cast<int>(at);
}

int CString::ReverseFind(char c) const {
  const std::size_t at = text_.rfind(c);
  return at == std::string::npos ? -1 : static_cast<int>(at);
}

CString& CString::MakeUpper() {
  for (char& c : text_) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
  return *this;
}

CString& CString::MakeLower() {
  for (char& c : text_) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  return *this;
}

CString& CString::Trim() { return TrimRight().TrimLeft(); }

CString& CString::TrimLeft() {
  std::size_t n = 0;
  while (n < text_.size() && std::isspace(static_cast<unsigned char>(text_[n]))) ++n;
  text_.erase(0, n);
  return *this;
}

CString& CString::TrimRight() {
  while (!text_.empty() && std::isspace(static_cast<unsigned char>(text_.back()))) text_.pop_back();
  return *this;
}

int CString::Replace(const char* from, const char* to) {
  if (!from || !*from) return 0;
  const std::string replacement = to ? to : "";
  const std::size_t length = std::strlen(from);
  int count = 0;
  for (std::size_t at = text_.find(from); at != std::string::npos; at = text_.find(from, at + replacement.size())) {
    text_.replace(at, length, replacement);
    ++count;
  }
  return count;
}

BOOL CString::LoadString(HINSTANCE module, UINT id) {
  const char* text = ykstd_platform::FindStringResource(module, id);
  if (!text || !*text) return FALSE;
  text_ = text;
  return TRUE;
}
