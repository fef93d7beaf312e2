#include "moraine/extras/internal/XmlScanner.h"

#include <algorithm>
#include <cstring>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Search.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/text/UTF8Decoder.h"

namespace moraine::extras {
namespace {

/// Names in messages are cut after so many bytes.
constexpr std::size_t longestShown = 96;

constexpr const WideChar* badInstruction = u"A processing instruction is not well formed.";

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// The character that begins with a byte from 0x80 up, and its length: text has whole characters, and of a pair both
/// halves.
char32_t characterAt(const char* at, std::size_t& length) {
    const auto bits = [at](std::size_t i) { return static_cast<char32_t>(at[i] & 0x3f); };
    const auto lead = static_cast<unsigned char>(*at);
    if (lead < 0xe0) {
        length = 2;
        return (lead & 0x1fU) << 6 | bits(1);
    }
    length = 3;
    const char32_t unit = (lead & 0xfU) << 12 | bits(1) << 6 | bits(2);
    if (!isSurrogate(unit)) {
        return unit;
    }
    length = 6;
    return joined(unit, 0xd000 | bits(4) << 6 | bits(5));
}

}  // namespace

const char* findSolid(const char* at, const char* end) {
    if (at != end && *at == '\n') {  // and an indentation, most of the time
        const Word blanks{Word::ones * static_cast<unsigned char>(' ')};
        for (++at; end - at >= 8 && std::memcmp(at, &blanks, 8) == 0; at += 8) {
        }
    }
    while (at != end && isKind(*at, whiteByte)) {
        ++at;
    }
    return at;
}

int digitOf(char c, bool hex) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char letter = lower(c);
    return hex && letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

WideString quoted(std::string_view name) {
    std::size_t length = std::min(name.size(), longestShown);
    while (length < name.size() && (name[length] & 0xc0) == 0x80) {
        --length;
    }
    const OwnedWideString units = text::UTF8Decoder().doDecodeM2W(name.data(), static_cast<unsigned int>(length), true);
    return words(u"'", *units, length < name.size() ? u"...'" : u"'");
}

std::size_t XmlScanner::nameLength(std::size_t offset) {
    std::size_t at = offset;
    while (in.have(at + 1)) {
        const char* const begin = in.begin();
        if (static_cast<signed char>(begin[at]) < 0) {
            std::size_t length = 0;
            const char32_t character = characterAt(begin + at, length);
            if (!(at == offset ? startsName(character) : goesOnName(character))) {
                break;
            }
            at += length;
        } else {
            if (!isKind(begin[at], at == offset ? nameStart : nameByte)) {
                break;
            }
            while (isKind(begin[at], nameByte)) {  // which the zero byte at the end is not
                ++at;
            }
        }
    }
    return at - offset;
}

bool XmlScanner::passWhite() {
    bool any = false;
    for (;;) {
        const char* const solid = findSolid(in.begin(), in.end());
        any = any || solid != in.begin();
        in.moveTo(solid);
        if (!in.empty() || !in.more()) {
            return any;
        }
    }
}

void XmlScanner::expect(std::string_view literal, const WideChar* sentence) {
    for (const char c : literal) {
        if (peek(sentence) != c) {
            fail(sentence);
        }
        in.consume(1);
    }
}

void XmlScanner::passTo(char wanted, const WideChar* notClosed) {
    for (;;) {
        peek(notClosed);
        const char* const at = std::find(in.begin(), in.end(), wanted);
        const bool found = at != in.end();
        in.moveTo(found ? at + 1 : at);
        if (found) {
            return;
        }
    }
}

void XmlScanner::passInstruction() {
    in.consume(2);
    const std::size_t length = nameLength(0);
    if (length == 0) {
        refuse(0, badInstruction);
    }
    if (equalIgnoringCase({in.begin(), length}, "xml")) {
        fail(u"A declaration that is not at the start.");
    }
    in.consume(length);
    if (peek(badInstruction) == '?') {
        expect("?>", badInstruction);
        return;
    }
    if (!passWhite()) {
        fail(badInstruction);
    }
    for (;;) {
        passTo('?', badInstruction);
        if (peek(badInstruction) == '>') {
            in.consume(1);
            return;
        }
    }
}

WideString located(const WideString& sentence, const Place& place) {
    return words(sentence, u" : line ", place.line, u", column ", place.column);
}

void XmlScanner::fail(const WideString& sentence, const Place& place, long line) {
    raise<io::DataFormatException>(failing, located(sentence, place), line);
}

void XmlScanner::failAtEnd(const WideString& sentence, long line) {
    in.moveTo(in.end());
    fail(in.fault().empty() ? sentence : in.fault(), line);
}

void XmlScanner::refuse(std::size_t offset, const WideChar* sentence) {
    if (in.size() <= offset) {
        failAtEnd(sentence);
    }
    fail(sentence);
}

}  // namespace moraine::extras
