#pragma once

#include "moraine/Export.h"

/// @file
/// MORAINE_EXTRAS_API marks what clients of `moraine::extras` may use; everything else stays inside it.

#if defined(MORAINE_STATIC)
#define MORAINE_EXTRAS_API
#elif defined(_WIN32)
#if defined(MORAINE_EXTRAS_BUILDING)
#define MORAINE_EXTRAS_API __declspec(dllexport)
#else
#define MORAINE_EXTRAS_API __declspec(dllimport)
#endif
#else
/// Marks a class or a function that clients may use.
#define MORAINE_EXTRAS_API __attribute__((visibility("default")))
#endif
