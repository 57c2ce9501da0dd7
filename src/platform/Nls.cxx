#include <cstring>
#include <cwchar>
#include <string>

#include <ykstd/platform/Nls.hxx>

namespace {

void AppendUtf8(std::string& out, char32_t c) {
  if (c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) c = 0xFFFD;
  if (c < 0x80) {
    out += static_cast<char>(c);
  } else if (c < 0x800) {
    out += static_cast<char>(0xC0 | (c >> 6));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    out += static_cast<char>(0xE0 | (c >> 12));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  } else {
    out += static_cast<char>(0xF0 | (c >> 18));
    out += static_cast<char>(0x80 | ((c >> 12) & 0x3F));
    out += static_cast<char>(0x80 | ((c >> 6) & 0x3F));
    out += static_cast<char>(0x80 | (c & 0x3F));
  }
}

// Decodes one UTF-8 sequence; a malformed one yields U+FFFD and consumes one byte.
char32_t NextUtf8(const unsigned char* p, int left, int& used) {
  const unsigned char b = p[0];
  int length = b < 0x80 ? 1 : (b >> 5) == 0x6 ? 2 : (b >> 4) == 0xE ? 3 : (b >> 3) == 0x1E ? 4 : 0;
  used = 1;
  if (length == 1) return b;
  if (length == 0 || length > left) return 0xFFFD;
  char32_t c = b & (0x7F >> length);
  for (int i = 1; i < length; ++i) {
    if ((p[i] & 0xC0) != 0x80) return 0xFFFD;
    c = (c << 6) | (p[i] & 0x3F);
  }
  static constexpr char32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  if (c < kSmallest[length] || c > 0x10FFFF || (c >= 0xD800 && c <= 0xDFFF)) return 0xFFFD;
  used = length;
  return c;
}

template <class Unit>
int Deliver(const std::basic_string<Unit>& converted, Unit* out, int outSize) {
  const int needed = static_cast<int>(converted.size());
  if (outSize == 0) return needed;
  if (!out || outSize < needed) return 0;
  std::memcpy(out, converted.data(), converted.size() * sizeof(Unit));
  return needed;
}

}  // namespace

int WideCharToMultiByte(UINT codePage, DWORD, const wchar_t* wide, int wideLength, char* narrow, int narrowSize,
                        const char* defaultChar, BOOL* usedDefaultChar) {
  if (usedDefaultChar) *usedDefaultChar = FALSE;
  if (!wide || narrowSize < 0 || (codePage != CP_ACP && codePage != CP_UTF8)) return 0;
  const std::size_t count = wideLength < 0 ? std::wcslen(wide) + 1 : static_cast<std::size_t>(wideLength);
  std::string converted;
  converted.reserve(count);
  for (std::size_t i = 0; i < count; ++i) {
    const auto c = static_cast<char32_t>(wide[i]);
    if (codePage == CP_UTF8) {
      AppendUtf8(converted, c);
    } else if (c <= 0xFF) {
      converted += static_cast<char>(c);
    } else {
      converted += defaultChar ? *defaultChar : '?';
      if (usedDefaultChar) *usedDefaultChar = TRUE;
    }
  }
  return Deliver(converted, narrow, narrowSize);
}

int MultiByteToWideChar(UINT codePage, DWORD, const char* narrow, int narrowLength, wchar_t* wide, int wideSize) {
  if (!narrow || wideSize < 0 || (codePage != CP_ACP && codePage != CP_UTF8)) return 0;
  const int count = narrowLength < 0 ? static_cast<int>(std::strlen(narrow)) + 1 : narrowLength;
  const auto* bytes = reinterpret_cast<const unsigned char*>(narrow);
  std::wstring converted;
  converted.reserve(static_cast<std::size_t>(count));
  for (int i = 0; i < count;) {
    int used = 1;
    converted += static_cast<wchar_t>(codePage == CP_UTF8 ? NextUtf8(bytes + i, count - i, used) : bytes[i]);
    i += used;
  }
  return Deliver(converted, wide, wideSize);
}
