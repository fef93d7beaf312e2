#pragma once

#include <new>
#include <string_view>

#include "moraine/text/WideChar.h"

/// @file
/// The few bytes that a decoder keeps between two calls: the start of something that the next block ends. A decoder has
/// them in `Held`, which is an array `bytes` and the `count` of those that are held.

namespace moraine::text {

/// Keeps a copy of these bytes in place of what was held.
template <class Held>
void hold(Held& held, std::string_view bytes) noexcept {
    held.count = static_cast<unsigned int>(bytes.copy(held.bytes, sizeof held.bytes));
}

/// What was held with the block after it; nothing is held any more. The bytes lie in the block itself where nothing was
/// held, and otherwise in @p joined.
template <class Held>
std::string_view joinHeld(Held& held, const char* bytes, unsigned int length, ByteString& joined) {
    if (held.count == 0) {
        return {bytes, length};
    }
    joined.reserve(held.count + std::size_t{length});
    joined.assign(held.bytes, held.count).append(bytes, length);
    held.count = 0;
    return joined;
}

/// Decodes by @p decode. Without memory what is held is as before, so that the same block may come again.
template <class Held, class Decode>
auto keptWithoutMemory(Held& held, Decode decode) {
    const Held before = held;
    try {
        return decode();
    } catch (const std::bad_alloc&) {
        held = before;
        throw;
    }
}

}  // namespace moraine::text
