// The examples of docs/properties.md.

#include <algorithm>

#include <moraine/extras/TextInputStream.h>
#include <moraine/io/DataFormatException.h>
#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/util/PropertyManager.h>

#include "tests/support.h"

using namespace moraine;

namespace {

TEST(Properties, AreEdited) {
    const test::TemporaryDirectory folder;
    test::makeFile(folder.path("app.properties"), "# how to start\nname=demo\nport=80\n");
    const WideString name = folder.name(u"app.properties");
    //! [editing]
    util::PropertyManager properties;
    io::FileInputStream in(name.c_str());
    properties.read(&in, u"utf-8");

    properties.remove(u"port");  // put does not replace
    properties.put(u"port", u"8080");
    const WideString title = properties.get(u"name");  // a copy: the pointer is the table's

    io::FileOutputStream out(name.c_str());
    properties.write(&out, u"utf-8");
    out.close();
    //! [editing]
    EXPECT_EQ(title, u"demo");
    EXPECT_EQ(test::contentOf(folder.path("app.properties")), "name=demo\r\nport=8080\r\n");
}

//! [replacing]
/// Replaces a table by what a stream holds, all of it or, where that fails, nothing.
void replace(util::PropertyManager& table, io::InputStream& in) {
    util::PropertyManager fresh;
    fresh.read(&in, u"utf-8");
    table = fresh;
}
//! [replacing]

TEST(Properties, AreKeptWhereReadingFails) {
    util::PropertyManager table;
    table.put(u"old", u"1");
    io::MemoryInputStream in;
    in.setBytes("new=2\nnothing\n", 14);
    EXPECT_THROW(replace(table, in), io::DataFormatException);
    EXPECT_NE(table.get(u"old"), nullptr);
    in.setBytes("new=2\n", 6);
    replace(table, in);
    EXPECT_EQ(table.get(u"old"), nullptr);
    EXPECT_EQ(WideString(table.get(u"new")), u"2");
}

TEST(Properties, OfLongFiles) {
    const test::TemporaryDirectory folder;
    std::string lines;
    for (int i = 0; i < 5000; ++i) {
        lines += "n" + std::to_string(i) + "=1\n";
    }
    test::makeFile(folder.path("long"), lines);
    util::PropertyManager properties;
    io::FileInputStream file(folder.name(u"long").c_str());
    EXPECT_THROW(properties.read(&file, u"utf-8"), io::DataFormatException);
    file.setFileName(folder.name(u"long").c_str());
    //! [long-files]
    extras::TextInputStream text(file);
    properties.read(&text, u"utf-8");
    //! [long-files]
    EXPECT_EQ(properties.count(), 5000U);
}

}  // namespace
