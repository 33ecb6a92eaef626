#pragma once

/// \file
/// Marks what the attribute manager library exports: `ADB_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(ADB_BUILDING)
#define ADB_API __declspec(dllexport)
#else
#define ADB_API __declspec(dllimport)
#endif
#else
#define ADB_API __attribute__((visibility("default")))
#endif
