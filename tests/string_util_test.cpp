#include "support.h"

#include <climits>
#include <tuple>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/StringUtil.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using text::StringUtil;

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
    static_assert(std::has_virtual_destructor_v<StringUtil>);
    const std::pair<std::string, unsigned int> strict[] = {
        {"", 0}, {"0", 0}, {"4A", 0x4A}, {"FF", 0xFF}, {"ABC", 0xABC}, {"00E9", 0xE9}, {"FFFF", 0xFFFF}, {"9F", 0x9F},
        {"12345", 0x12345}, {"12345678", 0x12345678}, {"FEDCBA9876543210", 0x76543210}};
    for (const auto& [digits, value] : strict) {
        EXPECT_EQ(applied(&StringUtil::fromHexString, digits), static_cast<char>(value)) << digits;
        EXPECT_EQ(applied(&StringUtil::fromHexStringW, widened(digits)), static_cast<WideChar>(value)) << digits;
        EXPECT_EQ(applied(&StringUtil::hexStr2Long, digits), static_cast<std::int32_t>(value)) << digits;
        EXPECT_EQ(applied(&StringUtil::hexStr2LongW, widened(digits)), static_cast<std::int32_t>(value)) << digits;
    }
    const std::pair<std::string, std::int32_t> lenient[] = {
        {"ff", 255}, {"00fF", 255}, {"9aF0", 0x9AF0}, {"ffffffff", -1}, {"8000000a", INT_MIN + 10}, {"12G4", -1},
        {"G", -1}, {"1/", -1}, {":", -1}, {"@1", -1}, {"1`", -1}, {"g", -1}, {" 1", -1}, {"-1", -1}, {"0x1", -1},
        {"\xC1", -1}, {"\xE9" "1", -1}, {"1\0"s, -1}, {"x000000000", -1}};
    for (const auto& [digits, value] : lenient) {
        SCOPED_TRACE(digits);
        EXPECT_EQ(applied(&StringUtil::hexStr2Long, digits), value);
        EXPECT_EQ(applied(&StringUtil::hexStr2LongW, widened(digits)), value);
        using lang::IllegalArgumentException;
        const auto narrow = [&text = digits] { applied(&StringUtil::fromHexString, text); };
        const auto wide = [&text = digits] { applied(&StringUtil::fromHexStringW, widened(text)); };
        expectFailure<IllegalArgumentException>(narrow, u"", {u"moraine::text::StringUtil"});
        expectFailure<IllegalArgumentException>(wide, u"", {u"moraine::text::StringUtil"});
    }
    EXPECT_EQ(applied(&StringUtil::hexStr2LongW, u"\x0141"s), -1);
    EXPECT_THROW(applied(&StringUtil::fromHexStringW, u"\xFF11"s), lang::IllegalArgumentException);
}

TEST(StringUtil, NumbersToHexadecimal) {
    for (unsigned int value = 0; value <= 0xFFFF; ++value) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%04X", value);
        ASSERT_EQ(*StringUtil().toHexStringW2M(static_cast<WideChar>(value)), digits);
        ASSERT_EQ(*StringUtil().toHexStringW(static_cast<WideChar>(value)), widened(digits));
        ASSERT_EQ(*StringUtil().toHexString(static_cast<char>(value)), digits + 2);
    }
}

TEST(StringUtil, ReplacingAndTrimming) {
    const std::string dashes(100, '-');
    const std::tuple<std::string, std::string, std::string, std::string> replacements[] = {
        {"aaa", "a", "aa", "aaaaaa"}, {"abab", "ab", "", ""}, {"aabb", "ab", "", "ab"}, {"aaaa", "aa", "b", "bb"},
        {"aaa", "aa", "a", "aa"}, {"aab", "ab", "x", "ax"}, {"abc", "abcd", "x", "abc"}, {"abc", "", "x", "abc"},
        {"", "a", "x", ""}, {"", "", "", ""}, {"xaxbx", "x", "", "ab"}, {"a\0b\0ab"s, "b", "[]", "a\0[]\0a[]"s},
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
        EXPECT_EQ(applied(&StringUtil::doLTrimW, widened(text)), widened(left));
        EXPECT_EQ(applied(&StringUtil::doRTrimW, widened(text)), widened(right));
        EXPECT_EQ(applied(&StringUtil::doTrimW, widened(text)), widened(both));
    }
}

TEST(StringUtil, CaseAndMultibyteTextByTheLocale) {
    std::string bytes(256, 0), upper(256, 0), lower(256, 0);
    for (std::size_t i = 0; i < 256; ++i) {
        bytes[i] = static_cast<char>(i);
        upper[i] = static_cast<char>(i >= 'a' && i <= 'z' ? i - 32 : i);
        lower[i] = static_cast<char>(i >= 'A' && i <= 'Z' ? i + 32 : i);
    }
    for (const char* name : {"C", "C.UTF-8"}) {
        const LocaleScope scope(name);
        const bool utf8 = scope.known && name == "C.UTF-8"s;
        EXPECT_EQ(applied(&StringUtil::toUpper, bytes), upper);
        EXPECT_EQ(applied(&StringUtil::toLower, bytes), lower);
        EXPECT_EQ(applied(&StringUtil::toUpperW, u"az{`\0a"s), u"AZ{`");
        EXPECT_EQ(applied(&StringUtil::toLowerW, u"AZ[@\0A"s), u"az[@");
        const WideString small = u"\u00E9\xD83D\uFF41", large = u"\u00C9\xD83D\uFF21";
        EXPECT_EQ(applied(&StringUtil::toUpperW, small), utf8 ? large : small);
        EXPECT_EQ(applied(&StringUtil::toLowerW, large), utf8 ? small : large);
        EXPECT_THROW(applied(&StringUtil::fromHexStringW, u"\xFF21"s), lang::IllegalArgumentException);
        // The result has the length of the input, and zeros where the conversion stops.
        const std::tuple<bool, WideString, std::string> multi[] = {
            {false, u"", ""}, {false, u"UTF-8", "UTF-8"}, {false, u"a\0b"s, "a\0\0"s}, {true, u"\u20ACab", "\u20AC"},
            {true, u"\u00E9\u00E9z", "\u00E9\0"s}, {true, u"\u00E9", "\0"s}, {false, u"a\xD83Dz", "a\0\0"s}};
        for (const auto& [onlyUtf8, text, result] : multi) {
            EXPECT_TRUE(applied(&StringUtil::toMulti, text) == result || (onlyUtf8 && !utf8)) << result;
        }
        const std::tuple<bool, std::string, WideString> wide[] = {
            {false, "", u""}, {false, "UTF-8", u"UTF-8"}, {false, "a\0b"s, u"a\0\0"s},
            {true, "\u20ACa", u"\u20ACa\0\0"s}, {true, "a\U0001F600", u"a\0\0\0\0"s}, {true, "a\xE2\x82", u"a\0\0"s},
            {true, "a\xFFz", u"a\0\0"s}};
        for (const auto& [onlyUtf8, text, result] : wide) {
            EXPECT_TRUE(applied(&StringUtil::toWide, text) == result || (onlyUtf8 && !utf8)) << text;
        }
    }
    EXPECT_EQ(applied(&StringUtil::wide2Chars, u""s), "");
    EXPECT_EQ(applied(&StringUtil::wide2Chars, u"\x41\x142\0\xFF\x100\xFFFF"s), "\x41\x01\x42\0\xFF\x01\0\xFF\xFF"s);
}

TEST(WideText, ComparisonsAndNumbers) {
    EXPECT_EQ(text::lengthOf(nullptr) + text::lengthOf(u"ab\0c"), 2U);
    EXPECT_TRUE(text::equal(nullptr, u"") && text::equal(u"ab", text::copyOf(u"ab").get()));
    EXPECT_FALSE(text::equal(u"a", u"ab") || text::equal(u"ab", u"a") || text::equal(u"a", u"\x0161"));
    const std::pair<WideString, long> rows[] = {
        {u"", 0}, {u"7", 7}, {u"-12x", -12}, {u" \t\n\v\f\r+3 4", 3}, {u"- 1", 0}, {u"+-1", 0}, {u"x1", 0},
        {u"0099", 99}, {u"\0" u"1"s, 0}, {u"\xFF11", 0}, {u"999999999999999999", 999999999999999999}};
    for (const auto& [digits, value] : rows) {
        EXPECT_EQ(text::decimalValue(digits.data(), digits.size()), value) << ::testing::PrintToString(digits);
    }
    WideString numbers;
    text::appendDecimal(numbers, LLONG_MAX);
    text::appendDecimal(numbers, LLONG_MIN);
    EXPECT_EQ(numbers, u"9223372036854775807-9223372036854775808");
}
// clang-format on

}  // namespace
}  // namespace moraine::test
