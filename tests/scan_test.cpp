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
           scan::findNameEnd(text, size) == scan::scalar::findNameEnd(text, size) &&
           scan::findSolid(text, size) == scan::scalar::findSolid(text, size) &&
           scan::findReserved(text, size) == scan::scalar::findReserved(text, size) &&
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
                const WideChar other = hit == length ? u'\0' : u"\x80\xFF\x100\x8062\xFF80&'<>\""[(start + hit) % 10];
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

TEST(Scan, EveryUnitAmongWhiteSpaceAndInNames) {
    const std::string white = " \t\r\n", tagUnits = white + "=\"'<>&" + '\0';
    for (unsigned int unit = 0; unit < 0x10000; ++unit) {
        WideString text(23, static_cast<WideChar>(unit));
        const bool isWhite = unit < 128 && white.find(static_cast<char>(unit)) != std::string::npos;
        const bool inTags = unit < 128 && tagUnits.find(static_cast<char>(unit)) != std::string::npos;
        ASSERT_EQ(scan::findSolid(text.data(), 23), isWhite ? 23 : 0) << unit;
        ASSERT_TRUE(!inTags || scan::findNameEnd(text.data(), 23) == 0) << unit;
        for (std::size_t hit = 0; hit < 23; ++hit) {
            text.assign(23, u' ')[hit] = static_cast<WideChar>(unit);
            ASSERT_EQ(scan::findSolid(text.data(), 23), isWhite ? 23 : hit) << unit;
            text.assign(23, u'n')[hit] = static_cast<WideChar>(unit);
            ASSERT_EQ(scan::findNameEnd(text.data(), 23), scan::scalar::isNameUnit(text[hit]) ? 23 : hit) << unit;
        }
    }
}

TEST(Scan, WhiteSpaceOfEveryLengthAndAlignment) {
    for (std::size_t length = 0; length <= 200; ++length) {
        for (std::size_t start = 0; start < 16; ++start) {
            const WideString text = WideString(start + length, u" \n\t\r"[length % 4]) + u"x ";
            ASSERT_EQ(scan::findSolid(&text[start], length), length) << start;
            ASSERT_EQ(scan::findSolid(&text[start], length + 2), length) << start;
        }
    }
}

}  // namespace
}  // namespace moraine::test
