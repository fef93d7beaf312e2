#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstddef>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <moraine/text/Base64Decoder.h>
#include <moraine/text/Base64Encoder.h>
#include <moraine/text/URLDecoder.h>
#include <moraine/text/URLEncoder.h>
#include <moraine/text/UTF8Decoder.h>
#include <moraine/text/UTF8Encoder.h>

#include "bench.h"

#ifdef BENCH_HAVE_ABSEIL
#include <absl/strings/escaping.h>
#endif
#ifdef BENCH_HAVE_GLIB
#include <glib.h>
#endif
#ifdef BENCH_HAVE_ICU
#include <unicode/ucnv.h>
#endif
#ifdef BENCH_HAVE_OPENSSL
#include <openssl/evp.h>
#endif
#ifdef BENCH_HAVE_QT
#include <QByteArray>
#include <QStringConverter>
#include <QUrl>
#endif
#ifdef __GLIBC__
#include <iconv.h>
#endif

using moraine::WideString;

namespace {

constexpr std::size_t megabyte = 1048576;
constexpr std::size_t blockSize = 10240;

/// About one megabyte of text: @p words, drawn at random with a blank or a line end behind each.
WideString prose(const std::vector<WideString>& words) {
    std::mt19937 random(1);  // NOLINT: every run shall see the same text
    WideString text;
    text.reserve(megabyte);
    for (std::size_t count = 1; text.size() < megabyte - 100; ++count) {
        text.append(words[random() % words.size()]).append(1, count % 12 == 0 ? u'\n' : u' ');
    }
    return text;
}

std::string utf8(const WideString& text) {
    return *moraine::text::UTF8Encoder().doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
}

std::string_view bytesOf(const WideString& text) {
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof text[0]};
}

// UTF-8: a stream of blocks. A way to convert is made anew for each stream, is called with each block and says to a
// sink what came out of it.

/// What each block's result is handed to in a timed run: it is read here and there and dropped.
struct Glance {
    std::size_t sum = 0;
    void operator()(const void* data, std::size_t size) {
        if (size != 0) {
            sum += size + static_cast<const unsigned char*>(data)[size - 1];
        }
    }
};

template <class Converter, class Input, class Sink>
void convertBlocks(const Input& input, Sink& sink) {
    Converter converter;
    for (std::size_t at = 0; at < input.size(); at += blockSize) {
        converter(input.data() + at, std::min(blockSize, input.size() - at), sink);
    }
}

template <class Converter, class Input>
bench::Column stream(std::string name, const Input& input) {
    return {std::move(name),
            [&input] {
                std::string all;
                const auto keep = [&all](const void* data, std::size_t size) {
                    all.append(static_cast<const char*>(data), size);
                };
                convertBlocks<Converter>(input, keep);
                return bench::digest(all);
            },
            [&input] {
                Glance glance;
                convertBlocks<Converter>(input, glance);
                benchmark::DoNotOptimize(glance.sum);
            }};
}

struct OwnDecoding {
    moraine::text::UTF8Decoder decoder;
    template <class Sink>
    void operator()(const char* bytes, std::size_t size, Sink& sink) {
        const auto text = decoder.doDecodeM2W(bytes, static_cast<unsigned int>(size), false);
        sink(text->data(), text->size() * 2);
    }
};

struct OwnEncoding {
    moraine::text::UTF8Encoder encoder;
    template <class Sink>
    void operator()(const char16_t* text, std::size_t size, Sink& sink) {
        const auto bytes = encoder.doEncodeW2M(text, static_cast<unsigned int>(size), false);
        sink(bytes->data(), bytes->size());
    }
};

#ifdef BENCH_HAVE_QT
struct QtDecoding {
    QStringDecoder decoder{QStringConverter::Utf8};
    template <class Sink>
    void operator()(const char* bytes, std::size_t size, Sink& sink) {
        const QString text = decoder(QByteArrayView(bytes, static_cast<qsizetype>(size)));
        sink(text.constData(), static_cast<std::size_t>(text.size()) * 2);
    }
};

struct QtEncoding {
    QStringEncoder encoder{QStringConverter::Utf8};
    template <class Sink>
    void operator()(const char16_t* text, std::size_t size, Sink& sink) {
        const QByteArray bytes = encoder(QStringView(text, static_cast<qsizetype>(size)));
        sink(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
};
#endif

#ifdef BENCH_HAVE_ICU
// ICU and iconv write into a buffer of their user's, which is kept from block to block.

struct IcuConversion {
    UErrorCode error = U_ZERO_ERROR;
    UConverter* converter = ucnv_open("UTF-8", &error);
    std::vector<char> buffer = std::vector<char>(4 * blockSize);
    IcuConversion() = default;
    IcuConversion(const IcuConversion&) = delete;
    IcuConversion& operator=(const IcuConversion&) = delete;
    ~IcuConversion() { ucnv_close(converter); }
};

struct IcuDecoding : IcuConversion {
    template <class Sink>
    void operator()(const char* bytes, std::size_t size, Sink& sink) {
        auto* const start = reinterpret_cast<char16_t*>(buffer.data());
        char16_t* out = start;
        ucnv_toUnicode(converter, &out, start + 2 * blockSize, &bytes, bytes + size, nullptr, 0, &error);
        sink(start, static_cast<std::size_t>(out - start) * 2);
    }
};

struct IcuEncoding : IcuConversion {
    template <class Sink>
    void operator()(const char16_t* text, std::size_t size, Sink& sink) {
        char* out = buffer.data();
        ucnv_fromUnicode(converter, &out, out + buffer.size(), &text, text + size, nullptr, 0, &error);
        sink(buffer.data(), static_cast<std::size_t>(out - buffer.data()));
    }
};
#endif

#ifdef __GLIBC__
template <bool decode>
struct IconvConversion {
    iconv_t converter = decode ? iconv_open("UTF-16LE", "UTF-8") : iconv_open("UTF-8", "UTF-16LE");
    std::vector<char> buffer = std::vector<char>(4 * blockSize);
    std::string rest;  // the incomplete sequence at the end of a block, which iconv leaves to its caller
    IconvConversion() = default;
    IconvConversion(const IconvConversion&) = delete;
    IconvConversion& operator=(const IconvConversion&) = delete;
    ~IconvConversion() { iconv_close(converter); }

    template <class Unit, class Sink>
    void operator()(const Unit* text, std::size_t size, Sink& sink) {
        std::size_t left = size * sizeof(Unit);
        char* in = const_cast<char*>(reinterpret_cast<const char*>(text));
        if (!rest.empty()) {
            rest.append(in, left);
            in = rest.data();
            left = rest.size();
        }
        char* out = buffer.data();
        std::size_t room = buffer.size();
        iconv(converter, &in, &left, &out, &room);
        rest = std::string(in, left);
        sink(buffer.data(), buffer.size() - room);
    }
};
#endif

struct Prose {
    const char* name;
    WideString text;
    std::string bytes = utf8(text);
};

const std::vector<Prose>& allProse() {
    static const std::vector<Prose> all{
        {"ascii", prose({u"stream", u"of", u"bytes", u"which", u"the", u"reader", u"(lines)", u"takes,", u"12"})},
        {"latin",
         prose({u"gr\u00FC\u00DFe", u"d\u00E9j\u00E0", u"une", u"fen\u00EAtre", u"der", u"ma\u00F1ana", u"stra\u00DFe",
                u"le", u"\u0142\u00F3d\u017A", u"word", u"\u00E9t\u00E9,", u"sm\u00F8rrebr\u00F8d", u"and", u"12"})},
        {"cjk", prose({u"\u65E5\u672C\u8A9E", u"\u6587\u5B57\u5217\u3092\u8AAD\u3080", u"\u4E2D\u6587\u5B57\u7B26",
                       u"\u6F22\u5B57\u3001\u4EEE\u540D", u"\uD55C\uAE00\uBB38\uC790", u"\u7DE8\u78BC12"})}};
    return all;
}

void addUtf8() {
    for (const Prose& prose : allProse()) {
        bench::job(std::string("utf8/decode/") + prose.name, prose.bytes.size(),
                   {
                       stream<OwnDecoding>("moraine", prose.bytes),
#ifdef BENCH_HAVE_QT
                       stream<QtDecoding>("Qt", prose.bytes),
#endif
#ifdef BENCH_HAVE_ICU
                       stream<IcuDecoding>("ICU", prose.bytes),
#endif
#ifdef __GLIBC__
                       stream<IconvConversion<true>>("iconv", prose.bytes),
#endif
                   });
        bench::job(std::string("utf8/encode/") + prose.name, prose.bytes.size(),
                   {
                       stream<OwnEncoding>("moraine", prose.text),
#ifdef BENCH_HAVE_QT
                       stream<QtEncoding>("Qt", prose.text),
#endif
#ifdef BENCH_HAVE_ICU
                       stream<IcuEncoding>("ICU", prose.text),
#endif
#ifdef __GLIBC__
                       stream<IconvConversion<false>>("iconv", prose.text),
#endif
                   });
    }
}

// Base64 and URL: all at once, from one block to one result. Each peer's result keeps its own type, since a copy of
// it would be work that nobody asked for.

/// Room that is not filled before it is written.
class Room {
public:
    explicit Room(std::size_t size) : room(new char[size]) {}
    char* data() const { return room.get(); }
    unsigned char* bytes() const { return reinterpret_cast<unsigned char*>(room.get()); }
    std::size_t size() const { return static_cast<std::size_t>(count); }

    int count = 0;

private:
    std::unique_ptr<char[]> room;
};

#ifdef BENCH_HAVE_GLIB
/// What GLib hands over, which its user frees.
class GlibBytes {
public:
    GlibBytes(void* owned, std::size_t length) : bytes(static_cast<char*>(owned)), count(length) {}
    GlibBytes(GlibBytes&& other) noexcept : bytes(std::exchange(other.bytes, nullptr)), count(other.count) {}
    GlibBytes& operator=(GlibBytes&&) = delete;
    ~GlibBytes() { g_free(bytes); }
    const char* data() const { return bytes; }
    std::size_t size() const { return count; }

private:
    char* bytes;
    std::size_t count;
};

GlibBytes glibEncoded(std::string_view bytes) {
    char* const text = g_base64_encode(reinterpret_cast<const guchar*>(bytes.data()), bytes.size());
    return {text, (bytes.size() + 2) / 3 * 4};
}

GlibBytes glibDecoded(const std::string& text) {
    gsize size = 0;
    void* const bytes = g_base64_decode(text.c_str(), &size);
    return {bytes, size};
}
#endif

#ifdef BENCH_HAVE_OPENSSL
const unsigned char* unsignedBytes(std::string_view bytes) {
    return reinterpret_cast<const unsigned char*>(bytes.data());
}

Room opensslEncoded(std::string_view bytes) {
    Room result(bytes.size() / 3 * 4 + 5);
    result.count = EVP_EncodeBlock(result.bytes(), unsignedBytes(bytes), static_cast<int>(bytes.size()));
    return result;
}

Room opensslDecoded(std::string_view text) {
    Room result(text.size() / 4 * 3);
    result.count = EVP_DecodeBlock(result.bytes(), unsignedBytes(text), static_cast<int>(text.size()));
    return result;
}

Room opensslDecodedLines(std::string_view text) {
    Room result(text.size() / 4 * 3);
    const std::unique_ptr<EVP_ENCODE_CTX, decltype(&EVP_ENCODE_CTX_free)> context(EVP_ENCODE_CTX_new(),
                                                                                  EVP_ENCODE_CTX_free);
    EVP_DecodeInit(context.get());
    int tail = 0;
    EVP_DecodeUpdate(context.get(), result.bytes(), &result.count, unsignedBytes(text), static_cast<int>(text.size()));
    EVP_DecodeFinal(context.get(), result.bytes() + result.count, &tail);
    result.count += tail;
    return result;
}
#endif

#ifdef BENCH_HAVE_ABSEIL
std::string abseilEncoded(std::string_view bytes) {
    std::string text;
    absl::Base64Escape({bytes.data(), bytes.size()}, &text);
    return text;
}

std::string abseilDecoded(std::string_view text) {
    std::string bytes;
    absl::Base64Unescape({text.data(), text.size()}, &bytes);
    return bytes;
}
#endif

#ifdef BENCH_HAVE_QT
QByteArray qtView(std::string_view bytes) {
    return QByteArray::fromRawData(bytes.data(), static_cast<qsizetype>(bytes.size()));
}
#endif

/// One of this library's own operations on a whole stream.
template <class Codec, auto operation, class Unit>
auto own(const Unit* units, std::size_t length) {
    return std::move(*(Codec().*operation)(units, static_cast<unsigned int>(length), true));
}

std::string ownEncoded(std::string_view bytes) {
    using moraine::text::Base64Encoder;
    return own<Base64Encoder, &Base64Encoder::doEncode>(reinterpret_cast<const unsigned char*>(bytes.data()),
                                                        bytes.size());
}

std::string ownDecoded(std::string_view text) {
    using moraine::text::Base64Decoder;
    return own<Base64Decoder, &Base64Decoder::doDecode>(text.data(), text.size());
}

std::string ownUrlEncoded(std::string_view bytes) {
    using moraine::text::URLEncoder;
    return own<URLEncoder, &URLEncoder::doEncode>(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
}

std::string ownUrlDecoded(std::string_view text) {
    using moraine::text::URLDecoder;
    return own<URLDecoder, &URLDecoder::doDecode>(text.data(), text.size());
}

std::string ownUrlEncodedWide(const WideString& text) {
    using moraine::text::URLEncoder;
    return own<URLEncoder, &URLEncoder::doEncodeW2M>(text.data(), text.size());
}

WideString ownUrlDecodedWide(std::string_view text) {
    using moraine::text::URLDecoder;
    return own<URLDecoder, &URLDecoder::doDecodeM2W>(text.data(), text.size());
}

/// A column that converts @p input and tells the bytes that came out, as they are or made back into the input.
template <class Input, class Convert, class Back>
bench::Column whole(std::string name, const Input& input, Convert convert, Back back) {
    return {std::move(name),
            [&input, convert, back] {
                const auto result = convert(input);
                const auto told = back(std::string(reinterpret_cast<const char*>(result.data()),
                                                   static_cast<std::size_t>(result.size()) * sizeof *result.data()));
                return bench::digest(std::string(told.data(), static_cast<std::size_t>(told.size())));
            },
            [&input, convert] { benchmark::DoNotOptimize(convert(input).data()); }};
}

template <class Input, class Convert>
bench::Column whole(std::string name, const Input& input, Convert convert) {
    return whole(std::move(name), input, convert, [](const std::string& result) { return result; });
}

/// Lines of 76 characters with CR LF behind each, which every user adds alike to what any encoder gives.
template <class Encode>
auto inLines(Encode encode) {
    return [encode](std::string_view bytes) {
        constexpr std::size_t lineLength = 76;
        const auto result = encode(bytes);
        const std::string_view text(result.data(), static_cast<std::size_t>(result.size()));
        Room lines(text.size() + (text.size() / lineLength + 1) * 2);
        char* out = lines.data();
        for (std::size_t at = 0; at < text.size(); at += lineLength) {
            const std::size_t length = std::min(lineLength, text.size() - at);
            length == lineLength ? std::memcpy(out, &text[at], lineLength) : std::memcpy(out, &text[at], length);
            out += length;
            *out++ = '\r';
            *out++ = '\n';
        }
        lines.count = static_cast<int>(out - lines.data());
        return lines;
    };
}

void addBase64() {
    static const std::string bytes = [] {
        std::mt19937 random(1);                    // NOLINT: every run shall see the same bytes
        std::string made(megabyte / 3 * 3, '\0');  // EVP_DecodeBlock would give a padded end as zeros
        std::generate(made.begin(), made.end(), [&random] { return static_cast<char>(random() & 0xFF); });
        return made;
    }();
    static const std::string text = ownEncoded(bytes);
    static const std::string lines = [] {
        const Room made = inLines(ownEncoded)(bytes);
        return std::string(made.data(), made.size());
    }();
#ifdef BENCH_HAVE_QT
    const auto qtEncoded = [](std::string_view input) { return qtView(input).toBase64(); };
    const auto qtDecoded = [](std::string_view input) { return QByteArray::fromBase64(qtView(input)); };
#endif
    const auto encodings = [&](auto shaped) {
        return std::vector<bench::Column>{
            whole("moraine", bytes, shaped(ownEncoded)),
#ifdef BENCH_HAVE_OPENSSL
            whole("OpenSSL", bytes, shaped(opensslEncoded)),
#endif
#ifdef BENCH_HAVE_ABSEIL
            whole("Abseil", bytes, shaped(abseilEncoded)),
#endif
#ifdef BENCH_HAVE_GLIB
            whole("GLib", bytes, shaped(glibEncoded)),
#endif
#ifdef BENCH_HAVE_QT
            whole("Qt", bytes, shaped(qtEncoded)),
#endif
        };
    };
    const auto decodings = [&](const std::string& input, [[maybe_unused]] auto openssl) {
        return std::vector<bench::Column>{
            whole("moraine", input, ownDecoded),
#ifdef BENCH_HAVE_OPENSSL
            whole("OpenSSL", input, openssl),
#endif
#ifdef BENCH_HAVE_ABSEIL
            whole("Abseil", input, abseilDecoded),
#endif
#ifdef BENCH_HAVE_GLIB
            whole("GLib", input, glibDecoded),
#endif
#ifdef BENCH_HAVE_QT
            whole("Qt", input, qtDecoded),
#endif
        };
    };
#ifndef BENCH_HAVE_OPENSSL
    const auto opensslDecoded = nullptr;
    const auto opensslDecodedLines = nullptr;
#endif
    bench::job("base64/encode", bytes.size(), encodings([](auto encode) { return encode; }));
    bench::job("base64/encode-lines", bytes.size(), encodings([](auto encode) { return inLines(encode); }));
    bench::job("base64/decode", text.size(), decodings(text, opensslDecoded));
    bench::job("base64/decode-lines", lines.size(), decodings(lines, opensslDecodedLines));
}

void addUrl() {
    static const WideString wide =
        prose({u"path/to",      u"name=value&", u"plain", u"words",     u"which",
               u"stay",         u"caf\u00E9",   u"50%",   u"(see",      u"below)",
               u"key:",         u"re\u00E7u",   u"and",   u"search?q=", u"letters-and-digits_0123456789",
               u"\u65E5\u672C", u"again",       u"as",    u"they",      u"are."});
    static const std::string narrow = utf8(wide);
    static const std::string narrowText = ownUrlEncoded(narrow);
    static const std::string wideText = ownUrlEncodedWide(wide);
    // The wide form is this library's own, and the peer's is escaped UTF-8; so the columns are held against each
    // other by what they decode to.
    const auto tellWide = [](const std::string& text) { return std::string(bytesOf(ownUrlDecodedWide(text))); };
#ifdef BENCH_HAVE_QT
    static const QString qtText = QString::fromUtf16(wide.data(), static_cast<qsizetype>(wide.size()));
    static const std::string qtForm = qtView(narrow).toPercentEncoding(" !*'()").replace(' ', '+').toStdString();
    const auto tellQt = [](const std::string& text) {
        const QString decoded = QUrl::fromPercentEncoding(qtView(text).replace('+', ' '));
        return std::string(bytesOf(decoded.toStdU16String()));
    };
    const auto qtEncoded = [](std::string_view input) {
        return qtView(input).toPercentEncoding(" !*'()").replace(' ', '+');
    };
    const auto qtDecoded = [](std::string_view input) {
        return QByteArray::fromPercentEncoding(qtView(input).replace('+', ' '));
    };
    const auto qtEncodedWide = [](const QString& input) {
        return QUrl::toPercentEncoding(input, " !*'()").replace(' ', '+');
    };
    const auto qtDecodedWide = [](std::string_view input) {
        return QUrl::fromPercentEncoding(qtView(input).replace('+', ' '));
    };
#endif
    bench::job("url/encode-narrow", narrow.size(),
               {
                   whole("moraine", narrow, ownUrlEncoded),
#ifdef BENCH_HAVE_QT
                   whole("Qt", narrow, qtEncoded),
#endif
               });
    bench::job("url/decode-narrow", narrow.size(),
               {
                   whole("moraine", narrowText, ownUrlDecoded),
#ifdef BENCH_HAVE_QT
                   whole("Qt", narrowText, qtDecoded),
#endif
               });
    bench::job("url/encode-wide", wide.size() * 2,
               {
                   whole("moraine", wide, ownUrlEncodedWide, tellWide),
#ifdef BENCH_HAVE_QT
                   whole("Qt", qtText, qtEncodedWide, tellQt),
#endif
               });
    bench::job("url/decode-wide", wide.size() * 2,
               {
                   whole("moraine", wideText, ownUrlDecodedWide),
#ifdef BENCH_HAVE_QT
                   whole("Qt", qtForm, qtDecodedWide),
#endif
               });
}

const bench::Jobs jobs{[] {
    addUtf8();
    addBase64();
    addUrl();
}};

}  // namespace
