// The examples of docs/strings.md.

#include <moraine/lang/IllegalArgumentException.h>
#include <moraine/text/StringUtil.h>
#include <moraine/text/Wildcard.h>

#include "tests/support.h"

using namespace moraine;

namespace {

TEST(Strings, AreChangedInCopies) {
    //! [strings]
    text::StringUtil util;
    const WideString path = u"  C:\\data\\list ";
    const OwnedWideString trimmed = util.doTrimW(path.data(), static_cast<unsigned int>(path.size()));
    const OwnedWideString slashes =
        util.doReplaceW(trimmed->data(), static_cast<unsigned int>(trimmed->size()), u"\\", u"/");  // "C:/data/list"
    const std::int32_t colour = util.hexStr2Long("ff8000", 6);                                      // 16744448
    const OwnedByteString digits = util.toHexString('\x7f');                                        // "7F"
    //! [strings]
    EXPECT_EQ(*slashes, u"C:/data/list");
    EXPECT_EQ(colour, 0xFF8000);
    EXPECT_EQ(*digits, "7F");
}

TEST(Strings, AreMatched) {
    //! [wildcard]
    text::Wildcard wildcard;
    const bool photo = wildcard.isMatch("img-0042.jpeg", "img-####.*");  // true
    const bool backup = wildcard.isMatch("list.txt.bak", "*.txt");       // false: the whole text must match
    //! [wildcard]
    EXPECT_TRUE(photo);
    EXPECT_FALSE(backup);
    EXPECT_THROW(wildcard.isMatch("a", "*?"), lang::IllegalArgumentException);
}

}  // namespace
