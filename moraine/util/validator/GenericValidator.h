#pragma once

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::util::validator {

/// Simple checks on text and numbers. No check goes by the locale, allocates or throws. Stateless: any thread may use
/// any instance.
///
/// The checks of characters, which end in `W` for `WideChar`s, take zero-terminated text and return the index of the
/// first character that does not belong to the class, or -1 if all do or the text is empty. So 0 means that the very
/// first one fails, and success is a comparison with -1. An index that `int` does not hold is given as the greatest
/// `int`. A null text counts as empty.
class MORAINE_API GenericValidator {
public:
    /// The first unit that is not one of `0` to `9`, or -1.
    int isNumber(const char* text);
    /// As `isNumber`.
    int isNumberW(const WideChar* text);

    /// The first unit that is not one of `a` to `z` and `A` to `Z`, or -1.
    int isAlphabet(const char* text);
    /// As `isAlphabet`.
    int isAlphabetW(const WideChar* text);

    /// The first unit that is not below 0x80, or -1.
    int isAscii(const char* text);
    /// As `isAscii`.
    int isAsciiW(const WideChar* text);

    /// The first unit that is not one of `a` to `z`, `A` to `Z` and `0` to `9`, or -1.
    int isAlphaAndNum(const char* text);
    /// As `isAlphaAndNum`.
    int isAlphaAndNumW(const WideChar* text);

    /// Whether @p value is neither below @p min nor above @p max. Never where @p min is above @p max.
    bool isRange(long min, long max, long value);

    /// Whether a year is a leap year of the Gregorian calendar, carried on to 0 and below.
    bool isLeapYear(int year);

    /// Whether a day is one of the calendar. Every year is.
    bool isDate(int year, int month, int day);

    /// Whether a text has the shape of an IPv4 address: four groups of at most three digits with a "." between them, of
    /// which only the last must not be empty. The numbers are not looked at: "999.1.1.1" passes, and so does "...1".
    bool isIPv4Address(const char* text);
    /// As `isIPv4Address`.
    bool isIPv4AddressW(const WideChar* text);

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;
};

}  // namespace moraine::util::validator
