#pragma once

/// \file
/// Marks what the collaboration library exports: `LUM_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(LUM_BUILDING)
#define LUM_API __declspec(dllexport)
#else
#define LUM_API __declspec(dllimport)
#endif
#else
#define LUM_API __attribute__((visibility("default")))
#endif
