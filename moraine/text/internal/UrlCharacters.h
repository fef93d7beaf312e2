#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "moraine/text/internal/HexDigits.h"

namespace moraine::text::url {

inline constexpr std::string_view unreserved =
    "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-_.!~*'()";
inline constexpr std::string_view otherReserved = "$&,/:;=?@";  // than "+"

/// What the encoder writes for a byte or a unit, in a room that is copied as a whole.
template <std::size_t Room>
struct Form {
    char text[Room - 1];
    std::uint8_t size;
};

using ByteForm = Form<4>;
using UnitForm = Form<8>;

constexpr std::array<ByteForm, 256> makeEscapes() {
    std::array<ByteForm, 256> escapes{};
    for (unsigned int byte = 0; byte < 256; ++byte) {
        escapes[byte] = {{'%', hexDigits[byte >> 4], hexDigits[byte & 15]}, 3};
    }
    return escapes;
}

/// Each byte as an escape.
inline constexpr std::array<ByteForm, 256> escapes = makeEscapes();

constexpr std::array<ByteForm, 256> makeByteForms() {
    std::array<ByteForm, 256> forms = escapes;
    for (const char c : unreserved) {
        forms[static_cast<unsigned char>(c)] = {{c}, 1};
    }
    forms[' '] = {{'+'}, 1};
    return forms;
}

inline constexpr std::array<ByteForm, 256> byteForms = makeByteForms();

constexpr std::array<UnitForm, 128> makeUnitForms() {
    std::array<UnitForm, 128> forms{};
    for (unsigned int unit = 0; unit < 128; ++unit) {
        const auto& [text, size] = byteForms[unit];
        forms[unit] = {{text[0]}, 1};
        if (size != 1) {
            forms[unit] = {{'%', '0', '0', text[0], text[1], text[2]}, 6};
        }
    }
    return forms;
}

/// The forms of the units that most text consists of.
inline constexpr std::array<UnitForm, 128> unitForms = makeUnitForms();

/// Whether the encoder writes one character for a byte and no escape.
constexpr bool isPlain(unsigned char byte) noexcept {
    return byteForms[byte].size == 1;
}

/// What an unescaped byte stands for in text; 0 for one that must not stand there, and for "%".
constexpr std::array<char, 256> makeAccepted() {
    std::array<char, 256> accepted{};
    for (const std::string_view set : {unreserved, otherReserved}) {
        for (const char c : set) {
            accepted[static_cast<unsigned char>(c)] = c;
        }
    }
    accepted['+'] = ' ';
    return accepted;
}

inline constexpr std::array<char, 256> accepted = makeAccepted();

constexpr bool isAccepted(unsigned char byte) noexcept {
    return accepted[byte] != 0;
}

constexpr std::array<short, 256> makeDigitValues() {
    std::array<short, 256> values{};
    for (short& value : values) {
        value = -1;
    }
    short next = 0;
    for (const char c : hexDigits) {
        values[static_cast<unsigned char>(c)] = next++;
    }
    return values;
}

inline constexpr std::array<short, 256> digitValues = makeDigitValues();

inline bool areHexDigits(const char* two) noexcept {
    return hexValue(two[0]) >= 0 && hexValue(two[1]) >= 0;
}

/// The value of two upper-case digits; negative if one is something else.
inline int escapeValue(const char* two) noexcept {
    const int high = digitValues[static_cast<unsigned char>(two[0])];
    const int low = digitValues[static_cast<unsigned char>(two[1])];
    return high * 16 | low;
}

}  // namespace moraine::text::url
