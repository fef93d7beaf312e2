#pragma once

#include <algorithm>
#include <cstddef>

namespace moraine::text {

/// Makes the text longer by @p count units, which the caller writes; returns where they start.
template <class Text>
typename Text::value_type* extend(Text& text, std::size_t count) {
    const std::size_t size = text.size();
    text.resize(size + count);
    return text.data() + size;
}

/// Makes the text longer by @p count times @p units units, for which @p write is called with their place and their
/// number, piece by piece. A standard string fills what it is extended by, which costs little as long as what is
/// filled is written before it leaves the processor's first cache.
template <class Text, class Write>
void extendByPieces(Text& text, std::size_t count, std::size_t units, Write write) {
    constexpr std::size_t pieceBytes = 8192;
    const std::size_t most = pieceBytes / sizeof(typename Text::value_type) / units;
    text.reserve(text.size() + count * units);
    while (count > 0) {
        const std::size_t piece = std::min(count, most);
        write(extend(text, piece * units), piece);
        count -= piece;
    }
}

}  // namespace moraine::text
