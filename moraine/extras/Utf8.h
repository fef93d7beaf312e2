#pragma once

#include <string>
#include <string_view>

#include "moraine/extras/Export.h"
#include "moraine/lang/Exception.h"
#include "moraine/text/WideChar.h"

/// @file
/// Real UTF-8 (RFC 3629) and UTF-16, whole texts at once. The library's own codec goes unit by unit; these functions
/// know that a character beyond U+FFFF is four bytes here and a surrogate pair there.

namespace moraine::extras {

/// What becomes of text that is not well formed: bytes that are not UTF-8, half a surrogate pair.
enum class Malformed {
    replace,  ///< U+FFFD takes its place
    refuse    ///< it is a failure
};

/// The UTF-8 form of @p text. Every unit counts, zero units included, and a surrogate pair becomes one sequence of four
/// bytes. With `Malformed::replace` each half of a pair that stands alone becomes U+FFFD.
/// @throws lang::IllegalArgumentException "Half a surrogate pair. : offset N" with `Malformed::refuse`, N being the
///         index of the first such unit
/// @throws std::bad_alloc if there is no room
MORAINE_EXTRAS_API std::string toUtf8(std::u16string_view text, Malformed malformed = Malformed::replace);

/// The units of UTF-8 bytes. Every byte counts, zero bytes included; a byte order mark is text like any other. Overlong
/// forms, encoded surrogates and numbers above U+10FFFF are malformed. With `Malformed::replace` each maximal subpart
/// of a sequence, as the Unicode Standard calls it, becomes one U+FFFD: as many bytes as could have begun a
/// well-formed sequence, and at least one.
/// @throws lang::IllegalArgumentException "Malformed UTF-8. : offset N" with `Malformed::refuse`, N being the offset of
///         the first byte of the first bad sequence
/// @throws std::bad_alloc if there is no room
MORAINE_EXTRAS_API WideString fromUtf8(std::string_view bytes, Malformed malformed = Malformed::replace);

/// What a terminal shows of a failure, in UTF-8: the name of its class, " : " and the message if there is one, and the
/// trace. Lines end with a line feed alone, the last one too.
///
///     } catch (moraine::lang::Exception& e) {
///         std::cerr << moraine::extras::report(e);
///     }
///
/// @throws std::bad_alloc if there is no room
MORAINE_EXTRAS_API std::string report(lang::Exception& failure);

}  // namespace moraine::extras
