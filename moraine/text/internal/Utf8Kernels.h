#pragma once

#include <cstddef>

#include "moraine/text/internal/Avx2.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/Walk.h"
#include "moraine/text/WideChar.h"

/// @file
/// The loops of the UTF-8 codecs.

namespace moraine::text::kernels {

struct Utf8Walk : Walk<WideChar> {
    const WideChar* zero = nullptr;  ///< the first zero unit that was made
};

namespace scalar {

/// The length of the sequence that a byte from 0x80 up leads; 1 for a byte that leads none.
inline std::size_t sequenceLength(unsigned char lead) noexcept {
    if (lead < 0xC0 || lead >= 0xF8) {
        return 1;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// The unit that the last @p count bytes of a sequence spell below the bits of what stands before them. Bits
/// beyond 16 fall away.
inline WideChar spelled(unsigned int bits, const char* trail, std::size_t count) noexcept {
    for (std::size_t i = 0; i < count; ++i) {
        bits = bits << 6 | (static_cast<unsigned char>(trail[i]) & 0x3F);
    }
    return static_cast<WideChar>(bits);
}

/// Decodes the sequences that start before @p stop, which may be the walk's end. Stands before an
/// incomplete one at the end, and otherwise at @p stop or up to three bytes after it.
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

}  // namespace scalar
}  // namespace moraine::text::kernels

#ifdef MORAINE_AVX2
#include "moraine/text/internal/Utf8KernelsAvx2.h"
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

}  // namespace moraine::text::kernels
