#pragma once

#include <cstdint>
#include <cstring>

namespace moraine::extras {

/// Eight bytes at once: tests that leave the highest bit of the first byte that meets them, and perhaps of some behind
/// it.
struct Word {
    std::uint64_t bytes;

    static constexpr std::uint64_t ones = 0x0101010101010101U;
    static constexpr std::uint64_t highs = 0x8080808080808080U;

    constexpr std::uint64_t is(unsigned char byte) const { return zero(bytes ^ (ones * byte)); }
    /// Is one of two bytes that differ in the bits of @p bits alone, all of which @p byte has.
    constexpr std::uint64_t is(unsigned char byte, unsigned char bits) const {
        return zero((bytes | (ones * bits)) ^ (ones * byte));
    }
    constexpr std::uint64_t notAscii() const { return bytes & highs; }
    constexpr std::uint64_t below(unsigned char byte) const { return (bytes - ones * byte) & ~bytes & highs; }

private:
    static constexpr std::uint64_t zero(std::uint64_t word) { return (word - ones) & ~word & highs; }
};

/// The first byte from @p at on for which `stops(Word)` is not 0, or @p end.
template <class Stops>
const char* findNear(const char* at, const char* end, Stops stops) {
    Word word{};
    for (; end - at >= 8; at += 8) {
        std::memcpy(&word.bytes, at, 8);
        const std::uint64_t met = stops(word);
        if (met != 0) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
            return at + __builtin_ctzll(met) / 8;
#else
            break;
#endif
        }
    }
    for (; at != end; ++at) {
        word.bytes = Word::ones * static_cast<unsigned char>(*at);
        if (stops(word) != 0) {
            break;
        }
    }
    return at;
}

/// As `findNear`, with large steps if it is not near: a loop of which compilers make wide code.
template <class Stops>
const char* findStop(const char* at, const char* end, Stops stops) {
    constexpr std::ptrdiff_t near = 24;
    constexpr std::ptrdiff_t stride = 64;
    if (end - at > near + stride) {
        const char* const stop = at + near;
        at = findNear(at, stop, stops);
        if (at != stop) {
            return at;
        }
        for (; end - at >= stride; at += stride) {
            std::uint64_t met = 0;
            for (std::ptrdiff_t i = 0; i < stride; i += 8) {
                Word word{};
                std::memcpy(&word.bytes, at + i, 8);
                met |= stops(word);
            }
            if (met != 0) {
                break;
            }
        }
    }
    return findNear(at, end, stops);
}

}  // namespace moraine::extras
