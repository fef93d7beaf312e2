#include <algorithm>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/internal/Search.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/extras/internal/XmlPieces.h"
#include "moraine/extras/internal/XmlProlog.h"

namespace moraine::extras {
namespace {

constexpr const WideChar* badTag = u"A tag is not well formed.";

}  // namespace

bool XmlPieces::readMarkup() {
    if (in.size() < lookAhead && std::find(in.begin(), in.end(), '>') == in.end() && waits()) {
        return false;
    }
    switch (byteAt(1)) {
        case '/':
            readEndTag();
            break;
        case '?':
            passInstruction();
            openBrackets = 0;
            break;
        case '!':
            readOther();
            break;
        default:
            readStartTag();
            break;
    }
    return true;
}

void XmlPieces::readOther() {
    constexpr const WideChar* unknown = u"Markup that is not known, or not allowed here.";
    const char kind = byteAt(2);
    if (kind == '-') {
        expect("<!--", unknown);
        out.put("<!--");
        endText();
        state = State::comment;
    } else if (kind == '[' && !opened.empty()) {
        expect("<![CDATA[", unknown);
        openBrackets = 0;
        state = State::cdata;
    } else if (kind == 'D' && opened.empty() && !hasRoot && !hasType) {
        hasType = true;
        passDocumentType(*this);
    } else {
        refuse(2, unknown);
    }
}

void XmlPieces::readStartTag() {
    const std::size_t length = nameLength(1);
    if (length == 0) {
        refuse(1, u"'<' begins no markup.");
    }
    if (opened.empty() && hasRoot) {
        fail(u"A second root element.");
    }
    endText();
    const Range tag{out.size() + 1, length};
    out.put({in.begin(), length + 1});
    in.consume(length + 1);
    attributes.clear();
    bool isLastEmpty = false;
    for (;;) {
        const bool separated = passWhite();
        const char next = peek(badTag);
        if (next == '>' || next == '/') {
            break;
        }
        if (!separated) {
            fail(badTag);
        }
        isLastEmpty = readAttribute();
    }
    refuseRepeated();
    if (isLastEmpty) {
        out.put(' ');
    }
    if (*in.begin() == '/') {
        expect("/>", badTag);
        out.put("/>");
    } else {
        in.consume(1);
        opened.open({out.at(tag.begin), tag.length});
        out.put('>');
    }
    hasRoot = true;
}

bool XmlPieces::readAttribute() {
    const std::size_t length = nameLength(0);
    if (length == 0) {
        fail(badTag);
    }
    out.put(' ');
    attributes.push_back({out.size(), length});
    out.put({in.begin(), length});
    in.consume(length);
    passWhite();
    expect("=", badTag);
    passWhite();
    const char quote = peek(badTag);
    if (quote != '"' && quote != '\'') {
        fail(badTag);
    }
    in.consume(1);
    out.put('=');
    out.put(quote);
    const std::size_t begin = out.size();
    readValue(quote);
    const bool empty = out.size() == begin;
    out.put(quote);
    return empty;
}

void XmlPieces::readValue(char quote) {
    for (;;) {
        in.moveTo(copyOut(in.begin(), in.end(), valueStops(quote)));
        if (in.empty()) {
            peek(badTag);
            continue;
        }
        const char met = *in.begin();
        if (met == '&') {
            readReferenceInValue();
            continue;
        }
        if (met == '<') {
            fail(u"'<' in a value.");
        }
        in.consume(1);
        if (met == quote) {
            return;
        }
        out.put(met == '>' ? "&gt;" : " ");  // ">" would end the tag; of white-space only blanks are left
    }
}

void XmlPieces::refuseRepeated() {
    const auto nameOf = [this](const Range& one) { return std::string_view(out.at(one.begin), one.length); };
    if (attributes.size() > few) {
        std::sort(attributes.begin(), attributes.end(),
                  [&](const Range& a, const Range& b) { return nameOf(a) < nameOf(b); });
    }
    for (std::size_t i = 1; i < attributes.size(); ++i) {
        for (std::size_t other = attributes.size() > few ? i - 1 : 0; other < i; ++other) {
            if (nameOf(attributes[i]) == nameOf(attributes[other])) {
                fail(words(u"Attribute ", quoted(nameOf(attributes[i])), u" stands there twice."));
            }
        }
    }
}

void XmlPieces::readEndTag() {
    if (opened.empty()) {
        fail(u"An end tag without a start tag.");
    }
    const std::string_view open = opened.innermost();
    const std::size_t length = open.size() + 2;
    if (!in.have(length) || std::string_view(in.begin() + 2, open.size()) != open) {
        refuseEndTag();
    }
    out.put({in.begin(), length});
    const char next = byteAt(length);
    if (isKind(next, nameByte) || static_cast<unsigned char>(next) >= 0x80) {
        refuseEndTag();
    }
    endText();
    in.consume(length);
    passWhite();
    expect(">", badTag);
    out.put('>');
    opened.close();
}

[[noreturn]] void XmlPieces::refuseEndTag() {
    const std::size_t length = nameLength(2);
    if (length == 0) {
        refuse(2, badTag);
    }
    const std::string_view found(in.begin() + 2, length);
    fail(words(u"End tag ", quoted(found), u" for element ", quoted(opened.innermost()), u"."));
}

}  // namespace moraine::extras
