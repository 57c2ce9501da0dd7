// Tag text from a string: every text ends in a value or a failure, never in a fault.
#include <cstddef>
#include <cstdint>
#include <string>

#include <ykstd/ykstd.hxx>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ykstd_Debug::SwitchOn(false);
  const std::string text(reinterpret_cast<const char*>(data), size);
  ykstd_Dim dim(1.0, 2.0, 0.5, ykenum::UnitMM);
  try {
    dim.Set(ykstd_AsciiString(text.c_str()));
    dim.ToAsciiString(3, 1);
  } catch (Hnd_ykstd_fail_Failure& failure) {
    failure->Remove();
  }
  return 0;
}
