#include <random>

#include "moraine/extras/TextInputStream.h"
#include "moraine/extras/TextOutputStream.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/text/UTF8Encoder.h"
#include "moraine/util/PropertyManager.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "extras_support.h"

using namespace moraine;
using namespace moraine::test;
using extras::Malformed;
using namespace std::string_literals;

namespace {

const std::string mark = "\xef\xbb\xbf";
const std::string fffd = "\xef\xbf\xbd";
const std::string face = "\xf0\x9f\x98\x80";
const std::string pair = "\xed\xa0\xbd\xed\xb8\x80";

std::string randomText(std::mt19937& random, std::size_t length) {
    static const std::string parts[] = {
        "a",  "word ", "\n",   "\r\n", "\r",   "\xc3\xa9", "\xe2\x82\xac", face,      "<",
        "<!", "<!-",   "<!--", "-",    "\xff", "\xe2\x82", "\xed\xa0\x80", "\xf0\x9f"};
    std::string text;
    while (text.size() < length) {
        text += parts[random() % std::size(parts)];
    }
    return text;
}

TEST(TextInput, Forms) {
    const struct {
        std::string bytes, form, place;  // and where it is refused
    } cases[] = {
        {"", "", ""},
        {mark, "", ""},
        {mark + mark + "a", mark + "a", ""},
        {"\xef\xbb", fffd, "line 1, column 1"},
        {"a" + face + "\r\n", "a" + pair + "\r\n", ""},
        {"a\nb" + face + "\xff" + "c", "a\nb" + pair + fffd + "c", "line 2, column 3"},
        {"a\r\r\n\xe2\x82z", "a\r\r\n" + fffd + "z", "line 3, column 1"},
        {"a\0b"s, "a" + fffd + "b", "line 1, column 2"},
        {"\xed\xa0\xbd\xed\xb8\x80", fffd + fffd + fffd + fffd + fffd + fffd, "line 1, column 1"},
        {face.substr(0, 3), fffd, "line 1, column 1"},
        {std::string(100, 'x') + "\xc3", std::string(100, 'x') + fffd, "line 1, column 101"},
    };
    for (const auto& c : cases) {
        for (const std::size_t block : {1000U, 1U, 2U, 3U}) {
            Blocks lenient(c.bytes, block);
            extras::TextInputStream text(lenient);
            EXPECT_EQ(drain(text), c.form);
            Blocks strict(c.bytes, block);
            extras::TextInputStream refusing(strict, Malformed::refuse);
            const std::string wanted = c.place.empty() ? "" : "Malformed UTF-8. : " + c.place;
            EXPECT_EQ(failureOf([&] { drain(refusing); }), wanted);
            EXPECT_EQ(failureOf([&] { drain(refusing); }), wanted);
            if (!c.place.empty()) {
                EXPECT_EQ("line " + std::to_string(refusing.line()) + ", column " + std::to_string(refusing.column()),
                          c.place);
            }
        }
    }
}

// However it is read: the same text as at once, in pieces that can be decoded by themselves.
TEST(TextInput, Pieces) {
    std::mt19937 random(7);
    for (int round = 0; round < 300; ++round) {
        const std::string document = randomText(random, round % 10 == 0 ? 40000 : 200);
        Blocks whole(document);
        extras::TextInputStream reference(whole);
        const std::string wanted = drain(reference, 1 << 20);
        WideString decoded =
            *text::UTF8Decoder().doDecodeM2W(wanted.data(), static_cast<unsigned int>(wanted.size()), true);
        EXPECT_EQ(decoded, extras::fromUtf8(document));
        const unsigned int length = round % 3 == 0 ? 16 + static_cast<unsigned int>(random() % 100) : 10240;
        Blocks blocks(document, round % 2 == 0 ? 1 + random() % 50 : 100000);
        extras::TextInputStream text(blocks);
        std::string all, piece(length, 0);
        unsigned long line = 1;
        while (const unsigned int count = text.read(piece.data(), length)) {
            ASSERT_LT(count, 10240U);
            const std::string_view part(piece.data(), count);
            EXPECT_NO_THROW(text::UTF8Decoder().doDecodeM2W(part.data(), count, true));
            all += part;
            line += static_cast<unsigned long>(std::count(part.begin(), part.end(), '\n'));
            for (std::size_t at = part.find('\r'); at != std::string_view::npos; at = part.find('\r', at + 1)) {
                line += all[all.size() - count + at + 1] != '\n' ? 1 : 0;
            }
            EXPECT_EQ(text.line(), line);
            if (all.size() < wanted.size()) {
                EXPECT_NE((wanted[all.size()] & 0xc0), 0x80);
                EXPECT_FALSE(wanted.compare(all.size(), 1, "\xed") == 0 &&
                             static_cast<unsigned char>(wanted[all.size() + 1]) >= 0xb0);
                EXPECT_FALSE(part.back() == '\r' && wanted[all.size()] == '\n');
                const bool opens = part.back() == '<' || (count > 4 && part.substr(count - 4) == "<!--");
                EXPECT_FALSE(opens && part.find_first_not_of("<!-") != std::string_view::npos) << part;
            }
        }
        ASSERT_EQ(all, wanted);
    }
    Blocks blocks("\xe2\x82\xac\r\n");
    extras::TextInputStream text(blocks);
    EXPECT_EQ(drain(text, 1), "\xe2\x82\xac\r\n");
}

// Any file with lines that the table can hold at all is read, whatever its length and the source's blocks.
TEST(TextInput, SuitsPropertyManager) {
    std::mt19937 random(3);
    for (const std::size_t block : {1000000U, 10240U, 4096U, 100U, 7U}) {
        std::string document = mark;
        for (int i = 0; document.size() < 300000; ++i) {
            const std::size_t length = i % 10 == 0 ? 10239 - 7 - std::to_string(i).size() : random() % 200;
            const std::string unit = i % 3 == 0 ? "x" : i % 3 == 1 ? "\xc3\xa9" : "\xe2\x82\xac";
            document += "name" + std::to_string(i) + "=";
            for (std::size_t k = 0; k < length; ++k) {
                document += unit;
            }
            document += "\r\n";
        }
        Blocks blocks(document, block);
        extras::TextInputStream text(blocks);
        util::PropertyManager table;
        ASSERT_EQ(failureOf([&] { table.read(&text, u"utf-8"); }), "") << block;
        EXPECT_EQ(table.count(), static_cast<unsigned int>(std::count(document.begin(), document.end(), '\n')));
    }
}

TEST(TextInput, SuitsXmlReader) {
    std::string document = mark + "<?xml version=\"1.0\"?><a>";
    for (int i = 0; i < 3000; ++i) {
        document +=
            "<b>" + std::string(static_cast<std::size_t>(i % 17), 'x') + face + "</b><!--" + std::to_string(i) + "-->";
    }
    document += "</a>";
    for (const std::size_t block : {1000000U, 10240U, 5U, 1U}) {
        Blocks blocks(document, block);
        extras::TextInputStream text(blocks);
        xml::DOM::XMLReader reader(&text);
        int pieces = 0;
        ASSERT_EQ(failureOf([&] {
                      while (reader.doRead()) {
                          ++pieces;
                      }
                  }),
                  "")
            << block;
        EXPECT_EQ(pieces, 4 + 4 * 3000);
    }
}

TEST(TextInput, MovesAndCloses) {
    const std::string content = std::string(30000, 'x') + "\n" + std::string(30000, 'y');
    Blocks blocks(content, 1000);
    extras::TextInputStream text(blocks);
    text.skip(30001);
    EXPECT_EQ(text.line(), 2UL);
    EXPECT_EQ(text.column(), 1UL);
    text.skip(-10001);
    EXPECT_EQ(text.line(), 1UL);
    char buffer[20000];
    const unsigned int count = text.read(buffer, sizeof buffer);
    EXPECT_EQ(std::string(buffer, count), content.substr(20000, count));
    EXPECT_EQ(failureOf([&] { text.skip(-60001); }), "The range of the data was exceeded. : -60001");
    EXPECT_EQ(failureOf([&] { text.skip(60001); }), "The range of the data was exceeded. : 60001");
    text.close();
    text.close();
    EXPECT_EQ(blocks.closes, 1);
    expectFailure<io::IOException>([&] { text.read(buffer, 1); }, u"The stream is closed.");
}

TEST(TextOutput, Forms) {
    const struct {
        std::string bytes, form;
        int fault;  // the offset where it is refused, or -1
    } cases[] = {
        {"", "", -1},
        {"a\0b\r\n"s, "a\0b\r\n"s, -1},
        {"\xc3\xa9\xe2\x82\xac" + face, "\xc3\xa9\xe2\x82\xac" + face, -1},
        {"x" + pair + "\xf4\x8f\xbf\xbf" + "y", "x" + face + "\xf4\x8f\xbf\xbf" + "y", -1},
        {"a\xed\xa0\xbd" + pair, "a" + fffd + face, 1},
        {pair + "\xed\xb8\x80z", face + fffd + "z", 6},
        {"\xed\xa0\xbdz", fffd + "z", 0},
        {"\xed\xa0\xbd", fffd, 0},
        {"\xed\xa0\xbd\xed\xb8", fffd + fffd, 0},
        {"\xed\xa0\xbd\xed\x9f\xbf", fffd + "\xed\x9f\xbf", 0},
        {"\xed\xa0\xbd\xed", fffd + fffd, 0},
        {"ab\xe2\x82", "ab" + fffd, 2},
        {"\x80\xff", fffd + fffd, 0},
        {"\xed\xa0z", fffd + fffd + "z", 0},
    };
    for (const auto& c : cases) {
        // Every cut into three blocks.
        for (std::size_t first = 0; first <= c.bytes.size(); ++first) {
            for (std::size_t second = first; second <= c.bytes.size(); ++second) {
                for (const Malformed malformed : {Malformed::replace, Malformed::refuse}) {
                    Keeper target;
                    extras::TextOutputStream text(target, malformed);
                    const std::string failure = failureOf([&] {
                        const char* const bytes = c.bytes.data();
                        EXPECT_EQ(text.write(bytes, static_cast<unsigned int>(first)), first);
                        EXPECT_EQ(text.write(bytes + first, static_cast<unsigned int>(second - first)), second - first);
                        text.write(bytes + second, static_cast<unsigned int>(c.bytes.size() - second));
                        text.close();
                    });
                    if (malformed == Malformed::replace || c.fault < 0) {
                        EXPECT_EQ(failure, "");
                        EXPECT_EQ(target.bytes, c.form) << first << " " << second;
                    } else {
                        EXPECT_EQ(failure, "Malformed UTF-8. : offset " + std::to_string(c.fault));
                        const bool closed = target.closes > 0;
                        EXPECT_EQ(failureOf([&] { text.write("x", 1); }), closed ? "The stream is closed." : failure);
                        EXPECT_EQ(failureOf([&] { text.close(); }), closed ? "" : failure);
                    }
                    EXPECT_EQ(target.closes, 1);
                }
            }
        }
    }
}

// What the library's encoder makes of any units, and what it makes of them in one go.
TEST(TextOutput, IsTheCounterpart) {
    std::mt19937 random(5);
    WideString units;
    for (int i = 0; i < 20000; ++i) {
        const auto unit = static_cast<WideChar>(random());
        units += i % 3 == 0 ? static_cast<WideChar>(0xd800 | (unit & 0x7ff)) : unit;
    }
    Keeper target;
    extras::TextOutputStream text(target);
    text::UTF8Encoder encoder;
    for (std::size_t at = 0; at < units.size();) {
        const auto length = static_cast<unsigned int>(std::min<std::size_t>(random() % 50, units.size() - at));
        const OwnedByteString bytes = encoder.doEncodeW2M(units.data() + at, length, false);
        text.write(bytes->data(), static_cast<unsigned int>(bytes->size()));
        at += length;
    }
    text.flush();
    text.close();
    EXPECT_EQ(target.flushes, 1);
    EXPECT_EQ(target.bytes, extras::toUtf8(units));
}

TEST(TextOutput, Targets) {
    Keeper target;
    extras::TextOutputStream text(target);
    text.close();
    text.close();
    text.flush();
    EXPECT_EQ(target.closes, 1);
    EXPECT_EQ(target.flushes, 0);
    expectFailure<io::IOException>([&] { text.write("x", 1); }, u"The stream is closed.",
                                   {u"moraine::extras::TextOutputStream"});
    for (const unsigned int most : {0U, 1U}) {
        Keeper bad;
        bad.most = most;
        bad.excess = most == 0 ? 0 : 100;
        extras::TextOutputStream failing(bad);
        expectFailure<io::IOException>([&] { failing.write("xyz", 3); }, u"The stream could not be written.");
    }
}

}  // namespace
