#include "moraine/extras/Utf8.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/lang/IllegalArgumentException.h"

#include "tests/support.h"

using namespace moraine;
using extras::Malformed;

namespace {

// Both directions, with the place of the first fault where it is refused.
struct Conversion {
    std::string bytes;
    WideString units;
    int fault;  // -1 for none
};

const std::string fffd = "\xef\xbf\xbd";

TEST(Utf8, BytesToUnits) {
    const Conversion conversions[] = {
        {"", u"", -1},
        {std::string("a\0b", 3), WideString(u"a\0b", 3), -1},
        {"\x7f\xc2\x80\xdf\xbf\xe0\xa0\x80\xef\xbf\xbf", u"\u007f\u0080\u07ff\u0800\uffff", -1},
        {"\xed\x9f\xbf\xee\x80\x80", u"\ud7ff\ue000", -1},
        {"\xf0\x90\x80\x80\xf4\x8f\xbf\xbf", u"\U00010000\U0010ffff", -1},
        {"\xef\xbb\xbf", u"\ufeff", -1},
        // What begins nothing, and what cannot go on.
        {"a\x80z", u"a\ufffdz", 1},
        {"\xc0\x80", u"\ufffd\ufffd", 0},
        {"\xc1\xbf", u"\ufffd\ufffd", 0},
        {"ab\xc2", u"ab\ufffd", 2},
        {"\xc2\x41", u"\ufffdA", 0},
        {"\xe0\x9f\xbf", u"\ufffd\ufffd\ufffd", 0},
        {"\xe0\xa0", u"\ufffd", 0},
        {"\xe1\x80\xe1\x80z", u"\ufffd\ufffdz", 0},
        {"\xed\xa0\x80", u"\ufffd\ufffd\ufffd", 0},
        {"\xf0\x8f\xbf\xbf", u"\ufffd\ufffd\ufffd\ufffd", 0},
        {"\xf0\x9f\x98z", u"\ufffdz", 0},
        {"\xf4\x90\x80\x80", u"\ufffd\ufffd\ufffd\ufffd", 0},
        {"\xf5\xff\xf8", u"\ufffd\ufffd\ufffd", 0},
        {"\xf1\x80\xf1\x80\x80\xc3\xa9", u"\ufffd\ufffd\u00e9", 0},
    };
    for (const Conversion& c : conversions) {
        // Also where a word of eight bytes begins in front of it, and plain text stands behind.
        for (const std::size_t before : {0U, 5U, 8U, 31U}) {
            const std::string front(before, 'x');
            const WideString wideFront(before, u'x');
            EXPECT_EQ(extras::fromUtf8(front + c.bytes + front), wideFront + c.units + wideFront) << c.bytes;
            const auto refusing = [&] { return extras::fromUtf8(front + c.bytes, Malformed::refuse); };
            if (c.fault < 0) {
                EXPECT_EQ(refusing(), wideFront + c.units);
                EXPECT_EQ(extras::toUtf8(wideFront + c.units, Malformed::refuse), front + c.bytes);
            } else {
                const std::string offset = std::to_string(before + static_cast<std::size_t>(c.fault));
                test::expectFailure<lang::IllegalArgumentException>(
                    refusing, u"Malformed UTF-8. : offset " + WideString(offset.begin(), offset.end()));
            }
        }
    }
}

TEST(Utf8, HalvesOfPairs) {
    const Conversion conversions[] = {
        {"a" + fffd + "b", {u'a', 0xd83d, u'b'}, 1},
        {fffd, {0xdbff}, 0},
        {fffd, {0xdc00}, 0},
        {fffd + fffd, {0xdfff, 0xd800}, 0},
        {fffd + "\xf0\x9f\x98\x80", {0xd83d, 0xd83d, 0xde00}, 0},
        {"\xf0\x9f\x98\x80" + fffd, {0xd83d, 0xde00, 0xde00}, 2},
    };
    for (const Conversion& c : conversions) {
        EXPECT_EQ(extras::toUtf8(c.units), c.bytes);
        test::expectFailure<lang::IllegalArgumentException>([&] { extras::toUtf8(c.units, Malformed::refuse); },
                                                            u"Half a surrogate pair. : offset " +
                                                                WideString(1, static_cast<WideChar>(u'0' + c.fault)));
    }
}

TEST(Utf8, ReportsForATerminal) {
    io::DataFormatException failure(u"my::Class", 12);
    failure.setMessage(u"\u00e9\U0001f600");
    failure.addTrace(u"my::Caller", 3);
    EXPECT_EQ(extras::report(failure), "moraine::io::DataFormatException : \xc3\xa9\xf0\x9f\x98\x80\n"
                                       "\tat my::Class(12)\n\tat my::Caller(3)\n");
}

}  // namespace
