#include "support.h"

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

}  // namespace
}  // namespace moraine::test
