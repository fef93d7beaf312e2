// Writes the points of a GPX track, of any size, as lines "latitude,longitude,elevation": gpx_to_csv FILE
#include <iostream>

#include <moraine/extras/Cursor.h>
#include <moraine/extras/Utf8.h>
#include <moraine/io/FileInputStream.h>

namespace extras = moraine::extras;

int main(int count, char** words) {
    if (count != 2) {
        return std::cerr << "usage: gpx_to_csv FILE\n", 2;
    }
    try {
        moraine::io::FileInputStream file(extras::fromUtf8(words[1]).c_str());
        extras::Cursor cursor(file);
        while (cursor.nextStart(u"trkpt")) {
            std::string line =
                extras::toUtf8(cursor.attribute(u"lat")) + ',' + extras::toUtf8(cursor.attribute(u"lon"));
            for (const std::size_t depth = cursor.depth(); cursor.nextWithin(depth);) {
                line += cursor.isStart(u"ele") ? ',' + extras::toUtf8(cursor.text()) : "";
            }
            std::cout << line << '\n';
        }
    } catch (moraine::lang::Exception& e) {
        return std::cerr << extras::report(e), 1;
    }
}
