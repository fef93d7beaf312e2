#include "moraine/extras/Cursor.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/text/WideChar.h"

#include "extras_support.h"

using namespace moraine;
using namespace moraine::test;
using extras::Cursor;

namespace {

/// Everything that the accessors tell of the piece.
std::string pieceOf(const Cursor& cursor) {
    const auto narrow = [](std::u16string_view text) {
        EXPECT_NE(text.data(), nullptr);
        EXPECT_EQ(text::lengthOf(text.data()), text.size());
        return extras::toUtf8(text);
    };
    EXPECT_LE(cursor.isStart() + cursor.isEnd() + cursor.isText() + cursor.isComment(), 1);
    std::string piece = std::to_string(cursor.depth()) + (cursor.isStart()     ? "<"
                                                          : cursor.isEnd()     ? ">"
                                                          : cursor.isText()    ? "'"
                                                          : cursor.isComment() ? "!"
                                                                               : "-");
    piece += (cursor.isEmpty() ? "/" : "") + narrow(cursor.name()) + narrow(cursor.value());
    for (unsigned int i = 0; i < cursor.attributeCount(); ++i) {
        piece += " " + narrow(cursor.attributeName(i)) + "=" + narrow(cursor.attributeValue(i));
        EXPECT_EQ(cursor.attribute(cursor.attributeName(i), u"?"), cursor.attributeValue(i));
    }
    EXPECT_EQ(cursor.attribute(u"none", u"?"), u"?");
    EXPECT_EQ(narrow(cursor.attribute(u"none")), "");
    EXPECT_FALSE(cursor.hasAttribute(u"none"));
    return piece;
}

const std::string document = "<!--c--><r><a x='1' y=''/>t<b><b>u</b><![CDATA[v]]><!----></b> <c></c></r>";

TEST(Cursor, Pieces) {
    Blocks blocks(document);
    Cursor cursor(blocks);
    std::string all = pieceOf(cursor);
    while (cursor.next()) {
        all += "|" + pieceOf(cursor);
    }
    EXPECT_EQ(all + "|" + pieceOf(cursor), "0-|0!c|0<r|1</a x=1 y=|1>/a|1't|1<b|2<b|3'u|2>b|2'v|2!|1>b|1<c|1>c|0>r|0-");
    EXPECT_FALSE(cursor.next());
    EXPECT_EQ(blocks.closes, 0);
}

TEST(Cursor, Moves) {
    Blocks blocks(document);
    Cursor cursor(blocks);
    EXPECT_EQ(cursor.text(), u"");
    EXPECT_TRUE(cursor.nextStart(u"a"));
    EXPECT_TRUE(cursor.isStart(u"a") && !cursor.isStart(u"b") && !cursor.isEnd(u"a"));
    EXPECT_EQ(*cursor.findAttribute(u"y"), u"");
    EXPECT_EQ(cursor.findAttribute(u"z"), std::nullopt);
    expectFailure<lang::ArrayIndexOutBoundsException>([&] { cursor.attributeValue(2); }, u"2 > 2");
    EXPECT_EQ(cursor.text(), u"");
    EXPECT_TRUE(cursor.isEnd(u"a"));
    expectFailure<lang::ArrayIndexOutBoundsException>([&] { cursor.attributeName(0); }, u"0 > 0");
    cursor.skipElement();
    EXPECT_TRUE(cursor.next());
    EXPECT_EQ(cursor.text(), u"t");
    EXPECT_TRUE(cursor.nextStart());
    EXPECT_EQ(cursor.text(), u"uv");
    EXPECT_TRUE(cursor.isEnd(u"b"));
    EXPECT_EQ(cursor.depth(), 1U);
    EXPECT_FALSE(cursor.nextStart(u"b"));
    EXPECT_EQ(cursor.depth(), 0U);
}

TEST(Cursor, StaysWithinAnElement) {
    Blocks blocks(document);
    Cursor cursor(blocks);
    cursor.nextStart();
    std::string children;
    for (const auto depth = cursor.depth(); cursor.nextWithin(depth);) {
        if (cursor.isStart()) {
            children += extras::toUtf8(cursor.name());
            cursor.skipElement();
            EXPECT_TRUE(cursor.isEnd());
        }
    }
    EXPECT_EQ(children, "abc");
    EXPECT_TRUE(cursor.isEnd(u"r"));
    EXPECT_FALSE(cursor.nextWithin(0));
    EXPECT_TRUE(cursor.isEnd(u"r"));
    EXPECT_FALSE(cursor.next());
}

TEST(Cursor, OnAReader) {
    const std::string text = "<?xml version=\"1.0\"?><a><b c=\"1\"><d/></b>x</a>";
    io::MemoryInputStream in;
    in.setBytes(text.data(), static_cast<long>(text.size()));
    xml::DOM::XMLReader reader(&in);
    while (reader.doRead() && !reader.isStartElement()) {
    }
    Cursor cursor(reader);
    std::string all;
    while (cursor.next()) {
        all += "|" + pieceOf(cursor);
    }
    EXPECT_EQ(all, "|0<b c=1|1</d|1>/d|0>b|0'x|0>a");
    Blocks bad("<a>&x;</a>");
    Cursor failing(bad);
    EXPECT_EQ(failureOf([&] {
                  while (failing.next()) {
                  }
              }),
              "Undeclared entity 'x'. : line 1, column 4");
    EXPECT_EQ(pieceOf(failing), "1-");
}

}  // namespace
