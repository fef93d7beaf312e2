#pragma once

/// @file
/// MORAINE_API marks what clients of the library may use; everything else stays inside it.

#if defined(MORAINE_STATIC)
#define MORAINE_API
#elif defined(_WIN32)
#if defined(MORAINE_BUILDING)
#define MORAINE_API __declspec(dllexport)
#else
#define MORAINE_API __declspec(dllimport)
#endif
#else
/// Marks a class or a function that clients may use.
#define MORAINE_API __attribute__((visibility("default")))
/// Marks what is private in such a class and therefore stays inside the library.
#define MORAINE_HIDDEN __attribute__((visibility("hidden")))
#endif
#ifndef MORAINE_HIDDEN
#define MORAINE_HIDDEN
#endif
