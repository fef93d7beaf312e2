#include "xml_support.h"

#include <numeric>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/Wildcard.h"

namespace moraine::test {
namespace {

/// Expects "yes", "no" or the message of a failure from both twins, whose texts lie in blocks of their exact size.
void expectMatch(const WideString& text, const WideString& pattern, const WideString& outcome) {
    SCOPED_TRACE(bytesOf(text).substr(0, 400) + " by " + bytesOf(pattern).substr(0, 400));
    const auto check = [&](auto isMatch, auto unit) {
        const std::vector<decltype(unit)> buffer(text.c_str(), text.c_str() + text.size() + 1);
        const std::vector<decltype(unit)> rule(pattern.c_str(), pattern.c_str() + pattern.size() + 1);
        const auto action = [&] { return (text::Wildcard().*isMatch)(buffer.data(), rule.data()); };
        if (outcome == u"yes" || outcome == u"no") {
            EXPECT_EQ(action(), outcome == u"yes");
        } else {
            expectFailure<lang::IllegalArgumentException>(action, outcome, {u"moraine::text::Wildcard"});
        }
    };
    check(&text::Wildcard::isMatch, char());
    check(&text::Wildcard::isMatchW, WideChar());
}

TEST(Wildcard, Table) {
    const auto rows = cellsOf(3, R"(
        abc  ABC  no    a?  a  no    a  a?  no    \u00E9  ?  yes    a\u00B2  a#  no    a[b]c  a[b]c  yes    b  [b]  no
        #  #  no    abc  ab*  yes   abc  abc*  yes    ab  abc*  no    .txt  *.txt  yes    txt  *.txt  no   a.t  a*.T  no
        aba  ab*ba  no    abba  ab*ba  yes    ab  ab*?  no    ab  ab**  no    xy  a*?  no    abc  *d**  no
        \e  \e  The buffer length is 0.    \e  **  The buffer length is 0.       a  \e  The pattern length is 0.
        abc  **  Invalid pattern. : 1      axbxxxxxxxxxc  a*bxxxxxxxxx*?  Invalid pattern. : 13)");
    for (std::size_t i = 0; i < rows.size(); i += 3) {
        expectMatch(rows[i], rows[i + 1], rows[i + 2]);
    }
    EXPECT_TRUE(text::Wildcard().isMatchW(u"a\x0161\xFFFF\x0631", u"*\x0161?\x0631"));
    EXPECT_FALSE(text::Wildcard().isMatchW(u"\x0161", u"a") || text::Wildcard().isMatchW(u"\x0131", u"#"));
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
        expectMatch(text, pattern + u"*c", piece.back() == u'b' ? u"no" : u"yes");
        expectMatch(text, pattern + u"*ac*c", u"no");
    }
}

// What a unit shares with another one, a byte of it, must not let it pass for that one.
TEST(Wildcard, ManyDifferentUnitsInOnePart) {
    WideString part(20000, 0);
    std::iota(part.begin(), part.end(), WideChar(0x80));
    const WideString pattern = u"*" + part + u"?*";
    for (const int difference : {0, 1, 0x100, 0x4000}) {
        WideString text = part + u"x";
        text[10000] = static_cast<WideChar>(text[10000] ^ difference);
        EXPECT_EQ(text::Wildcard().isMatchW(text.c_str(), pattern.c_str()), difference == 0);
    }
}

}  // namespace
}  // namespace moraine::test
