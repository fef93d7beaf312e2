#include <absl/strings/ascii.h>
#include <absl/strings/escaping.h>
#include <absl/strings/str_replace.h>

#include "../bench.h"

namespace {

using bench::narrow;
using bench::Sink;

void encode(const std::string& bytes, Sink& sink) {
    std::string text;
    absl::Base64Escape(bytes, &text);
    sink(text);
}

void decode(const std::string& text, Sink& sink) {
    std::string bytes;
    absl::Base64Unescape(text, &bytes);
    sink(bytes);
}

const bench::TextWay ways[] = {
    {"base64/encode", "Abseil", narrow, encode},
    {"base64/encode-wide", "Abseil", narrow, encode},
    {"base64/decode", "Abseil", narrow, decode},
    {"base64/decode-lines", "Abseil", narrow, decode},
    {"string/replace-narrow", "Abseil", narrow,
     [](const std::string& text, Sink& sink) {
         sink(absl::StrReplaceAll(text, {{bench::searched.narrow, bench::replacement.narrow}}));
     }},
    {"string/trim-narrow", "Abseil", narrow,
     [](const std::string& text, Sink& sink) { sink(std::string(absl::StripAsciiWhitespace(text))); }},
    {"string/upper-narrow", "Abseil", narrow,
     [](const std::string& text, Sink& sink) { sink(absl::AsciiStrToUpper(text)); }},
};

}  // namespace
