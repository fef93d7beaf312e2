// Sets the text, or an attribute, of the elements at a path: xml_edit FILE library/book/title[@ATTRIBUTE] VALUE
#include <iostream>

#include <moraine/extras/Tree.h>
#include <moraine/extras/Utf8.h>

namespace extras = moraine::extras;

int main(int count, char** words) {
    if (count != 4) {
        return std::cerr << "usage: xml_edit FILE PATH[@ATTRIBUTE] VALUE\n", 2;
    }
    try {
        const moraine::WideString file = extras::fromUtf8(words[1]);
        const moraine::WideString place = extras::fromUtf8(words[2]);
        const moraine::WideString value = extras::fromUtf8(words[3]);
        const std::size_t sign = place.find(u'@');
        const auto document = extras::loadFile(file.c_str());
        for (auto* element : extras::findAll(*document, place.substr(0, sign))) {
            sign == std::u16string::npos ? extras::setText(*element, value)
                                         : extras::setAttribute(*element, place.substr(sign + 1), value);
        }
        extras::saveFile(*document, file.c_str());
    } catch (moraine::lang::Exception& e) {
        return std::cerr << extras::report(e), 1;
    }
}
