// Symbol visibility of the library's public API.
#pragma once

#include <cstdint>

#if defined(_WIN32)
#if defined(YKSTD_BUILDING_LIBRARY)
#define YKSTD_EXPORT __declspec(dllexport)
#else
#define YKSTD_EXPORT __declspec(dllimport)
#endif
#else
#define YKSTD_EXPORT __attribute__((visibility("default")))
#endif
