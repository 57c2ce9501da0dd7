// Tag text from a stream: every input ends in a value or a failure, and a value writes back.
#include <cstddef>
#include <cstdint>
#include <sstream>
#include <string>

#include <ykstd/ykstd.hxx>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ykstd_Debug::SwitchOn(false);
  std::istringstream in(std::string(reinterpret_cast<const char*>(data), size));
  // Several values in a row, as a file holds them; each read consumes at least one character.
  for (int i = 0; i < 8 && in.good(); ++i) {
    ykstd_Dim dim;
    try {
      dim.Read(in);
      std::ostringstream out;
      out << dim;
    } catch (Hnd_ykstd_fail_Failure& failure) {
      failure->Remove();
    }
  }
  return 0;
}
