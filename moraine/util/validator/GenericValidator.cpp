#include "moraine/util/validator/GenericValidator.h"

#include <algorithm>
#include <limits>
#include <string_view>

#include "moraine/text/internal/View.h"

namespace moraine::util::validator {
namespace {

using text::view;

template <class Unit>
using View = std::basic_string_view<Unit>;

constexpr auto isDigit = [](auto unit) { return unit >= '0' && unit <= '9'; };
constexpr auto isLetter = [](auto unit) { return (unit >= 'a' && unit <= 'z') || (unit >= 'A' && unit <= 'Z'); };
constexpr auto isAsciiUnit = [](auto unit) { return unit >= 0 && unit <= 0x7F; };
constexpr auto isLetterOrDigit = [](auto unit) { return isLetter(unit) || isDigit(unit); };

/// The index of the first unit that does not belong, or the greatest `int` if that does not hold it; -1 if all belong.
template <class Unit, class Belongs>
int firstOutside(View<Unit> text, Belongs belongs) {
    const auto index = static_cast<std::size_t>(std::find_if_not(text.begin(), text.end(), belongs) - text.begin());
    constexpr auto most = static_cast<std::size_t>(std::numeric_limits<int>::max());
    return index == text.size() ? -1 : static_cast<int>(std::min(index, most));
}

template <class Unit>
bool isAddress(View<Unit> text) {
    constexpr int groups = 4;
    constexpr std::size_t mostDigits = 3;
    for (int group = 1; group <= groups; ++group) {
        const bool isLast = group == groups;
        const std::size_t length = isLast ? text.size() : std::min(text.find(Unit('.')), text.size());
        // A group that is not the last needs its dot, the last one something to say.
        if (isLast ? text.empty() : length == text.size()) {
            return false;
        }
        if (length > mostDigits || firstOutside(text.substr(0, length), isDigit) != -1) {
            return false;
        }
        text.remove_prefix(isLast ? length : length + 1);
    }
    return true;
}

}  // namespace

int GenericValidator::isNumber(const char* text) {
    return firstOutside(view(text), isDigit);
}

int GenericValidator::isNumberW(const WideChar* text) {
    return firstOutside(view(text), isDigit);
}

int GenericValidator::isAlphabet(const char* text) {
    return firstOutside(view(text), isLetter);
}

int GenericValidator::isAlphabetW(const WideChar* text) {
    return firstOutside(view(text), isLetter);
}

int GenericValidator::isAscii(const char* text) {
    return firstOutside(view(text), [](char c) { return isAsciiUnit(static_cast<signed char>(c)); });
}

int GenericValidator::isAsciiW(const WideChar* text) {
    return firstOutside(view(text), isAsciiUnit);
}

int GenericValidator::isAlphaAndNum(const char* text) {
    return firstOutside(view(text), isLetterOrDigit);
}

int GenericValidator::isAlphaAndNumW(const WideChar* text) {
    return firstOutside(view(text), isLetterOrDigit);
}

bool GenericValidator::isRange(long min, long max, long value) {
    return value >= min && value <= max;
}

bool GenericValidator::isLeapYear(int year) {
    return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0);
}

bool GenericValidator::isDate(int year, int month, int day) {
    constexpr int lengths[] = {31, 28, 31, 30, 31, 30, 31, 31, 30, 31, 30, 31};
    if (month < 1 || month > 12) {
        return false;
    }
    const int length = month == 2 && isLeapYear(year) ? 29 : lengths[month - 1];
    return day >= 1 && day <= length;
}

bool GenericValidator::isIPv4Address(const char* text) {
    return isAddress(view(text));
}

bool GenericValidator::isIPv4AddressW(const WideChar* text) {
    return isAddress(view(text));
}

const WideChar* GenericValidator::getClassName() const {
    return u"moraine::util::validator::GenericValidator";
}

}  // namespace moraine::util::validator
