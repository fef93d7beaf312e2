#include "moraine/extras/XmlInputStream.h"

#include <algorithm>
#include <string>
#include <string_view>
#include <vector>

#include "moraine/extras/internal/PieceStream.h"
#include "moraine/extras/internal/Search.h"
#include "moraine/extras/internal/Utf8Bytes.h"
#include "moraine/extras/internal/XmlCharacters.h"
#include "moraine/extras/internal/XmlText.h"
#include "moraine/io/DataFormatException.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/UTF8Decoder.h"

namespace moraine::extras {
namespace {

/// So much is made ready in one go.
constexpr std::size_t batch = 8192;

/// A tag that is not complete at hand is waited for only if nothing else can be handed out. So much of it is looked at.
constexpr std::size_t lookAhead = 256;

/// Up to so many attributes are compared each with each other.
constexpr std::size_t few = 12;

/// Names in messages are cut after so many bytes.
constexpr std::size_t longestShown = 96;

constexpr std::string_view predefined[] = {"&lt;", "&gt;", "&amp;", "&apos;", "&quot;"};
constexpr std::string_view publicCharacters = " \n-'()+,./:=?;!*#@$_%0123456789"
                                              "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz";

constexpr const WideChar* badDeclaration = u"The declaration is not well formed.";
constexpr const WideChar* badInstruction = u"A processing instruction is not well formed.";
constexpr const WideChar* badType = u"The document type is not well formed.";
constexpr const WideChar* badTag = u"A tag is not well formed.";

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

/// The length of the reference to one of the five entities that @p text begins with, or 0.
std::size_t predefinedLength(std::string_view text) {
    for (const std::string_view reference : predefined) {
        if (text.substr(0, reference.size()) == reference) {
            return reference.size();
        }
    }
    return 0;
}

char lower(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c + ('a' - 'A')) : c;
}

/// The value of a digit; negative if it is none.
int digitOf(char c, bool hex) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char letter = lower(c);
    return hex && letter >= 'a' && letter <= 'f' ? letter - 'a' + 10 : -1;
}

/// The length of the reference that @p text begins with, if it can stay as it is: one of the five, or a number that the
/// reader takes, and takes for that character. 0 otherwise.
std::size_t plainReferenceLength(std::string_view text) {
    if (text.substr(0, 2) != "&#") {
        return predefinedLength(text);
    }
    const bool hex = text.substr(2, 1) == "x";
    const std::size_t digits = hex ? 3 : 2;
    std::size_t at = digits;
    char32_t number = 0;
    while (at < text.size() && at < digits + 4 && digitOf(text[at], hex) >= 0) {
        number = number * (hex ? 16 : 10) + static_cast<char32_t>(digitOf(text[at], hex));
        ++at;
    }
    const bool plain = at > digits && text.substr(at, 1) == ";" && number != '&' && isXmlCharacter(number);
    return plain ? at + 1 : 0;
}

/// What ends or changes a text.
constexpr auto textStops = [](auto unit) { return unit.is('>', '>' ^ '<') | unit.is('&'); };

/// What ends or changes a comment.
constexpr auto commentStops = [](auto unit) { return unit.is('-') | unit.is('&'); };

/// What ends or changes an attribute's value.
auto valueStops(char quote) {
    return
        [quote](auto unit) { return unit.is(static_cast<unsigned char>(quote)) | textStops(unit) | unit.below(' '); };
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

bool equalIgnoringCase(std::string_view left, std::string_view right) {
    return std::equal(left.begin(), left.end(), right.begin(), right.end(),
                      [](char a, char b) { return lower(a) == lower(b); });
}

/// A name as it stands in messages.
WideString quoted(std::string_view name) {
    std::size_t length = std::min(name.size(), longestShown);
    while (length < name.size() && (name[length] & 0xc0) == 0x80) {
        --length;
    }
    const OwnedWideString units = text::UTF8Decoder().doDecodeM2W(name.data(), static_cast<unsigned int>(length), true);
    return words(u"'", *units, length < name.size() ? u"...'" : u"'");
}

/// Walks through the document and writes it anew. Each step handles one construct, or as much of a text, comment or
/// CDATA section as is at hand.
class XmlPieces : public PieceStream {
public:
    XmlPieces(io::InputStream& source, WhiteSpace what)
        : PieceStream(u"moraine::extras::XmlInputStream"), in(source, className), keepsWhite(what == WhiteSpace::keep) {
    }

    Place where() const override { return in.place(); }

protected:
    void produce() override {
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

    void closeSource() override { in.close(); }

private:
    enum class State { start, content, comment, cdata };

    /// A text in `out`.
    struct Range {
        std::size_t begin;
        std::size_t length;
    };

    /// False if the source must be waited for, and something can be handed out before.
    bool step() {
        switch (state) {
            case State::comment:
                return readComment();
            case State::cdata:
                return readCdata();
            case State::content:
                return readContent();
            default:
                in.detect();
                readDeclaration();
                state = State::content;
                return true;
        }
    }

    bool readContent() {
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

    bool waits() const { return !in.hasMoreAtHand() && out.whole(out.ready(), true) > 0; }

    void finish() {
        if (!opened.empty()) {
            failAtEnd(words(u"Element ", quoted(innermost()), u" is not closed."));
        }
        if (!hasRoot || !in.fault().empty()) {
            failAtEnd(u"There is no root element.");
        }
        ended = true;
    }

    // The declaration

    void readDeclaration() {
        constexpr std::string_view opening = "<?xml";
        std::string version = "1.0";
        std::string standalone;
        if (in.have(opening.size() + 1) && std::string_view(in.begin(), opening.size()) == opening &&
            isKind(in.begin()[opening.size()], whiteByte)) {
            in.consume(opening.size());
            version = readPseudoAttribute("version");
            if (version.size() < 3 || version.compare(0, 2, "1.") != 0 ||
                version.find_first_not_of("0123456789", 2) != std::string::npos) {
                fail(version.empty() ? badDeclaration : u"The version is none of XML 1.");
            }
            const XmlEncoding encoding = chosenEncoding(readPseudoAttribute("encoding"));
            standalone = readPseudoAttribute("standalone");
            if (!standalone.empty() && standalone != "yes" && standalone != "no") {
                fail(u"The value of standalone is neither yes nor no.");
            }
            passWhite();
            expect("?>", badDeclaration);
            in.goOnAs(encoding);
        } else {
            in.goOnAs(in.encoding());
        }
        out.put("<?xml version=\"" + version + "\" encoding=\"utf-8\"");
        if (!standalone.empty()) {
            out.put(" standalone=\"" + standalone + "\"");
        }
        out.put("?>");
    }

    /// The value of an attribute of the declaration, and where it begins; empty if another one or none is next.
    std::string readPseudoAttribute(std::string_view wanted) {
        std::size_t white = 0;
        while (isKind(byteAt(white), whiteByte)) {
            ++white;
        }
        // Nothing behind the declaration may be looked at before its encoding is known.
        std::size_t same = 0;
        while (same < wanted.size() && byteAt(white + same) == wanted[same]) {
            ++same;
        }
        if (white == 0 || same < wanted.size()) {
            return {};
        }
        in.consume(white + wanted.size());
        passWhite();
        expect("=", badDeclaration);
        passWhite();
        const char quote = peek(badDeclaration);
        if (quote != '"' && quote != '\'') {
            fail(badDeclaration);
        }
        in.consume(1);
        valuePlace = in.place();
        std::string value;
        for (; isKind(peek(badDeclaration), nameByte); in.consume(1)) {
            value.push_back(*in.begin());
        }
        if (value.empty() || *in.begin() != quote) {
            fail(badDeclaration);
        }
        in.consume(1);
        return value;
    }

    /// The encoding of this name, which is empty if none is declared.
    XmlEncoding chosenEncoding(const std::string& encoding) {
        struct Named {
            std::string_view name;
            XmlEncoding form;
            bool wide;
        };
        constexpr Named all[] = {{"utf-8", XmlEncoding::utf8, false},         {"us-ascii", XmlEncoding::ascii, false},
                                 {"iso-8859-1", XmlEncoding::latin1, false},  {"utf-16", XmlEncoding::utf16Big, true},
                                 {"utf-16", XmlEncoding::utf16Little, true},  {"utf-16be", XmlEncoding::utf16Big, true},
                                 {"utf-16le", XmlEncoding::utf16Little, true}};
        if (encoding.empty()) {
            return in.encoding();
        }
        bool known = false;
        for (const Named& one : all) {
            if (equalIgnoringCase(encoding, one.name)) {
                known = true;
                if (one.form == in.encoding() || (!in.isCertain() && !one.wide)) {
                    return one.form;
                }
            }
        }
        if (!known) {
            raise<text::UnsupportedEncodingException>(
                className, located(words(u"Unsupported encoding ", quoted(encoding), u"."), valuePlace));
        }
        raise<io::DataFormatException>(
            className, located(words(u"The document's encoding is not ", quoted(encoding), u"."), valuePlace));
    }

    // What needs no change

    /// Copies the tags and texts at hand that can stay as they are, in one piece. False if the first one cannot.
    bool copyUnchanged() {
        if (textBegun || !leading.empty()) {
            return false;
        }
        const char* const begin = in.begin();
        const char* const end = in.end();
        const char* good = begin;
        for (const char* at = begin; at != nullptr && at != end && !opened.empty();) {
            at = *at == '<' ? passMarkup(at, end) : passText(at, end);
            good = at != nullptr ? at : good;
        }
        out.put({begin, static_cast<std::size_t>(good - begin)});
        in.moveTo(good);
        return good != begin;
    }

    /// The end of a tag or comment that can stay as it is; null if it cannot, is not complete at hand or is neither.
    const char* passMarkup(const char* at, const char* end) {
        if (at[1] != '/') {
            return at[1] == '!' ? passComment(at, end) : passStartTag(at, end);
        }
        const std::string_view open = innermost();
        if (static_cast<std::size_t>(end - at) < open.size() + 3 ||
            std::memcmp(at + 2, open.data(), open.size()) != 0 || at[2 + open.size()] != '>') {
            return nullptr;
        }
        openNames.resize(opened.back());
        opened.pop_back();
        return at + open.size() + 3;
    }

    static const char* passComment(const char* at, const char* end) {
        if (at[2] != '-' || at[3] != '-') {
            return nullptr;
        }
        for (at += 4;; ++at) {
            at = findStop(at, end, commentStops);
            if (end - at < 3 || *at == '&') {
                return nullptr;
            }
            if (at[1] == '-') {
                return at[2] == '>' ? at + 3 : nullptr;
            }
        }
    }

    const char* passStartTag(const char* at, const char* end) {
        struct {
            const char* begin;
            std::size_t length;
        } names[few];  // of the attributes
        std::size_t count = 0;
        const char* const name = ++at;
        const char* const nameEnd = at = passPlainName(at);
        if (at == name) {
            return nullptr;
        }
        for (;;) {
            const char* const white = at;
            while (isKind(*at, whiteByte)) {
                ++at;
            }
            if (*at == '>') {
                opened.push_back(openNames.size());
                openNames.append(name, nameEnd);
                return at + 1;
            }
            if (*at == '/') {
                return at[1] == '>' ? at + 2 : nullptr;
            }
            const char* const attribute = at;
            at = passPlainName(at);
            if (at == attribute || attribute == white || count == few) {
                return nullptr;
            }
            const auto length = static_cast<std::size_t>(at - attribute);
            for (std::size_t i = 0; i < count; ++i) {
                if (names[i].length == length && std::memcmp(names[i].begin, attribute, length) == 0) {
                    return nullptr;
                }
            }
            names[count++] = {attribute, length};
            if (*at != '=' || (at[1] != '"' && at[1] != '\'')) {
                return nullptr;
            }
            const char quote = at[1];
            const char* const value = at + 2;
            at = passReferences(value, end, valueStops(quote));
            if (*at != quote || (at == value && !isKind(at[1], whiteByte))) {
                return nullptr;
            }
            ++at;
        }
    }

    /// The end of a name of ASCII that begins here; the place itself if there is none.
    static const char* passPlainName(const char* at) {
        if (isKind(*at, nameStart)) {
            do {
                ++at;
            } while (isKind(*at, nameByte));
        }
        return at;
    }

    /// The end of a text, or of white-space that the reader drops, in front of a tag or comment; null if it must be
    /// changed or may go on behind what is at hand.
    const char* passText(const char* at, const char* end) const {
        if (isKind(*at, whiteByte)) {
            at = keepsWhite ? end : findSolid(at, end);
        } else {
            at = passReferences(at, end, textStops);
        }
        const bool ends = *at == '<' && at[1] != '?' && at[1] != 0 && (at[1] != '!' || at[2] == '-');
        return ends ? at : nullptr;
    }

    /// The first byte that stops, and begins no reference that can stay as it is.
    template <class Stops>
    static const char* passReferences(const char* at, const char* end, Stops stops) {
        for (;;) {
            at = findStop(at, end, stops);
            const std::size_t length = *at == '&' ? plainReferenceLength({at, static_cast<std::size_t>(end - at)}) : 0;
            if (length == 0) {
                return at;
            }
            at += length;
        }
    }

    // Text

    bool readText() {
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

    /// How many "]" stand in front of @p at, or at least 2, in a text of which the part at hand begins at @p from.
    std::size_t bracketsBefore(const char* from, const char* at) const {
        std::size_t count = 0;
        while (count < 2 && at != from && at[-1] == ']') {
            --at;
            ++count;
        }
        return at == from ? count + openBrackets : count;
    }

    /// Writes the white-space that turns out to be the start of a text, the first of it as a reference: the reader
    /// drops it otherwise.
    void beginText() {
        textBegun = true;
        if (!leading.empty()) {
            putWhite(leading[0]);
            out.put(std::string_view(leading).substr(1));
            leading.clear();
        }
    }

    void endText() {
        textBegun = false;
        leading.clear();
        openBrackets = 0;
    }

    bool readCdata() {
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

    bool readComment() {
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

    /// Gets more of what must go on. False if that must wait.
    bool goOn(const WideChar* notClosed) {
        if (waits()) {
            return false;
        }
        if (!in.more()) {
            failAtEnd(notClosed);
        }
        return true;
    }

    // References

    bool readReferenceInText() {
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

    void readReferenceInValue() {
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

    /// Reads the reference that begins here. @p put writes the character of a numeric one.
    template <class Put>
    void readReference(Put put) {
        constexpr const WideChar* bad = u"'&' begins no reference.";
        if (in.have(2) && in.begin()[1] == '#') {
            put(readNumber());
            return;
        }
        const std::size_t length = nameLength(1);
        if (length == 0 || !in.have(length + 2) || in.begin()[length + 1] != ';') {
            refuse(length + 1, bad);
        }
        if (predefinedLength({in.begin(), length + 2}) == 0) {
            fail(words(u"Undeclared entity ", quoted({in.begin() + 1, length}), u"."));
        }
        out.put({in.begin(), length + 2});
        in.consume(length + 2);
    }

    char32_t readNumber() {
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

    /// The byte so far behind, or 0 at the end.
    char byteAt(std::size_t offset) { return in.have(offset + 1) ? in.begin()[offset] : '\0'; }

    /// Fails, and if the data end so far behind, for that.
    [[noreturn]] void refuse(std::size_t offset, const WideChar* sentence) {
        if (in.size() <= offset) {
            failAtEnd(sentence);
        }
        fail(sentence);
    }

    void putWhite(char white) {
        out.put(white == ' ' ? "&#32;" : white == '\t' ? "&#9;" : white == '\n' ? "&#10;" : "&#13;");
    }

    /// Writes a character of text that need not be a reference, unless it is one of these three.
    void putCharacter(char32_t character) {
        if (character == '<' || character == '>' || character == '&') {
            out.put(character == '<' ? "&lt;" : character == '>' ? "&gt;" : "&amp;");
        } else {
            out.wrote(putUnits(out.room(longestCharacter), character));
        }
    }

    // Markup

    bool readMarkup() {
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

    void readOther() {
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
            passType();
        } else {
            refuse(2, unknown);
        }
    }

    void readStartTag() {
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
            opened.push_back(openNames.size());
            openNames.append(out.at(tag.begin), tag.length);
            out.put('>');
        }
        hasRoot = true;
    }

    /// Whether its value is empty.
    bool readAttribute() {
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

    void readValue(char quote) {
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

    void refuseRepeated() {
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

    void readEndTag() {
        if (opened.empty()) {
            fail(u"An end tag without a start tag.");
        }
        const std::string_view open = innermost();
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
        openNames.resize(opened.back());
        opened.pop_back();
    }

    /// The name is another one, or none.
    [[noreturn]] void refuseEndTag() {
        const std::size_t length = nameLength(2);
        if (length == 0) {
            refuse(2, badTag);
        }
        const std::string_view found(in.begin() + 2, length);
        fail(words(u"End tag ", quoted(found), u" for element ", quoted(innermost()), u"."));
    }

    std::string_view innermost() const { return std::string_view(openNames).substr(opened.back()); }

    // What is passed over

    void passInstruction() {
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

    /// Passes over all up to the next such byte, and over that.
    void passTo(char wanted, const WideChar* notClosed) {
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

    void passType() {
        hasType = true;
        expect("<!DOCTYPE", badType);
        passNeededWhite();
        passName();
        const bool white = passWhite();
        const char next = peek(badType);
        if (next == 'S' || next == 'P') {
            if (!white) {
                fail(badType);
            }
            expect(next == 'S' ? "SYSTEM" : "PUBLIC", badType);
            passNeededWhite();
            if (next == 'P') {
                passPublicLiteral();
                passNeededWhite();
            }
            passLiteral();
            passWhite();
        }
        if (peek(badType) == '[') {
            in.consume(1);
            passSubset();
            passWhite();
        }
        expect(">", badType);
    }

    /// Passes over the declarations in the document type, and their closing bracket.
    void passSubset() {
        for (;;) {
            passWhite();
            const char next = peek(badType);
            if (next == ']') {
                in.consume(1);
                return;
            }
            if (next == '%') {
                in.consume(1);
                passName();
                expect(";", badType);
            } else if (next != '<') {
                fail(badType);
            } else if (byteAt(1) == '?') {
                passInstruction();
            } else if (byteAt(1) == '!' && byteAt(2) == '-') {
                passComment();
            } else {
                passMarkupDeclaration();
            }
        }
    }

    void passComment() {
        expect("<!--", badType);
        for (;;) {
            passTo('-', badType);
            if (peek(badType) == '-') {
                in.consume(1);
                expect(">", u"'--' in a comment.");
                return;
            }
        }
    }

    void passMarkupDeclaration() {
        constexpr std::string_view kinds[] = {"<!ELEMENT", "<!ATTLIST", "<!ENTITY", "<!NOTATION"};
        const char third = byteAt(2);
        const char fourth = byteAt(3);
        for (const std::string_view kind : kinds) {
            if (third == kind[2] && fourth == kind[3]) {
                expect(kind, badType);
                passNeededWhite();
                for (char next = peek(badType); next != '>'; next = peek(badType)) {
                    if (next == '"' || next == '\'') {
                        passLiteral();
                    } else if (next == '<') {
                        fail(badType);
                    } else {
                        in.consume(1);
                    }
                }
                in.consume(1);
                return;
            }
        }
        refuse(3, badType);
    }

    void passLiteral() {
        const char quote = peek(badType);
        if (quote != '"' && quote != '\'') {
            fail(badType);
        }
        in.consume(1);
        passTo(quote, badType);
    }

    void passPublicLiteral() {
        const char quote = peek(badType);
        if (quote != '"' && quote != '\'') {
            fail(badType);
        }
        in.consume(1);
        for (char next = peek(badType); next != quote; next = peek(badType)) {
            if (publicCharacters.find(next) == std::string_view::npos) {
                fail(badType);
            }
            in.consume(1);
        }
        in.consume(1);
    }

    void passName() {
        const std::size_t length = nameLength(0);
        if (length == 0) {
            refuse(0, badType);
        }
        in.consume(length);
    }

    void passNeededWhite() {
        if (!passWhite()) {
            refuse(0, badType);
        }
    }

    // Tools

    /// The length of the name that begins so far behind; 0 if there is none. All of it is at hand then.
    std::size_t nameLength(std::size_t offset) {
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

    /// Whether there was any.
    bool passWhite() {
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

    /// The next byte, which must be there.
    char peek(const WideChar* sentence) {
        if (in.empty() && !in.more()) {
            failAtEnd(sentence);
        }
        return *in.begin();
    }

    void expect(std::string_view literal, const WideChar* sentence) {
        for (const char c : literal) {
            if (peek(sentence) != c) {
                fail(sentence);
            }
            in.consume(1);
        }
    }

    /// Copies what is at hand from @p at on, up to where a word stops it; returns that place.
    template <class Stops>
    const char* copyOut(const char* at, const char* end, Stops stops) {
        const char* const stop = findStop(at, end, stops);
        out.put({at, static_cast<std::size_t>(stop - at)});
        return stop;
    }

    static WideString located(const WideString& sentence, const Place& place) {
        return words(sentence, u" : line ", place.line, u", column ", place.column);
    }

    /// Fails for what is next.
    [[noreturn]] void fail(const WideString& sentence, long line = __builtin_LINE()) {
        raise<io::DataFormatException>(className, located(sentence, in.place()), line);
    }

    /// Fails because there is no more, or for what is wrong there.
    [[noreturn]] void failAtEnd(const WideString& sentence, long line = __builtin_LINE()) {
        in.moveTo(in.end());
        fail(in.fault().empty() ? sentence : in.fault(), line);
    }

    XmlText in;
    const bool keepsWhite;
    State state = State::start;
    bool hasRoot = false;
    bool hasType = false;
    std::string openNames;            // of the open elements, outermost first
    std::vector<std::size_t> opened;  // where each of these names begins
    std::vector<Range> attributes;    // of the tag that is being read
    bool textBegun = false;           // something of a text has been written
    std::string leading;              // the white-space in front of what may become a text
    std::size_t openBrackets = 0;     // how many "]" stand at the end of a text that has been passed
    Place valuePlace;                 // of an attribute of the declaration
};

}  // namespace

XmlInputStream::XmlInputStream(io::InputStream& source, WhiteSpace whiteSpace)
    : pieces(std::make_unique<XmlPieces>(source, whiteSpace)) {}

XmlInputStream::~XmlInputStream() = default;

unsigned int XmlInputStream::read(char* buffer, unsigned int length) {
    return pieces->read(buffer, length);
}

void XmlInputStream::close() {
    pieces->close();
}

void XmlInputStream::skip(long count) {
    pieces->skip(count);
}

unsigned long XmlInputStream::line() const {
    return pieces->where().line;
}

unsigned long XmlInputStream::column() const {
    return pieces->where().column;
}

}  // namespace moraine::extras
