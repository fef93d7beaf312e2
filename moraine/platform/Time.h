#pragma once

#include <cstdint>

/// @file
/// The clock and the calendar.

namespace moraine::platform {

/// A moment of Universal Time, as people write it: months and days from 1.
struct DateTime {
    int year;
    int month;
    int day;
    int hour;
    int minute;
    int second;
};

/// Seconds since the start of 1970, UTC.
std::int64_t now() noexcept;

/// The date and time that so many seconds since the start of 1970 are.
DateTime universalTime(std::int64_t seconds) noexcept;

}  // namespace moraine::platform
