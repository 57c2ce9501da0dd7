// Hive files of any content: parsing never fails hard, and what the store writes reads back
// undamaged and writes again byte for byte.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "../src/platform/RegistryFile.hxx"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string text = ykstd_detail::DecodeHiveText(std::string_view(reinterpret_cast<const char*>(data), size));
  ykstd_detail::RegHive first("HKEY_CURRENT_USER");
  first.Parse(text);
  const std::string written = first.Serialize();
  ykstd_detail::RegHive second("HKEY_CURRENT_USER");
  second.Parse(written);
  if (second.Damaged() || second.Serialize() != written) std::abort();
  return 0;
}
