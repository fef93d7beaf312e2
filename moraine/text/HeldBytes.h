#pragma once

#include <new>
#include <string_view>

#include "moraine/text/WideChar.h"

namespace moraine::text {

/// The few bytes that a decoder keeps between two calls: the start of something that the next block ends.
template <unsigned int Capacity>
class HeldBytes {
public:
    /// Keeps a copy of these bytes, at most `Capacity` of them, in place of what was held.
    void hold(std::string_view held) noexcept {
        heldLength = static_cast<unsigned int>(held.copy(heldBytes, Capacity));
    }

    void clear() noexcept { heldLength = 0; }

    /// Decodes by @p decode. Without memory what is held is as before, so that the same block may come again.
    template <class Decode>
    auto keptWithoutMemory(Decode decode) {
        const HeldBytes before = *this;
        try {
            return decode();
        } catch (const std::bad_alloc&) {
            *this = before;
            throw;
        }
    }

    /// What was held with the block behind it; nothing is held any more. The bytes lie in the block itself where
    /// nothing was held, and otherwise in @p workText.
    std::string_view join(const char* bytes, unsigned int length, ByteString& workText) {
        if (heldLength == 0) {
            return {bytes, length};
        }
        workText.assign(heldBytes, heldLength);
        heldLength = 0;
        workText.append(bytes, length);
        return workText;
    }

private:
    char heldBytes[Capacity] = {};
    unsigned int heldLength = 0;
};

}  // namespace moraine::text
