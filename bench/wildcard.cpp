#include <fnmatch.h>

#include <moraine/text/Wildcard.h>

#include "bench.h"

namespace {

using bench::Sink;
using bench::Text;
using moraine::text::Wildcard;

const auto whole = [](const Text& text) { return text; };

Text bracketed(const Text& text) {
    std::string pattern;
    for (const char sign : text.pattern) {
        pattern += sign == '#' ? "[0-9]" : std::string(1, sign);
    }
    return {text.narrow, {}, pattern};
}

const auto wide = [](const Text& text) {
    return std::pair(text.wide, moraine::WideString(text.pattern.begin(), text.pattern.end()));
};

void tell(bool match, Sink& sink) {
    sink(&match, 1);
}

const auto posix = [](const Text& text, Sink& sink) {
    tell(fnmatch(text.pattern.c_str(), text.narrow.c_str(), 0) == 0, sink);
};

// The peers of wide text match the same as narrow text.
const bench::TextWay ways[] = {
    {"wildcard", "moraine", whole,
     [](const Text& text, Sink& sink) { tell(Wildcard().isMatch(text.narrow.c_str(), text.pattern.c_str()), sink); }},
    {"wildcard-wide", "moraine", wide,
     [](const auto& text, Sink& sink) { tell(Wildcard().isMatchW(text.first.c_str(), text.second.c_str()), sink); }},
    {"wildcard", "fnmatch", bracketed, posix},
    {"wildcard-wide", "fnmatch", bracketed, posix},
};

/// The text with every eighth unit given as "?", or every digit as "#".
std::string masked(std::string text, char sign) {
    for (std::size_t i = 0; i < text.size(); ++i) {
        const bool digit = text[i] >= '0' && text[i] <= '9';
        text[i] = (sign == '#' ? digit : i % 8 == 7) ? sign : text[i];
    }
    return text;
}

const bench::Jobs jobs([] {
    std::string text;  // of letters and digits that repeat late
    for (unsigned int number = 1; text.size() < 1024; number = number * 1103515245 + 12345) {
        text += "abcdefgh01234567"[number >> 16 & 15];
    }
    const std::string tail = '*' + text.substr(1012);
    const std::string middle = '*' + text.substr(512, 6) + '*' + text.substr(922, 6) + '*';
    for (const auto& [shape, pattern] : {std::pair("literal", text),
                                         {"tail", tail},
                                         {"head-tail", text.substr(0, 12) + tail},
                                         {"middle", middle},
                                         {"question", masked(text, '?')},
                                         {"number", masked(text, '#')}}) {
        const Text row{text, {text.begin(), text.end()}, pattern};
        bench::textJob("wildcard", shape, bench::Texts(100, row));
        bench::textJob("wildcard-wide", shape, bench::Texts(100, row));
    }
});

}  // namespace
