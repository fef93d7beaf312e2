#pragma once

#include <cstdint>

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::text {

/// A toolbox for text held as a pointer and a count.
///
/// Nearly every operation exists for 8-bit chars and, with a `W` at the end of its name, for `WideChar`s. A count is
/// in units of the argument's own type and is taken literally: 0 is empty text and never a request to measure. Text
/// need not be zero-terminated and may hold zero units, where an operation does not say otherwise; a pointer is not
/// read when its count is 0. Results are new strings that the caller owns, never null.
///
/// Stateless: any thread may call any operation on any instance. Operations that go by the locale use the one that
/// the process has set at that moment; under the default "C" locale only ASCII letters and digits are known.
/// Every operation that makes a string passes on `std::bad_alloc`; beyond that only the two strict hexadecimal
/// operations throw.
class MORAINE_API StringUtil {
public:
    virtual ~StringUtil();

    /// The value of hexadecimal digits, upper-case letters only, the first digit the most significant. The low 8
    /// bits of it are the result, so leading digits may fall off; no digit at all gives 0.
    /// @throws lang::IllegalArgumentException without a message, if any unit is no such digit
    char fromHexString(const char* text, unsigned int length) const;

    /// As `fromHexString`, with the low 16 bits as the result. A letter is what the locale orders from "A" to "F".
    /// @throws lang::IllegalArgumentException without a message, if any unit is no such digit
    WideChar fromHexStringW(const WideChar* text, unsigned int length) const;

    /// The value of hexadecimal digits of either case, or -1 if any unit is no digit. Eight digits fill the result,
    /// so that "FFFFFFFF" is -1 as well; of more than eight the last eight count. No digit at all gives 0.
    std::int32_t hexStr2Long(const char* text, unsigned int length);
    /// As `hexStr2Long`.
    std::int32_t hexStr2LongW(const WideChar* text, unsigned int length);

    /// The two upper-case hexadecimal digits of an 8-bit pattern.
    OwnedByteString toHexString(char value);

    /// The four upper-case hexadecimal digits of a unit, as narrow text.
    OwnedByteString toHexStringW2M(WideChar value);
    /// As `toHexStringW2M`, as wide text.
    OwnedWideString toHexStringW(WideChar value);

    /// A copy of the text in which each occurrence of @p search has become @p replacement. Occurrences are taken
    /// from left to right, do not overlap, and are not looked for in what was just put in. @p search and
    /// @p replacement are zero-terminated, and null counts as empty; an empty @p search gives a plain copy.
    OwnedByteString doReplace(const char* text, unsigned int length, const char* search, const char* replacement);
    /// As `doReplace`.
    OwnedWideString doReplaceW(const WideChar* text, unsigned int length, const WideChar* search,
                               const WideChar* replacement);

    /// A copy without the spaces (0x20, and no other white-space) at the end.
    OwnedByteString doRTrim(const char* text, unsigned int length);
    /// A copy without the spaces (0x20, and no other white-space) at the start.
    OwnedByteString doLTrim(const char* text, unsigned int length);
    /// A copy without the spaces (0x20, and no other white-space) at both ends.
    OwnedByteString doTrim(const char* text, unsigned int length);
    /// As `doRTrim`.
    OwnedWideString doRTrimW(const WideChar* text, unsigned int length);
    /// As `doLTrim`.
    OwnedWideString doLTrimW(const WideChar* text, unsigned int length);
    /// As `doTrim`.
    OwnedWideString doTrimW(const WideChar* text, unsigned int length);

    /// A copy in upper case by the locale, char by char; of the same length, zero chars included.
    OwnedByteString toUpper(const char* text, unsigned int length);
    /// As `toUpper`, in lower case.
    OwnedByteString toLower(const char* text, unsigned int length);

    /// A copy in upper case by the locale, unit by unit. Unlike that of `toUpper`, the copy ends before the first
    /// zero unit.
    OwnedWideString toUpperW(const WideChar* text, unsigned int length);
    /// As `toUpperW`, in lower case.
    OwnedWideString toLowerW(const WideChar* text, unsigned int length);

    /// Converts to the multibyte text of the locale. The result has exactly @p length bytes: what does not fit is
    /// cut, and zero bytes fill it up where the conversion gives less or stops early (at a zero unit, or at a unit
    /// that the locale has no form for).
    OwnedByteString toMulti(const WideChar* text, unsigned int length);

    /// Converts multibyte text of the locale. The result has exactly @p length units: zero units fill it up where
    /// the conversion gives less or stops early (at a zero byte, at bytes that the locale does not know, at an
    /// incomplete character, or at a character beyond 16 bits).
    OwnedWideString toWide(const char* text, unsigned int length);

    /// The bytes of the units: the low byte alone below 0x100, otherwise high byte and low byte. Nothing marks the
    /// two forms, so the result cannot be read back in general.
    OwnedByteString wide2Chars(const WideChar* text, unsigned int length);

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;
};

}  // namespace moraine::text
