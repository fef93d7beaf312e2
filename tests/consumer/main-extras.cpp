// Reads a document that the reader alone does not take, and catches what moraine::extras throws across its border.
// Ends with 0 only if everything is as expected.

#include <iostream>
#include <string>

#include <moraine/extras/Cursor.h>
#include <moraine/extras/Utf8.h>
#include <moraine/io/DataFormatException.h>
#include <moraine/io/MemoryInputStream.h>

int main() {
#if defined(MORAINE_STATIC)
    std::cout << "static\n";
#else
    std::cout << "shared\n";
#endif
    const std::string document = "<a><![CDATA[\xf0\x9f\x98\x80]]>&x;</a>";
    moraine::io::MemoryInputStream in;
    in.setBytes(document.data(), static_cast<long>(document.size()));
    moraine::extras::Cursor cursor(in);
    const bool isRoot = cursor.nextStart(u"a");
    std::string failure;
    try {
        cursor.text();
    } catch (moraine::io::DataFormatException& e) {
        failure = moraine::extras::toUtf8(*e.getMessage());
    }
    return isRoot && failure == "Undeclared entity 'x'. : line 1, column 17" ? 0 : 1;
}
