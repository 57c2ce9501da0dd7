// Named settings in the registry: read for the current user first and then for the machine,
// written under the root the caller names. Every result is 1 for success and 0 for failure; a
// value is left untouched when it cannot be read.
#pragma once

#include <cstdint>

#include <ykstd/platform/CString.hxx>
#include <ykstd/platform/Registry.hxx>

namespace ykstd {

// A number (REG_DWORD). With userFirst 0 only the machine's value counts.
YKSTD_EXPORT int GetPref(const CString& key, const CString& name, std::uint32_t& value, int userFirst);
// A text (REG_SZ) of at most 511 bytes.
YKSTD_EXPORT int GetPref(const CString& key, const CString& name, CString& value, int userFirst);
// A block of bytes (REG_BINARY). With a null data, size gets the size the value needs; else size
// is the buffer's size on the way in and the size read on the way out (0 when nothing was read).
YKSTD_EXPORT int GetPref(const CString& key, const CString& name, void* data, std::uint32_t& size, int userFirst);

// Writing needs the key to exist under `root`; it is never made here.
YKSTD_EXPORT int SetPref(const CString& key, const CString& name, const CString& value, HKEY root);
YKSTD_EXPORT int SetPref(const CString& key, const CString& name, std::uint32_t value, HKEY root);
YKSTD_EXPORT int SetPref(const CString& key, const CString& name, const void* data, std::uint32_t size, HKEY root);

// The add-in's limit on conditions: 50.
YKSTD_EXPORT std::int32_t MaxCond();

}  // namespace ykstd
