// Writes a little XML to memory, and catches a failure that the library throws on the way.
// Ends with 0 only if everything is as expected.

#include <iostream>
#include <string>

#include <moraine/io/MemoryOutputStream.h>
#include <moraine/lang/Exception.h>
#include <moraine/xml/DOM/XMLWriter.h>

int main() {
#if defined(MORAINE_STATIC)
    std::cout << "static\n";
#else
    std::cout << "shared\n";
#endif
    moraine::io::MemoryOutputStream out;
    moraine::xml::DOM::XMLWriter writer(&out, u"utf-8", true);
    writer.writeStartElement(u"a");
    std::u16string message;
    try {
        writer.close();
    } catch (moraine::lang::Exception& failure) {  // an element is open
        message = *failure.getMessage();
    }
    writer.writeEndElement();
    writer.close();
    const bool isWritten = std::string(out.getBytes(), out.getSize()).find("?>\r\n<a/>\r\n") != std::string::npos;
    return isWritten && message == u"Current element is not element." ? 0 : 1;
}
