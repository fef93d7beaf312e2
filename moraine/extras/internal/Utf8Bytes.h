#pragma once

#include <cstdint>
#include <cstring>

#include "moraine/text/WideChar.h"

/// @file
/// UTF-8 (RFC 3629) and UTF-16, character by character.

namespace moraine::extras {

constexpr bool isSurrogate(char32_t unit) {
    return (unit & 0xfffff800) == 0xd800;
}
constexpr bool isHighSurrogate(char32_t unit) {
    return (unit & 0xfffffc00) == 0xd800;
}
constexpr bool isLowSurrogate(char32_t unit) {
    return (unit & 0xfffffc00) == 0xdc00;
}

/// The character of a pair.
constexpr char32_t joined(char32_t high, char32_t low) {
    return 0x10000 + ((high - 0xd800) << 10) + (low - 0xdc00);
}
/// The two halves of a character beyond U+FFFF.
constexpr WideChar highHalf(char32_t character) {
    return static_cast<WideChar>(0xd7c0 + (character >> 10));
}
constexpr WideChar lowHalf(char32_t character) {
    return static_cast<WideChar>(0xdc00 + (character & 0x3ff));
}

/// The most bytes that `putUtf8` and `putUnits` write.
constexpr std::size_t longestCharacter = 6;

/// Writes the UTF-8 form of a character, or of half a pair in the way of the library's encoder; returns its end.
inline char* putUtf8(char* to, char32_t c) {
    const auto tail = [](char32_t bits) { return static_cast<char>(0x80 | (bits & 0x3f)); };
    if (c < 0x80) {
        *to++ = static_cast<char>(c);
    } else if (c < 0x800) {
        *to++ = static_cast<char>(0xc0 | (c >> 6));
        *to++ = tail(c);
    } else if (c < 0x10000) {
        *to++ = static_cast<char>(0xe0 | (c >> 12));
        *to++ = tail(c >> 6);
        *to++ = tail(c);
    } else {
        *to++ = static_cast<char>(0xf0 | (c >> 18));
        *to++ = tail(c >> 12);
        *to++ = tail(c >> 6);
        *to++ = tail(c);
    }
    return to;
}

/// Writes a character in the form that the library's decoder takes, unit by unit; returns its end.
inline char* putUnits(char* to, char32_t c) {
    return c < 0x10000 ? putUtf8(to, c) : putUtf8(putUtf8(to, highHalf(c)), lowHalf(c));
}

template <class Target>
void appendUtf8(Target& target, char32_t character) {
    char bytes[longestCharacter];
    target.append(bytes, static_cast<std::size_t>(putUtf8(bytes, character) - bytes));
}

inline void appendUtf16(WideString& target, char32_t character) {
    if (character >= 0x10000) {
        target.push_back(highHalf(character));
        character = lowHalf(character);
    }
    target.push_back(static_cast<WideChar>(character));
}

/// The first byte from 0x80 up, or @p end.
inline const char* findNotAscii(const char* at, const char* end) {
    for (std::uint64_t word = 0; end - at >= 8; at += 8) {
        std::memcpy(&word, at, 8);
        if ((word & 0x8080808080808080U) != 0) {
            break;
        }
    }
    while (at != end && static_cast<signed char>(*at) >= 0) {
        ++at;
    }
    return at;
}

/// What stands at a place in UTF-8 bytes.
struct Sequence {
    enum State {
        good,
        malformed,  // the bytes are a maximal subpart: what could have begun a sequence, and at least one byte
        unfinished  // the bytes begin a sequence, but end within it
    };
    State state;
    unsigned int length;
    char32_t character;
};

/// Reads the sequence at @p at, which is before @p end.
inline Sequence sequenceAt(const char* at, const char* end) {
    const auto byte = [at](unsigned int i) { return static_cast<unsigned char>(at[i]); };
    const unsigned char lead = byte(0);
    if (lead < 0x80) {
        return {Sequence::good, 1, lead};
    }
    if (lead < 0xc2 || lead > 0xf4) {
        return {Sequence::malformed, 1, 0};
    }
    const unsigned int length = lead < 0xe0 ? 2 : lead < 0xf0 ? 3 : 4;
    // The second byte has a narrower range after some leads: no overlong forms, no surrogates, nothing too large.
    const unsigned char low = lead == 0xe0 ? 0xa0 : lead == 0xf0 ? 0x90 : 0x80;
    const unsigned char high = lead == 0xed ? 0x9f : lead == 0xf4 ? 0x8f : 0xbf;
    char32_t character = lead & (0xffU >> (length + 1));
    for (unsigned int i = 1; i < length; ++i) {
        if (end - at == static_cast<std::ptrdiff_t>(i)) {
            return {Sequence::unfinished, i, 0};
        }
        if (byte(i) < (i == 1 ? low : 0x80) || byte(i) > (i == 1 ? high : 0xbf)) {
            return {Sequence::malformed, i, 0};
        }
        character = character << 6 | (byte(i) & 0x3fU);
    }
    return {Sequence::good, length, character};
}

}  // namespace moraine::extras
