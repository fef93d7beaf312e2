#include "xml_support.h"

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
