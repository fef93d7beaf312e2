#include <map>
#include <tuple>

#include "moraine/io/IOException.h"
#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/util/PropertyManager.h"

#include "xml_support.h"

namespace moraine::test {
namespace {

using util::PropertyManager;

const WideString manager = u"moraine::util::PropertyManager";
const WideChar* const encodings[] = {u"UTF-8", u"BASE64", u"URL"};

// clang-format off
/// What is written, with ";" behind each entry and "|" behind any other block.
std::string written(PropertyManager& properties, const WideChar* encoding = u"UTF-8") {
    Sink sink;
    properties.write(&sink, encoding);
    const std::string text = sink.joined("|");
    EXPECT_EQ(sink.closes, 0U);
    return *text::StringUtil().doReplace(text.data(), static_cast<unsigned int>(text.size()), "\r\n|", ";");
}

/// Reads bytes in blocks of a size. The message of a malformed line, or empty text.
WideString readMessage(PropertyManager& properties, const std::string& bytes, std::size_t block = 10240,
                       const WideChar* encoding = u"UTF-8") {
    std::vector<std::size_t> ends;
    for (std::size_t end = block; end < bytes.size(); end += block) { ends.push_back(end); }
    Source source(bytes, ends);
    try {
        properties.read(&source, encoding);
        return u"";
    } catch (io::DataFormatException& e) {
        const WideString message = *e.getMessage(), report = *e.getTrace(), layer = u"\r\n\tat " + manager + u"(";
        const bool isTwice = report.find(layer) != report.rfind(layer);
        EXPECT_TRUE(report.find(layer) < report.size() && isTwice == (message[0] != u'L')) << bytesOf(report);
        return message;
    }
}

// What comes of a text, in which line, and what is then in the table. "C=" is a line without "=" in front of one that
// has one: whether that is in hand depends on the blocks, and BASE64 always holds some back.
TEST(PropertyManager, Lines) {
    const std::map<WideChar, WideString> messages = {
        {u'W', u"Can't use white-space for line top."}, {u'=', u"Not found for '='."},
        {u'N', u"Can't find for property name."}, {u'C', u"Can't use char contained in property name."}};
    const auto rows = cellsOf(3, R"(
        \e  -  \e                 \n\r\n\r\n\n\r  -  \e     a=b  -  a=b;                  a=b\n  -  a=b;
        a=b\r\r\n  -  a=b;        a=b\rc\r  -  a=b\rc;      a=\r\r  -  a=;                a=\n\nb=c  -  a=;b=c;
        a=1\na=2\n\na=3  -  a=1;  #a=b\n#\n#  -  \e         \rx=1\na=b  -  a=b;         _z9=\u00E9  -  _z9=\u00C3\u00A9;
        \n=b  N2  \e              a=1\n=\nb=2  N2  a=1;     #\r\n\n\r\n\sa=b  W4  \e      a=b\n\s\n  W2  a=b;
        x\u0141=1  C1  \e         a=1\n\r\n#\n.=  C4  a=1;  abc  =1  \e                   a=b\n\t\n#x\n  =2  a=b;
        abc\nd=e  C=1  \e         a=1\nx\n#=  C=2  a=1;     a\u00E9\nb=2\n  C=1  \e       a=1\n\sb\nc=d  W2  a=1;)");
    for (std::size_t row = 0; row < rows.size() * 3; row += 3) {
        const WideChar* const encoding = encodings[row / rows.size()];
        const WideString &text = rows[row % rows.size()], &cell = rows[row % rows.size() + 1];
        const auto words = [&](WideChar kind) { return messages.at(kind) + u" : (" + cell.back() + u")"; };
        const WideString message = cell == u"-" ? u"" : words(cell[0]);
        const std::unique_ptr<text::IEncoder> encoder(text::EncoderManager().getEncoder(encoding));
        const std::string bytes = *encoder->doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
        for (std::size_t block = 1; block <= bytes.size() + 1; ++block) {
            SCOPED_TRACE(bytes + " in blocks of " + std::to_string(block));
            PropertyManager properties;
            properties.put(u"before", u"1");
            const WideString found = readMessage(properties, bytes, block, encoding);
            const bool depends = cell[1] == u'=' && (block < bytes.size() || encoding == encodings[1]);
            EXPECT_TRUE(found == message || (depends && found == words(u'='))) << bytesOf(found);
            EXPECT_EQ(written(properties), bytesOf(rows[row % rows.size() + 2]) + "|");
        }
    }
}

// A comment in front, a line behind it, the size of the blocks, and the number of the line that is too long. Behind the
// start of a line the second block may fill the buffer, but not if that start has to move.
TEST(PropertyManager, RoomForALine) {
    const std::tuple<std::size_t, std::size_t, std::size_t, WideString> rows[] = {
        {0, 10240, 10240, u""}, {0, 10241, 10240, u"1"}, {0, 10240, 5120, u""}, {0, 10241, 2, u"1"},
        {2, 10240, 10240, u"2"}, {5120, 5120, 5120, u""}, {5121, 10238, 10240, u""}, {5121, 10240, 10240, u"2"},
        {10237, 6, 10240, u""}, {10237, 7, 10240, u""}, {4, 10239, 10240, u""}, {4, 10240, 10240, u"2"},
        {9998, 10240, 2, u""}, {9998, 10241, 2, u"2"}, {5119, 10238, 5120, u""}};
    for (const auto& [front, size, block, number] : rows) {
        const std::string comment = front == 0 ? "" : std::string(front - 1, '#') + "\n";
        PropertyManager properties;
        const WideString found = readMessage(properties, comment + "a=" + std::string(size - 2, 'x'), block);
        EXPECT_EQ(found, number.empty() ? u"" : u"Line is too long. : (" + number + u")") << front << ' ' << size;
        EXPECT_EQ(text::lengthOf(properties.get(u"a")), number.empty() ? size - 2 : 0);
    }
}

TEST(PropertyManager, FailuresFromElsewhere) {
    PropertyManager properties;
    for (const unsigned int answer : {10241U, 0xFFFFFFFFU, 1U, 0U}) {
        Source source("a=1\nb=2\nc=3", {5, 10});
        source.faultyRead = 3;
        source.fault = [&, answer = answer] { return answer == 1 ? throw io::IOException(u"x", 1) : answer; };
        const auto read = [&] { properties.read(&source, u"UTF-8"); };
        const WideString message = answer == 1 ? u"" : u"The stream could not be read.";
        answer == 0 ? read() : expectFailure<io::IOException>(read, message, {answer == 1 ? u"x" : manager});
        EXPECT_EQ(written(properties), answer == 0 ? "a=1;b=2;c=;|" : "a=1;b=2;|");
    }
    using lang::IllegalArgumentException;
    Source source("c=3\nd=\xE2\x82");
    const WideString layers[] = {u"moraine::text::DecoderManager", u"moraine::text::EncoderManager"};
    const auto readOther = [&] { properties.read(&source, u"UTF8"); };
    expectFailure<text::UnsupportedEncodingException>(readOther, u"", {layers[0], manager});
    expectFailure<text::UnsupportedEncodingException>([&] { written(properties, u"UTF8"); }, u"", {layers[1], manager});
    EXPECT_TRUE(source.reads == 0 && properties.count() == 3);
    const WideString decoder = u"moraine::text::UTF8Decoder";
    expectFailure<IllegalArgumentException>([&] { properties.read(&source, u"utf-8"); }, u"", {decoder});
    EXPECT_EQ(written(properties), "c=3;|");
}

TEST(PropertyManager, AValueEndsAtAZeroUnitAndTheNextOnesStay) {
    PropertyManager properties;
    Source url("a=1%00%002%00%0D%00%0Ab=3%00%0D%00%0Ac=%00%00");
    properties.read(&url, u"URL");
    EXPECT_EQ(written(properties), "a=1;b=3;c=;|");
    EXPECT_EQ(shown(properties.get(u"a")) + shown(properties.get(u"c")), u"1");
}

TEST(PropertyManager, TheStreamMayChangeTheTableWhileItIsWritten) {
    struct Changing : Sink {
        unsigned int write(const char* data, unsigned int length) override {
            if (writes == 0) {
                table->remove(u"b"), table->remove(u"c"), table->put(u"bb", u"new"), table->put(u"a", u"late");
            } else if (writes == 2) {
                table->removeAll();
            }
            return Sink::write(data, length);
        }
        PropertyManager* table = nullptr;
    } sink;
    PropertyManager properties;
    for (const WideChar* name : {u"e", u"d", u"c", u"b"}) {
        properties.put(name, u"");
    }
    sink.table = &properties;
    properties.write(&sink, u"UTF-8");
    EXPECT_EQ(sink.joined(";"), "b=\r\n;bb=new\r\n;d=\r\n;;");
    EXPECT_EQ(properties.count(), 0U);
}

TEST(PropertyManager, Table) {
    PropertyManager properties;
    for (const WideChar* name : {u"b", u"a", u"B", u"_", u"aa", u"0"}) {
        properties.put(name, name);
    }
    properties.put(nullptr, nullptr);
    properties.remove(nullptr);
    EXPECT_EQ(shown(properties.get(u"c")) + shown(properties.get(u"")) + shown(properties.get(nullptr)), u"~~");
    EXPECT_EQ(written(properties), "=;0=0;B=B;_=_;a=a;aa=aa;b=b;|");
    const WideString words = u"Can't use char contained in property name.";
    const WideString useable = u"0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";
    for (unsigned int unit = 1; unit <= 0xFFFF; ++unit) {
        const WideString name = {u'x', static_cast<WideChar>(unit)};
        const auto put = [&] { properties.put(name.c_str(), u""); };
        const bool isUseable = useable.find(name[1]) != WideString::npos;
        isUseable ? put() : expectFailure<io::DataFormatException>(put, words, {manager});
    }
}

// clang-format on

}  // namespace
}  // namespace moraine::test
