#pragma once

#include <array>

/// @file
/// The characters of XML 1.0, fifth edition.

namespace moraine::extras {

/// Char (2.2).
constexpr bool isXmlCharacter(char32_t c) {
    return c < 0x20 ? c == 9 || c == 10 || c == 13
                    : c < 0xd800 || (c >= 0xe000 && c < 0xfffe) || (c >= 0x10000 && c < 0x110000);
}

/// NameStartChar (2.3) from U+0080 up.
constexpr bool startsName(char32_t c) {
    struct Range {
        char32_t first, last;
    };
    constexpr Range ranges[] = {{0xc0, 0xd6},     {0xd8, 0xf6},     {0xf8, 0x2ff},    {0x370, 0x37d},
                                {0x37f, 0x1fff},  {0x200c, 0x200d}, {0x2070, 0x218f}, {0x2c00, 0x2fef},
                                {0x3001, 0xd7ff}, {0xf900, 0xfdcf}, {0xfdf0, 0xfffd}, {0x10000, 0xeffff}};
    for (const Range& range : ranges) {
        if (c <= range.last) {
            return c >= range.first;
        }
    }
    return false;
}

/// NameChar (2.3) from U+0080 up.
constexpr bool goesOnName(char32_t c) {
    return startsName(c) || c == 0xb7 || (c >= 0x300 && c <= 0x36f) || c == 0x203f || c == 0x2040;
}

/// What a byte below 0x80 may be, as bits.
enum ByteKind : unsigned char { nameStart = 1, nameByte = 2, whiteByte = 4 };

constexpr auto byteKinds = [] {
    std::array<unsigned char, 256> kinds{};
    for (unsigned int c = 0; c < 128; ++c) {
        const bool letter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_' || c == ':';
        const bool other = (c >= '0' && c <= '9') || c == '-' || c == '.';
        const bool white = c == ' ' || c == '\t' || c == '\n' || c == '\r';
        kinds[c] = static_cast<unsigned char>((letter ? nameStart | nameByte : 0) | (other ? nameByte : 0) |
                                              (white ? whiteByte : 0));
    }
    return kinds;
}();

constexpr bool isKind(char byte, ByteKind kind) {
    return (byteKinds[static_cast<unsigned char>(byte)] & kind) != 0;
}

constexpr bool isWhite(char32_t c) {
    return c == ' ' || c == '\t' || c == '\n' || c == '\r';
}

}  // namespace moraine::extras
