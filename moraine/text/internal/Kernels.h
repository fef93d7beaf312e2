#pragma once

#include <array>
#include <cstddef>
#include <cstring>
#include <string_view>

#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UrlCharacters.h"
#include "moraine/text/WideChar.h"

/// @file
/// The loops that the codecs spend their time in. The functions of `kernels::scalar` say what each does and are the
/// truth; where the machine has registers of 32 bytes, a twin of the same name in `KernelsAvx2.h` takes their place
/// with the same results.

namespace moraine::text::kernels {

/// A walk over bytes that are decoded: where it stands.
template <class Element>
struct Walk {
    const char* at = nullptr;
    const char* end = nullptr;
    Element* out = nullptr;  ///< has room for an element for each byte from @p at on, if nothing else is said

    [[nodiscard]] std::size_t left() const noexcept { return static_cast<std::size_t>(end - at); }
};

struct Utf8Walk : Walk<WideChar> {
    const WideChar* zero = nullptr;  ///< the first zero unit that was made
};

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

/// The length of the sequence that a byte from 0x80 up leads; 1 for a byte that leads none.
inline std::size_t sequenceLength(unsigned char lead) noexcept {
    if (lead < 0xC0 || lead >= 0xF8) {
        return 1;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// The unit that the last @p count bytes of a sequence spell below the bits of what stands in front of them. Bits
/// beyond 16 fall away.
inline WideChar spelled(unsigned int bits, const char* trail, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        bits = bits << 6 | (static_cast<unsigned char>(trail[i]) & 0x3F);
    }
    return static_cast<WideChar>(bits);
}

/// Decodes the sequences that start in front of @p stop, which may be the walk's end. Stands in front of an
/// incomplete one at the end, and otherwise at @p stop or up to three bytes behind it.
inline void decodeUtf8(Utf8Walk& walk, const char* stop) noexcept {
    while (walk.at < stop) {
        const auto lead = static_cast<unsigned char>(*walk.at);
        std::size_t size = 0;  // bytes
        std::size_t made = 1;  // units
        if (lead < 0x80) {
            size = made = scan::widenAscii(walk.at, static_cast<std::size_t>(stop - walk.at), walk.out);
        } else {
            size = sequenceLength(lead);
            if (size > walk.left()) {
                return;
            }
            made = size > 1 ? 1 : 0;
            *walk.out = spelled(lead & (0x7FU >> size), walk.at + 1, size - 1);
        }
        if (walk.zero == nullptr) {
            const std::size_t zero = scan::find(walk.out, made, 0);
            walk.zero = zero < made ? walk.out + zero : nullptr;
        }
        walk.at += size;
        walk.out += made;
    }
}

using scan::narrowAscii;

/// The number of bytes that `encodeUtf8` writes.
inline std::size_t utf8Size(const WideChar* text, std::size_t length) noexcept {
    std::size_t size = length;
    for (std::size_t i = 0; i < length; ++i) {
        size += static_cast<std::size_t>(text[i] >= 0x80) + static_cast<std::size_t>(text[i] >= 0x800);
    }
    return size;
}

inline char trailByte(unsigned int bits) noexcept {
    return static_cast<char>(0x80 | (bits & 0x3F));
}

/// Writes each unit as one to three bytes of UTF-8.
inline void encodeUtf8(const WideChar* text, std::size_t length, char* out) noexcept {
    const WideChar* const end = text + length;
    while (text < end) {
        const WideChar unit = *text;
        if (unit < 0x80) {
            const std::size_t run = scan::narrowAscii(text, static_cast<std::size_t>(end - text), out);
            text += run;
            out += run;
            continue;
        }
        if (unit < 0x800) {
            *out++ = static_cast<char>(0xC0 | (unit >> 6));
        } else {
            *out++ = static_cast<char>(0xE0 | (unit >> 12));
            *out++ = trailByte(unit >> 6);
        }
        *out++ = trailByte(unit);
        ++text;
    }
}

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
/// LF pairs between them. Stands in front of the first group that is broken by a CR LF pair, by a character without
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

/// The number of units for which the URL form has one character and no escape.
template <class Unit>
std::size_t countPlain(const Unit* text, std::size_t length) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        count += text[i] <= 0xFF && url::isPlain(static_cast<unsigned char>(text[i])) ? 1 : 0;
    }
    return count;
}

/// Decodes an escape that is complete. Stays in front of it and returns false, if it has a bad digit.
inline bool decodeEscape(Walk<char>& walk) noexcept {
    const int value = url::escapeValue(walk.at + 1);
    if (value < 0) {
        return false;
    }
    *walk.out++ = static_cast<char>(value);
    walk.at += 3;
    return true;
}

/// Decodes an escape, or a pair of escapes, which 5 bytes follow at least.
inline bool decodeEscape(Walk<WideChar>& walk) noexcept {
    const bool isPair = walk.at[3] == '%' && url::areHexDigits(walk.at + 4);
    const int high = isPair ? url::escapeValue(walk.at + 1) : 0;
    const int low = url::escapeValue(walk.at + (isPair ? 4 : 1));
    if ((high | low) < 0) {
        return false;
    }
    *walk.out++ = static_cast<WideChar>(high << 8 | low);
    walk.at += isPair ? 6 : 3;
    return true;
}

/// Decodes the URL form of bytes. Stands at the end, or in front of an escape with a bad digit or with fewer than two
/// bytes behind it.
inline void decodeUrl(Walk<char>& walk) noexcept {
    while (walk.at < walk.end) {
        if (*walk.at != '%') {
            *walk.out++ = *walk.at == '+' ? ' ' : *walk.at;
            ++walk.at;
        } else if (walk.left() <= 2 || !decodeEscape(walk)) {
            return;
        }
    }
}

/// Decodes the URL form of text. Stands at the end, in front of a byte that is not accepted unescaped, or in front of
/// an escape with a bad digit or with fewer than five bytes behind it.
inline void decodeUrl(Walk<WideChar>& walk) noexcept {
    while (walk.at < walk.end) {
        const auto byte = static_cast<unsigned char>(*walk.at);
        if (url::isAccepted(byte)) {
            *walk.out++ = static_cast<WideChar>(url::accepted[byte]);
            ++walk.at;
        } else if (byte != '%' || walk.left() <= 5 || !decodeEscape(walk)) {
            return;
        }
    }
}

}  // namespace scalar
}  // namespace moraine::text::kernels

// The baseline of the x86-64 family has no such registers, so the choice is made when the program runs.
#if defined(__x86_64__) && defined(__GNUC__) && !defined(MORAINE_NO_VECTOR_CODE)
#include "moraine/text/internal/KernelsAvx2.h"
#else
namespace moraine::text::kernels {
namespace avx2 = scalar;
constexpr bool hasAvx2() noexcept {
    return false;
}
}  // namespace moraine::text::kernels
#endif

namespace moraine::text::kernels {

inline void decodeUtf8(Utf8Walk& walk, const char* stop) noexcept {
    hasAvx2() ? avx2::decodeUtf8(walk, stop) : scalar::decodeUtf8(walk, stop);
}

inline std::size_t narrowAscii(const WideChar* text, std::size_t length, char* out) noexcept {
    return hasAvx2() ? avx2::narrowAscii(text, length, out) : scalar::narrowAscii(text, length, out);
}

inline std::size_t utf8Size(const WideChar* text, std::size_t length) noexcept {
    return hasAvx2() ? avx2::utf8Size(text, length) : scalar::utf8Size(text, length);
}

inline void encodeUtf8(const WideChar* text, std::size_t length, char* out) noexcept {
    hasAvx2() ? avx2::encodeUtf8(text, length, out) : scalar::encodeUtf8(text, length, out);
}

inline void encodeBase64(const unsigned char* bytes, std::size_t groups, char* out) noexcept {
    hasAvx2() ? avx2::encodeBase64(bytes, groups, out) : scalar::encodeBase64(bytes, groups, out);
}

template <class Element>
void decodeBase64(Walk<Element>& walk) noexcept {
    hasAvx2() ? avx2::decodeBase64(walk) : scalar::decodeBase64(walk);
}

template <class Unit>
std::size_t countPlain(const Unit* text, std::size_t length) noexcept {
    return hasAvx2() ? avx2::countPlain(text, length) : scalar::countPlain(text, length);
}

template <class Element>
void decodeUrl(Walk<Element>& walk) noexcept {
    hasAvx2() ? avx2::decodeUrl(walk) : scalar::decodeUrl(walk);
}

}  // namespace moraine::text::kernels
