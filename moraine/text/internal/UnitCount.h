#pragma once

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace moraine::text {

/// A number of units or bytes as it goes with a pointer.
/// @throws std::length_error if it has no room there
inline unsigned int unitCount(std::size_t length) {
    if (length > std::numeric_limits<unsigned int>::max()) {
        throw std::length_error("a piece of text has 2^32 units or more");
    }
    return static_cast<unsigned int>(length);
}

}  // namespace moraine::text
