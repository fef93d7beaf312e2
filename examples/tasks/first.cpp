// Counts the elements of the sample document.
#include <cstdio>

#include <moraine/io/FileInputStream.h>
#include <moraine/xml/DOM/XMLReader.h>

int main() {
    moraine::io::FileInputStream file(u"examples/data/library.xml");
    moraine::xml::DOM::XMLReader reader(&file);
    int elements = 0;
    while (reader.doRead()) {
        elements += reader.isStartElement() ? 1 : 0;
    }
    std::printf("%d elements\n", elements);
}
