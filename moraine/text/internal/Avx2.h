#pragma once

/// @file
/// Loops over text spend their time in functions of the namespaces `scalar`, which say what each does and are the
/// truth. Where the machine has registers of 32 bytes, a twin of the same name in `avx2` takes their place with the
/// same results. The twins stand in files of their own; here is what they are made of.

// The baseline of the x86-64 family has no such registers, so the choice is made when the program runs.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(MORAINE_NO_VECTOR_CODE)
#include <immintrin.h>

#include <array>
#include <cstddef>
#include <cstdint>

#include "moraine/WideChar.h"

/// Compiles one function, and what is inlined into it, for a machine that `hasAvx2` has found.
#define MORAINE_AVX2 __attribute__((target("avx2,popcnt")))

namespace moraine::text::kernels {

inline bool hasAvx2() noexcept {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0;
}

// Each twin takes whole windows while it may read and write beyond what counts in them, and leaves the rest to the
// scalar function.
namespace avx2 {

/// For `_mm_shuffle_epi8`: which bytes a result takes from where; a negative index gives a zero byte.
using Shuffle = std::array<signed char, 16>;

MORAINE_AVX2 inline __m128i load(const Shuffle& shuffle) noexcept {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle.data()));
}

MORAINE_AVX2 inline __m256i loadTwice(const Shuffle& shuffle) noexcept {
    return _mm256_broadcastsi128_si256(load(shuffle));
}

MORAINE_AVX2 inline __m128i load16(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

MORAINE_AVX2 inline __m256i load32(const void* from) noexcept {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

MORAINE_AVX2 inline void store(void* to, __m128i value) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

MORAINE_AVX2 inline void store(void* to, __m256i value) noexcept {
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

MORAINE_AVX2 inline void storeWindow(char* out, __m256i bytes) noexcept {
    store(out, bytes);
}

MORAINE_AVX2 inline void storeWindow(WideChar* out, __m256i bytes) noexcept {
    store(out, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    store(out + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
}

/// One bit for each byte whose highest bit is set.
MORAINE_AVX2 inline std::uint32_t highBits(__m256i bytes) noexcept {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}

MORAINE_AVX2 inline std::uint32_t equalBytes(__m256i bytes, char wanted) noexcept {
    return highBits(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(wanted)));
}

MORAINE_AVX2 inline unsigned int countBits(std::uint32_t bits) noexcept {
    return static_cast<unsigned int>(__builtin_popcount(bits));
}

/// A set of bytes, by their halves. The low half of a byte gives a bit for each row of 16 bytes in which it means one
/// outside the set, and the high half the bit of its row. The rows 0, 1 and 8 to 15, of which no byte belongs to any
/// set here, share a bit.
struct ByteSet {
    Shuffle outsideOfLow{};
    Shuffle rowOfHigh{};
};

constexpr ByteSet makeByteSet(bool (*belongs)(unsigned char)) {
    ByteSet set;
    for (unsigned int high = 0; high < 16; ++high) {
        const unsigned int row = high >= 2 && high <= 7 ? 1U << (high - 2) : 0x40U;
        set.rowOfHigh[high] = static_cast<signed char>(row);
        for (unsigned int low = 0; low < 16; ++low) {
            if (!belongs(static_cast<unsigned char>(high << 4 | low))) {
                set.outsideOfLow[low] =
                    static_cast<signed char>(static_cast<unsigned int>(set.outsideOfLow[low]) | row);
            }
        }
    }
    return set;
}

/// Zero for the bytes of the set, some bits for the others.
MORAINE_AVX2 inline __m256i outside(__m256i bytes, const ByteSet& set) noexcept {
    const __m256i half = _mm256_set1_epi8(0x0F);
    const __m256i low = _mm256_and_si256(bytes, half);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
    return _mm256_and_si256(_mm256_shuffle_epi8(loadTwice(set.outsideOfLow), low),
                            _mm256_shuffle_epi8(loadTwice(set.rowOfHigh), high));
}

/// The bits of @p second where the mask has any, and those of @p first elsewhere. g++ 12 has the instruction for this
/// do nothing where plain char has no sign.
MORAINE_AVX2 inline __m256i chosen(__m256i first, __m256i second, __m256i mask) noexcept {
    return _mm256_or_si256(_mm256_and_si256(mask, second), _mm256_andnot_si256(mask, first));
}

MORAINE_AVX2 inline __m128i chosen(__m128i first, __m128i second, __m128i mask) noexcept {
    return _mm_or_si128(_mm_and_si128(mask, second), _mm_andnot_si128(mask, first));
}

MORAINE_AVX2 inline bool areAscii(__m256i units) noexcept {
    return _mm256_testz_si256(units, _mm256_set1_epi16(static_cast<short>(0xFF80))) != 0;
}

/// 32 ASCII units as bytes.
MORAINE_AVX2 inline __m256i narrowed(__m256i low, __m256i high) noexcept {
    // Packing works in each half of a register, so that the middle quarters change places.
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
}

}  // namespace avx2
}  // namespace moraine::text::kernels
#else
namespace moraine::text::kernels {

namespace scalar {}
namespace avx2 = scalar;

constexpr bool hasAvx2() noexcept {
    return false;
}

}  // namespace moraine::text::kernels
#endif
