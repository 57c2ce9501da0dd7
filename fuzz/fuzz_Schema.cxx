// Loads arbitrary bytes as the schema stream; Load must absorb every damage and leave a table.
#include <cstddef>
#include <cstdint>

#include <ykstd/ykstd.hxx>

#include "../tests/support/MemStorage.hxx"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ykstd_Debug::SwitchOn(false);
  ykstd_test::MemStorage storage;
  storage.Bytes(L"YKSchema").assign(data, data + size);
  ykstd_Schema::Load(IStoragePtr(&storage));
  const std::int32_t dim = ykstd_Schema::ClassVersion("ykstd_Dim");
  if (dim < -32768 || dim > 32767) __builtin_trap();
  ykstd_Schema::LastClassVersion("ykobj_Electrode");
  return 0;
}
