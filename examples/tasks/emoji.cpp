// Bytes to text and back: counts the units and characters of UTF-8, and turns it round: emoji TEXT
#include <algorithm>
#include <iostream>

#include <moraine/extras/Utf8.h>
#include <moraine/lang/IllegalArgumentException.h>

namespace extras = moraine::extras;

int main(int count, char** words) {
    try {
        moraine::WideString text = extras::fromUtf8(count > 1 ? words[1] : "Grüße 🙂", extras::Malformed::refuse);
        const auto isSecondHalf = [](moraine::WideChar unit) { return unit >= 0xDC00 && unit <= 0xDFFF; };
        const auto pairs = std::count_if(text.begin(), text.end(), isSecondHalf);
        std::cout << text.size() - static_cast<std::size_t>(pairs) << " characters, " << text.size() << " units\n";
        std::reverse(text.begin(), text.end());
        for (std::size_t i = 1; i < text.size(); ++i) {
            if (isSecondHalf(text[i - 1])) {
                std::swap(text[i - 1], text[i]);  // a pair stays in its order
                ++i;
            }
        }
        std::cout << extras::toUtf8(text) << '\n';
    } catch (moraine::lang::IllegalArgumentException& e) {
        return std::cerr << extras::report(e), 1;
    }
}
