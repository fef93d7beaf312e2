#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "moraine/Export.h"

/// @file
/// The library's text: 16-bit units, the strings made of them, and the zero-terminated text functions on them.

namespace moraine {

/// One unit of text. Always 16 bits, whatever the system's own wide character is, so `u"..."` literals are the
/// library's text. One unit is one character: nothing in the library pairs surrogates.
using WideChar = char16_t;

/// Growable text.
using WideString = std::u16string;

/// Growable bytes.
using ByteString = std::string;

/// A newly made text that belongs to whoever receives it. Never null unless an operation says so.
using OwnedWideString = std::unique_ptr<WideString>;

/// Newly made bytes that belong to whoever receives them. Never null unless an operation says so.
using OwnedByteString = std::unique_ptr<ByteString>;

namespace text {

/// The number of units before the terminator; 0 for a null text.
MORAINE_API std::size_t lengthOf(const WideChar* text) noexcept;

/// Whether two zero-terminated texts hold the same units. A null text counts as empty.
MORAINE_API bool equal(const WideChar* left, const WideChar* right) noexcept;

/// A copy of a zero-terminated text, its terminator included. A null text is copied as empty.
/// @throws std::bad_alloc if there is no room for the copy
MORAINE_API std::unique_ptr<WideChar[]> copyOf(const WideChar* text);

/// The number at the start of @p text, read as decimal: leading white-space (9 to 13 and 32) is skipped, then an
/// optional sign and digits up to the first other unit count. No digit at all reads as 0. No more than
/// @p length units are looked at. At most 18 digits may follow the sign: more do not fit the result.
MORAINE_API long decimalValue(const WideChar* text, std::size_t length) noexcept;

/// Appends @p number in decimal, with a leading "-" if it is negative.
/// @throws std::bad_alloc if @p target cannot grow
MORAINE_API void appendDecimal(WideString& target, long long number);

}  // namespace text
}  // namespace moraine
