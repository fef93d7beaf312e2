#include <random>

#include <moraine/text/Base64Decoder.h>
#include <moraine/text/Base64Encoder.h>
#include <moraine/text/URLDecoder.h>
#include <moraine/text/URLEncoder.h>
#include <moraine/text/UTF8Decoder.h>
#include <moraine/text/UTF8Encoder.h>

#include "bench.h"

namespace {

using namespace moraine;
using bench::narrow;
using bench::Sink;
using bench::Text;
using bench::Texts;
using bench::TextWay;
using bench::wide;

/// One of this library's own operations on a whole text.
template <class Codec, auto operation, class Unit>
void whole(const std::basic_string<Unit>& text, Sink& sink) {
    const auto length = static_cast<unsigned int>(text.size());
    if constexpr (std::is_invocable_v<decltype(operation), Codec, const Unit*, unsigned int, bool>) {
        sink(*(Codec().*operation)(text.data(), length, true));
    } else {
        sink(*(Codec().*operation)(reinterpret_cast<const unsigned char*>(text.data()), length, true));
    }
}

constexpr auto utf8Decode = whole<text::UTF8Decoder, &text::UTF8Decoder::doDecodeM2W, char>;
constexpr auto utf8Encode = whole<text::UTF8Encoder, &text::UTF8Encoder::doEncodeW2M, WideChar>;
constexpr auto base64Encode = whole<text::Base64Encoder, &text::Base64Encoder::doEncode, char>;
constexpr auto base64EncodeWide = whole<text::Base64Encoder, &text::Base64Encoder::doEncodeW2M, WideChar>;
constexpr auto base64Decode = whole<text::Base64Decoder, &text::Base64Decoder::doDecode, char>;
constexpr auto urlEncode = whole<text::URLEncoder, &text::URLEncoder::doEncode, char>;
constexpr auto urlDecode = whole<text::URLDecoder, &text::URLDecoder::doDecode, char>;

const TextWay ways[] = {
    {"utf8/decode", "moraine", narrow, utf8Decode},     {"utf8/encode", "moraine", wide, utf8Encode},
    {"base64/encode", "moraine", narrow, base64Encode}, {"base64/encode-wide", "moraine", wide, base64EncodeWide},
    {"base64/decode", "moraine", narrow, base64Decode}, {"base64/decode-lines", "moraine", narrow, base64Decode},
    {"url/encode", "moraine", narrow, urlEncode},       {"url/decode", "moraine", narrow, urlDecode},
};

template <class Operation, class Input>
std::string made(Operation operation, const Input& input) {
    Sink sink(true);
    operation(input, sink);
    return sink.kept;
}

/// Half a megabyte of words in blocks, drawn at random, with a blank or a line end after each.
Texts prose(const std::vector<WideString>& words) {
    std::mt19937 random(1);  // NOLINT: every run shall see the same text
    Texts all(50);
    for (Text& text : all) {
        for (std::size_t count = 1; text.wide.size() < 10240; ++count) {
            text.wide.append(words[random() % words.size()]).append(1, count % 12 == 0 ? u'\n' : u' ');
        }
        text.narrow = made(utf8Encode, text.wide);
    }
    return all;
}

const bench::Jobs jobs([] {
    const std::pair<const char*, Texts> shapes[] = {
        {"ascii", prose({u"stream", u"of", u"bytes", u"which", u"the", u"reader", u"(lines)", u"takes,", u"12"})},
        {"latin", prose({u"grüße", u"déjà", u"une", u"fenêtre", u"der", u"mañana", u"straße", u"le", u"łódź", u"word",
                         u"été,", u"smørrebrød", u"and", u"12"})},
        {"cjk", prose({u"日本語", u"文字列を読む", u"中文字符", u"漢字、仮名", u"한글문자", u"编码12"})}};
    for (const auto& [shape, texts] : shapes) {
        bench::textJob("utf8/decode", shape, texts);
        bench::textJob("utf8/encode", shape, texts);
    }

    std::mt19937 random(1);            // NOLINT: every run shall see the same bytes
    std::string bytes(3 << 18, '\0');  // some peers give a padded end as zeros
    std::generate(bytes.begin(), bytes.end(), [&random] { return static_cast<char>(random() & 0xFF); });
    const std::string encoded = made(base64Encode, bytes);
    std::string lines;
    for (std::size_t at = 0; at < encoded.size(); at += 76) {
        lines.append(encoded, at, 76).append("\r\n");
    }
    bench::textJob("base64/encode", "", {{bytes, {}}});
    bench::textJob("base64/encode-wide", "", {{encoded, {encoded.begin(), encoded.end()}}});
    bench::textJob("base64/decode", "", {{encoded, {}}});
    bench::textJob("base64/decode-lines", "", {{lines, {}}});

    Texts texts =
        prose({u"path/to", u"name=value&", u"plain", u"words", u"which", u"stay", u"café", u"50%", u"(see", u"below)",
               u"key:", u"reçu", u"search?q=", u"日本", u"letters-and-digits_0123456789", u"as", u"they", u"are."});
    bench::textJob("url/encode", "", texts);
    for (Text& text : texts) {
        text.narrow = made(urlEncode, text.narrow);
    }
    bench::textJob("url/decode", "", texts);
});

}  // namespace
