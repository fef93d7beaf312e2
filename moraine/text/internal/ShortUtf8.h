#pragma once

#include <cstddef>
#include <string_view>

#include "moraine/text/WideChar.h"

namespace moraine::text {

/// A short text in UTF-8, for those who send many: the bytes are the encoder's, and take no room from the heap.
class ShortUtf8 {
public:
    /// The number of units that a text may have.
    static constexpr std::size_t most = 1024;

    explicit ShortUtf8(std::u16string_view text) noexcept;

    const char* data() const noexcept { return bytes; }
    unsigned int size() const noexcept { return static_cast<unsigned int>(count); }

private:
    char bytes[3 * most];  // as far as they are used
    std::size_t count;
};

}  // namespace moraine::text
