#include <cstring>

#include <ykstd/ykstd_Pref.hxx>

namespace {

constexpr DWORD kTextBuffer = 512;

// Queries a value of `key` under `root`, closing the key again.
LONG QueryIn(HKEY root, const char* key, const char* name, DWORD& type, void* data, DWORD& size) {
  HKEY handle = nullptr;
  LONG status = RegOpenKeyExA(root, key, 0, KEY_QUERY_VALUE, &handle);
  if (status != ERROR_SUCCESS) return status;
  status = RegQueryValueExA(handle, name, nullptr, &type, static_cast<BYTE*>(data), &size);
  RegCloseKey(handle);
  return status;
}

// The roots a read looks at, in order; the user's only when asked for.
template <class Visit>
bool EachRoot(int userFirst, Visit visit) {
  if (userFirst && visit(HKEY_CURRENT_USER)) return true;
  return visit(HKEY_LOCAL_MACHINE);
}

// Reads a value of type `wanted` into `buffer` from the first root that has one; gives the size
// read, 0 when none has.
DWORD ReadFirst(const CString& key, const CString& name, int userFirst, DWORD wanted, void* buffer, DWORD capacity) {
  DWORD got = 0;
  EachRoot(userFirst, [&](HKEY root) {
    DWORD type = REG_NONE;
    DWORD size = capacity;
    if (QueryIn(root, key, name, type, buffer, size) != ERROR_SUCCESS || size == 0 || type != wanted) return false;
    got = size;
    return true;
  });
  return got;
}

int Write(HKEY root, const CString& key, const CString& name, DWORD type, const void* data, DWORD size) {
  HKEY handle = nullptr;
  if (RegOpenKeyExA(root, key, 0, KEY_ALL_ACCESS, &handle) != ERROR_SUCCESS) return 0;
  const LONG status = RegSetValueExA(handle, name, 0, type, static_cast<const BYTE*>(data), size);
  RegCloseKey(handle);
  return status == ERROR_SUCCESS ? 1 : 0;
}

}  // namespace

namespace ykstd {

int GetPref(const CString& key, const CString& name, std::uint32_t& value, int userFirst) {
  unsigned char bytes[4] = {};
  const DWORD got = ReadFirst(key, name, userFirst, REG_DWORD, bytes, sizeof bytes);
  if (got == 0) return 0;
  value = static_cast<std::uint32_t>(bytes[0]) | (static_cast<std::uint32_t>(bytes[1]) << 8) |
          (static_cast<std::uint32_t>(bytes[2]) << 16) | (static_cast<std::uint32_t>(bytes[3]) << 24);
  return 1;
}

int GetPref(const CString& key, const CString& name, CString& value, int userFirst) {
  char text[kTextBuffer] = {};
  const DWORD got = ReadFirst(key, name, userFirst, REG_SZ, text, kTextBuffer);
  if (got == 0) return 0;
  // A text stored without its NUL ends with the bytes read.
  value = CString(text, static_cast<int>(strnlen(text, got)));
  return 1;
}

int GetPref(const CString& key, const CString& name, void* data, std::uint32_t& size, int userFirst) {
  const bool found = EachRoot(userFirst, [&](HKEY root) {
    DWORD type = REG_NONE;
    DWORD needed = 0;
    if (QueryIn(root, key, name, type, nullptr, needed) != ERROR_SUCCESS || type != REG_BINARY) return false;
    if (!data) {
      size = needed;
      return true;
    }
    if (size < needed) return false;
    DWORD got = size;
    if (QueryIn(root, key, name, type, data, got) != ERROR_SUCCESS || got == 0) return false;
    size = got;
    return true;
  });
  if (!found) size = 0;
  return found ? 1 : 0;
}

int SetPref(const CString& key, const CString& name, const CString& value, HKEY root) {
  return Write(root, key, name, REG_SZ, value.GetString(), static_cast<DWORD>(value.GetLength()));
}

int SetPref(const CString& key, const CString& name, std::uint32_t value, HKEY root) {
  const unsigned char bytes[4] = {static_cast<unsigned char>(value), static_cast<unsigned char>(value >> 8),
                                  static_cast<unsigned char>(value >> 16), static_cast<unsigned char>(value >> 24)};
  return Write(root, key, name, REG_DWORD, bytes, sizeof bytes);
}

int SetPref(const CString& key, const CString& name, const void* data, std::uint32_t size, HKEY root) {
  return Write(root, key, name, REG_BINARY, data, size);
}

std::int32_t MaxCond() { return 50; }

}  // namespace ykstd
