#pragma once

#include <cstddef>

namespace moraine::text {

/// A standard string fills what it is extended by. A long result is therefore extended by pieces of about so many
/// bytes, which are still in the processor's first cache when they are written; so the filling costs little.
inline constexpr std::size_t pieceSize = 8192;

/// Makes the text longer by @p count units, which the caller writes; returns where they start.
template <class Text>
typename Text::value_type* extend(Text& text, std::size_t count) {
    const std::size_t size = text.size();
    text.resize(size + count);
    return text.data() + size;
}

/// Ends the text at @p end, which lies in it.
template <class Text>
void endAt(Text& text, const typename Text::value_type* end) {
    text.resize(static_cast<std::size_t>(end - text.data()));
}

}  // namespace moraine::text
