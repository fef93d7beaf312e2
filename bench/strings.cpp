#include <random>

#include <moraine/text/StringUtil.h>

#include "bench.h"

namespace {

using namespace moraine;
using bench::narrow;
using bench::Sink;
using bench::Text;
using bench::Texts;
using bench::TextWay;
using bench::wide;
using text::StringUtil;

constexpr std::size_t textSize = std::size_t{1} << 19;

/// One of this library's own operations on a text.
template <auto operation>
constexpr auto own = [](const auto& text, Sink& sink) {
    sink(*(StringUtil().*operation)(text.data(), static_cast<unsigned int>(text.size())));
};

const TextWay ways[] = {
    {"string/replace-narrow", "moraine", narrow,
     [](const ByteString& text, Sink& sink) {
         sink(*StringUtil().doReplace(text.data(), static_cast<unsigned int>(text.size()),
                                      bench::searched.narrow.c_str(), bench::replacement.narrow.c_str()));
     }},
    {"string/replace-wide", "moraine", wide,
     [](const WideString& text, Sink& sink) {
         sink(*StringUtil().doReplaceW(text.data(), static_cast<unsigned int>(text.size()),
                                       bench::searched.wide.c_str(), bench::replacement.wide.c_str()));
     }},
    {"string/trim-narrow", "moraine", narrow, own<&StringUtil::doTrim>},
    {"string/trim-wide", "moraine", wide, own<&StringUtil::doTrimW>},
    {"string/upper-narrow", "moraine", narrow, own<&StringUtil::toUpper>},
    {"string/upper-wide", "moraine", wide, own<&StringUtil::toUpperW>},
};

Text both(const std::string& ascii) {
    return {ascii, {ascii.begin(), ascii.end()}};
}

/// Letters with a mark among them every `distance` units or so.
std::string letters(std::size_t distance, const std::string& mark) {
    std::mt19937 random(1);  // NOLINT: every run shall see the same text
    std::string text;
    while (text.size() < textSize) {
        random() % distance == 0 ? text += mark : text += "etaoinshrdluETAOINSHRDLU    "[random() % 28];
    }
    text.resize(textSize);
    return text;
}

/// Text in pieces of so many units, with blanks around each.
Texts pieces(std::size_t size) {
    const std::string text = letters(textSize, "");
    Texts all;
    for (std::size_t at = 0; at < text.size(); at += size) {
        all.push_back(both("  A" + text.substr(at, size - 7) + "z   "));
    }
    return all;
}

const bench::Jobs jobs([] {
    for (const std::string form : {"narrow", "wide"}) {
        bench::textJob("string/replace-" + form, "rare", {both(letters(4096, bench::searched.narrow))});
        bench::textJob("string/replace-" + form, "frequent", {both(letters(40, bench::searched.narrow))});
        for (const auto& [shape, size] :
             {std::pair<const char*, std::size_t>{"words", 12}, {"lines", 80}, {"pages", 4096}}) {
            bench::textJob("string/trim-" + form, shape, pieces(size));
            bench::textJob("string/upper-" + form, shape, pieces(size));
        }
    }
});

}  // namespace
