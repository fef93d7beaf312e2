// Shows the settings in a file, or changes one: settings [FILE [NAME VALUE]]
#include <iostream>

#include <moraine/extras/Properties.h>
#include <moraine/extras/Utf8.h>

using namespace moraine::extras;

int main(int count, char** words) try {
    const auto file = fromUtf8(count > 1 ? words[1] : "app.properties");
    auto settings = Properties::load(file.c_str());  // there or not
    if (count == 4) {
        settings.set(fromUtf8(words[2]), fromUtf8(words[3]));
        settings.save(file.c_str());
    }
    std::cout << "port " << settings.getNumber(u"port", 80) << (settings.getFlag(u"quiet", false) ? ", quiet\n" : "\n");
} catch (moraine::lang::Exception& e) {
    std::cerr << report(e);
    return 1;
}
