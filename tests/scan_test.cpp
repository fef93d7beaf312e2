#include "support.h"

#include "moraine/text/internal/Scan.h"

namespace moraine::test {
namespace {

namespace scan = text::scan;

/// Whether the vector forms give what the scalar forms give, and write no more than those. The results have the exact
/// size, so that the sanitizer sees what is written behind them.
bool agree(const WideChar* text, const char* bytes, std::size_t size, WideChar one, WideChar two) {
    std::vector<WideChar> wide(size, u'#'), wideScalar(wide);
    std::vector<char> narrow(size, '#'), narrowScalar(narrow);
    return scan::find(text, size, one) == scan::scalar::find(text, size, one) &&
           scan::findEither(text, size, one, two) == scan::scalar::findEither(text, size, one, two) &&
           scan::widenAscii(bytes, size, wide.data()) == scan::scalar::widenAscii(bytes, size, wideScalar.data()) &&
           scan::narrowAscii(text, size, narrow.data()) == scan::scalar::narrowAscii(text, size, narrowScalar.data()) &&
           wide == wideScalar && narrow == narrowScalar;
}

TEST(Scan, HitsAtEveryPlaceOfEveryLengthAndAlignment) {
    for (std::size_t length = 0; length <= 200; ++length) {
        for (std::size_t start = 0; start < 16; ++start) {
            WideString units(start + length, u'b');
            std::string bytes(start + length, 'b');
            for (std::size_t hit = 0; hit <= length; ++hit) {
                // A hit behind the end is none.
                const WideChar other = hit == length ? u'\0' : u"\x80\xFF\x100\x8062\xFF80"[(start + hit) % 5];
                units[start + hit] = other;
                bytes[start + hit] = static_cast<char>(other);
                ASSERT_TRUE(agree(&units[start], &bytes[start], length, other, u'&')) << start << " + " << length;
                ASSERT_EQ(scan::findEither(&units[start], length, u'&', other), hit);
                units[start + hit] = bytes[start + hit] = hit == length ? '\0' : 'b';
            }
        }
    }
}

TEST(Scan, PlacesInABlock) {
    const auto check = [](auto unit) {
        using Unit = decltype(unit);
        std::vector<Unit> one(scan::blockSize, 'a'), other(one);
        for (unsigned int i = 0; i < 1 << scan::blockSize; i += i < 99 ? 1 : 97) {
            for (std::size_t place = 0; place < scan::blockSize; ++place) {
                other[place] = static_cast<Unit>(i >> place & 1 ? (place % 2 != 0 ? 0xFF61 : 0x80) : 'a');
            }
            const unsigned int same = scan::equalTo(other.data(), Unit('a'));
            EXPECT_TRUE(
                scan::differing(one.data(), other.data()) == scan::scalar::differing(one.data(), other.data()) &&
                same == scan::scalar::equalTo(other.data(), Unit('a')) && (sizeof(unit) == 1 || same == (i ^ 0xFFFF)))
                << i;
        }
    };
    check(char());
    check(WideChar());
}

}  // namespace
}  // namespace moraine::test
