// Says of XML files of any kind how many elements they have, or what is wrong, and where: xml_check FILE...
#include <iostream>

#include <moraine/extras/Cursor.h>
#include <moraine/extras/Utf8.h>
#include <moraine/io/FileInputStream.h>

namespace extras = moraine::extras;

int main(int count, char** words) {
    int status = 0;
    for (int i = 1; i < count; ++i) {
        try {
            moraine::io::FileInputStream file(extras::fromUtf8(words[i]).c_str());
            extras::Cursor cursor(file);
            int elements = 0;
            while (cursor.nextStart()) {
                ++elements;
            }
            std::cout << words[i] << ": " << elements << " elements\n";
        } catch (moraine::lang::Exception& e) {
            std::cout << words[i] << ": " << extras::toUtf8(*e.getMessage()) << '\n';
            status = 1;
        }
    }
    return status;
}
