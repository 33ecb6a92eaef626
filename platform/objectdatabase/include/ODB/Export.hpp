#pragma once

/// \file
/// Marks what the object database library exports: `ODB_API` on classes, functions and data.

#if defined(_WIN32)
#if defined(ODB_BUILDING)
#define ODB_API __declspec(dllexport)
#else
#define ODB_API __declspec(dllimport)
#endif
#else
#define ODB_API __attribute__((visibility("default")))
#endif
