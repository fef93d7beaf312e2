#pragma once

#include <cstdint>
#include <cstring>

namespace moraine::extras {

/// A byte, with the tests that `Word` has.
struct Byte {
    unsigned char byte;

    constexpr int is(unsigned char other) const { return byte == other ? 1 : 0; }
    constexpr int is(unsigned char other, unsigned char bits) const { return (byte | bits) == other ? 1 : 0; }
    constexpr int notAscii() const { return byte >= 0x80 ? 1 : 0; }
    constexpr int below(unsigned char limit) const { return byte < limit ? 1 : 0; }
};

/// Eight bytes at once: tests that leave the highest bit of the first byte that meets them, and perhaps of some after
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

/// Whether `stops(Byte)` is 0 for all of so many bytes; a loop of which compilers make wide code.
constexpr std::ptrdiff_t stride = 64;
template <class Stops>
bool isFree(const char* at, Stops stops) {
    unsigned char met = 0;
    for (std::ptrdiff_t i = 0; i < stride; ++i) {
        met = static_cast<unsigned char>(met | stops(Byte{static_cast<unsigned char>(at[i])}));
    }
    return met == 0;
}

/// The first byte from @p at on for which `stops` is not 0, or @p end. It is asked about a `Byte` or a `Word`.
template <class Stops>
const char* findNear(const char* at, const char* end, Stops stops) {
#if __BYTE_ORDER__ == __ORDER_LITTLE_ENDIAN__
    for (Word word{}; end - at >= 8; at += 8) {
        std::memcpy(&word.bytes, at, 8);
        const std::uint64_t met = stops(word);
        if (met != 0) {
            return at + __builtin_ctzll(met) / 8;
        }
    }
#endif
    while (at != end && stops(Byte{static_cast<unsigned char>(*at)}) == 0) {
        ++at;
    }
    return at;
}

/// As `findNear`, in large steps after the first few bytes.
template <class Stops>
const char* findStop(const char* at, const char* end, Stops stops) {
    constexpr std::ptrdiff_t near = 24;
    if (end - at > near + stride) {
        const char* const stop = at + near;
        at = findNear(at, stop, stops);
        if (at != stop) {
            return at;
        }
        while (end - at >= stride && isFree(at, stops)) {
            at += stride;
        }
    }
    return findNear(at, end, stops);
}

}  // namespace moraine::extras
