#pragma once

#include <cstddef>
#include <cstring>

#include "moraine/text/WideChar.h"

#if defined(__SSE2__) && !defined(MORAINE_NO_VECTOR_CODE)
#include <emmintrin.h>
#endif

/// @file
/// The searches and copies that most of the library's time goes into. The functions of `scan::scalar` say what each
/// does; where the machine has wide registers, a twin of the same name takes their place with the same results.

namespace moraine::text::scan {

namespace scalar {

/// The index of the first unit equal to @p wanted, or @p length if there is none.
inline std::size_t find(const WideChar* text, std::size_t length, WideChar wanted) noexcept {
    std::size_t at = 0;
    while (at < length && text[at] != wanted) {
        ++at;
    }
    return at;
}

/// The number of units that `differing` and `equalTo` look at.
constexpr std::size_t blockSize = 16;

/// The places among 16 units at which two texts differ: bit N for unit N.
template <class Unit>
unsigned int differing(const Unit* one, const Unit* other) noexcept {
    unsigned int places = 0;
    for (unsigned int i = 0; i < blockSize; ++i) {
        places |= static_cast<unsigned int>(one[i] != other[i]) << i;
    }
    return places;
}

/// The places among 16 units that hold @p wanted: bit N for unit N.
template <class Unit>
unsigned int equalTo(const Unit* text, Unit wanted) noexcept {
    unsigned int places = 0;
    for (unsigned int i = 0; i < blockSize; ++i) {
        places |= static_cast<unsigned int>(text[i] == wanted) << i;
    }
    return places;
}

/// The index of the first unit equal to one of two, or @p length if there is none.
inline std::size_t findEither(const WideChar* text, std::size_t length, WideChar one, WideChar other) noexcept {
    std::size_t at = 0;
    while (at < length && text[at] != one && text[at] != other) {
        ++at;
    }
    return at;
}

/// Whether a unit is white-space to XML: blank, tab, line feed or carriage return.
inline bool isWhite(WideChar unit) noexcept {
    return unit == u' ' || unit == u'\n' || unit == u'\t' || unit == u'\r';
}

/// The index of the first unit that is no white-space, or @p length if there is none.
inline std::size_t findSolid(const WideChar* text, std::size_t length) noexcept {
    std::size_t at = 0;
    while (at < length && isWhite(text[at])) {
        ++at;
    }
    return at;
}

/// Whether a unit has no part in what a tag is made of: brackets, quotes, "=", "&", white-space and zero. Some units
/// that are rare in names are not among these either, so that two ranges tell.
inline bool isNameUnit(WideChar unit) noexcept {
    return unit >= u'-' && (unit < u';' || unit > u'>');
}

/// The index of the first unit that is no name unit, or @p length if there is none.
inline std::size_t findNameEnd(const WideChar* text, std::size_t length) noexcept {
    std::size_t at = 0;
    while (at < length && isNameUnit(text[at])) {
        ++at;
    }
    return at;
}

/// Whether markup writes this unit as a reference: `&`, `<`, `>` and the two quotes.
inline bool isReserved(WideChar unit) noexcept {
    return unit == u'&' || unit == u'<' || unit == u'>' || unit == u'\'' || unit == u'"';
}

/// The index of the first unit that markup writes as a reference, or @p length if there is none.
inline std::size_t findReserved(const WideChar* text, std::size_t length) noexcept {
    std::size_t at = 0;
    while (at < length && !isReserved(text[at])) {
        ++at;
    }
    return at;
}

/// Copies bytes below 0x80 to units up to the first byte that is not; returns how many were copied.
inline std::size_t widenAscii(const char* bytes, std::size_t length, WideChar* target) noexcept {
    std::size_t at = 0;
    for (; at < length && static_cast<unsigned char>(bytes[at]) < 0x80; ++at) {
        target[at] = static_cast<WideChar>(bytes[at]);
    }
    return at;
}

/// Copies units below 0x80 to bytes up to the first unit that is not; returns how many were copied.
inline std::size_t narrowAscii(const WideChar* text, std::size_t length, char* target) noexcept {
    std::size_t at = 0;
    for (; at < length && text[at] < 0x80; ++at) {
        target[at] = static_cast<char>(text[at]);
    }
    return at;
}

}  // namespace scalar

using scalar::blockSize;
using scalar::isWhite;

#if defined(__SSE2__) && !defined(MORAINE_NO_VECTOR_CODE)

// Each twin takes whole registers while they fit and leaves the rest, and the exact place of a hit, to the scalar
// function. Loads are unaligned and stay inside the text. A register holds 8 units or 16 bytes.

inline __m128i load(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

/// The index of the first hit in a comparison of 8 units.
inline std::size_t firstHit(int mask) noexcept {
    return static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(mask))) / 2;
}

inline std::size_t find(const WideChar* text, std::size_t length, WideChar wanted) noexcept {
    const __m128i pattern = _mm_set1_epi16(static_cast<short>(wanted));
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const int mask = _mm_movemask_epi8(_mm_cmpeq_epi16(load(text + at), pattern));
        if (mask != 0) {
            return at + firstHit(mask);
        }
    }
    return at + scalar::find(text + at, length - at, wanted);
}

/// A bit for each of 16 comparisons of bytes.
inline unsigned int bitsOf(__m128i comparison) noexcept {
    return static_cast<unsigned int>(_mm_movemask_epi8(comparison));
}

inline unsigned int differing(const char* one, const char* other) noexcept {
    return bitsOf(_mm_cmpeq_epi8(load(one), load(other))) ^ 0xFFFF;
}

inline unsigned int differing(const WideChar* one, const WideChar* other) noexcept {
    return bitsOf(_mm_packs_epi16(_mm_cmpeq_epi16(load(one), load(other)),
                                  _mm_cmpeq_epi16(load(one + 8), load(other + 8)))) ^
           0xFFFF;
}

inline unsigned int equalTo(const char* text, char wanted) noexcept {
    return bitsOf(_mm_cmpeq_epi8(load(text), _mm_set1_epi8(wanted)));
}

inline unsigned int equalTo(const WideChar* text, WideChar wanted) noexcept {
    const __m128i pattern = _mm_set1_epi16(static_cast<short>(wanted));
    return bitsOf(_mm_packs_epi16(_mm_cmpeq_epi16(load(text), pattern), _mm_cmpeq_epi16(load(text + 8), pattern)));
}

inline std::size_t findEither(const WideChar* text, std::size_t length, WideChar one, WideChar other) noexcept {
    const __m128i first = _mm_set1_epi16(static_cast<short>(one));
    const __m128i second = _mm_set1_epi16(static_cast<short>(other));
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(units, first), _mm_cmpeq_epi16(units, second)));
        if (mask != 0) {
            return at + firstHit(mask);
        }
    }
    return at + scalar::findEither(text + at, length - at, one, other);
}

/// All bits of those units that are equal to one.
inline __m128i matches(__m128i units, WideChar unit) noexcept {
    return _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(unit)));
}

inline std::size_t findSolid(const WideChar* text, std::size_t length) noexcept {
    // Mostly there is no white-space at all.
    if (length == 0 || !scalar::isWhite(*text)) {
        return 0;
    }
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const __m128i lines = _mm_or_si128(matches(units, u'\n'), matches(units, u'\r'));
        const __m128i blanks = _mm_or_si128(matches(units, u' '), matches(units, u'\t'));
        const int mask = _mm_movemask_epi8(_mm_or_si128(lines, blanks));
        if (mask != 0xFFFF) {
            return at + firstHit(~mask);
        }
    }
    return at + scalar::findSolid(text + at, length - at);
}

inline std::size_t findNameEnd(const WideChar* text, std::size_t length) noexcept {
    const __m128i zero = _mm_setzero_si128();
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const __m128i low = _mm_subs_epu16(units, _mm_set1_epi16(u'-' - 1));
        const __m128i brackets =
            _mm_subs_epu16(_mm_sub_epi16(units, _mm_set1_epi16(u';')), _mm_set1_epi16(u'>' - u';'));
        const int mask = _mm_movemask_epi8(_mm_or_si128(_mm_cmpeq_epi16(low, zero), _mm_cmpeq_epi16(brackets, zero)));
        if (mask != 0) {
            return at + firstHit(mask);
        }
    }
    return at + scalar::findNameEnd(text + at, length - at);
}

inline std::size_t findReserved(const WideChar* text, std::size_t length) noexcept {
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const __m128i brackets = _mm_or_si128(matches(units, u'<'), matches(units, u'>'));
        const __m128i quotes = _mm_or_si128(matches(units, u'\''), matches(units, u'"'));
        const __m128i hits = _mm_or_si128(matches(units, u'&'), _mm_or_si128(brackets, quotes));
        const int mask = _mm_movemask_epi8(hits);
        if (mask != 0) {
            return at + firstHit(mask);
        }
    }
    return at + scalar::findReserved(text + at, length - at);
}

inline std::size_t widenAscii(const char* bytes, std::size_t length, WideChar* target) noexcept {
    const __m128i zero = _mm_setzero_si128();
    std::size_t at = 0;
    for (; length - at >= 16; at += 16) {
        const __m128i block = load(bytes + at);
        if (_mm_movemask_epi8(block) != 0) {
            break;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + at), _mm_unpacklo_epi8(block, zero));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + at + 8), _mm_unpackhi_epi8(block, zero));
    }
    return at + scalar::widenAscii(bytes + at, length - at, target + at);
}

inline std::size_t narrowAscii(const WideChar* text, std::size_t length, char* target) noexcept {
    const __m128i beyond = _mm_set1_epi16(static_cast<short>(0xFF80));
    const __m128i zero = _mm_setzero_si128();
    std::size_t at = 0;
    for (; length - at >= 16; at += 16) {
        const __m128i low = load(text + at);
        const __m128i high = load(text + at + 8);
        const __m128i outside = _mm_and_si128(_mm_or_si128(low, high), beyond);
        if (_mm_movemask_epi8(_mm_cmpeq_epi16(outside, zero)) != 0xFFFF) {
            break;
        }
        _mm_storeu_si128(reinterpret_cast<__m128i*>(target + at), _mm_packus_epi16(low, high));
    }
    return at + scalar::narrowAscii(text + at, length - at, target + at);
}

#else

using scalar::differing;
using scalar::equalTo;
using scalar::find;
using scalar::findEither;
using scalar::findNameEnd;
using scalar::findReserved;
using scalar::findSolid;
using scalar::narrowAscii;
using scalar::widenAscii;

#endif

}  // namespace moraine::text::scan
