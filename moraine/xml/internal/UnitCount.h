#pragma once

#include <cstddef>
#include <limits>
#include <stdexcept>

namespace moraine::xml {

/// A number of units as the node operations take it.
/// @throws std::length_error if they cannot take it
inline unsigned int unitCount(std::size_t length) {
    if (length > std::numeric_limits<unsigned int>::max()) {
        throw std::length_error("a piece of XML text has 2^32 units or more");
    }
    return static_cast<unsigned int>(length);
}

}  // namespace moraine::xml
