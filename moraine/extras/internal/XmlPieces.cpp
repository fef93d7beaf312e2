#include "moraine/extras/internal/XmlPieces.h"

#include <algorithm>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Search.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/extras/internal/XmlProlog.h"

namespace moraine::extras {
namespace {

/// So much is made ready in one go.
constexpr std::size_t batch = 8192;

constexpr const WideChar* ownName = u"moraine::extras::XmlInputStream";
}  // namespace

XmlPieces::XmlPieces(io::InputStream& source, WhiteSpace what)
    : PieceStream(ownName, false), XmlScanner(source, ownName), keepsWhite(what == WhiteSpace::keep) {}

void XmlPieces::produce() {
    out.compact();
    const std::size_t start = out.size();
    std::size_t good = start;
    try {
        while (goesOn() && good - start < batch && step()) {
            good = out.size();
        }
    } catch (...) {
        out.cut(good);
        fault = std::current_exception();
        if (!fault) {
            throw;  // a cancelled thread
        }
    }
}

bool XmlPieces::step() {
    switch (state) {
        case State::comment:
            return readComment();
        case State::cdata:
            return readCdata();
        case State::content:
            return readContent();
        default:
            in.detect();
            out.put(readDeclaration(*this));
            state = State::content;
            return true;
    }
}

bool XmlPieces::readContent() {
    if (in.empty()) {
        if (waits()) {
            return false;
        }
        if (!in.more()) {
            finish();
        }
        return true;
    }
    switch (*in.begin()) {
        case '<':
            return copyUnchanged() || readMarkup();
        case '&':
            return readReferenceInText();
        default:
            return readText();
    }
}

void XmlPieces::finish() {
    if (!opened.empty()) {
        failAtEnd(words(u"Element ", quoted(opened.innermost()), u" is not closed."));
    }
    if (!hasRoot || !in.fault().empty()) {
        failAtEnd(u"There is no root element.");
    }
    ended = true;
}

bool XmlPieces::copyUnchanged() {
    if (textBegun || !leading.empty()) {
        return false;
    }
    const char* const begin = in.begin();
    const char* const good = passUnchanged(begin, in.end(), opened, keepsWhite);
    out.put({begin, static_cast<std::size_t>(good - begin)});
    in.moveTo(good);
    return good != begin;
}

bool XmlPieces::readText() {
    if (opened.empty()) {
        passWhite();
        if (!in.empty() && *in.begin() != '<') {
            fail(u"Text outside of the root element.");
        }
        return true;
    }
    const char* from = in.begin();
    const char* const end = in.end();
    if (!textBegun) {
        const char* const solid = keepsWhite && isKind(*from, whiteByte) ? from + 1 : findSolid(from, end);
        if (!keepsWhite && (solid == end || *solid == '<' || *solid == '&')) {
            // Whether a text begins here depends on what follows: it does not if that is a tag.
            if (end - solid < 2 || *solid == '&' || solid[1] == '!' || solid[1] == '?') {
                leading.append(from, solid);
            }
            in.moveTo(solid);
            return true;
        }
        leading.append(from, solid);
        beginText();
        from = solid;
    }
    const char* at = from;
    for (;;) {
        const char* const stop = passReferences(at, end, textStops);
        out.put({at, static_cast<std::size_t>(stop - at)});
        at = stop;
        if (*at != '>') {
            break;
        }
        if (bracketsBefore(from, at) >= 2) {
            in.moveTo(at);
            fail(u"']]>' in a text.");
        }
        out.put("&gt;");
        ++at;
    }
    openBrackets = bracketsBefore(from, at);
    in.moveTo(at);
    return true;
}

std::size_t XmlPieces::bracketsBefore(const char* from, const char* at) const {
    std::size_t count = 0;
    while (count < 2 && at != from && at[-1] == ']') {
        --at;
        ++count;
    }
    return at == from ? count + openBrackets : count;
}

void XmlPieces::beginText() {
    textBegun = true;
    if (!leading.empty()) {
        putWhite(leading[0]);
        out.put(std::string_view(leading).substr(1));
        leading.clear();
    }
}

void XmlPieces::endText() {
    textBegun = false;
    leading.clear();
    openBrackets = 0;
}

bool XmlPieces::readCdata() {
    const char* at = in.begin();
    const char* const end = in.end();
    if (at != end && *at != ']') {
        if (!textBegun && leading.empty() && isKind(*at, whiteByte)) {
            putWhite(*at++);
        }
        beginText();
        at = copyOut(at, end, [](auto unit) { return unit.is(']') | textStops(unit); });
        if (at != end && *at != ']') {
            putCharacter(static_cast<char32_t>(*at++));
        }
        in.moveTo(at);
        return true;
    }
    if (in.size() < 3) {
        return goOn(u"A CDATA section is not closed.");
    }
    if (at[1] == ']' && at[2] == '>') {
        in.consume(3);
        state = State::content;
    } else {
        beginText();
        out.put(']');
        in.consume(1);
    }
    return true;
}

bool XmlPieces::readComment() {
    const char* const at = copyOut(in.begin(), in.end(), commentStops);
    in.moveTo(at);
    if (!in.empty() && *at == '&') {
        out.put("&amp;");  // the reader would resolve it
        in.consume(1);
        return true;
    }
    if (in.size() < 3) {
        return goOn(u"A comment is not closed.");
    }
    if (at[1] != '-') {
        out.put('-');
        in.consume(1);
        return true;
    }
    if (at[2] != '>') {
        fail(u"'--' in a comment.");
    }
    out.put("-->");
    in.consume(3);
    state = State::content;
    return true;
}

bool XmlPieces::goOn(const WideChar* notClosed) {
    if (waits()) {
        return false;
    }
    if (!in.more()) {
        failAtEnd(notClosed);
    }
    return true;
}

bool XmlPieces::readReferenceInText() {
    if (opened.empty()) {
        fail(u"Text outside of the root element.");
    }
    if (std::find(in.begin(), in.end(), ';') == in.end() && waits()) {
        return false;
    }
    openBrackets = 0;
    const bool first = !textBegun && leading.empty();
    beginText();
    readReference([this, first](char32_t character) {
        if (character == ' ' ? first : isWhite(character)) {
            putWhite(static_cast<char>(character));
        } else {
            putCharacter(character);
        }
    });
    return true;
}

void XmlPieces::readReferenceInValue() {
    readReference([this](char32_t character) {
        if (character == '"' || character == '\'') {
            out.put(character == '"' ? "&quot;" : "&apos;");
        } else if (character != ' ' && isWhite(character)) {
            putWhite(static_cast<char>(character));
        } else {
            putCharacter(character);
        }
    });
}

char32_t XmlPieces::readNumber() {
    std::size_t at = 2;
    const bool hex = byteAt(at) == 'x';
    at += hex ? 1 : 0;
    const std::size_t digits = at;
    char32_t number = 0;
    for (;; ++at) {
        const int digit = digitOf(byteAt(at), hex);
        if (digit < 0) {
            break;
        }
        number = std::min<char32_t>(number * (hex ? 16 : 10) + static_cast<char32_t>(digit), 0x110000);
        if (at == lookAhead) {  // of so many digits nothing is kept but their number
            in.consume(at - digits);
            at = digits;
        }
    }
    if (at == digits || byteAt(at) != ';') {
        refuse(at, u"'&#' begins no reference.");
    }
    if (!isXmlCharacter(number)) {
        fail(u"A reference to a character that is not allowed.");
    }
    in.consume(at + 1);
    return number;
}

void XmlPieces::putWhite(char white) {
    out.put(white == ' ' ? "&#32;" : white == '\t' ? "&#9;" : white == '\n' ? "&#10;" : "&#13;");
}

void XmlPieces::putCharacter(char32_t character) {
    if (character == '<' || character == '>' || character == '&') {
        out.put(character == '<' ? "&lt;" : character == '>' ? "&gt;" : "&amp;");
    } else {
        out.wrote(putUnits(out.room(longestCharacter), character));
    }
}

}  // namespace moraine::extras
