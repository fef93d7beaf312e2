#include <functional>
#include <tuple>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/Base64Decoder.h"
#include "moraine/text/Base64Encoder.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/URLDecoder.h"
#include "moraine/text/URLEncoder.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/text/UTF8Encoder.h"

#include "support.h"

namespace moraine::test {
namespace {

using namespace std::string_literals;
using lang::IllegalArgumentException;
using text::Base64Decoder, text::Base64Encoder, text::URLDecoder, text::URLEncoder, text::UTF8Decoder,
    text::UTF8Encoder;

enum Call { more, last, clear };

/// One codec object and one of its operations. Bytes are units from 0 to 255 here, so that one table serves all.
using Coding = std::function<WideString(const WideString& block, Call call)>;

/// Blocks are passed in buffers of their exact size, so that the sanitizer sees a read behind them, and as a null
/// pointer if they are empty.
template <class Codec, class Unit, auto operation>
Coding coding() {
    return [codec = Codec()](const WideString& block, Call call) mutable {
        WideString output;
        if (call == clear) {
            codec.clear();
            return output;
        }
        const std::vector<Unit> units(block.begin(), block.end());
        const auto result = (codec.*operation)(units.data(), static_cast<unsigned int>(units.size()), call == last);
        for (const auto unit : *result) {
            output += static_cast<WideChar>(sizeof unit == 1 ? unit & 0xFF : unit);
        }
        return output;
    };
}

// The operations of the three codecs, named by what they turn into what.
const Coding utf8Bytes = coding<UTF8Encoder, unsigned char, &UTF8Encoder::doEncode>();
const Coding utf8Text = coding<UTF8Encoder, WideChar, &UTF8Encoder::doEncodeW2M>();
const Coding utf8ToBytes = coding<UTF8Decoder, char, &UTF8Decoder::doDecode>();
const Coding utf8ToText = coding<UTF8Decoder, char, &UTF8Decoder::doDecodeM2W>();
const Coding base64Bytes = coding<Base64Encoder, unsigned char, &Base64Encoder::doEncode>();
const Coding base64Text = coding<Base64Encoder, WideChar, &Base64Encoder::doEncodeW2M>();
const Coding base64ToBytes = coding<Base64Decoder, char, &Base64Decoder::doDecode>();
const Coding base64ToText = coding<Base64Decoder, char, &Base64Decoder::doDecodeM2W>();
const Coding urlBytes = coding<URLEncoder, unsigned char, &URLEncoder::doEncode>();
const Coding urlText = coding<URLEncoder, WideChar, &URLEncoder::doEncodeW2M>();
const Coding urlToBytes = coding<URLDecoder, char, &URLDecoder::doDecode>();
const Coding urlToText = coding<URLDecoder, char, &URLDecoder::doDecodeM2W>();

// clang-format off
TEST(Codecs, OneOutputWhereverTheInputIsCut) {
    const WideString ascii(100, u'x'), bytes = u"\0\x10\x83\x10\xFB\xEF\xBE\xFF\xFF\xFF\x80"s;
    const std::tuple<Coding, WideString, WideString> rows[] = {
        {utf8Bytes, u"a\0\xE9\xFF"s, u"a\0\xE9\xFF"s}, {utf8ToBytes, u"a\0\xC3"s, u"a\0\xC3"s}, {utf8ToText, u"", u""},
        {utf8Text, u"\0\x7F\x80\x7FF\x800\xFFFF"s, u"\0\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF"s},
        {utf8ToText, u"\x7F\xC2\x80\xDF\xBF\xE0\xA0\x80\xEF\xBF\xBF", u"\x7F\x80\x7FF\x800\xFFFF"},
        {utf8ToText, ascii + u"\xC3\xA9" + ascii, ascii + u"\xE9" + ascii},
        {utf8ToText, u"\xF0\x9F\x98\x80\xF7\xBF\xBF\xBF", u"\xF600\xFFFF"},  // the low 16 bits
        {utf8ToText, u"\xC3\x41\xE1\xFFz\xF0\xC0\xC1\x7Fz", u"\xC1\x1FFA\x7Fz"},  // any continuation
        {utf8ToText, u"A\xFF\x80\xBF\xF8\xFEZ", u"AZ"},
        {base64Bytes, u"", u""}, {base64Bytes, u"M", u"TQ=="}, {base64Bytes, u"Man", u"TWFu"},
        {base64ToBytes, u"\r\n\r\n", u""}, {base64ToBytes, u"QR==", u"A"}, {base64ToBytes, u"TWF=", u"Ma"},
        {base64Bytes, bytes, u"ABCDEPvvvv///4A="}, {base64ToBytes, u"ABCDEPvvvv///4A=", bytes},
        {base64Text, u"A\x141\xFF", u"QQFB/w=="}, {base64ToText, u"TWFu6Q==", u"Man\xE9"},
        {base64ToBytes, u"\r\nTW\r\nFu\r\n\r\nT\r\nQ=\r\n=", u"ManM"}, {base64ToBytes, u"TWFuQQ=\xE9", u"ManA"},
        {urlBytes, u"a b+%/~\xE9\0"s, u"a+b%2B%25%2F~%E9%00"},
        {urlText, u"a b/~\xE9\x142\xFFFF\0"s, u"a+b%00%2F~%00%E9%01%42%FF%FF%00%00"},
        {urlToBytes, u"a+b%2B%25%2F~%E9%00 \xE9/%30%42", u"a b+%/~\xE9\0 \xE9/0B"s},
        {urlToText, u"a+b%00%2F~%00%E9%01%42%FF%FF%00%00", u"a b/~\xE9\x142\xFFFF\0"s},
        {urlToText, u"%E9xyz+z", u"\xE9xyz z"}, {urlToText, u"%41x%42%43y", u"Ax\x4243y"}};
    for (const auto& [fresh, input, output] : rows) {
        Coding coding = fresh;
        for (std::size_t size = 1; size <= input.size() + 1; ++size) {
            WideString found;
            std::size_t at = 0;
            for (; at + size < input.size(); at += size) {
                found += coding(input.substr(at, size), more);
            }
            ASSERT_EQ(found + coding(input.substr(at), last), output) << ::testing::PrintToString(input) << size;
        }
    }
}

TEST(Codecs, WhatIsHeldAndWhatFails) {
    const std::vector<WideString> utf8 = {u"moraine::text::UTF8Decoder"}, base64 = {u"moraine::text::Base64Decoder"};
    const std::vector<WideString> base64Twice = {base64[0], base64[0]};
    const std::vector<WideString> url = {u"moraine::text::URLDecoder"}, util = {u"moraine::text::StringUtil"};
    // The calls on one object. One with class names fails, with them in its trace and its output for a message.
    struct Step { WideString block; Call call; WideString output; std::vector<WideString> layers = {}; };
    const std::pair<Coding, std::vector<Step>> rows[] = {
        {utf8ToText, {{u"a\xE2", more, u"a"}, {u"\x82", more, u""}, {u"\xAC", more, u"\u20AC"},
                      {u"a\xC3", last, u"", utf8}, {u"\xE2\x82", more, u""}, {u"", clear, u""}, {u"\xAC", last, u""},
                      {u"A\0Z\xC3"s, more, u"A"}, {u"\xA9\xE0\x80\x80z", last, u"\u00E9"}}},
        {base64ToBytes, {{u"TWFu", more, u""}, {u"", last, u"Man"}, {u"", last, u""},
                         {u"TWFuT", more, u"Man"}, {u"Q=", more, u""}, {u"=", more, u""}, {u"", last, u"M"},
                         {u"TWFu", more, u""}, {u"", clear, u""}, {u"TQ==", last, u"M"},
                         {u"TWFuT", more, u"Man"}, {u"", last, u"", base64}, {u"", last, u""},
                         {u"TQ==", more, u""}, {u"TWFu", more, u"'='", base64}, {u"", last, u"Man"},
                         {u"TQ==\r", more, u"'='", base64}, {u"\nTQ==\r\n", last, u"M"},
                         {u"Q===", last, u"'='", base64}, {u"TW\r\r\n\n", last, u"'\r'", base64},
                         {u"Q\0QQ"s, last, u"'", base64}, {u"QQQ\xE9", last, u"'\xFFE9'", base64}}},
        {base64ToText, {{u"T?=!TWFuTW", more, u"'?'", base64Twice}, {u"E=", last, u"Ma"}, {u"TWF", last, u"", base64},
                        {u"\x80QQQ", last, u"'\xFF80'", base64Twice}}},
        {urlToBytes, {{u"a%", more, u"a"}, {u"", last, u"", url}, {u"41", last, u"41"},
                      {u"a%4", more, u"a"}, {u"", clear, u""}, {u"1", last, u"1"},
                      {u"%G1", more, u"", url}, {u"%1G", more, u"", url}, {u"%2f%4", more, u"", util}, {u"1", last, u"1"}}},
        {urlToText, {{u"a%41", more, u"a"}, {u"xyz", more, u"Axyz"}, {u"a%41", last, u"", url}, {u"z", last, u"z"},
                     {u"%41xy", more, u""}, {u"", last, u"", url}, {u"%", more, u""}, {u"", clear, u""},
                     {u"%41%G1", last, u"", url}, {u"%4G%41", last, u"", url}, {u"%41%4a", last, u"", util},
                     {u"%41%4G", more, u"A"}, {u"zab", last, u"", url}}}};
    for (const auto& [fresh, steps] : rows) {
        Coding coding = fresh;
        for (const Step& step : steps) {
            SCOPED_TRACE(::testing::PrintToString(step.block));
            const auto call = [&] { EXPECT_EQ(coding(step.block, step.call), step.output); };
            step.layers.empty() ? call() : expectFailure<IllegalArgumentException>(call, step.output, step.layers);
        }
    }
}
// clang-format on

bool refused(Coding coding, const WideString& stream) {
    try {
        coding(stream, last);
        return false;
    } catch (IllegalArgumentException&) {
        return true;
    }
}

TEST(Codecs, EveryByteAndEveryUnit) {
    const WideString base64 = u"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    const WideString safe = base64.substr(0, 62) + u"-_.!~*'()", reserved = u"$&,/:;=?@+";
    Coding toUtf8 = utf8Text, fromUtf8 = utf8ToText, toUrl = urlText, fromUrl = urlToText;
    for (unsigned int i = 0; i < 0x10000; ++i) {
        const WideString text(1, static_cast<WideChar>(i));
        char hex[17];
        std::snprintf(hex, sizeof hex, "%%%02X%%%02X", i >> 8, i & 0xFF);
        const WideString escapes(hex, hex + 6);
        const bool plain = safe.find(text) != WideString::npos;
        ASSERT_EQ(toUrl(text, last), plain ? text : i == ' ' ? u"+" : escapes) << i;
        ASSERT_EQ(fromUrl(escapes, last), text) << i;
        ASSERT_EQ(fromUtf8(toUtf8(text, last), last), i == 0 ? u"" : text) << i;
        if (i <= 0xFF) {
            const bool digit = base64.find(text) != WideString::npos;
            EXPECT_EQ(refused(urlToText, text), !plain && reserved.find(text) == WideString::npos) << i;
            EXPECT_NE(refused(base64ToBytes, text + u"AA="), digit) << i;
            EXPECT_NE(refused(base64ToBytes, u"AAA" + text), digit || i == '=') << i;
        }
    }
}

TEST(CodecManagers, MakeNewCodecsByNameInAnyCaseOfLetters) {
    text::EncoderManager encoders;
    text::DecoderManager decoders;
    const std::pair<const WideChar*, WideString> known[] = {
        {u"UTF-8", u"UTF-8"}, {u"utf-8", u"UTF-8"}, {u"base64", u"BASE64"}, {u"Url", u"URL"}};
    for (const auto& [name, stored] : known) {
        EXPECT_TRUE(encoders.isSupported(name) && decoders.isSupported(name));
        EXPECT_EQ(std::unique_ptr<text::IEncoder>(encoders.getEncoder(name))->getEncodeName(), stored);
        EXPECT_EQ(std::unique_ptr<text::IDecoder>(decoders.getDecoder(name))->getDecodeName(), stored);
    }
    const std::vector<WideString> encoderClass = {u"moraine::text::EncoderManager"};
    const std::vector<WideString> decoderClass = {u"moraine::text::DecoderManager"};
    for (const WideChar* name : {u"", u"UTF8", u"UTF-8 ", u"UR"}) {
        using text::UnsupportedEncodingException;
        EXPECT_FALSE(encoders.isSupported(name) || decoders.isSupported(name)) << ::testing::PrintToString(name);
        expectFailure<UnsupportedEncodingException>([&] { encoders.getEncoder(name); }, u"", encoderClass);
        expectFailure<UnsupportedEncodingException>([&] { decoders.getDecoder(name); }, u"", decoderClass);
    }
    expectFailure<IllegalArgumentException>([&] { encoders.getEncoder(nullptr); }, u"", encoderClass);
    expectFailure<IllegalArgumentException>([&] { decoders.getDecoder(nullptr); }, u"", decoderClass);
}

}  // namespace
}  // namespace moraine::test
