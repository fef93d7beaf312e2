#include "support.h"

#include "moraine/xml/XMLStringUtil.h"

namespace moraine::test {

TEST(References, HostileTextTakesLinearTime) {
    for (const WideChar* const piece : {u"&#", u"&", u"&amp", u"&#&lt", u"&#x", u"&#0"}) {
        WideString text;
        while (text.size() < 400000) {
            text += piece;
        }
        const auto resolved = xml::XMLStringUtil().reference2String(text.data(), 400000);
        EXPECT_EQ(*resolved, text.substr(0, 400000));
    }
}

}  // namespace moraine::test
