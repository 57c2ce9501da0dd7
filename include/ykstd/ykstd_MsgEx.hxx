// Message texts by number, from the add-in's resource module.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>

namespace ykstd_MsgEx {
// The text of message `id` from theCatResDllInst (the program's own texts while that is null), or
// the decimal text of `id` when the module or the message is missing.
YKSTD_EXPORT ykstd_AsciiString Get(std::int32_t id);
// Message group * 100 + index.
YKSTD_EXPORT ykstd_AsciiString Get(std::int32_t group, std::int32_t index);
}  // namespace ykstd_MsgEx
