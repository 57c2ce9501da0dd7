// Code page conversions. The stand-in's ANSI code page (CP_ACP) is ISO-8859-1: every byte is the
// character of the same number, and a wide character above 255 becomes the default character.
// CP_UTF8 converts to and from UTF-8.
#pragma once

#include <ykstd/platform/WinTypes.hxx>

inline constexpr UINT CP_ACP = 0;
inline constexpr UINT CP_UTF8 = 65001;

// As the Windows calls: a length of -1 converts up to and including the NUL; an output size of 0
// asks for the size needed; the result is the number of units written (or needed), 0 on failure.
YKSTD_EXPORT int WideCharToMultiByte(UINT codePage, DWORD flags, const wchar_t* wide, int wideLength, char* narrow,
                                     int narrowSize, const char* defaultChar, BOOL* usedDefaultChar);
YKSTD_EXPORT int MultiByteToWideChar(UINT codePage, DWORD flags, const char* narrow, int narrowLength, wchar_t* wide,
                                     int wideSize);
