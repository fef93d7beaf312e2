// The examples of docs/extras.md.

#include <moraine/extras/Cursor.h>
#include <moraine/extras/TextInputStream.h>
#include <moraine/extras/TextOutputStream.h>
#include <moraine/extras/Utf8.h>
#include <moraine/extras/XmlInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/lang/IllegalArgumentException.h>
#include <moraine/util/PropertyManager.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

#include "tests/support.h"

using namespace moraine;

namespace {

io::MemoryInputStream memory(const std::string& bytes) {
    io::MemoryInputStream in;
    in.setBytes(bytes.data(), static_cast<long>(bytes.size()));
    return in;
}

//! [cursor]
struct Point {
    std::string latitude, longitude, elevation;
};

/// The points of a track, from XML of any kind.
std::vector<Point> points(io::InputStream& file) {
    std::vector<Point> found;
    extras::Cursor cursor(file);
    while (cursor.nextStart(u"trkpt")) {
        Point point{extras::toUtf8(cursor.attribute(u"lat")), extras::toUtf8(cursor.attribute(u"lon")), ""};
        for (const auto depth = cursor.depth(); cursor.nextWithin(depth);) {
            if (cursor.isStart(u"ele")) {
                point.elevation = extras::toUtf8(cursor.text());
            }
        }
        found.push_back(point);
    }
    return found;
}
//! [cursor]

TEST(Extras, Cursor) {
    io::MemoryInputStream file =
        memory("\xef\xbb\xbf<!DOCTYPE gpx><gpx><trkpt lat='1' lon='2'><ele><![CDATA[3]]></ele></trkpt>"
               "<trkpt lat='4' lon=''/></gpx>");
    const std::vector<Point> found = points(file);
    ASSERT_EQ(found.size(), 2U);
    EXPECT_EQ(found[0].latitude + "," + found[0].longitude + "," + found[0].elevation, "1,2,3");
    EXPECT_EQ(found[1].latitude + "," + found[1].longitude + "," + found[1].elevation, "4,,");
}

//! [fault]
/// What is wrong with an XML document of any kind: a sentence, line and column; empty if nothing is.
std::string faultOf(io::InputStream& file) {
    extras::XmlInputStream xml(file);
    xml::DOM::XMLReader reader(&xml);
    try {
        while (reader.doRead()) {
        }
        return "";
    } catch (lang::Exception& e) {
        return extras::toUtf8(*e.getMessage());
    }
}
//! [fault]

TEST(Extras, Fault) {
    io::MemoryInputStream good = memory("<?xml version='1.0' encoding='iso-8859-1'?><a b=''>\xe9</a>");
    EXPECT_EQ(faultOf(good), "");
    io::MemoryInputStream bad = memory("<a>\n  <b>&nbsp;</b>\n</a>");
    EXPECT_EQ(faultOf(bad), "Undeclared entity 'nbsp'. : line 2, column 6");
}

//! [properties]
/// Reads a property file that may be long and begin with a byte order mark.
void readProperties(util::PropertyManager& table, io::InputStream& file) {
    extras::TextInputStream text(file, extras::Malformed::refuse);
    table.read(&text, u"utf-8");
}
//! [properties]

TEST(Extras, Properties) {
    std::string bytes = "\xef\xbb\xbf# settings\nface=\xf0\x9f\x98\x80\n";
    for (int i = 0; i < 5000; ++i) {
        bytes += "name" + std::to_string(i) + "=value\n";
    }
    io::MemoryInputStream file = memory(bytes);
    util::PropertyManager table;
    readProperties(table, file);
    EXPECT_EQ(table.count(), 5001U);
    EXPECT_EQ(WideString(table.get(u"face")), u"\U0001f600");
}

//! [writing]
void writeGreeting(const WideString& fileName) {
    io::FileOutputStream file(fileName.c_str());
    extras::TextOutputStream text(file);
    xml::DOM::XMLWriter writer(&text, u"utf-8", false);
    writer.writeStartElement(u"greeting");
    writer.writeText(u"Hello \U0001f600");
    writer.writeEndElement();
    writer.close();
}
//! [writing]

TEST(Extras, Writing) {
    const test::TemporaryDirectory directory;
    writeGreeting(directory.name(u"greeting.xml"));
    EXPECT_EQ(
        test::contentOf(directory.path("greeting.xml")),
        "<?xml version=\"1.0\" encoding=\"utf-8\" standalone=\"yes\"?><greeting>Hello \xf0\x9f\x98\x80</greeting>");
}

TEST(Extras, Utf8) {
    //! [utf8]
    const WideString wide = extras::fromUtf8("caf\xc3\xa9 \xf0\x9f\x98\x80");  // seven units: a pair for the face
    const std::string bytes = extras::toUtf8(wide);
    try {
        extras::fromUtf8("\xff", extras::Malformed::refuse);
    } catch (lang::Exception& e) {
        std::printf("%s", extras::report(e).c_str());  // class, message and trace
    }
    //! [utf8]
    EXPECT_EQ(wide, u"caf\u00e9 \U0001f600");
    EXPECT_EQ(bytes, "caf\xc3\xa9 \xf0\x9f\x98\x80");
}

}  // namespace
