#pragma once

#include <string_view>

namespace moraine::text {

inline constexpr std::string_view hexDigits = "0123456789ABCDEF";

/// The value of a hexadecimal digit of either case, or -1.
template <class Unit>
constexpr int hexValue(Unit unit) noexcept {
    if (unit >= '0' && unit <= '9') {
        return unit - '0';
    }
    if (unit >= 'A' && unit <= 'F') {
        return unit - 'A' + 10;
    }
    if (unit >= 'a' && unit <= 'f') {
        return unit - 'a' + 10;
    }
    return -1;
}

}  // namespace moraine::text
