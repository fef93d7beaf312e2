#pragma once

#include <cstddef>

#include "moraine/text/internal/Avx2.h"
#include "moraine/text/internal/UrlCharacters.h"
#include "moraine/text/internal/Walk.h"
#include "moraine/text/WideChar.h"

/// @file
/// The loops of the URL codecs.

namespace moraine::text::kernels::scalar {

/// The number of units for which the URL form has one character and no escape.
template <class Unit>
std::size_t countPlain(const Unit* text, std::size_t length) noexcept {
    std::size_t count = 0;
    for (std::size_t i = 0; i < length; ++i) {
        count += text[i] <= 0xFF && url::isPlain(static_cast<unsigned char>(text[i])) ? 1 : 0;
    }
    return count;
}

/// Decodes an escape that is complete. Stays before it and returns false, if it has a bad digit.
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

/// Decodes the URL form of bytes. Stands at the end, or before an escape with a bad digit or with fewer than two
/// bytes after it.
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

/// Decodes the URL form of text. Stands at the end, before a byte that is not accepted unescaped, or before
/// an escape with a bad digit or with fewer than five bytes after it.
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

}  // namespace moraine::text::kernels::scalar

#ifdef MORAINE_AVX2
#include "moraine/text/internal/UrlKernelsAvx2.h"
#endif

namespace moraine::text::kernels {

template <class Unit>
std::size_t countPlain(const Unit* text, std::size_t length) noexcept {
    return hasAvx2() ? avx2::countPlain(text, length) : scalar::countPlain(text, length);
}

template <class Element>
void decodeUrl(Walk<Element>& walk) noexcept {
    hasAvx2() ? avx2::decodeUrl(walk) : scalar::decodeUrl(walk);
}

}  // namespace moraine::text::kernels
