#include <tuple>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/Wildcard.h"
#include "moraine/xml/XMLStringUtil.h"

#include "support.h"

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
    for (const WideChar* digit : {u"a", u"G", u"@", u"/", u":", u"\u0130", u"\uFF11"}) {
        expectFailure<IllegalArgumentException>([&] { StringUtil().fromHexStringW(digit, 1); }, u"", layers);
    }
    expectFailure<IllegalArgumentException>([] { Wildcard().isMatch("a", "**"); }, u"Invalid pattern. : 1", inWildcard);
}

TEST(StringUtil, ReplacesWhatDoesNotOverlap) {
    const WideString a(600, u'a');
    const std::tuple<WideString, WideString, WideString> rows[] = {
        {u"aaaa", u"aa", u"xx"}, {u"aaaaa", u"aa", u"xxa"}, {u"abababa", u"aba", u"xbx"}, {u"ababab", u"abab", u"xab"},
        {u"a\u0161a", u"a", u"x\u0161x"}, {u"\u0161", u"a", u"\u0161"}, {u"aab", u"ab", u"ax"},
        {a + u"b", a.substr(1) + u"b", u"ax"}, {a + u"ba" + a, a.substr(300) + u"b", a.substr(300) + u"xa" + a},
        {a + u"c" + a + u"b", a.substr(599) + u"b", a + u"c" + a.substr(1) + u"x"},
        {a + a + u"b", a + u"c" + a, a + a + u"b"}};  // where trying costs too much
    for (const auto& [text, search, result] : rows) {
        const auto length = static_cast<unsigned int>(text.size());
        EXPECT_EQ(*StringUtil().doReplaceW(text.data(), length, search.c_str(), u"x"), result);
        const std::string bytes(text.begin(), text.end()), narrow(search.begin(), search.end());
        if (text.find_first_of(u"\u0161") == WideString::npos) {
            EXPECT_EQ(*StringUtil().doReplace(bytes.data(), length, narrow.c_str(), "x"),
                      std::string(result.begin(), result.end()));
        }
    }
}

TEST(StringUtil, UnitsCountWhole) {
    text::Wildcard wildcard;
    for (const WideChar* pattern : {u"A", u"*A", u"A*", u"*A*", u"*bcdefghA*", u"*bcdefgh?jA*", u"*bcdefghijklmnopqA"}) {
        EXPECT_FALSE(wildcard.isMatchW(u"\u0141", pattern));
        EXPECT_FALSE(wildcard.isMatchW(u"\u0141bcdefgh\u0141bcdefghij\u0141bcdefghijklmnopq\u0141", pattern)) << pattern;
    }
    EXPECT_TRUE(!text::equal(u"a", u"ab") && !text::equal(u"ab", u"a") && !text::equal(u"A", u"\u0141"));
    EXPECT_TRUE(text::equal(nullptr, u"") && text::equal(u"\u0141", u"\u0141"));
    const std::pair<WideString, WideString> rows[] = {
        {u"&#+65;", u"A"}, {u"&#x+41;", u"&#x+41;"}, {u"&#+;", u"&#+;"}, {u"&#+-65;", u"&#+-65;"}};
    for (const auto& [text, result] : rows) {
        EXPECT_EQ(*xml::XMLStringUtil().reference2String(text.data(), static_cast<unsigned int>(text.size())), result);
    }
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
