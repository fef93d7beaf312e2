#pragma once

#include <cstddef>
#include <cstring>
#include <string_view>

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

// Each twin takes whole registers while they fit. What is left then is shorter than a register: the last register of
// the text holds it, together with some of what has been seen already, and so does a half or a quarter of one in a text
// that is shorter itself. Loads are unaligned and stay inside the text. A register holds 8 units or 16 bytes.

inline __m128i load(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

/// Loads half a register, and zeros.
inline __m128i loadHalf(const void* from) noexcept {
    return _mm_loadl_epi64(static_cast<const __m128i*>(from));
}

inline void store(void* to, __m128i value) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

inline void storeHalf(void* to, __m128i value) noexcept {
    _mm_storel_epi64(static_cast<__m128i*>(to), value);
}

/// Which of 8 units are equal to one.
inline __m128i areEqual(__m128i units, WideChar wanted) noexcept {
    return _mm_cmpeq_epi16(units, _mm_set1_epi16(static_cast<short>(wanted)));
}

/// The index of the first hit in a comparison of 8 units.
inline std::size_t firstHit(unsigned int mask) noexcept {
    return static_cast<std::size_t>(__builtin_ctz(mask)) / 2;
}

/// The index of the first unit that matches, or @p length if there is none. Of 8 units @p matching gives all bits of
/// those that match and no bit of the others; @p matches tells it of one unit.
template <class Matching, class Matches>
std::size_t findFirst(const WideChar* text, std::size_t length, Matching matching, Matches matches) noexcept {
    const auto hits = [&](__m128i units) { return static_cast<unsigned int>(_mm_movemask_epi8(matching(units))); };
    std::size_t at = 0;
    if (length >= 8) {
        for (; length - at >= 32; at += 32) {
            const __m128i low = _mm_or_si128(matching(load(text + at)), matching(load(text + at + 8)));
            const __m128i high = _mm_or_si128(matching(load(text + at + 16)), matching(load(text + at + 24)));
            if (_mm_movemask_epi8(_mm_or_si128(low, high)) != 0) {
                break;
            }
        }
        for (; length - at > 8; at += 8) {
            if (const unsigned int mask = hits(load(text + at))) {
                return at + firstHit(mask);
            }
        }
        const unsigned int mask = hits(load(text + length - 8));
        return mask != 0 ? length - 8 + firstHit(mask) : length;
    }
    if (length >= 4) {
        const unsigned int mask = hits(_mm_unpacklo_epi64(loadHalf(text), loadHalf(text + length - 4)));
        const std::size_t place = mask != 0 ? firstHit(mask) : length;
        return mask == 0 || place < 4 ? place : place + length - 8;
    }
    while (at < length && !matches(text[at])) {
        ++at;
    }
    return at;
}

inline std::size_t find(const WideChar* text, std::size_t length, WideChar wanted) noexcept {
    return findFirst(
        text, length, [=](__m128i units) { return areEqual(units, wanted); },
        [=](WideChar unit) { return unit == wanted; });
}

/// Which of 16 bytes markup writes as references.
inline __m128i areReservedBytes(__m128i bytes) noexcept {
    const auto equal = [](__m128i some, int wanted) {
        return _mm_cmpeq_epi8(some, _mm_set1_epi8(static_cast<char>(wanted)));
    };
    // `&` differs from the single quote in one bit, and so does `<` from `>`.
    const __m128i ampersands = equal(_mm_or_si128(bytes, _mm_set1_epi8(u'&' ^ u'\'')), u'&' | u'\'');
    const __m128i brackets = equal(_mm_or_si128(bytes, _mm_set1_epi8(u'<' ^ u'>')), u'<' | u'>');
    return _mm_or_si128(equal(bytes, u'"'), _mm_or_si128(ampersands, brackets));
}

/// Which of 8 units markup writes as references. Units that fit into no byte become 0 or 0xFF.
inline __m128i areReserved(__m128i units) noexcept {
    const __m128i reserved = areReservedBytes(_mm_packus_epi16(units, units));
    return _mm_unpacklo_epi8(reserved, reserved);
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
    return findFirst(
        text, length, [=](__m128i units) { return _mm_or_si128(areEqual(units, one), areEqual(units, other)); },
        [=](WideChar unit) { return unit == one || unit == other; });
}

inline std::size_t findSolid(const WideChar* text, std::size_t length) noexcept {
    // Mostly there is no white-space at all.
    if (length == 0 || !scalar::isWhite(*text)) {
        return 0;
    }
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const __m128i lines = _mm_or_si128(areEqual(units, u'\n'), areEqual(units, u'\r'));
        const __m128i blanks = _mm_or_si128(areEqual(units, u' '), areEqual(units, u'\t'));
        const auto mask = static_cast<unsigned int>(_mm_movemask_epi8(_mm_or_si128(lines, blanks)));
        if (mask != 0xFFFF) {
            return at + firstHit(~mask);
        }
    }
    return at + scalar::findSolid(text + at, length - at);
}

inline std::size_t findNameEnd(const WideChar* text, std::size_t length) noexcept {
    // Whether units are at most a given one: what is left of them above it is nothing.
    const auto atMost = [](__m128i units, WideChar unit) {
        return _mm_cmpeq_epi16(_mm_subs_epu16(units, _mm_set1_epi16(static_cast<short>(unit))), _mm_setzero_si128());
    };
    std::size_t at = 0;
    for (; length - at >= 8; at += 8) {
        const __m128i units = load(text + at);
        const __m128i brackets = _mm_andnot_si128(atMost(units, u':'), atMost(units, u'>'));
        const __m128i hits = _mm_or_si128(atMost(units, u','), brackets);
        if (const auto mask = static_cast<unsigned int>(_mm_movemask_epi8(hits))) {
            return at + firstHit(mask);
        }
    }
    return at + scalar::findNameEnd(text + at, length - at);
}

inline std::size_t findReserved(const WideChar* text, std::size_t length) noexcept {
    std::size_t at = 0;
    for (; length - at >= 32; at += 32) {
        const __m128i low = areReservedBytes(_mm_packus_epi16(load(text + at), load(text + at + 8)));
        const __m128i high = areReservedBytes(_mm_packus_epi16(load(text + at + 16), load(text + at + 24)));
        if (_mm_movemask_epi8(_mm_or_si128(low, high)) != 0) {
            break;
        }
    }
    return at + findFirst(
                    text + at, length - at, [](__m128i units) { return areReserved(units); },
                    [](WideChar unit) { return scalar::isReserved(unit); });
}

/// Converts @p length elements by whole registers of 16 elements, or by halves if there are fewer. Of an element's
/// number on, @p whole and @p half convert so many, or none, which they tell, if they cannot convert all. Returns how
/// many were converted.
template <class Whole, class Half>
std::size_t convertRegisters(std::size_t length, Whole whole, Half half) noexcept {
    std::size_t at = 0;
    if (length >= 16) {
        while (length - at > 16 && whole(at)) {
            at += 16;
        }
        return length - at <= 16 && whole(length - 16) ? length : at;
    }
    if (length >= 8 && half(at)) {
        return half(length - 8) ? length : 8;
    }
    return at;
}

inline std::size_t widenAscii(const char* bytes, std::size_t length, WideChar* target) noexcept {
    const __m128i zero = _mm_setzero_si128();
    const auto whole = [=](std::size_t at) {
        const __m128i block = load(bytes + at);
        const bool areAscii = _mm_movemask_epi8(block) == 0;
        if (areAscii) {
            store(target + at, _mm_unpacklo_epi8(block, zero));
            store(target + at + 8, _mm_unpackhi_epi8(block, zero));
        }
        return areAscii;
    };
    const auto half = [=](std::size_t at) {
        const __m128i block = loadHalf(bytes + at);
        const bool areAscii = _mm_movemask_epi8(block) == 0;
        if (areAscii) {
            store(target + at, _mm_unpacklo_epi8(block, zero));
        }
        return areAscii;
    };
    const std::size_t at = convertRegisters(length, whole, half);
    return at + scalar::widenAscii(bytes + at, length - at, target + at);
}

inline std::size_t narrowAscii(const WideChar* text, std::size_t length, char* target) noexcept {
    const auto ascii = [](__m128i units) {
        const __m128i beyond = _mm_and_si128(units, _mm_set1_epi16(static_cast<short>(0xFF80)));
        return _mm_movemask_epi8(areEqual(beyond, 0)) == 0xFFFF;
    };
    const auto whole = [=](std::size_t at) {
        const __m128i low = load(text + at);
        const __m128i high = load(text + at + 8);
        const bool areAscii = ascii(_mm_or_si128(low, high));
        if (areAscii) {
            store(target + at, _mm_packus_epi16(low, high));
        }
        return areAscii;
    };
    const auto half = [=](std::size_t at) {
        const __m128i units = load(text + at);
        const bool areAscii = ascii(units);
        if (areAscii) {
            storeHalf(target + at, _mm_packus_epi16(units, units));
        }
        return areAscii;
    };
    const std::size_t at = convertRegisters(length, whole, half);
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

/// Whether a text comes before another in the order of their units, one that the other begins with first.
inline bool precedes(std::u16string_view left, std::u16string_view right) noexcept {
    const std::size_t common = left.size() < right.size() ? left.size() : right.size();
    std::size_t at = 0;
    for (; common - at >= blockSize; at += blockSize) {
        if (const unsigned int places = differing(left.data() + at, right.data() + at)) {
            at += static_cast<std::size_t>(__builtin_ctz(places));
            return left[at] < right[at];
        }
    }
    while (at < common && left[at] == right[at]) {
        ++at;
    }
    return at == common ? left.size() < right.size() : left[at] < right[at];
}

}  // namespace moraine::text::scan
