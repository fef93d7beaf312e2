#pragma once

#include <limits>

namespace moraine::io {

/// The place that a caller's move leads to: the sum, or the nearest number that fits.
inline long moved(long position, long count) noexcept {
    long target = 0;
    if (__builtin_add_overflow(position, count, &target)) {
        target = count < 0 ? std::numeric_limits<long>::min() : std::numeric_limits<long>::max();
    }
    return target;
}

}  // namespace moraine::io
