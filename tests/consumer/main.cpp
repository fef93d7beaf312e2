// Writes a little XML to memory, reads it back, and catches a failure that the library throws.
// Ends with 0 only if everything is as expected.

#include <iostream>
#include <string>

#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/lang/Exception.h>
#include <moraine/xml/DOM/XMLReader.h>
#include <moraine/xml/DOM/XMLWriter.h>

namespace {

/// The names and values of all pieces, each with "|" behind it.
std::u16string readAll(const char* bytes, long size) {
    moraine::io::MemoryInputStream in;
    in.setBytes(bytes, size);
    moraine::xml::DOM::XMLReader reader(&in);
    std::u16string all;
    while (reader.doRead()) {
        all += reader.getName() ? reader.getName() : u"";
        all += reader.hasValue() ? reader.getValue() : u"";
        all += u'|';
    }
    return all;
}

bool writesAndReads() {
    moraine::io::MemoryOutputStream out;
    moraine::xml::DOM::XMLWriter writer(&out, u"utf-8", true);
    writer.writeStartElement(u"a");
    writer.writeAttribute(u"b", u"1");
    writer.writeText(u"x");
    writer.writeEndElement();
    writer.close();
    return readAll(out.getBytes(), out.getSize()) == u"||a|x|a|";
}

bool catchesFailure() {
    try {
        readAll("<a b=1></a>", 11);
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
    if (!writesAndReads() || !catchesFailure()) {
        std::cerr << "What was written could not be read back, or malformed input was not refused\n";
        return 1;
    }
    return 0;
}
