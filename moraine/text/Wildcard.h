#pragma once

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::text {

/// Tests a text against a simple pattern, both zero-terminated. A null text counts as empty.
///
/// In a pattern `?` stands for exactly one unit, `#` for exactly one decimal digit, `*` for any run of units, an empty
/// one included, and every other unit for itself, case and all. There is no escape and no set. A star must be followed
/// by a unit that stands for itself, or end the pattern.
///
/// The pattern is judged only as far as it is used: a star with a metacharacter after it is no failure where the text
/// has failed or ended before that.
///
/// Time is in proportion to the text and the pattern, and only for a long part between two stars that holds `?` or `#`
/// to the text times a 64th of that part. Memory is in proportion to the longest part. Stateless: any thread may use
/// any instance.
class MORAINE_API Wildcard {
public:
    /// Whether the text @p buffer, as a whole, is what @p pattern describes.
    /// @throws lang::IllegalArgumentException "The buffer length is 0." or "The pattern length is 0.";
    ///         "Invalid pattern. : " and the position of the unit after the star, counted from 0, if that is a
    ///         metacharacter
    /// @throws std::bad_alloc for a part of more than 8 units between two stars, if there is no room to work
    bool isMatch(const char* buffer, const char* pattern);

    /// As `isMatch`. What a digit is goes by the locale.
    bool isMatchW(const WideChar* buffer, const WideChar* pattern);

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;

    template <class Unit>
    bool matches(const Unit* buffer, const Unit* pattern) const;
};

}  // namespace moraine::text
