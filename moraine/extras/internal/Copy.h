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
    constexpr std::uint64_t below(unsigned char byte) const { return (bytes - ones * byte) & ~bytes & highs; }

private:
    static constexpr std::uint64_t zero(std::uint64_t word) { return (word - ones) & ~word & highs; }
};

/// Copies bytes up to the first for which `stops(Word)` is not 0, or up to @p end; returns where it stopped and moves
/// @p to behind the copy. There must be room for 8 bytes more than are copied.
template <class Stops>
const char* copyUntil(const char* from, const char* end, char*& to, Stops stops) {
    Word word{};
    while (end - from >= 8) {
        std::memcpy(&word.bytes, from, 8);
        std::memcpy(to, from, 8);
        const std::uint64_t met = stops(word);
        if (met != 0) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
            const int count = __builtin_ctzll(met) / 8;
            to += count;
            return from + count;
#else
            break;
#endif
        }
        from += 8;
        to += 8;
    }
    for (; from != end; ++from) {
        word.bytes = Word::ones * static_cast<unsigned char>(*from);
        if (stops(word) != 0) {
            break;
        }
        *to++ = *from;
    }
    return from;
}

}  // namespace moraine::extras
