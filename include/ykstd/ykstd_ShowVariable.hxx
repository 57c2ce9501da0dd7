// Dumps of one variable to the debug log: a type tag, the name and the value on one line.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_Transient.hxx>

YKSTD_EXPORT void ShowVariable(const char* name, const char* value);
YKSTD_EXPORT void ShowVariable(const char* name, char value);
YKSTD_EXPORT void ShowVariable(const char* name, unsigned char value);
YKSTD_EXPORT void ShowVariable(const char* name, std::int16_t value);
YKSTD_EXPORT void ShowVariable(const char* name, std::int32_t value);
YKSTD_EXPORT void ShowVariable(const char* name, float value);
YKSTD_EXPORT void ShowVariable(const char* name, double value);
YKSTD_EXPORT void ShowVariable(const char* name, const void* value);
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_AsciiString& value);
YKSTD_EXPORT void ShowVariable(const char* name, const Hnd_ykstd_Transient& value);
