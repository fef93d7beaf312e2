#include "moraine/WideChar.h"

#include <algorithm>
#include <cstring>
#include <iterator>

namespace moraine::text {

std::size_t lengthOf(const WideChar* text) noexcept {
    return text == nullptr ? 0 : std::char_traits<WideChar>::length(text);
}

bool equal(const WideChar* left, const WideChar* right) noexcept {
    const std::size_t length = lengthOf(left);
    return length == lengthOf(right) && std::equal(left, left + length, right);
}

std::unique_ptr<WideChar[]> copyOf(const WideChar* text) {
    const std::size_t length = lengthOf(text);
    std::unique_ptr<WideChar[]> copy(new WideChar[length + 1]);
    std::copy_n(text, length, copy.get());
    copy[length] = 0;
    return copy;
}

long decimalValue(const WideChar* text, std::size_t length) noexcept {
    const WideChar* const end = text + length;
    const auto isSpace = [](WideChar unit) { return unit == u' ' || (unit >= u'\t' && unit <= u'\r'); };
    text = std::find_if_not(text, end, isSpace);
    const bool negative = text != end && *text == u'-';
    if (text != end && (*text == u'-' || *text == u'+')) {
        ++text;
    }
    long value = 0;
    for (; text != end && *text >= u'0' && *text <= u'9'; ++text) {
        value = value * 10 + (*text - u'0');
    }
    return negative ? -value : value;
}

void appendDecimal(WideString& target, long long number) {
    WideChar digits[20];
    WideChar* first = std::end(digits);
    // The magnitude is kept unsigned, since the smallest number has no positive twin.
    unsigned long long rest =
        number < 0 ? 0ULL - static_cast<unsigned long long>(number) : static_cast<unsigned long long>(number);
    do {
        *--first = static_cast<WideChar>(u'0' + rest % 10);
        rest /= 10;
    } while (rest != 0);
    if (number < 0) {
        *--first = u'-';
    }
    target.append(first, std::end(digits));
}

}  // namespace moraine::text
