#pragma once

/// \file
/// Marks what the foundation library exports: `KEST_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(KEST_BUILDING)
#define KEST_API __declspec(dllexport)
#else
#define KEST_API __declspec(dllimport)
#endif
#else
#define KEST_API __attribute__((visibility("default")))
#endif
