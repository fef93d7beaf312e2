#pragma once

// Only UrlKernels.h includes this file, after what the twins below are made of.

namespace moraine::text::kernels::avx2 {

alignas(16) inline constexpr ByteSet plainSet = makeByteSet(url::isPlain);
alignas(16) inline constexpr ByteSet acceptedSet = makeByteSet(url::isAccepted);

MORAINE_AVX2 inline __m256i loadBytes(const unsigned char* bytes) noexcept {
    return load32(bytes);
}

/// 32 units as bytes in some order, of which those from 0x80 up become others of that kind or zeros.
MORAINE_AVX2 inline __m256i loadBytes(const WideChar* text) noexcept {
    return _mm256_packus_epi16(load32(text), load32(text + 16));
}

template <class Unit>
MORAINE_AVX2 std::size_t countPlain(const Unit* text, std::size_t length) noexcept {
    std::size_t count = 0;
    std::size_t at = 0;
    for (; length - at >= 32; at += 32) {
        count += countBits(equalBytes(outside(loadBytes(text + at), plainSet), 0));
    }
    return count + scalar::countPlain(text + at, length - at);
}

/// The bytes of a window that stand for themselves or for a space.
MORAINE_AVX2 inline std::uint32_t unescaped(__m256i bytes, const char* /*out*/) noexcept {
    return ~equalBytes(bytes, '%');
}

MORAINE_AVX2 inline std::uint32_t unescaped(__m256i bytes, const WideChar* /*out*/) noexcept {
    return equalBytes(outside(bytes, acceptedSet), 0);
}

template <class Element>
MORAINE_AVX2 void decodeUrl(Walk<Element>& walk) noexcept {
    // 5 bytes follow the last of a window, so that an escape there is not incomplete.
    while (walk.left() >= 32 + 5) {
        const __m256i bytes = load32(walk.at);
        const __m256i isPlus = _mm256_cmpeq_epi8(bytes, _mm256_set1_epi8('+'));
        storeWindow(walk.out, chosen(bytes, _mm256_set1_epi8(' '), isPlus));
        const std::uint32_t others = ~unescaped(bytes, walk.out);
        const int run = others == 0 ? 32 : __builtin_ctz(others);
        walk.at += run;
        walk.out += run;
        if (others != 0 && (*walk.at != '%' || !scalar::decodeEscape(walk))) {
            return;
        }
    }
    scalar::decodeUrl(walk);
}

}  // namespace moraine::text::kernels::avx2
