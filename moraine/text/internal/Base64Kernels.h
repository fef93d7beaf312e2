#pragma once

#include <array>
#include <cstddef>
#include <string_view>

#include "moraine/text/internal/Avx2.h"
#include "moraine/text/internal/Walk.h"
#include "moraine/text/WideChar.h"

/// @file
/// The loops of the Base64 codecs.

namespace moraine::text::kernels {

inline constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
inline constexpr signed char noBase64Value = -1;

constexpr std::array<signed char, 256> makeBase64Values() {
    std::array<signed char, 256> values{};
    for (signed char& value : values) {
        value = noBase64Value;
    }
    signed char next = 0;
    for (const char digit : base64Digits) {
        values[static_cast<unsigned char>(digit)] = next++;
    }
    return values;
}

inline constexpr std::array<signed char, 256> base64Values = makeBase64Values();

/// The 6-bit value of a character; `noBase64Value` if it has none.
inline int base64Value(char c) noexcept {
    return base64Values[static_cast<unsigned char>(c)];
}

constexpr bool hasBase64Value(unsigned char c) noexcept {
    return base64Values[c] != noBase64Value;
}

/// Passes over one CR LF pair; returns whether there was one.
template <class Element>
bool passLineEnd(Walk<Element>& walk) noexcept {
    const bool isLineEnd = walk.left() >= 2 && walk.at[0] == '\r' && walk.at[1] == '\n';
    walk.at += isLineEnd ? 2 : 0;
    return isLineEnd;
}

namespace scalar {

/// Writes 4 Base64 characters for each of @p groups groups of 3 bytes.
inline void encodeBase64(const unsigned char* bytes, std::size_t groups, char* out) noexcept {
    for (; groups > 0; --groups, bytes += 3, out += 4) {
        out[0] = base64Digits[bytes[0] >> 2];
        out[1] = base64Digits[(bytes[0] & 3U) << 4 | bytes[1] >> 4];
        out[2] = base64Digits[(bytes[1] & 15U) << 2 | bytes[2] >> 6];
        out[3] = base64Digits[bytes[2] & 63U];
    }
}

/// Decodes groups of 4 Base64 characters to 3 elements each, which are bytes or units from 0 to 255, and passes over CR
/// LF pairs between them. Stands before the first group that is broken by a CR LF pair, by a character without
/// value or by the walk's end. There is room for 3 elements for each 4 bytes.
template <class Element>
void decodeBase64(Walk<Element>& walk) noexcept {
    while (walk.left() >= 4) {
        const int a = base64Value(walk.at[0]);
        const int b = base64Value(walk.at[1]);
        const int c = base64Value(walk.at[2]);
        const int d = base64Value(walk.at[3]);
        if ((a | b | c | d) >= 0) {
            const auto bits = static_cast<unsigned int>(a << 18 | b << 12 | c << 6 | d);
            walk.out[0] = static_cast<Element>(bits >> 16 & 0xFF);
            walk.out[1] = static_cast<Element>(bits >> 8 & 0xFF);
            walk.out[2] = static_cast<Element>(bits & 0xFF);
            walk.at += 4;
            walk.out += 3;
        } else if (!passLineEnd(walk)) {
            return;
        }
    }
}

}  // namespace scalar
}  // namespace moraine::text::kernels

#ifdef MORAINE_AVX2
#include "moraine/text/internal/Base64KernelsAvx2.h"
#endif

namespace moraine::text::kernels {

inline void encodeBase64(const unsigned char* bytes, std::size_t groups, char* out) noexcept {
    hasAvx2() ? avx2::encodeBase64(bytes, groups, out) : scalar::encodeBase64(bytes, groups, out);
}

template <class Element>
void decodeBase64(Walk<Element>& walk) noexcept {
    hasAvx2() ? avx2::decodeBase64(walk) : scalar::decodeBase64(walk);
}

}  // namespace moraine::text::kernels
