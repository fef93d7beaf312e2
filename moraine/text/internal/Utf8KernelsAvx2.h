#pragma once

// Only Utf8Kernels.h includes this file, after what the twins below are made of.

namespace moraine::text::kernels::avx2 {

/// For each mask of 8 units, the shuffle that moves the chosen ones to the front.
constexpr std::array<Shuffle, 256> makeChosenUnits() {
    std::array<Shuffle, 256> shuffles{};
    for (unsigned int mask = 0; mask < 256; ++mask) {
        std::size_t to = 0;
        for (unsigned int unit = 0; unit < 8; ++unit) {
            if ((mask >> unit & 1) != 0) {
                shuffles[mask][to++] = static_cast<signed char>(2 * unit);
                shuffles[mask][to++] = static_cast<signed char>(2 * unit + 1);
            }
        }
    }
    return shuffles;
}

alignas(16) inline constexpr std::array<Shuffle, 256> chosenUnits = makeChosenUnits();

/// Writes 8 units, the first of them those that the mask chooses; returns the place after those.
MORAINE_AVX2 inline WideChar* storeChosen(WideChar* out, __m128i units, std::uint32_t mask) noexcept {
    store(out, _mm_shuffle_epi8(units, load(chosenUnits[mask])));
    return out + countBits(mask);
}

/// The bytes that are @p least or above, as unsigned numbers.
MORAINE_AVX2 inline std::uint32_t bytesFrom(__m256i bytes, unsigned char least) noexcept {
    const __m256i bound = _mm256_set1_epi8(static_cast<char>(least));
    return highBits(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, bound), bytes));
}

/// What each of 16 bytes spells together with the two bytes after it, if it leads a sequence of one to three bytes.
/// A continuation byte gives some unit that is not zero.
MORAINE_AVX2 inline __m256i spelledUnits(const char* bytes) noexcept {
    const __m256i lead = _mm256_cvtepu8_epi16(load16(bytes));
    const __m256i six = _mm256_set1_epi16(0x3F);
    const __m256i second = _mm256_and_si256(_mm256_cvtepu8_epi16(load16(bytes + 1)), six);
    const __m256i third = _mm256_and_si256(_mm256_cvtepu8_epi16(load16(bytes + 2)), six);
    const __m256i five = _mm256_and_si256(lead, _mm256_set1_epi16(0x1F));
    const __m256i ofTwo = _mm256_or_si256(_mm256_slli_epi16(five, 6), second);
    const __m256i ofThree =
        _mm256_or_si256(_mm256_or_si256(_mm256_slli_epi16(lead, 12), _mm256_slli_epi16(second, 6)), third);
    const __m256i units = chosen(lead, ofTwo, _mm256_cmpgt_epi16(lead, _mm256_set1_epi16(0xBF)));
    return chosen(units, ofThree, _mm256_cmpgt_epi16(lead, _mm256_set1_epi16(0xDF)));
}

/// Decodes well-formed sequences of one to three bytes without zero units, until something else comes or fewer than
/// 32 bytes are left before @p stop.
MORAINE_AVX2 inline void decodeUtf8Windows(Utf8Walk& walk, const char* stop) noexcept {
    const char* at = walk.at;
    WideChar* out = walk.out;
    // Which of the first two bytes belong to sequences of the window before.
    std::uint32_t taken = 0;
    while (stop - at >= 32) {
        const __m256i bytes = load32(at);
        const std::uint32_t beyondAscii = highBits(bytes);
        if (beyondAscii == 0) {
            if (equalBytes(bytes, 0) != 0) {
                break;
            }
            storeWindow(out, bytes);
            at += 32;
            out += 32;
            continue;
        }
        // 16 bytes are decoded, with what two bytes after them add, so that each step is equally long.
        constexpr std::uint32_t decoded = 0xFFFF;
        constexpr std::uint32_t looked = 0x3FFFF;
        const std::uint32_t ofThree = bytesFrom(bytes, 0xE0);
        const std::uint32_t leads = bytesFrom(bytes, 0xC0);
        const std::uint32_t continued = beyondAscii & ~leads;
        const std::uint32_t expected = taken | leads << 1 | ofThree << 2;
        const std::uint32_t wrong = (expected ^ continued) | bytesFrom(bytes, 0xF0);
        const __m256i units = spelledUnits(at);
        const std::uint32_t zeros = highBits(_mm256_cmpeq_epi16(units, _mm256_setzero_si256()));
        if (((wrong & looked) | zeros) != 0) {
            break;
        }
        out = storeChosen(out, _mm256_castsi256_si128(units), ~continued & 0xFF);
        out = storeChosen(out, _mm256_extracti128_si256(units, 1), ~continued >> 8 & 0xFF);
        taken = ((leads & decoded) << 1 | (ofThree & decoded) << 2) >> 16;
        at += 16;
    }
    walk.at = at + countBits(taken);
    walk.out = out;
}

MORAINE_AVX2 inline void decodeUtf8(Utf8Walk& walk, const char* stop) noexcept {
    while (walk.at < stop) {
        decodeUtf8Windows(walk, stop);
        const char* const next = stop - walk.at < 32 ? stop : walk.at + 16;
        scalar::decodeUtf8(walk, next);
        if (walk.at < next) {
            return;
        }
    }
}

/// The units that are @p least or above, as unsigned numbers: all their bits are set.
MORAINE_AVX2 inline __m256i unitsFrom(__m256i units, WideChar least) noexcept {
    const __m256i bound = _mm256_set1_epi16(static_cast<short>(least));
    return _mm256_cmpeq_epi16(_mm256_max_epu16(units, bound), units);
}

MORAINE_AVX2 inline std::size_t narrowAscii(const WideChar* text, std::size_t length, char* out) noexcept {
    std::size_t at = 0;
    for (; length - at >= 32; at += 32) {
        const __m256i low = load32(text + at);
        const __m256i high = load32(text + at + 16);
        if (!areAscii(_mm256_or_si256(low, high))) {
            break;
        }
        store(out + at, narrowed(low, high));
    }
    return at + scan::narrowAscii(text + at, length - at, out + at);
}

MORAINE_AVX2 inline std::size_t utf8Size(const WideChar* text, std::size_t length) noexcept {
    std::size_t size = length;
    std::size_t at = 0;
    for (; length - at >= 32; at += 32) {
        const __m256i low = load32(text + at);
        const __m256i high = load32(text + at + 16);
        if (areAscii(_mm256_or_si256(low, high))) {
            continue;
        }
        // All bits of a unit for each further byte, of which packing keeps eight.
        const __m256i more = _mm256_packs_epi16(unitsFrom(low, 0x80), unitsFrom(high, 0x80));
        const __m256i stillMore = _mm256_packs_epi16(unitsFrom(low, 0x800), unitsFrom(high, 0x800));
        size += countBits(highBits(more)) + countBits(highBits(stillMore));
    }
    return size - (length - at) + scalar::utf8Size(text + at, length - at);
}

/// For each mask of 8 units that lie in two bytes each: the shuffle that moves to the front the second byte of each,
/// and before it the first where the mask says so.
constexpr std::array<Shuffle, 256> makeChosenFirst() {
    std::array<Shuffle, 256> shuffles{};
    for (unsigned int mask = 0; mask < 256; ++mask) {
        std::size_t to = 0;
        for (unsigned int unit = 0; unit < 8; ++unit) {
            if ((mask >> unit & 1) != 0) {
                shuffles[mask][to++] = static_cast<signed char>(2 * unit);
            }
            shuffles[mask][to++] = static_cast<signed char>(2 * unit + 1);
        }
    }
    return shuffles;
}

alignas(16) inline constexpr std::array<Shuffle, 256> chosenFirst = makeChosenFirst();

/// Writes the forms of 8 units, none of which takes three bytes; touches 16 bytes.
MORAINE_AVX2 inline char* encodeEightShort(__m128i units, char* out) noexcept {
    const __m128i ofTwo = _mm_cmpgt_epi16(units, _mm_set1_epi16(0x7F));
    const __m128i lead = _mm_or_si128(_mm_srli_epi16(units, 6), _mm_set1_epi16(0xC0));
    const __m128i trail = _mm_or_si128(_mm_and_si128(units, _mm_set1_epi16(0x3F)), _mm_set1_epi16(0x80));
    const __m128i second = _mm_slli_epi16(chosen(units, trail, ofTwo), 8);
    const auto mask = static_cast<std::uint32_t>(_mm_movemask_epi8(_mm_packs_epi16(ofTwo, _mm_setzero_si128())));
    store(out, _mm_shuffle_epi8(_mm_or_si128(lead, second), load(chosenFirst[mask])));
    return out + 8 + countBits(mask);
}

/// For each choice among four units that lie in four bytes each: the shuffle that moves to the front what counts of
/// them. That is the third byte, the second too where bits 0 to 3 of the choice are set, and the first too where bits
/// 4 to 7 are.
constexpr std::array<Shuffle, 256> makeChosenBytes() {
    std::array<Shuffle, 256> shuffles{};
    for (unsigned int choice = 0; choice < 256; ++choice) {
        std::size_t to = 0;
        for (unsigned int unit = 0; unit < 4; ++unit) {
            const bool counts[] = {(choice >> unit & 0x10) != 0, (choice >> unit & 1) != 0, true};
            for (unsigned int byte = 0; byte < 3; ++byte) {
                if (counts[byte]) {
                    shuffles[choice][to++] = static_cast<signed char>(4 * unit + byte);
                }
            }
        }
    }
    return shuffles;
}

alignas(16) inline constexpr std::array<Shuffle, 256> chosenBytes = makeChosenBytes();

/// Writes 16 bytes, the first of them the forms of four units; returns the place after those.
MORAINE_AVX2 inline char* storeForms(char* out, __m128i forms, std::uint32_t choice) noexcept {
    store(out, _mm_shuffle_epi8(forms, load(chosenBytes[choice])));
    return out + 4 + countBits(choice);
}

/// Writes the forms of 8 units; touches up to 28 bytes.
MORAINE_AVX2 inline char* encodeEight(__m128i eight, char* out) noexcept {
    const __m256i units = _mm256_cvtepu16_epi32(eight);
    const __m256i six = _mm256_set1_epi32(0x3F);
    const __m256i trail = _mm256_set1_epi32(0x80);
    const __m256i beyondAscii = _mm256_cmpgt_epi32(units, _mm256_set1_epi32(0x7F));
    const __m256i ofThree = _mm256_cmpgt_epi32(units, _mm256_set1_epi32(0x7FF));
    const __m256i first = _mm256_or_si256(_mm256_srli_epi32(units, 12), _mm256_set1_epi32(0xE0));
    const __m256i upper = _mm256_srli_epi32(units, 6);
    const __m256i second = chosen(_mm256_or_si256(upper, _mm256_set1_epi32(0xC0)),
                                  _mm256_or_si256(_mm256_and_si256(upper, six), trail), ofThree);
    const __m256i third = chosen(units, _mm256_or_si256(_mm256_and_si256(units, six), trail), beyondAscii);
    const __m256i forms =
        _mm256_or_si256(first, _mm256_or_si256(_mm256_slli_epi32(second, 8), _mm256_slli_epi32(third, 16)));
    const auto twoBits = static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(beyondAscii)));
    const auto threeBits = static_cast<std::uint32_t>(_mm256_movemask_ps(_mm256_castsi256_ps(ofThree)));
    out = storeForms(out, _mm256_castsi256_si128(forms), (twoBits & 0xF) | (threeBits & 0xF) << 4);
    return storeForms(out, _mm256_extracti128_si256(forms, 1), twoBits >> 4 | (threeBits & 0xF0));
}

MORAINE_AVX2 inline void encodeUtf8(const WideChar* text, std::size_t length, char* out) noexcept {
    while (length >= 32) {
        const __m256i low = load32(text);
        const __m256i high = load32(text + 16);
        std::size_t taken = 8;
        if (areAscii(_mm256_or_si256(low, high))) {
            taken = 32;
            store(out, narrowed(low, high));
            out += 32;
        } else {
            const __m128i eight = _mm256_castsi256_si128(low);
            const bool areShort = _mm_testz_si128(eight, _mm_set1_epi16(static_cast<short>(0xF800))) != 0;
            out = areShort ? encodeEightShort(eight, out) : encodeEight(eight, out);
        }
        text += taken;
        length -= taken;
    }
    scalar::encodeUtf8(text, length, out);
}

}  // namespace moraine::text::kernels::avx2
