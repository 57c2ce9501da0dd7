#include <cstdio>

#include <ykstd/ykstd_MsgEx.hxx>
#include <ykstd/ykstd_Session.hxx>

namespace ykstd_MsgEx {

ykstd_AsciiString Get(std::int32_t id) {
  ykstd_AsciiString text;
  if (!text.LoadAsciiString(theCatResDllInst, static_cast<unsigned int>(id))) {
    char digits[16];
    std::snprintf(digits, sizeof digits, "%ld", static_cast<long>(id));
    text = ykstd_AsciiString(digits);
  }
  return text;
}

ykstd_AsciiString Get(std::int32_t group, std::int32_t index) {
  // Wrapping arithmetic: an absurd group gives some number's text, never undefined behaviour.
  return Get(static_cast<std::int32_t>(static_cast<std::uint32_t>(group) * 100u + static_cast<std::uint32_t>(index)));
}

}  // namespace ykstd_MsgEx
