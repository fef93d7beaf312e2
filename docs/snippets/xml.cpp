// The examples of docs/xml.md.

#include <sys/socket.h>

#include <moraine/io/DataFormatException.h>
#include <moraine/io/IOException.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/net/TCPInputStream.h>
#include <moraine/net/TCPOutputStream.h>
#include <moraine/xml/DOM/Attr.h>
#include <moraine/xml/DOM/Element.h>
#include <moraine/xml/DOM/Text.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [reading]
/// The titles of all books, from a text like `<book id="1"><title>...</title></book>`.
std::vector<WideString> titles(io::InputStream& in) {
    std::vector<WideString> found;
    xml::DOM::XMLReader reader(&in);
    bool inTitle = false;
    while (reader.doRead()) {
        if (reader.getNodeType() == xml::DOM::elementNode) {
            inTitle = reader.isStartElement() && text::equal(reader.getName(), u"title");
        } else if (inTitle && reader.getNodeType() == xml::DOM::textNode) {
            found.emplace_back(reader.getValue());  // a copy: good until the next doRead only
        }
    }
    return found;
}
//! [reading]

//! [writing]
void writeBook(io::OutputStream& out, const WideString& id, const WideString& title) {
    xml::DOM::XMLWriter writer(&out, u"utf-8", true);
    writer.writeStartElement(u"book");
    writer.writeAttribute(u"id", id.c_str());
    writer.writeStartElement(u"title");
    writer.writeText(title.c_str());
    writer.writeEndElement();
    writer.writeEndElement();
    writer.close();  // tells of failures, which the destructor does not
}
//! [writing]

constexpr const char* written = "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?>\r\n"
                                "<book id=\"7\">\r\n"
                                "  <title>War &amp; Peace</title>\r\n"
                                "</book>\r\n";

TEST(Xml, RoundTrips) {
    io::MemoryOutputStream out;
    writeBook(out, u"7", u"War & Peace");
    EXPECT_EQ(std::string(out.getBytes(), out.getSize()), written);
    io::MemoryInputStream in;
    in.setBytes(out.getBytes(), out.getSize());
    EXPECT_EQ(titles(in), std::vector<WideString>{u"War & Peace"});
    in.setBytes(out.getBytes(), out.getSize() - 12);
    EXPECT_THROW(titles(in), io::DataFormatException);
}

//! [socket]
/// All that a peer sends until it ends its side, as a stream that can move back.
io::MemoryInputStream received(net::TCPInputStream& in) {
    io::MemoryInputStream memory;
    char block[10240];
    while (const unsigned int count = in.read(block, sizeof block)) {
        if (count > sizeof block) {
            throw io::IOException(u"my::received", __LINE__);
        }
        memory.addBytes(block, count);
    }
    return memory;
}
//! [socket]

TEST(Xml, FromASocket) {
    int ends[2] = {};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0);
    net::TCPOutputStream out(static_cast<unsigned int>(ends[0]));
    net::TCPInputStream in(static_cast<unsigned int>(ends[1]));
    writeBook(out, u"7", u"War & Peace");
    io::MemoryInputStream memory = received(in);
    EXPECT_EQ(titles(memory), std::vector<WideString>{u"War & Peace"});
    in.close();
    EXPECT_THROW(received(in), io::IOException);
}

TEST(Xml, Trees) {
    //! [tree]
    xml::DOM::Element book;
    book.setLocalName(u"book", 4);
    auto id = std::make_unique<xml::DOM::Attr>();
    id->setLocalName(u"id", 2);
    id->setValue(u"7", 1);
    book.appendAttribute(id.get());
    static_cast<void>(id.release());                        // only now it is the element's
    const OwnedWideString tag = book.getReferenceString();  // <book id="7"/>
    //! [tree]
    EXPECT_EQ(*tag, u"<book id=\"7\"/>");
    EXPECT_EQ(book.getAttributeCount(), 1U);
}

}  // namespace
