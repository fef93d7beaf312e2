#pragma once

#include <cstddef>
#include <cstdint>

#include "moraine/text/internal/Avx2.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/WideChar.h"

/// @file
/// The index of markup: for each unit a bit in a row if it means something. A tag is then taken apart by looking for
/// the next bit, and long stretches without a meaning cost nothing.

namespace moraine::xml {

/// Which of 64 units mean what: bit N for unit N.
struct Marks {
    std::uint64_t angles;      ///< "<" and ">"
    std::uint64_t white;       ///< blank, tab, line feed and carriage return
    std::uint64_t quotes;      ///< both kinds
    std::uint64_t equals;      ///< "="
    std::uint64_t references;  ///< "&", and zero, which also makes a text another than it looks

    /// Drops the marks of all units but the first @p count, of which there are 1 to 64.
    void keep(std::size_t count) noexcept {
        const std::uint64_t kept = ~std::uint64_t{0} >> (64 - count);
        angles &= kept;
        white &= kept;
        quotes &= kept;
        equals &= kept;
        references &= kept;
    }
};

/// The number of units that one `Marks` covers.
inline constexpr std::size_t markedUnits = 64;

namespace marks {

namespace scalar {

/// Marks 64 units.
inline Marks mark(const WideChar* units) noexcept {
    Marks result{};
    for (std::size_t i = 0; i < markedUnits; ++i) {
        const WideChar unit = units[i];
        const auto bit = [i](bool set) { return static_cast<std::uint64_t>(set) << i; };
        result.angles |= bit(unit == u'<' || unit == u'>');
        result.white |= bit(text::scan::isWhite(unit));
        result.quotes |= bit(unit == u'"' || unit == u'\'');
        result.equals |= bit(unit == u'=');
        result.references |= bit(unit == u'&' || unit == 0);
    }
    return result;
}

}  // namespace scalar

#if defined(__SSE2__) && !defined(MORAINE_NO_VECTOR_CODE)

/// The form for the registers that every x86-64 has.
namespace sse2 {

inline Marks mark(const WideChar* units) noexcept {
    const auto equal = [](__m128i bytes, char wanted) { return _mm_cmpeq_epi8(bytes, _mm_set1_epi8(wanted)); };
    Marks result{};
    for (unsigned int i = 0; i < markedUnits; i += 16) {
        // Units beyond a byte become 0xFF, which means nothing. They must not become negative before they are packed.
        const auto cut = [](__m128i some) {
            const __m128i rest = _mm_subs_epu16(some, _mm_set1_epi16(0xFF));
            return _mm_sub_epi16(some, rest);
        };
        const __m128i bytes = _mm_packus_epi16(cut(text::scan::load(units + i)), cut(text::scan::load(units + i + 8)));
        const auto put = [=](std::uint64_t& row, __m128i hits) {
            row |= static_cast<std::uint64_t>(text::scan::bitsOf(hits)) << i;
        };
        // "<" differs from ">" in one bit.
        put(result.angles, equal(_mm_or_si128(bytes, _mm_set1_epi8('<' ^ '>')), '<' | '>'));
        put(result.white, _mm_or_si128(_mm_or_si128(equal(bytes, ' '), equal(bytes, '\t')),
                                       _mm_or_si128(equal(bytes, '\n'), equal(bytes, '\r'))));
        put(result.quotes, _mm_or_si128(equal(bytes, '"'), equal(bytes, '\'')));
        put(result.equals, equal(bytes, '='));
        put(result.references, _mm_or_si128(equal(bytes, '&'), equal(bytes, 0)));
    }
    return result;
}

}  // namespace sse2

#endif

#if defined(__SSE2__) && !defined(MORAINE_NO_VECTOR_CODE)
namespace baseline = sse2;
#else
namespace baseline = scalar;
#endif

#ifdef MORAINE_AVX2
/// The form for wider registers, for machines that have them.
namespace avx2 {

namespace kernels = text::kernels::avx2;

/// What a byte means, as a bit. A meaning belongs to the bytes both halves of which have it.
enum Meaning : signed char { angle = 1, quote = 2, equal = 4, blank = 8, control = 16, ampersand = 32, zero = 64 };

inline constexpr signed char lowOfD = control | equal;
alignas(16) inline constexpr kernels::Shuffle ofLow{
    zero | blank, 0, quote, 0, 0, 0, ampersand, quote, 0, control, control, 0, angle, lowOfD, angle, 0};
alignas(16) inline constexpr kernels::Shuffle ofHigh{zero | control, 0, blank | quote | ampersand, angle | equal};

/// The meanings of 32 units, a byte for each.
MORAINE_AVX2 inline __m256i meanings(const WideChar* units) noexcept {
    // Units beyond a byte become 0xFF, which means nothing. They must not be negative when they are packed.
    const __m256i most = _mm256_set1_epi16(0xFF);
    const __m256i low = _mm256_min_epu16(kernels::load32(units), most);
    const __m256i high = _mm256_min_epu16(kernels::load32(units + 16), most);
    const __m256i bytes = kernels::narrowed(low, high);
    const __m256i half = _mm256_set1_epi8(0x0F);
    return _mm256_and_si256(
        _mm256_shuffle_epi8(kernels::loadTwice(ofLow), _mm256_and_si256(bytes, half)),
        _mm256_shuffle_epi8(kernels::loadTwice(ofHigh), _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half)));
}

MORAINE_AVX2 inline Marks mark(const WideChar* units) noexcept {
    const __m256i first = meanings(units);
    const __m256i second = meanings(units + 32);
    const auto row = [&](Meaning meaning) MORAINE_AVX2 {
        const __m256i wanted = _mm256_set1_epi8(meaning);
        const auto some = [&](__m256i all) MORAINE_AVX2 {
            return kernels::highBits(_mm256_cmpeq_epi8(_mm256_and_si256(all, wanted), wanted));
        };
        return some(first) | static_cast<std::uint64_t>(some(second)) << 32;
    };
    return {row(angle), row(blank) | row(control), row(quote), row(equal), row(ampersand) | row(zero)};
}

MORAINE_AVX2 inline void markAll(const WideChar* units, std::size_t count, Marks* rows) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        rows[i] = mark(units + i * markedUnits);
    }
}

}  // namespace avx2

#endif

/// Marks @p count times 64 units, in the form that is best on this machine.
inline void markAll(const WideChar* units, std::size_t count, Marks* rows) noexcept {
#ifdef MORAINE_AVX2
    if (text::kernels::hasAvx2()) {
        avx2::markAll(units, count, rows);
        return;
    }
#endif
    for (std::size_t i = 0; i < count; ++i) {
        rows[i] = baseline::mark(units + i * markedUnits);
    }
}

}  // namespace marks
}  // namespace moraine::xml
