// Writes a little XML to memory, reads it back, and catches a failure that the library throws.
// Ends with 0 only if everything is as expected.

#include <cstring>
#include <iostream>
#include <string>
#include <vector>

#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/lang/Exception.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

namespace {

struct Node {
    int type;
    std::u16string name;
    std::u16string value;

    bool operator==(const Node& other) const {
        return type == other.type && name == other.name && value == other.value;
    }
};

std::u16string orEmpty(const char16_t* text) {
    return text ? text : u"";
}

std::vector<Node> readAll(const char* bytes, long size) {
    moraine::io::MemoryInputStream in;
    in.setBytes(bytes, size);
    moraine::xml::DOM::XMLReader reader(&in);
    std::vector<Node> nodes;
    while (reader.doRead()) {
        nodes.push_back({reader.getNodeType(), orEmpty(reader.getName()), orEmpty(reader.getValue())});
    }
    return nodes;
}

bool writesAndReads() {
    moraine::io::MemoryOutputStream out;
    moraine::xml::DOM::XMLWriter writer(&out, u"utf-8", true);
    writer.writeStartElement(u"a");
    writer.writeAttribute(u"b", u"1");
    writer.writeText(u"x");
    writer.writeEndElement();
    writer.close();

    bool element = false;
    bool text = false;
    for (const Node& node : readAll(out.getBytes(), out.getSize())) {
        element = element || node == Node{2, u"a", u""};
        text = text || node == Node{5, u"", u"x"};
    }
    return element && text;
}

bool catchesFailure() {
    const char* broken = "<a b=1></a>";
    try {
        readAll(broken, static_cast<long>(std::strlen(broken)));
    } catch (moraine::lang::Exception& failure) {
        return !failure.getMessage()->empty();
    }
    return false;
}

}  // namespace

int main() {
#if defined(MORAINE_STATIC)
    std::cout << "static\n";
#else
    std::cout << "shared\n";
#endif
    if (!writesAndReads()) {
        std::cerr << "What was written could not be read back\n";
        return 1;
    }
    if (!catchesFailure()) {
        std::cerr << "Malformed input was not refused with an exception of the library\n";
        return 1;
    }
    return 0;
}
