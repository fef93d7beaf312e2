#pragma once

#include <immintrin.h>

#include <array>
#include <cstdint>

// Only Kernels.h includes this file, behind what the twins below are made of.

/// Compiles one function, and what is inlined into it, for a machine that `hasAvx2` has found.
#define MORAINE_AVX2 __attribute__((target("avx2,popcnt")))

namespace moraine::text::kernels {

inline bool hasAvx2() noexcept {
    return __builtin_cpu_supports("avx2") != 0 && __builtin_cpu_supports("popcnt") != 0;
}

// Each twin takes whole windows while it may read and write beyond what counts in them, and leaves the rest to the
// scalar function.
namespace avx2 {

/// For `_mm_shuffle_epi8`: which bytes a result takes from where; a negative index gives a zero byte.
using Shuffle = std::array<signed char, 16>;

MORAINE_AVX2 inline __m128i load(const Shuffle& shuffle) noexcept {
    return _mm_load_si128(reinterpret_cast<const __m128i*>(shuffle.data()));
}

MORAINE_AVX2 inline __m256i loadTwice(const Shuffle& shuffle) noexcept {
    return _mm256_broadcastsi128_si256(load(shuffle));
}

MORAINE_AVX2 inline __m128i load16(const void* from) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

MORAINE_AVX2 inline __m256i load32(const void* from) noexcept {
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

MORAINE_AVX2 inline void store(void* to, __m128i value) noexcept {
    _mm_storeu_si128(static_cast<__m128i*>(to), value);
}

MORAINE_AVX2 inline void store(void* to, __m256i value) noexcept {
    _mm256_storeu_si256(static_cast<__m256i*>(to), value);
}

MORAINE_AVX2 inline void storeWindow(char* out, __m256i bytes) noexcept {
    store(out, bytes);
}

MORAINE_AVX2 inline void storeWindow(WideChar* out, __m256i bytes) noexcept {
    store(out, _mm256_cvtepu8_epi16(_mm256_castsi256_si128(bytes)));
    store(out + 16, _mm256_cvtepu8_epi16(_mm256_extracti128_si256(bytes, 1)));
}

/// One bit for each byte whose highest bit is set.
MORAINE_AVX2 inline std::uint32_t highBits(__m256i bytes) noexcept {
    return static_cast<std::uint32_t>(_mm256_movemask_epi8(bytes));
}

MORAINE_AVX2 inline std::uint32_t equalBytes(__m256i bytes, char wanted) noexcept {
    return highBits(_mm256_cmpeq_epi8(bytes, _mm256_set1_epi8(wanted)));
}

/// The bytes that are @p least or above, as unsigned numbers.
MORAINE_AVX2 inline std::uint32_t bytesFrom(__m256i bytes, unsigned char least) noexcept {
    const __m256i bound = _mm256_set1_epi8(static_cast<char>(least));
    return highBits(_mm256_cmpeq_epi8(_mm256_max_epu8(bytes, bound), bytes));
}

/// The units that are @p least or above, as unsigned numbers: all their bits are set.
MORAINE_AVX2 inline __m256i unitsFrom(__m256i units, WideChar least) noexcept {
    const __m256i bound = _mm256_set1_epi16(static_cast<short>(least));
    return _mm256_cmpeq_epi16(_mm256_max_epu16(units, bound), units);
}

MORAINE_AVX2 inline unsigned int countBits(std::uint32_t bits) noexcept {
    return static_cast<unsigned int>(__builtin_popcount(bits));
}

/// A set of bytes, by their halves. The low half of a byte gives a bit for each row of 16 bytes in which it means one
/// outside the set, and the high half the bit of its row. The rows 0, 1 and 8 to 15, of which no byte belongs to any
/// set here, share a bit.
struct ByteSet {
    Shuffle outsideOfLow{};
    Shuffle rowOfHigh{};
};

constexpr ByteSet makeByteSet(bool (*belongs)(unsigned char)) {
    ByteSet set;
    for (unsigned int high = 0; high < 16; ++high) {
        const unsigned int row = high >= 2 && high <= 7 ? 1U << (high - 2) : 0x40U;
        set.rowOfHigh[high] = static_cast<signed char>(row);
        for (unsigned int low = 0; low < 16; ++low) {
            if (!belongs(static_cast<unsigned char>(high << 4 | low))) {
                set.outsideOfLow[low] =
                    static_cast<signed char>(static_cast<unsigned int>(set.outsideOfLow[low]) | row);
            }
        }
    }
    return set;
}

alignas(16) inline constexpr ByteSet base64Set = makeByteSet(hasBase64Value);
alignas(16) inline constexpr ByteSet plainSet = makeByteSet(url::isPlain);
alignas(16) inline constexpr ByteSet acceptedSet = makeByteSet(url::isAccepted);

/// Zero for the bytes of the set, some bits for the others.
MORAINE_AVX2 inline __m256i outside(__m256i bytes, const ByteSet& set) noexcept {
    const __m256i half = _mm256_set1_epi8(0x0F);
    const __m256i low = _mm256_and_si256(bytes, half);
    const __m256i high = _mm256_and_si256(_mm256_srli_epi16(bytes, 4), half);
    return _mm256_and_si256(_mm256_shuffle_epi8(loadTwice(set.outsideOfLow), low),
                            _mm256_shuffle_epi8(loadTwice(set.rowOfHigh), high));
}

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

/// Writes 8 units, the first of them those that the mask chooses; returns the place behind those.
MORAINE_AVX2 inline WideChar* storeChosen(WideChar* out, __m128i units, std::uint32_t mask) noexcept {
    store(out, _mm_shuffle_epi8(units, load(chosenUnits[mask])));
    return out + countBits(mask);
}

/// The bits of @p second where the mask has any, and those of @p first elsewhere. g++ 12 has the instruction for this
/// do nothing where plain char has no sign.
MORAINE_AVX2 inline __m256i chosen(__m256i first, __m256i second, __m256i mask) noexcept {
    return _mm256_or_si256(_mm256_and_si256(mask, second), _mm256_andnot_si256(mask, first));
}

MORAINE_AVX2 inline __m128i chosen(__m128i first, __m128i second, __m128i mask) noexcept {
    return _mm_or_si128(_mm_and_si128(mask, second), _mm_andnot_si128(mask, first));
}

/// What each of 16 bytes spells together with the two bytes behind it, if it leads a sequence of one to three bytes.
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
/// 32 bytes are left in front of @p stop.
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
        // 16 bytes are decoded, with what two bytes behind them add, so that each step is equally long.
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

MORAINE_AVX2 inline bool areAscii(__m256i units) noexcept {
    return _mm256_testz_si256(units, _mm256_set1_epi16(static_cast<short>(0xFF80))) != 0;
}

/// 32 ASCII units as bytes.
MORAINE_AVX2 inline __m256i narrowed(__m256i low, __m256i high) noexcept {
    // Packing works in each half of a register, so that the middle quarters change places.
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
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
/// and in front of it the first where the mask says so.
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

/// Writes 16 bytes, the first of them the forms of four units; returns the place behind those.
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
    // 8 groups are taken, and 4 bytes behind them are read.
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
    // 8 groups give 24 elements, and 4 behind them are written.
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
        // What stands in front of a bad character, which mostly is the end of a line, is decoded by now.
        const int good = __builtin_ctz(bad) / 4;
        walk.at += good * 4;
        walk.out += good * 3;
        if (!passLineEnd(walk)) {
            return;
        }
    }
    scalar::decodeBase64(walk);
}

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

}  // namespace avx2
}  // namespace moraine::text::kernels
