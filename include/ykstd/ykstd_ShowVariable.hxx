// Dumps of one variable to the debug log: a type tag, the name and the value on one line.
#pragma once

#include <cstdint>

#include <ykstd/ykstd_AsciiString.hxx>
#include <ykstd/ykstd_Dim.hxx>
#include <ykstd/ykstd_DimSeq.hxx>
#include <ykstd/ykstd_Export.hxx>
#include <ykstd/ykstd_List.hxx>
#include <ykstd/ykstd_Seq.hxx>
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
// A range is shown in brackets.
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_Dim& value);
// A head line with the count, then each element on its own line named by its position.
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_AsciiStringSeq& value);
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_DimSeq& value);
// The count and the numbers on one line.
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_IntSeq& value);
// As the integer sequence, under the tag "[IntList]".
YKSTD_EXPORT void ShowVariable(const char* name, const ykstd_IntList& value);
