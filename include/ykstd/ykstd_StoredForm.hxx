// The stored forms of collection elements. A collection member names the form of each of its
// element kinds (key, value, element) by one of these tags; the archive writes and reads a form.
#pragma once

struct ykstd_FormLong {};    // a 32-bit integer
struct ykstd_FormString {};  // the string form of an ykstd_AsciiString
struct ykstd_FormObject {};  // the object form of a handle
struct ykstd_FormNone {};    // nothing: only the collection's count is stored
