#include "support.h"

#include <climits>
#include <tuple>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/StringUtil.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using lang::IllegalArgumentException, text::StringUtil;

/// Calls an operation on a text in a block of its exact size, so that the sanitizer sees a read behind it, or on a
/// null pointer if the text is empty.
template <class Operation, class Unit, class... More>
auto applied(Operation operation, const std::basic_string<Unit>& text, const More*... more) {
    const std::vector<Unit> block(text.begin(), text.end());
    StringUtil util;
    auto result = (util.*operation)(block.data(), static_cast<unsigned int>(block.size()), more...);
    if constexpr (std::is_arithmetic_v<decltype(result)>) {
        return result;
    } else {
        return *result;
    }
}

/// The same text in 16 bits.
WideString widened(const std::string& bytes) {
    WideString units(bytes.size(), 0);
    std::transform(bytes.begin(), bytes.end(), units.begin(),
                   [](char byte) { return static_cast<unsigned char>(byte); });
    return units;
}

// clang-format off
TEST(StringUtil, HexadecimalValues) {
    const std::pair<std::string, unsigned int> strict[] = {
        {"", 0}, {"0", 0}, {"FF", 0xFF}, {"ABC", 0xABC}, {"FEDCBA9876543210", 0x76543210}};
    for (const auto& [digits, value] : strict) {
        EXPECT_EQ(applied(&StringUtil::fromHexString, digits), static_cast<char>(value)) << digits;
        EXPECT_EQ(applied(&StringUtil::fromHexStringW, widened(digits)), static_cast<WideChar>(value)) << digits;
        EXPECT_EQ(applied(&StringUtil::hexStr2Long, digits), static_cast<std::int32_t>(value)) << digits;
    }
    const std::pair<std::string, std::int32_t> lenient[] = {
        {"9aF0", 0x9AF0}, {"8000000f", INT_MIN + 15}, {"12G4", -1}, {"1/", -1}, {":", -1}, {"@1", -1}, {"1`", -1},
        {"g", -1}, {" 1", -1}, {"-1", -1}, {"\xC1", -1}, {"1\0"s, -1}, {"x000000000", -1}};
    for (const auto& [digits, value] : lenient) {
        SCOPED_TRACE(digits);
        EXPECT_EQ(applied(&StringUtil::hexStr2Long, digits), value);
        EXPECT_EQ(applied(&StringUtil::hexStr2LongW, widened(digits)), value);
        const auto narrow = [&text = digits] { applied(&StringUtil::fromHexString, text); };
        const auto wide = [&text = digits] { applied(&StringUtil::fromHexStringW, widened(text)); };
        expectFailure<IllegalArgumentException>(narrow, u"", {u"moraine::text::StringUtil"});
        expectFailure<IllegalArgumentException>(wide, u"", {u"moraine::text::StringUtil"});
    }
    EXPECT_THROW(applied(&StringUtil::fromHexStringW, u"\xFF11"s), IllegalArgumentException);
}

TEST(StringUtil, NumbersToHexadecimal) {
    const std::pair<unsigned int, std::string> rows[] = {{0, "0000"}, {0x9A, "009A"}, {0xF5BE, "F5BE"}, {0xFFFF, "FFFF"}};
    for (const auto& [value, digits] : rows) {
        EXPECT_EQ(*StringUtil().toHexStringW2M(static_cast<WideChar>(value)), digits);
        EXPECT_EQ(*StringUtil().toHexStringW(static_cast<WideChar>(value)), widened(digits));
        EXPECT_EQ(*StringUtil().toHexString(static_cast<char>(value)), digits.substr(2));
    }
}

TEST(StringUtil, ReplacingAndTrimming) {
    const std::string dashes(100, '-');
    const std::tuple<std::string, std::string, std::string, std::string> replacements[] = {
        {"aaa", "a", "aa", "aaaaaa"}, {"aabb", "ab", "", "ab"}, {"aaa", "aa", "a", "aa"}, {"aab", "ab", "x", "ax"},
        {"abc", "abcd", "x", "abc"}, {"abc", "", "x", "abc"}, {"", "a", "x", ""},
        {"xaxbx", "x", "", "ab"}, {"a\0b\0ab"s, "b", "[]", "a\0[]\0a[]"s},
        {dashes + "needle" + dashes + "needl", "needle", "!", dashes + "!" + dashes + "needl"}};
    for (const auto& [text, search, replacement, result] : replacements) {
        EXPECT_EQ(applied(&StringUtil::doReplace, text, search.c_str(), replacement.c_str()), result);
        const WideString wideSearch = widened(search), wideReplacement = widened(replacement);
        EXPECT_EQ(applied(&StringUtil::doReplaceW, widened(text), wideSearch.c_str(), wideReplacement.c_str()),
                  widened(result)) << text;
    }
    const std::tuple<std::string, std::string, std::string, std::string> trims[] = {
        {"", "", "", ""}, {"   ", "", "", ""}, {"  a b  ", "a b  ", "  a b", "a b"}, {" \0 "s, "\0 "s, " \0"s, "\0"s},
        {"\t a \t", "\t a \t", "\t a \t", "\t a \t"}, {"\r\n\v\f\xA0", "\r\n\v\f\xA0", "\r\n\v\f\xA0", "\r\n\v\f\xA0"}};
    for (const auto& [text, left, right, both] : trims) {
        EXPECT_EQ(applied(&StringUtil::doLTrim, text), left);
        EXPECT_EQ(applied(&StringUtil::doRTrim, text), right);
        EXPECT_EQ(applied(&StringUtil::doTrim, text), both);
        EXPECT_EQ(applied(&StringUtil::doTrimW, widened(text)), widened(both));
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
            {true, "a\U0001F600", u"a\0\0\0\0"s}, {true, "a\xE2\x82", u"a\0\0"s}, {true, "a\xFFz", u"a\0\0"s}};
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
