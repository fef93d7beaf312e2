#include "xml_support.h"

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/Wildcard.h"

namespace moraine::test {
namespace {

TEST(Wildcard, WideUnitsAndFailures) {
    text::Wildcard wildcard;
    EXPECT_TRUE(wildcard.isMatchW(u"a\x0161\xFFFF\x0631", u"*\x0161?\x0631"));
    EXPECT_FALSE(wildcard.isMatchW(u"\x0161", u"a") || wildcard.isMatchW(u"\x0131", u"#"));
    const std::vector<WideString> layers = {u"moraine::text::Wildcard"};
    expectFailure<lang::IllegalArgumentException>([&] { wildcard.isMatch("a", ""); }, u"The pattern length is 0.",
                                                  layers);
    expectFailure<lang::IllegalArgumentException>([&] { wildcard.isMatchW(u"abc", u"**"); }, u"Invalid pattern. : 1",
                                                  layers);
}

/// What both twins say.
bool isMatch(const WideString& text, const WideString& pattern) {
    const bool wide = text::Wildcard().isMatchW(text.c_str(), pattern.c_str());
    EXPECT_EQ(text::Wildcard().isMatch(bytesOf(text).c_str(), bytesOf(pattern).c_str()), wide);
    return wide;
}

TEST(Wildcard, HostilePatternsEndAtOnce) {
    const WideString text = WideString(1 << 20, u'a') + u"c", half(1 << 19, u'a');
    for (const WideString& piece :
         {WideString(u"*a"), u"*" + half, half + u"*a", u"*" + half + u"b", WideString(u"*aaaaaaa"),
          WideString(u"*aaaaaaaaaaaa?"), WideString(u"*a?a?a?a?a?a?a?a?a?a?a?a?b")}) {
        WideString pattern = piece;
        for (int i = 0; i < 40 && piece.size() < 100; ++i) {
            pattern += piece;
        }
        EXPECT_EQ(isMatch(text, pattern + u"*c"), piece.back() != u'b');
        EXPECT_FALSE(isMatch(text, pattern + u"*ac*c"));
    }
}

}  // namespace
}  // namespace moraine::test
