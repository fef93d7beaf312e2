#include "support.h"

#include <tuple>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/Wildcard.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using lang::IllegalArgumentException, text::StringUtil;

/// Calls an operation on a text in a block of its exact size, so that the sanitizer sees a read behind it, or on a
/// null pointer if the text is empty.
template <class Operation, class Unit>
auto applied(Operation operation, const std::basic_string<Unit>& text) {
    const std::vector<Unit> block(text.begin(), text.end());
    return *(StringUtil().*operation)(block.data(), static_cast<unsigned int>(block.size()));
}

// clang-format off
TEST(StringUtil, RefusalsNameTheirClass) {
    using text::Wildcard;
    const std::vector<WideString> layers = {u"moraine::text::StringUtil"}, inWildcard = {u"moraine::text::Wildcard"};
    expectFailure<IllegalArgumentException>([] { StringUtil().fromHexString("a", 1); }, u"", layers);
    expectFailure<IllegalArgumentException>([] { StringUtil().fromHexStringW(u"a", 1); }, u"", layers);
    expectFailure<IllegalArgumentException>([] { Wildcard().isMatch("a", "**"); }, u"Invalid pattern. : 1", inWildcard);
}

TEST(StringUtil, CaseAndMultibyteTextByTheLocale) {
    for (const char* name : {"C", "C.UTF-8"}) {
        const LocaleScope scope(name);
        const bool utf8 = scope.known && name == "C.UTF-8"s;
        EXPECT_EQ(applied(&StringUtil::toUpper, "az{`\0AZ\xE9"s), "AZ{`\0AZ\xE9"s);
        EXPECT_EQ(applied(&StringUtil::toLower, "AZ[@\0az\xC9"s), "az[@\0az\xC9"s);
        EXPECT_EQ(applied(&StringUtil::toUpperW, u"az{`\0a"s), u"AZ{`");
        const WideString small = u"\u00E9\xD83D\uFF41", large = u"\u00C9\xD83D\uFF21";
        EXPECT_EQ(applied(&StringUtil::toUpperW, small), utf8 ? large : small);
        EXPECT_EQ(applied(&StringUtil::toLowerW, large), utf8 ? small : large);
        // The result has the length of the input, and zeros where the conversion stops.
        const std::tuple<bool, WideString, std::string> multi[] = {
            {false, u"", ""}, {false, u"a\0b"s, "a\0\0"s}, {true, u"\u20ACab", "\u20AC"},
            {true, u"\u00E9\u00E9z", "\u00E9\0"s}, {false, u"a\xD83Dz", "a\0\0"s}};
        for (const auto& [onlyUtf8, text, result] : multi) {
            EXPECT_TRUE(applied(&StringUtil::toMulti, text) == result || (onlyUtf8 && !utf8)) << result;
        }
        const std::tuple<bool, std::string, WideString> wide[] = {
            {false, "", u""}, {false, "a\0b"s, u"a\0\0"s}, {true, "\u20ACa", u"\u20ACa\0\0"s},
            {true, "a\U0001F600", u"a\0\0\0\0"s}, {true, "a\xE2\x82", u"a\0\0"s}, {true, "a\xFFz", u"a\0\0"s},
            {true, "\uFFFF", u"\uFFFF\0\0"s}};
        for (const auto& [onlyUtf8, text, result] : wide) {
            EXPECT_TRUE(applied(&StringUtil::toWide, text) == result || (onlyUtf8 && !utf8)) << text;
        }
    }
    // A thread's own locale goes before that of the process.
    if (const locale_t own = ::newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr)) {
        const locale_t former = ::uselocale(own);
        EXPECT_EQ(applied(&StringUtil::toUpperW, u"a\u00E9"s), u"A\u00C9");
        ::uselocale(former);
        ::freelocale(own);
    }
    EXPECT_EQ(applied(&StringUtil::wide2Chars, u"\x41\x142\0\xFF\x100\xFFFF"s), "\x41\x01\x42\0\xFF\x01\0\xFF\xFF"s);
}
// clang-format on

}  // namespace
}  // namespace moraine::test
