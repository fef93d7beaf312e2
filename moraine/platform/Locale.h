#pragma once

#include <cstddef>

#include "moraine/WideChar.h"

/// @file
/// What the process's current locale says about single units, and its multibyte text. The system's own wide
/// character may be wider than ours, and stays in here.

namespace moraine::platform {

/// Whether the locale is the default one, "C", which knows the letters and digits of ASCII and no others.
bool isDefaultLocale() noexcept;

/// The upper-case form of @p unit, or @p unit where it has none that fits 16 bits.
WideChar toUpper(WideChar unit) noexcept;

/// The lower-case form of @p unit, or @p unit where it has none that fits 16 bits.
WideChar toLower(WideChar unit) noexcept;

/// Whether @p unit is of the class of digits.
bool isDigit(WideChar unit) noexcept;

/// Compares two texts of one unit each by the locale's order: negative, zero or positive.
int collate(WideChar left, WideChar right) noexcept;

/// Converts text to multibyte text of at most @p limit bytes and stops at a zero unit, at a unit that the locale
/// has no form for, and at one whose form no longer fits.
void toMultibyte(const WideChar* text, std::size_t length, char* target, std::size_t limit) noexcept;

/// Converts multibyte text to at most @p length units and stops at a zero byte, at bytes that the locale does not
/// know, at an incomplete character and at one that needs more than 16 bits.
void fromMultibyte(const char* bytes, std::size_t length, WideChar* target) noexcept;

}  // namespace moraine::platform
