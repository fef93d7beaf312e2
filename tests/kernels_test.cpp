#include "support.h"

#include <algorithm>
#include <functional>
#include <random>

#include "moraine/text/internal/Kernels.h"

namespace moraine::test {
namespace {

namespace kernels = text::kernels;
namespace scalar = text::kernels::scalar;

/// One kernel on an input, whose units are bytes where the kernel reads bytes. Gives all that the kernel tells and
/// makes. Buffers begin @p start elements in front of what is passed and end with it, so that the sanitizer sees a
/// touch behind them.
using Call = std::function<WideString(const WideString& input, std::size_t start)>;

template <class Unit>
std::vector<Unit> placed(const WideString& input, std::size_t start) {
    std::vector<Unit> units(start + input.size());
    std::transform(input.begin(), input.end(), units.begin() + static_cast<long>(start),
                   [](WideChar unit) { return static_cast<Unit>(unit); });
    return units;
}

template <class Unit>
void append(WideString& told, const std::vector<Unit>& units, std::size_t from, std::size_t count) {
    for (std::size_t i = from; i < from + count; ++i) {
        told += static_cast<WideChar>(units[i]);
    }
}

/// @p some and @p of: how many elements there is room for, for how many bytes.
template <class Element>
Call walking(void (*decode)(kernels::Walk<Element>&), std::size_t some, std::size_t of) {
    return [=](const WideString& input, std::size_t start) {
        const std::vector<char> bytes = placed<char>(input, start);
        std::vector<Element> made(start + input.size() / of * some);
        kernels::Walk<Element> walk{bytes.data() + start, bytes.data() + bytes.size(), made.data() + start};
        decode(walk);
        WideString told(1, static_cast<WideChar>(walk.left()));
        append(told, made, start, static_cast<std::size_t>(walk.out - made.data()) - start);
        return told;
    };
}

/// Stops at the end, or in front of it by @p early bytes.
Call decodingUtf8(void (*decode)(kernels::Utf8Walk&, const char*), std::size_t early) {
    return [=](const WideString& input, std::size_t start) {
        const std::vector<char> bytes = placed<char>(input, start);
        std::vector<WideChar> made(start + input.size());
        kernels::Utf8Walk walk{{bytes.data() + start, bytes.data() + bytes.size(), made.data() + start}};
        decode(walk, walk.end - std::min(early, walk.left()));
        WideString told(1, static_cast<WideChar>(walk.left()));
        told += static_cast<WideChar>(walk.zero == nullptr ? -1 : walk.zero - made.data() - static_cast<long>(start));
        append(told, made, start, static_cast<std::size_t>(walk.out - made.data()) - start);
        return told;
    };
}

/// Writes exactly as much as @p size says.
template <class Unit, class Size, class Write>
Call writing(Size size, Write write) {
    return [=](const WideString& input, std::size_t start) {
        const std::vector<Unit> units = placed<Unit>(input, start);
        std::vector<char> made(start + size(units.data() + start, input.size()));
        write(units.data() + start, input.size(), made.data() + start);
        WideString told;
        append(told, made, start, made.size() - start);
        return told;
    };
}

template <class Unit>
Call counting(std::size_t (*count)(const Unit*, std::size_t)) {
    return [=](const WideString& input, std::size_t start) {
        const std::vector<Unit> units = placed<Unit>(input, start);
        return WideString(1, static_cast<WideChar>(count(units.data() + start, input.size())));
    };
}

Call narrowing(std::size_t (*narrow)(const WideChar*, std::size_t, char*)) {
    return [=](const WideString& input, std::size_t start) {
        const std::vector<WideChar> units = placed<WideChar>(input, start);
        std::vector<char> made(start + input.size());
        const std::size_t count = narrow(units.data() + start, input.size(), made.data() + start);
        WideString told(1, static_cast<WideChar>(count));
        append(told, made, start, count);
        return told;
    };
}

Call encodingBase64(void (*encode)(const unsigned char*, std::size_t, char*)) {
    return writing<unsigned char>(
        [](const unsigned char*, std::size_t length) { return length / 3 * 4; },
        [=](const unsigned char* bytes, std::size_t length, char* out) { encode(bytes, length / 3, out); });
}

/// Text of exactly @p length units, made of pieces drawn at random and of some that are drawn @p seldom.
WideString drawn(std::mt19937& random, const std::vector<WideString>& pieces, unsigned int seldom, std::size_t length) {
    WideString text;
    while (text.size() < length) {
        const bool any = random() % seldom == 0;
        text += any ? WideString(1, static_cast<WideChar>(random())) : pieces[random() % pieces.size()];
    }
    text.resize(length);
    return text;
}

TEST(Kernels, GiveWhatTheirScalarTwinsGive) {
    using kernels::Walk;
    const std::vector<WideString> utf8 = {u"ascii text", u"x", u"\xC3\xA9", u"\xE6\x97\xA5",
                                          u"\xE1\x80\x80\xEF\xBF\xBF"};
    const std::vector<WideString> oddUtf8 = {u"longer ascii text in between",
                                             u"\xC3\xA9",
                                             u"\xE6\x97\xA5",
                                             u"\xC0\x80",
                                             u"\xF0\x9F\x98\x80",
                                             u"\x80",
                                             u"\xE6\x97",
                                             WideString(1, u'\0')};
    const std::vector<WideString> ascii = {u"text that fills more than one window of the kernels"};
    const std::vector<WideString> wide = {ascii[0],        u"\u00E9", u"\u65E5\u672C",
                                          u"\u07FF\u0800", u"\uFFFF", u"\x7F\x80"};
    const std::vector<WideString> base64 = {u"TWFu", u"+/+/", u"09az", u"AZBYCXDW", u"\r\n"};
    const std::vector<WideString> url = {u"abc",    u"-_.!~*'()", u"+",    u"$&,/:;=?@",
                                         u"%00%2F", u"%41",       u"%E9x", u"XYZ019"};
    const std::vector<WideString> oddUrl = {u"plain-text.and.more", u"%41", u"%4", u"%2f", u"%00%2f", u"%00%G0", u" "};
    const struct {
        const char* name;
        const std::vector<WideString>& pieces;
        unsigned int seldom;
        Call vector, plain;
    } rows[] = {
        {"UTF-8", utf8, 1000, decodingUtf8(kernels::decodeUtf8, 0), decodingUtf8(scalar::decodeUtf8, 0)},
        {"odd UTF-8", oddUtf8, 20, decodingUtf8(kernels::decodeUtf8, 0), decodingUtf8(scalar::decodeUtf8, 0)},
        {"UTF-8 to a stop", utf8, 30, decodingUtf8(kernels::decodeUtf8, 3), decodingUtf8(scalar::decodeUtf8, 3)},
        {"to UTF-8", wide, 10, writing<WideChar>(kernels::utf8Size, kernels::encodeUtf8),
         writing<WideChar>(scalar::utf8Size, scalar::encodeUtf8)},
        {"to ASCII", ascii, 10, narrowing(kernels::narrowAscii), narrowing(scalar::narrowAscii)},
        {"to Base64", wide, 1, encodingBase64(kernels::encodeBase64), encodingBase64(scalar::encodeBase64)},
        {"Base64", base64, 60, walking<char>(kernels::decodeBase64, 3, 4), walking<char>(scalar::decodeBase64, 3, 4)},
        {"Base64 to text", base64, 60, walking<WideChar>(kernels::decodeBase64, 3, 4),
         walking<WideChar>(scalar::decodeBase64, 3, 4)},
        {"bytes to URL", url, 4, counting<unsigned char>(kernels::countPlain),
         counting<unsigned char>(scalar::countPlain)},
        {"text to URL", url, 4, counting<WideChar>(kernels::countPlain), counting<WideChar>(scalar::countPlain)},
        {"URL to bytes", url, 50, walking<char>(kernels::decodeUrl, 1, 1), walking<char>(scalar::decodeUrl, 1, 1)},
        {"URL to text", url, 200, walking<WideChar>(kernels::decodeUrl, 1, 1),
         walking<WideChar>(scalar::decodeUrl, 1, 1)},
        {"odd URL to bytes", oddUrl, 50, walking<char>(kernels::decodeUrl, 1, 1),
         walking<char>(scalar::decodeUrl, 1, 1)},
        {"odd URL to text", oddUrl, 50, walking<WideChar>(kernels::decodeUrl, 1, 1),
         walking<WideChar>(scalar::decodeUrl, 1, 1)}};
    std::mt19937 random(1);  // NOLINT: a failure shall come again
    for (const auto& row : rows) {
        for (std::size_t length = 0; length <= 200; ++length) {
            for (std::size_t start = 0; start < 32; ++start) {
                const WideString input = drawn(random, row.pieces, row.seldom, length);
                ASSERT_EQ(row.vector(input, start), row.plain(input, start))
                    << row.name << ", at " << start << ": " << ::testing::PrintToString(input);
            }
        }
    }
}

}  // namespace
}  // namespace moraine::test
