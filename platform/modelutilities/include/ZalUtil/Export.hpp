#pragma once

/// \file
/// Marks what the model utilities library exports: `ZALUTIL_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(ZALUTIL_BUILDING)
#define ZALUTIL_API __declspec(dllexport)
#else
#define ZALUTIL_API __declspec(dllimport)
#endif
#else
#define ZALUTIL_API __attribute__((visibility("default")))
#endif
