#pragma once

#include "moraine/platform/Time.h"
#include "moraine/text/WideChar.h"

namespace moraine::util::log {

/// The length of a timestamp.
constexpr unsigned int timestampLength = 19;

/// Writes a moment as "2026/11/18 07:35:22", without a terminator. Of the year the last four digits.
inline void writeTimestamp(const platform::DateTime& moment, WideChar* target) noexcept {
    const auto put = [&target](int number, int digits, WideChar after) {
        for (int i = digits; i-- > 0; number /= 10) {
            target[i] = static_cast<WideChar>(u'0' + number % 10);
        }
        target += digits;
        if (after != 0) {
            *target++ = after;
        }
    };
    put(moment.year, 4, u'/');
    put(moment.month, 2, u'/');
    put(moment.day, 2, u' ');
    put(moment.hour, 2, u':');
    put(moment.minute, 2, u':');
    put(moment.second, 2, 0);
}

}  // namespace moraine::util::log
