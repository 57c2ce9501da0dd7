// Display text: every text gives true or false, and what was read shows again.
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include <ykstd/ykstd.hxx>

#include "../tests/support/UnitTestSession.hxx"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  ykstd_Debug::SwitchOn(false);
  // Numbers without a unit are inches (and angles degrees); the session becomes current and stays.
  if (ykstd_Session::CurSession().IsNull()) new UnitTestSession(ykenum::UnitInch, ykenum::UnitDeg);
  const ykstd_AsciiString text(std::string(reinterpret_cast<const char*>(data), size).c_str());
  ykstd_Dim dim;
  // A value that was read always shows; a text that was refused leaves no unit behind.
  if (dim.FromAsciiString(text) && dim.ToAsciiString(-1, 1).Length() == 0) std::abort();
  if (!dim.FromLocalString(text) && dim.GetUnit() != ykenum::UnitNone) std::abort();
  dim.ToLocalString(2, 0);
  return 0;
}
