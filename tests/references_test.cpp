#include "xml_support.h"

#include <cstdlib>
#include <optional>
#include <random>

#include "moraine/text/StringUtil.h"
#include "moraine/xml/XMLStringUtil.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using xml::XMLStringUtil;

/// Converts a text in a buffer of its exact size, so that the sanitizer sees a read behind it.
template <auto operation>
WideString converted(const WideString& text) {
    const std::vector<WideChar> exact(text.begin(), text.end());
    return *(XMLStringUtil().*operation)(exact.data(), static_cast<unsigned int>(exact.size()));
}
constexpr auto toReferences = converted<&XMLStringUtil::string2Reference>;
constexpr auto fromReferences = converted<&XMLStringUtil::reference2String>;
constexpr auto fromNumbers = converted<&XMLStringUtil::replace4Reference>;

void expectCells(WideString (*convert)(const WideString&), const std::string& table) {
    const std::vector<WideString> cells = cellsOf(2, table);
    for (std::size_t i = 0; i < cells.size(); i += 2) {
        EXPECT_EQ(convert(cells[i]), cells[i + 1] == u"same" ? cells[i] : cells[i + 1])
            << testing::PrintToString(cells[i]);
    }
}

TEST(References, Written) {
    expectCells(toReferences, R"T(
        \e       \e           a<b        a&lt;b            say "hi"       say &quot;hi&quot;
        it's     it&#39;s     &lt;       &amp;lt;          12345678&>     12345678&amp;&gt;
        <>&'"    &lt;&gt;&amp;&#39;&quot;                  a\0<\r\n\t\u00E9\uFFFF    a\0&lt;\r\n\t\u00E9\uFFFF)T");
}

TEST(References, NamedOnesAreResolvedOnceAndInOrder) {
    expectCells(fromReferences, R"T(
        \e              \e         &lt;&gt;&apos;&quot;    <>'"        it&apos;s it&#39;s    it's it's
        &LT; &nbsp;     same       & &lt &amp &;           same        \0&lt;&amp;&#65;      \0<&&#65;
        &amp;amp;       &amp;      &#38;amp;               &           &#38;lt;              &lt;
        &a&#109;p;      &          &&amp;amp;              &&amp;      &#&lt;65;             &#<65;
        &#&amp;         &#&        &#65&gt;;               A           &#38;&#97;&#109;p&#59;amp;    &amp;)T");
}

TEST(References, NumericOnesGiveOneUnitOrStay) {
    expectCells(fromNumbers, R"T(
        &#65;&#x41;&#x0041;    AAA                &#00000065;         A         &#000000065; &#x0000041;    same
        &#X41; &#0; &#;        same               &#x1F600;&#65601;   \uF600\u0041      &#x;&#x0;          \0\0
        &#65a;&#-1;            A\uFFFF            &amp;&lt;&#38;      &amp;&lt;&       &#65;\0&#65;       A\0&#65;)T");
}

/// The unit that stands for what is between "&#" and ";", if any does.
std::optional<WideChar> unitOf(const std::string& digits) {
    const bool hex = !digits.empty() && digits[0] == 'x';
    if (digits.size() > (hex ? 7 : 8) ||
        (hex && digits.find_first_not_of("0123456789abcdefABCDEF", 1) != std::string::npos)) {
        return std::nullopt;
    }
    const long value = hex ? std::strtol(digits.c_str() + 1, nullptr, 16) : std::strtol(digits.c_str(), nullptr, 10);
    return hex || value != 0 ? std::optional(static_cast<WideChar>(value)) : std::nullopt;
}

WideString numbersByModel(const WideString& text) {
    const WideString searched = text.substr(0, text.find(u'\0'));
    WideString result;
    for (std::size_t at = 0;;) {
        const std::size_t begin = searched.find(u"&#", at);
        const std::size_t end = begin == WideString::npos ? begin : searched.find(u';', begin);
        if (end == WideString::npos) {
            return result + text.substr(at);
        }
        result += text.substr(at, begin - at);
        const std::optional<WideChar> unit = unitOf(std::string(&searched[begin + 2], &searched[end]));
        result += unit ? WideString(1, *unit) : searched.substr(begin, end + 1 - begin);
        at = end + 1;
    }
}

WideString literalByModel(WideString text) {
    const auto replace = [&](const WideChar* search, const WideChar* with) {
        text = *text::StringUtil().doReplaceW(text.data(), static_cast<unsigned int>(text.size()), search, with);
    };
    replace(u"&lt;", u"<");
    replace(u"&gt;", u">");
    replace(u"&apos;", u"'");
    replace(u"&quot;", u"\"");
    text = numbersByModel(text);
    replace(u"&amp;", u"&");
    return text;
}

TEST(References, OneWalkDoesWhatThePassesDo) {
    std::mt19937 random(1);
    const WideString units = u"&&&#x;;ltgampposqu06538 -A\0"s;
    const std::vector<WideString> pieces = {u"&lt;", u"&gt;", u"&apos;", u"&quot;", u"&amp;", u"&#38;", u"&#x26;",
                                            u"amp;", u"&#",   u"&#97;",  u"&#109;", u"&#59;", u"&#1"};
    const auto below = [&](std::size_t count) { return random() % count; };
    for (int i = 0; i < 120000 && !testing::Test::HasFailure(); ++i) {
        WideString text;
        for (std::size_t left = below(14) + 1; left > 0; --left) {
            text +=
                i % 2 == 0 || below(2) == 0 ? WideString(1, units[below(units.size())]) : pieces[below(pieces.size())];
        }
        SCOPED_TRACE(testing::PrintToString(text));
        ASSERT_EQ(fromReferences(text), literalByModel(text));
        ASSERT_EQ(fromNumbers(text), numbersByModel(text));
        ASSERT_EQ(fromReferences(toReferences(text)), text);
    }
}

TEST(References, HostileTextTakesLinearTime) {
    for (const WideString& piece : {u"&#"s, u"&"s, u"&amp"s, u"&#&lt"s, u"&#x"s, u"&#0"s, u"&#\0"s}) {
        WideString text;
        while (text.size() < 400000) {
            text += piece;
        }
        EXPECT_EQ(fromReferences(text), text);
    }
}

}  // namespace
}  // namespace moraine::test
