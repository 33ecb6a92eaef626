#pragma once

/// \file
/// Marks what the input/output library exports: `IO_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(IO_BUILDING)
#define IO_API __declspec(dllexport)
#else
#define IO_API __declspec(dllimport)
#endif
#else
#define IO_API __attribute__((visibility("default")))
#endif
