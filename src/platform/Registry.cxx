#include <fcntl.h>
#include <pwd.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <mutex>
#include <set>

#include <ykstd/platform/Registry.hxx>

#include "RegistryFile.hxx"

enum class RegRoot { Classes, User, Machine };

struct HKEY__ {
  RegRoot root;
  std::string path;
  REGSAM access;
};

namespace {

using ykstd_detail::RegHive;
using ykstd_detail::RegKey;
using ykstd_detail::RegValue;

// Hives larger than this are not read: no settings store grows so large, and it bounds memory.
constexpr off_t kMaxHiveBytes = 16 * 1024 * 1024;
constexpr std::size_t kMaxValueName = 16383;
constexpr const char* kUserClasses = "Software\\Classes";

struct RegistryState {
  std::mutex mutex;
  std::string userFolder;  // empty: the default
  std::string machineFolder;
  std::set<const HKEY__*> open;
};

// Made at first use, so that it exists when the library's own load-time set-up reads the registry,
// and never destroyed, so that statics released at unload may still close keys.
RegistryState& State() {
  static RegistryState& state = *new RegistryState;
  return state;
}

std::string DefaultUserFolder() {
  const char* config = std::getenv("XDG_CONFIG_HOME");
  if (config && config[0] == '/') return std::string(config) + "/ykstd";
  const char* home = std::getenv("HOME");
  std::string base = home && *home ? home : "";
  if (base.empty()) {
    if (const passwd* account = getpwuid(getuid()); account && account->pw_dir) base = account->pw_dir;
  }
  return base + "/.config/ykstd";
}

std::string Folder(RegRoot root) {
  RegistryState& state = State();
  std::lock_guard lock(state.mutex);
  if (root == RegRoot::User) return state.userFolder.empty() ? DefaultUserFolder() : state.userFolder;
  return state.machineFolder.empty() ? std::string("/etc/ykstd") : state.machineFolder;
}

std::string HivePath(RegRoot root) {
  switch (root) {
    case RegRoot::User: return Folder(root) + "/user.reg";
    case RegRoot::Machine: return Folder(root) + "/machine.reg";
    case RegRoot::Classes: break;
  }
  return Folder(root) + "/classes.reg";
}

const char* RootName(RegRoot root) {
  switch (root) {
    case RegRoot::User: return "HKEY_CURRENT_USER";
    case RegRoot::Machine: return "HKEY_LOCAL_MACHINE";
    case RegRoot::Classes: break;
  }
  return "HKEY_CLASSES_ROOT";
}

bool PredefinedRoot(HKEY key, RegRoot& root) {
  const auto bits = reinterpret_cast<std::uintptr_t>(key);
  if (bits < 0x80000000u || bits > 0x80000002u) return false;
  root = static_cast<RegRoot>(bits - 0x80000000u);
  return true;
}

// The root, path and rights behind a handle; false for a handle that is not open.
bool Resolve(HKEY key, HKEY__& target) {
  if (PredefinedRoot(key, target.root)) {
    target.path.clear();
    target.access = KEY_ALL_ACCESS;
    return true;
  }
  RegistryState& state = State();
  std::lock_guard lock(state.mutex);
  if (!key || !state.open.contains(key)) return false;
  target = *key;
  return true;
}

std::string Joined(const std::string& base, const char* sub) {
  if (!sub || !*sub) return base;
  return base.empty() ? std::string(sub) : base + "\\" + sub;
}

// Reads the file's bytes; a missing file is an empty hive.
LONG ReadHiveFile(const std::string& path, std::string& bytes) {
  bytes.clear();
  const int fd = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (fd < 0) return errno == ENOENT ? ERROR_SUCCESS : ERROR_CANTREAD;
  struct stat info {};
  LONG result = ERROR_SUCCESS;
  if (fstat(fd, &info) != 0 || !S_ISREG(info.st_mode) || info.st_size > kMaxHiveBytes) {
    result = ERROR_CANTREAD;
  } else {
    char chunk[8192];
    while (true) {
      const ssize_t got = ::read(fd, chunk, sizeof chunk);
      if (got > 0) {
        bytes.append(chunk, static_cast<std::size_t>(got));
        if (bytes.size() > static_cast<std::size_t>(kMaxHiveBytes)) {
          result = ERROR_CANTREAD;
          break;
        }
      } else if (got == 0 || errno != EINTR) {
        if (got < 0) result = ERROR_CANTREAD;
        break;
      }
    }
  }
  ::close(fd);
  return result;
}

LONG LoadHive(RegRoot fileRoot, RegHive& hive) {
  std::string bytes;
  const LONG result = ReadHiveFile(HivePath(fileRoot), bytes);
  hive.Parse(ykstd_detail::DecodeHiveText(bytes));
  if (result != ERROR_SUCCESS) hive.MarkDamaged();
  return result;
}

// Where a key lives: the file's root and the path inside that file. Classes keys come from the
// user's Software\Classes when the key exists there.
struct Place {
  RegRoot fileRoot;
  std::string path;
};

Place Locate(RegRoot root, const std::string& path);

// A key's place and the current content of its hive.
struct Loaded {
  Place place;
  RegHive hive;
};

Loaded LoadKey(RegRoot root, const std::string& path) {
  Place place = Locate(root, path);
  RegHive hive(RootName(place.fileRoot));
  LoadHive(place.fileRoot, hive);
  return {std::move(place), std::move(hive)};
}

Place Locate(RegRoot root, const std::string& path) {
  if (root != RegRoot::Classes) return {root, path};
  RegHive user(RootName(RegRoot::User));
  LoadHive(RegRoot::User, user);
  std::string userPath = Joined(kUserClasses, path.c_str());
  if (user.KeyExists(userPath)) return {RegRoot::User, std::move(userPath)};
  return {RegRoot::Classes, path};
}

void MakeFolders(const std::string& folder) {
  for (std::size_t slash = folder.find('/', 1);; slash = folder.find('/', slash + 1)) {
    ::mkdir(folder.substr(0, slash).c_str(), 0755);
    if (slash == std::string::npos) break;
  }
}

bool Writable(RegRoot fileRoot) {
  const std::string path = HivePath(fileRoot);
  if (::access(path.c_str(), F_OK) == 0 && ::access(path.c_str(), W_OK) != 0) return false;
  // The nearest folder that exists must let us make the files.
  std::string folder = Folder(fileRoot);
  while (::access(folder.c_str(), F_OK) != 0) {
    const std::size_t slash = folder.rfind('/');
    if (slash == std::string::npos) return ::access(".", W_OK) == 0;
    folder.resize(slash == 0 ? 1 : slash);
  }
  return ::access(folder.c_str(), W_OK) == 0;
}

bool WriteAll(int fd, const std::string& bytes) {
  std::size_t done = 0;
  while (done < bytes.size()) {
    const ssize_t put = ::write(fd, bytes.data() + done, bytes.size() - done);
    if (put < 0 && errno == EINTR) continue;
    if (put <= 0) return false;
    done += static_cast<std::size_t>(put);
  }
  return true;
}

// Replaces the hive file by `bytes` through a flushed temporary file in the same folder.
LONG ReplaceFile(const std::string& path, const std::string& bytes) {
  std::string temporary = path + ".XXXXXX";
  const int fd = ::mkstemp(temporary.data());
  if (fd < 0) return errno == EACCES || errno == EROFS ? ERROR_ACCESS_DENIED : ERROR_CANTWRITE;
  struct stat info {};
  const mode_t mode = ::stat(path.c_str(), &info) == 0 ? (info.st_mode & 07777) : 0644;
  const bool written = WriteAll(fd, bytes) && ::fchmod(fd, mode) == 0 && ::fsync(fd) == 0;
  const bool closed = ::close(fd) == 0;
  if (!written || !closed || ::rename(temporary.c_str(), path.c_str()) != 0) {
    ::unlink(temporary.c_str());
    return ERROR_CANTWRITE;
  }
  return ERROR_SUCCESS;
}

// Runs `change` on the current content of a hive under the hive's lock and writes the result
// when the change succeeds. A damaged or unreadable hive is left alone.
LONG ChangeHive(RegRoot fileRoot, const std::function<LONG(RegHive&)>& change) {
  const std::string path = HivePath(fileRoot);
  MakeFolders(Folder(fileRoot));
  const int lockFd = ::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0644);
  if (lockFd < 0) return errno == EACCES || errno == EROFS || errno == EPERM ? ERROR_ACCESS_DENIED : ERROR_CANTWRITE;
  int locked;
  do locked = ::flock(lockFd, LOCK_EX);
  while (locked != 0 && errno == EINTR);
  LONG result = locked == 0 ? ERROR_SUCCESS : ERROR_CANTWRITE;
  if (result == ERROR_SUCCESS) {
    RegHive hive(RootName(fileRoot));
    result = LoadHive(fileRoot, hive);
    if (result == ERROR_SUCCESS && hive.Damaged()) result = ERROR_REGISTRY_CORRUPT;
    if (result == ERROR_SUCCESS) result = change(hive);
    if (result == ERROR_SUCCESS) result = ReplaceFile(path, hive.Serialize());
  }
  ::close(lockFd);  // also releases the lock
  return result;
}

HKEY NewHandle(RegRoot root, std::string path, REGSAM access) {
  HKEY key = new HKEY__{root, std::move(path), access};
  RegistryState& state = State();
  std::lock_guard lock(state.mutex);
  state.open.insert(key);
  return key;
}

bool ValidValueName(const char* name) {
  if (!name) return true;
  const std::size_t length = std::strlen(name);
  if (length > kMaxValueName) return false;
  for (std::size_t i = 0; i < length; ++i)
    if (name[i] == '\r' || name[i] == '\n') return false;
  return true;
}

const RegValue* FindValue(const RegHive& hive, const std::string& path, const char* name) {
  const RegKey* section = hive.FindKey(path);
  return section ? RegHive::FindValue(*section, name ? name : "") : nullptr;
}

}  // namespace

LSTATUS RegOpenKeyExA(HKEY key, LPCSTR subKey, DWORD options, REGSAM access, PHKEY result) {
  if (!result) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (subKey && !ykstd_detail::ValidKeyPath(subKey)) return ERROR_FILE_NOT_FOUND;
  std::string path = Joined(target.path, subKey);
  const Loaded loaded = LoadKey(target.root, path);
  if (!loaded.hive.KeyExists(loaded.place.path)) return ERROR_FILE_NOT_FOUND;
  if ((access & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) && !Writable(loaded.place.fileRoot)) return ERROR_ACCESS_DENIED;
  *result = NewHandle(target.root, std::move(path), access);
  return ERROR_SUCCESS;
}

LSTATUS RegCreateKeyExA(HKEY key, LPCSTR subKey, DWORD reserved, LPSTR keyClass, DWORD options, REGSAM access,
                        const LPSECURITY_ATTRIBUTES security, PHKEY result, LPDWORD disposition) {
  if (!result) return ERROR_INVALID_PARAMETER;
  *result = nullptr;
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (!subKey || !ykstd_detail::ValidKeyPath(subKey)) return ERROR_INVALID_PARAMETER;
  std::string path = Joined(target.path, subKey);
  const Loaded loaded = LoadKey(target.root, path);
  const Place& place = loaded.place;
  if ((access & (KEY_SET_VALUE | KEY_CREATE_SUB_KEY)) && !Writable(place.fileRoot)) return ERROR_ACCESS_DENIED;
  bool created = false;
  if (!loaded.hive.KeyExists(place.path)) {
    const LONG status = ChangeHive(place.fileRoot, [&](RegHive& hive) {
      created = !hive.KeyExists(place.path);
      if (created) hive.MakeKey(place.path);
      return ERROR_SUCCESS;
    });
    if (status != ERROR_SUCCESS) return status;
  }
  if (disposition) *disposition = created ? REG_CREATED_NEW_KEY : REG_OPENED_EXISTING_KEY;
  *result = NewHandle(target.root, std::move(path), access);
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueA(HKEY key, LPCSTR subKey, LPSTR data, PLONG size) {
  if (!size) return ERROR_INVALID_PARAMETER;
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (subKey && !ykstd_detail::ValidKeyPath(subKey)) return ERROR_FILE_NOT_FOUND;
  const Loaded loaded = LoadKey(target.root, Joined(target.path, subKey));
  if (!loaded.hive.KeyExists(loaded.place.path)) return ERROR_FILE_NOT_FOUND;
  std::string text;
  if (const RegValue* value = FindValue(loaded.hive, loaded.place.path, nullptr)) {
    if (value->type != REG_SZ && value->type != REG_EXPAND_SZ) return ERROR_INVALID_DATA;
    text = value->data.substr(0, value->data.find('\0'));
  }
  const auto needed = static_cast<LONG>(text.size() + 1);
  if (data) {
    if (*size < needed) {
      *size = needed;
      return ERROR_MORE_DATA;
    }
    std::memcpy(data, text.c_str(), text.size() + 1);
  }
  *size = needed;
  return ERROR_SUCCESS;
}

LSTATUS RegQueryValueExA(HKEY key, LPCSTR name, LPDWORD reserved, LPDWORD type, LPBYTE data, LPDWORD size) {
  if (data && !size) return ERROR_INVALID_PARAMETER;
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (!(target.access & KEY_QUERY_VALUE)) return ERROR_ACCESS_DENIED;
  const Loaded loaded = LoadKey(target.root, target.path);
  if (!loaded.hive.KeyExists(loaded.place.path)) return ERROR_KEY_DELETED;
  const RegValue* value = FindValue(loaded.hive, loaded.place.path, name);
  if (!value) return ERROR_FILE_NOT_FOUND;
  const auto needed = static_cast<DWORD>(value->data.size());
  if (type) *type = value->type;
  if (data) {
    if (*size < needed) {
      *size = needed;
      return ERROR_MORE_DATA;
    }
    if (needed > 0) std::memcpy(data, value->data.data(), needed);
  }
  if (size) *size = needed;
  return ERROR_SUCCESS;
}

LSTATUS RegSetValueExA(HKEY key, LPCSTR name, DWORD reserved, DWORD type, const BYTE* data, DWORD size) {
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (!(target.access & KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
  if ((!data && size > 0) || !ValidValueName(name)) return ERROR_INVALID_PARAMETER;
  std::string bytes = size > 0 ? std::string(reinterpret_cast<const char*>(data), size) : std::string();
  if ((type == REG_SZ || type == REG_EXPAND_SZ) && (bytes.empty() || bytes.back() != '\0')) bytes.push_back('\0');
  const Place place = Locate(target.root, target.path);
  return ChangeHive(place.fileRoot, [&](RegHive& hive) {
    if (!hive.KeyExists(place.path)) return ERROR_KEY_DELETED;
    RegHive::SetValue(hive.MakeKey(place.path), name ? name : "", type, std::move(bytes));
    return ERROR_SUCCESS;
  });
}

LSTATUS RegDeleteValueA(HKEY key, LPCSTR name) {
  HKEY__ target;
  if (!Resolve(key, target)) return ERROR_INVALID_HANDLE;
  if (!(target.access & KEY_SET_VALUE)) return ERROR_ACCESS_DENIED;
  const Place place = Locate(target.root, target.path);
  return ChangeHive(place.fileRoot, [&](RegHive& hive) {
    if (!hive.KeyExists(place.path)) return ERROR_KEY_DELETED;
    RegKey* section = hive.FindKey(place.path);
    if (!section || !RegHive::DeleteValue(*section, name ? name : "")) return ERROR_FILE_NOT_FOUND;
    return ERROR_SUCCESS;
  });
}

LSTATUS RegCloseKey(HKEY key) {
  RegRoot root;
  if (PredefinedRoot(key, root)) return ERROR_SUCCESS;
  {
    RegistryState& state = State();
    std::lock_guard lock(state.mutex);
    if (!key || state.open.erase(key) == 0) return ERROR_INVALID_HANDLE;
  }
  delete key;
  return ERROR_SUCCESS;
}

namespace ykstd_platform {

void SetRegistryFolders(const char* userFolder, const char* machineFolder) {
  RegistryState& state = State();
  std::lock_guard lock(state.mutex);
  state.userFolder = userFolder ? userFolder : "";
  state.machineFolder = machineFolder ? machineFolder : "";
}

std::string RegistryHivePath(HKEY root) {
  RegRoot which;
  return PredefinedRoot(root, which) ? HivePath(which) : std::string();
}

int OpenRegistryKeyCount() {
  RegistryState& state = State();
  std::lock_guard lock(state.mutex);
  return static_cast<int>(state.open.size());
}

}  // namespace ykstd_platform
