#pragma once

// Only Base64Kernels.h includes this file, after what the twins below are made of.

namespace moraine::text::kernels::avx2 {

alignas(16) inline constexpr ByteSet base64Set = makeByteSet(hasBase64Value);

/// The characters of 32 values from 0 to 63.
MORAINE_AVX2 inline __m256i base64Characters(__m256i values) noexcept {
    // What lies between value and character, for: a-z, the ten digits, '+', '/', A-Z.
    alignas(16) static constexpr Shuffle distances = {'a' - 26, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                                      '0' - 52, '0' - 52, '0' - 52, '0' - 52, '0' - 52,
                                                      '0' - 52, '+' - 62, '/' - 63, 'A'};
    const __m256i isUpper = _mm256_cmpgt_epi8(_mm256_set1_epi8(26), values);
    const __m256i others = _mm256_subs_epu8(values, _mm256_set1_epi8(51));
    const __m256i kinds = _mm256_or_si256(others, _mm256_and_si256(isUpper, _mm256_set1_epi8(13)));
    return _mm256_add_epi8(values, _mm256_shuffle_epi8(loadTwice(distances), kinds));
}

MORAINE_AVX2 inline void encodeBase64(const unsigned char* bytes, std::size_t groups, char* out) noexcept {
    // The bytes a, b, c of a group become two words: b below a, and c below b.
    alignas(16) static constexpr Shuffle words = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
    // 8 groups are taken, and 4 bytes after them are read.
    for (; groups >= 10; groups -= 8, bytes += 24, out += 32) {
        const __m256i halves = _mm256_inserti128_si256(_mm256_castsi128_si256(load16(bytes)), load16(bytes + 12), 1);
        const __m256i in = _mm256_shuffle_epi8(halves, loadTwice(words));
        // The first and third value go down to the low byte of their word, by 10 and 6 bits; the others go up to the
        // high byte, by 4 and 8 bits.
        const __m256i down =
            _mm256_mulhi_epu16(_mm256_and_si256(in, _mm256_set1_epi32(0x0FC0FC00)), _mm256_set1_epi32(0x04000040));
        const __m256i up =
            _mm256_mullo_epi16(_mm256_and_si256(in, _mm256_set1_epi32(0x003F03F0)), _mm256_set1_epi32(0x01000010));
        store(out, base64Characters(_mm256_or_si256(down, up)));
    }
    scalar::encodeBase64(bytes, groups, out);
}

MORAINE_AVX2 inline void storeElements(char* out, __m128i bytes) noexcept {
    store(out, bytes);
}

MORAINE_AVX2 inline void storeElements(WideChar* out, __m128i bytes) noexcept {
    store(out, _mm256_cvtepu8_epi16(bytes));
}

/// The values of 32 Base64 characters, some values for others.
MORAINE_AVX2 inline __m256i base64Values32(__m256i characters) noexcept {
    // What lies between character and value, for the rows of 16 characters. '/' has the empty row 1 to itself.
    alignas(16) static constexpr Shuffle distances = {0, 63 - '/', 62 - '+', 52 - '0', -'A', -'A', 26 - 'a', 26 - 'a'};
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(characters, 4), _mm256_set1_epi8(0x0F));
    const __m256i row = _mm256_add_epi8(high, _mm256_cmpeq_epi8(characters, _mm256_set1_epi8('/')));
    return _mm256_add_epi8(characters, _mm256_shuffle_epi8(loadTwice(distances), row));
}

template <class Element>
MORAINE_AVX2 void decodeBase64(Walk<Element>& walk) noexcept {
    // The 24 bits of a group lie in four bytes, the lowest first.
    alignas(16) static constexpr Shuffle bytesOfGroups = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};
    // 8 groups give 24 elements, and 4 after them are written.
    while (walk.left() >= 40) {
        const __m256i in = load32(walk.at);
        // Neighbours are joined twice: the first is multiplied to its place above the second.
        const __m256i pairs = _mm256_maddubs_epi16(base64Values32(in), _mm256_set1_epi16(0x0140));
        const __m256i joined = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
        const __m256i bytes = _mm256_shuffle_epi8(joined, loadTwice(bytesOfGroups));
        storeElements(walk.out, _mm256_castsi256_si128(bytes));
        storeElements(walk.out + 12, _mm256_extracti128_si256(bytes, 1));
        const std::uint32_t bad = ~equalBytes(outside(in, base64Set), 0);
        if (bad == 0) {
            walk.at += 32;
            walk.out += 24;
            continue;
        }
        // What stands before a bad character, which mostly is the end of a line, is decoded by now.
        const int good = __builtin_ctz(bad) / 4;
        walk.at += good * 4;
        walk.out += good * 3;
        if (!passLineEnd(walk)) {
            return;
        }
    }
    scalar::decodeBase64(walk);
}

}  // namespace moraine::text::kernels::avx2
