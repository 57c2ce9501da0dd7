#include <dlfcn.h>

#include <cstring>
#include <map>
#include <mutex>

#include <ykstd/platform/Module.hxx>

namespace {

using StringTable = const char* (*)(unsigned int);

struct ModuleState {
  std::mutex mutex;
  std::map<void*, int> loaded;  // dlopen handle -> uses
};

// Never destroyed: sessions free their module while the library's statics are released at
// unload, whatever the order in which this was first used.
ModuleState& State() {
  static ModuleState& state = *new ModuleState;
  return state;
}

StringTable TableOf(void* handle) {
  // The conversion from object to function pointer is how dlsym hands out functions.
  return reinterpret_cast<StringTable>(dlsym(handle, YKSTD_STRING_TABLE_SYMBOL));
}

}  // namespace

HMODULE LoadLibraryA(LPCSTR fileName) {
  if (!fileName || !*fileName) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return nullptr;
  }
  void* handle = dlopen(fileName, RTLD_NOW | RTLD_LOCAL);
  if (!handle) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return nullptr;
  }
  ModuleState& state = State();
  std::lock_guard lock(state.mutex);
  ++state.loaded[handle];
  return static_cast<HMODULE>(handle);
}

BOOL FreeLibrary(HMODULE module) {
  ModuleState& state = State();
  std::lock_guard lock(state.mutex);
  const auto found = state.loaded.find(module);
  if (found == state.loaded.end()) {
    SetLastError(ERROR_INVALID_HANDLE);
    return FALSE;
  }
  if (--found->second == 0) state.loaded.erase(found);
  dlclose(module);
  return TRUE;
}

namespace ykstd_platform {

const char* FindStringResource(HINSTANCE module, UINT id) {
  StringTable table = nullptr;
  if (!module) {
    // The program's own table; the program stays loaded, so its handle is opened once.
    static void* const program = dlopen(nullptr, RTLD_NOW);
    table = program ? TableOf(program) : nullptr;
  } else {
    ModuleState& state = State();
    std::lock_guard lock(state.mutex);
    if (!state.loaded.contains(module)) {
      SetLastError(ERROR_INVALID_HANDLE);
      return nullptr;
    }
    table = TableOf(module);
  }
  const char* text = table ? table(id) : nullptr;
  if (!text) SetLastError(ERROR_RESOURCE_NAME_NOT_FOUND);
  return text;
}

}  // namespace ykstd_platform

int LoadStringA(HINSTANCE module, UINT id, LPSTR buffer, int bufferMax) {
  if (!buffer || bufferMax <= 0) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return 0;
  }
  buffer[0] = '\0';
  const char* text = ykstd_platform::FindStringResource(module, id);
  if (!text) return 0;
  std::size_t length = std::strlen(text);
  if (length > static_cast<std::size_t>(bufferMax - 1)) length = static_cast<std::size_t>(bufferMax - 1);
  std::memcpy(buffer, text, length);
  buffer[length] = '\0';
  return static_cast<int>(length);
}
