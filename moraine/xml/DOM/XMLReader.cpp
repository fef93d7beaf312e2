#include "moraine/xml/DOM/XMLReader.h"

#include <algorithm>
#include <exception>
#include <string_view>
#include <vector>

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/text/StringUtil.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/internal/Attributes.h"
#include "moraine/xml/internal/OpenElements.h"
#include "moraine/xml/internal/PendingText.h"
#include "moraine/xml/internal/Prolog.h"
#include "moraine/xml/internal/References.h"

namespace moraine::xml::DOM {
namespace {

using lang::message;
using text::unitCount;

constexpr std::size_t absent = static_cast<std::size_t>(-1);

/// What the accessors tell about: a token that has been read. Its texts lie where the token itself does, with their
/// references resolved and a zero unit in the place of what stood after them. Places count from the token's start.
struct Piece {
    int type;
    bool start;
    bool empty;
    std::size_t name;   // a place, or `absent`
    std::size_t value;  // a place, or `absent`
};

/// The places of the texts of one attribute.
struct Attribute {
    std::size_t name;
    std::size_t value;
};

/// A tag: its name, which ends at the first white-space or with the tag, and where it ends.
struct Tag {
    Range name;
    std::size_t end;
    bool bracketed;  // whether there is a "<" in it
    bool refused;    // whether there is a "=" or a quote in its name
};

}  // namespace

/// The pending text is a row of tokens, the first of which may not be whole yet. Each token is found by its end, which
/// takes as many further blocks as it needs, and taken apart when it lies there whole.
class XMLReader::Machine {
public:
    explicit Machine(io::InputStream* stream) : inputStream(stream), pending(stream) {}

    bool doRead();

    const WideChar* textAt(std::size_t place) const { return place == absent ? nullptr : pending.piece() + place; }
    const Attribute& attributeAt(unsigned int index) const;
    Declaration& declared() const;

    Piece piece{documentNode, false, false, absent, absent};
    std::vector<Attribute> attributes;  // of `piece`

private:
    void readProlog();
    void chooseDecoder(unsigned int size);
    void reportDeclaration();

    bool parseToken();
    bool passWhiteSpace();
    void parseText();
    void parseMarkup();
    void parseComment();
    void parseStartTag();
    void parseEndTag();
    Tag findTag(std::size_t name);
    std::u16string_view parseTag(const Tag& tag);
    void addAttributes(std::size_t first, std::size_t end, long position);

    std::size_t terminate(const Range& range);
    void resolve(WideChar* text, std::size_t length);
    void report(int type, std::size_t name, std::size_t value, std::size_t length);

    bool readBlock() { return pending.readBlock(readerName); }
    template <std::uint64_t Marks::*... Rows>
    std::size_t find(std::size_t from, const WideChar* failure, long number);

    [[noreturn]] void fail(const WideString& message, long line = __builtin_LINE()) const;
    [[noreturn]] void failAtEnd(const WideString& message, long line = __builtin_LINE());
    long position() const;
    WideString atPosition(const WideChar* words) const;
    WideString atPositionWithUnit(const WideChar* words) const;

    io::InputStream* inputStream;              // borrowed
    std::unique_ptr<Declaration> declaration;  // until the first piece after it has been read
    PendingText pending;                       // whose first unit is the start of the token that is being parsed
    std::vector<Attribute> found;              // of the token that is being parsed
    OpenElements openElements;
    std::size_t whiteSpace = 0;  // that was pending before the token
    long positionBase = 0;       // the length of the declaration in bytes
    bool taken = false;          // whether the stream has given anything
    bool endOfData = false;
    std::exception_ptr broken;  // what every further call throws
    WideString resolved;        // the room in which references are resolved
};

XMLReader::XMLReader(io::InputStream* stream) : machine(std::make_unique<Machine>(stream)) {}

XMLReader::~XMLReader() = default;

bool XMLReader::doRead() {
    return machine->doRead();
}

const WideChar* XMLReader::getName() const {
    return machine->textAt(machine->piece.name);
}

const WideChar* XMLReader::getValue() const {
    return machine->textAt(machine->piece.value);
}

bool XMLReader::hasValue() {
    return machine->piece.value != absent;
}

int XMLReader::getNodeType() {
    return machine->piece.type;
}

bool XMLReader::isStartElement() {
    return machine->piece.start;
}

bool XMLReader::isEmptyElement() {
    return machine->piece.empty;
}

unsigned int XMLReader::getAttributeCount() {
    return static_cast<unsigned int>(machine->attributes.size());
}

bool XMLReader::hasAttribute() {
    return !machine->attributes.empty();
}

const WideChar* XMLReader::getAttributeName(unsigned int index) const {
    return machine->textAt(machine->attributeAt(index).name);
}

const WideChar* XMLReader::getAttributeValue(unsigned int index) const {
    return machine->textAt(machine->attributeAt(index).value);
}

const WideChar* XMLReader::getVersion() const {
    return machine->declared().getVersion();
}

const WideChar* XMLReader::getEncoding() const {
    return machine->declared().getEncoding();
}

bool XMLReader::getStandalone() {
    return machine->declared().getStandalone();
}

/// Whether a failure is final: the bytes that were taken are gone, or the text of the bad token is no longer what it
/// was. A stream that failed may be asked again, and after the end of the data there is nothing to lose.
bool XMLReader::Machine::doRead() {
    if (broken) {
        std::rethrow_exception(broken);
    }
    try {
        if (!pending.canDecode()) {
            readProlog();
        } else if (piece.type == documentNode) {
            reportDeclaration();
        } else {
            return parseToken();
        }
        return true;
    } catch (...) {
        if (taken && !pending.isAsking() && !endOfData) {
            broken = std::current_exception();
        }
        throw;
    }
}

const Attribute& XMLReader::Machine::attributeAt(unsigned int index) const {
    if (index >= attributes.size()) {
        const auto count = static_cast<unsigned int>(attributes.size());
        lang::raise<lang::ArrayIndexOutBoundsException>(readerName, message(index, u" > ", count));
    }
    return attributes[index];
}

Declaration& XMLReader::Machine::declared() const {
    if (!declaration) {
        lang::raise<lang::UnsupportedOperationException>(readerName, pending.canDecode() ? u"Invalid XML data."
                                                                                         : u"Not parsed yet.");
    }
    return *declaration;
}

void XMLReader::Machine::readProlog() {
    const unsigned int size = pending.readBytes(readerName);
    taken = size > 0;
    const std::size_t end = declarationEnd({pending.bytes(), size});
    declaration = std::make_unique<Declaration>();
    const std::size_t length = end - declarationStart;
    pending.append(*text::StringUtil().toWide(pending.bytes() + declarationStart, unitCount(length)));
    parseDeclaration(pending, *declaration);
    positionBase = static_cast<long>(end) + 2;
    if (declaration->getAttributeCount() == 0) {
        fail(u"Invalid XML declaration.");
    }
    try {
        chooseDecoder(size);
    } catch (lang::Exception& e) {
        lang::passOn(e, readerName);
    }
}

/// Gets the decoder and moves the stream, of which `size` bytes have been read, back to the end of the declaration.
void XMLReader::Machine::chooseDecoder(unsigned int size) {
    const WideChar* const encoding = declaration->getEncoding();
    text::DecoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(readerName, message(u"Unsupported encoding. : ", encoding));
    }
    inputStream->skip(positionBase - static_cast<long>(size));
    pending.decodeBy(std::unique_ptr<text::IDecoder>(manager.getDecoder(encoding)));
}

void XMLReader::Machine::reportDeclaration() {
    addAttributes(0, pending.length(), declarationStart);
    report(declarationNode, absent, absent, pending.length());
}

/// Reads the next token; false at the end of the data.
bool XMLReader::Machine::parseToken() {
    if (!passWhiteSpace()) {
        return false;
    }
    found.clear();
    // The "<" after a text has given its place to the text's terminator.
    if (piece.type == textNode || *pending.units() == u'<') {
        parseMarkup();
    } else {
        parseText();
    }
    declaration.reset();
    return true;
}

/// Moves to the start of the next token; false if there is none.
bool XMLReader::Machine::passWhiteSpace() {
    for (;;) {
        const std::size_t count = pending.nextSolid();
        pending.drop(count);
        whiteSpace += count;
        if (pending.length() > 0) {
            return true;
        }
        if (endOfData) {
            return false;
        }
        const bool more = readBlock();
        whiteSpace = 0;  // a block takes the place of what was nothing but white-space
        if (!more) {
            endOfData = true;
            // An element that is open counts as inside only if there was anything after its tag.
            const bool opened = piece.start && !piece.empty;
            if (openElements.count() > (opened ? 1U : 0U)) {
                fail(u"Invalid element tree.");
            }
            return false;
        }
    }
}

void XMLReader::Machine::parseText() {
    if (openElements.count() == 0) {
        fail(atPosition(u"Invalid text.("));
    }
    std::size_t end = 0;
    do {
        end = find<&Marks::angles>(end + 1, u"Invalid EOD.(", positionBase);
    } while (pending.units()[end] != u'<');
    report(textNode, absent, terminate({0, end, pending.any<&Marks::references>(0, end)}), end);
}

void XMLReader::Machine::parseMarkup() {
    // One more block is enough to see what the markup is; only a comment needs more units than that.
    if (pending.length() < 3 && !readBlock()) {
        failAtEnd(atPosition(u"Invalid element.("));
    }
    switch (pending.units()[1]) {
        case u' ':
            fail(atPositionWithUnit(u"Invalid element name.("));
        case u'?':
        case u'[':
            fail(atPositionWithUnit(u"Unsupported element type.("));
        case u'!':
            parseComment();
            break;
        case u'/':
            parseEndTag();
            break;
        default:
            parseStartTag();
            break;
    }
}

void XMLReader::Machine::parseComment() {
    constexpr std::size_t openingLength = 4;
    if (pending.length() <= openingLength || pending.units()[2] != u'-' || pending.units()[3] != u'-') {
        fail(atPositionWithUnit(u"Unsupported element type.("));
    }
    const auto closes = [this](std::size_t at) {
        // The dashes of the opening are none of the closing.
        const WideChar* const text = pending.units();
        return at >= openingLength + 2 && text[at] == u'>' && text[at - 1] == u'-' && text[at - 2] == u'-';
    };
    std::size_t close = openingLength - 1;
    do {
        close = find<&Marks::angles>(close + 1, u"Invalid comment.(", position());
    } while (!closes(close));
    const bool reference = pending.any<&Marks::references>(openingLength, close);
    report(commentNode, absent, terminate({openingLength, close - 2, reference}), close + 1);
}

void XMLReader::Machine::parseStartTag() {
    Tag tag = findTag(1);
    const std::size_t length = tag.end + 1;
    const bool empty = pending.units()[tag.end - 1] == u'/';
    if (empty) {
        --tag.end;
        tag.name.end = std::min(tag.name.end, tag.end);
    }
    const std::u16string_view name = parseTag(tag);
    if (!empty) {
        openElements.open(name);
    }
    report(elementNode, tag.name.begin, absent, length);
    piece.start = true;
    piece.empty = empty;
}

void XMLReader::Machine::parseEndTag() {
    const Tag tag = findTag(2);
    if (!openElements.close(parseTag(tag))) {
        fail(atPosition(u"Invalid element tree.("));
    }
    report(elementNode, tag.name.begin, absent, tag.end + 1);
}

/// Finds the tag whose name begins at `name`.
Tag XMLReader::Machine::findTag(std::size_t name) {
    constexpr const WideChar* cutOff = u"Invalid element.(";
    Tag tag{{name, name, false}, name, false, false};
    WideChar unit = 0;
    for (;; ++tag.name.end) {
        tag.name.end = find<&Marks::white, &Marks::angles, &Marks::equals, &Marks::quotes, &Marks::references>(
            tag.name.end, cutOff, position());
        unit = pending.units()[tag.name.end];
        if (unit == u'>' || text::scan::isWhite(unit)) {
            break;
        }
        tag.bracketed = tag.bracketed || unit == u'<';
        tag.name.reference = tag.name.reference || unit == u'&' || unit == 0;
        tag.refused = tag.refused || unit == u'=' || unit == u'"' || unit == u'\'';
    }
    tag.end = tag.name.end;
    while (unit != u'>') {
        tag.end = find<&Marks::angles>(tag.end + 1, cutOff, position());
        unit = pending.units()[tag.end];
        tag.bracketed = tag.bracketed || unit == u'<';
    }
    if (tag.end == name) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    return tag;
}

/// Makes name and attributes of a tag; returns the name.
std::u16string_view XMLReader::Machine::parseTag(const Tag& tag) {
    const Range& name = tag.name;
    const bool bare = name.end == tag.end;
    if (name.end == name.begin) {
        fail(atPosition(name.begin == 1 ? u"Invalid element name.(" : u"Element name not found.("));
    }
    // A "<" is let through in a name that attributes, or at least white-space, follow.
    if (tag.refused || (bare && tag.bracketed)) {
        fail(atPositionWithUnit(u"Invalid element name.("));
    }
    terminate(name);
    if (!bare) {
        const std::size_t first = name.end + 1;
        const long number = position() + static_cast<long>(first - name.begin);
        try {
            if (tag.bracketed) {
                refuseBracket(pending, first, tag.end, number);
            }
            addAttributes(first, tag.end, number);
        } catch (io::DataFormatException& e) {
            lang::passOn(e, readerName);
        }
    }
    const WideChar* const text = pending.units() + name.begin;
    return {text, name.reference ? text::lengthOf(text) : name.end - name.begin};
}

/// Makes the attributes of the token that is being parsed.
void XMLReader::Machine::addAttributes(std::size_t first, std::size_t end, long position) {
    forEachAttribute(pending, first, end, position, [this](const Range& name, const Range& value) {
        terminate(name);
        found.push_back({name.begin, terminate(value)});
    });
}

/// Makes a text of pending units, in their place. Returns that, or `absent` if there are no units.
std::size_t XMLReader::Machine::terminate(const Range& range) {
    const unsigned int length = unitCount(range.end - range.begin);
    if (length == 0) {
        return absent;
    }
    pending.units()[range.end] = 0;
    if (range.reference) {
        resolve(pending.units() + range.begin, length);
    }
    return range.begin;
}

/// Resolves the references of a text in its place; none stands for more units than it has itself.
void XMLReader::Machine::resolve(WideChar* text, std::size_t length) {
    resolved.clear();
    appendResolved(resolved, text, length, Resolve::all);
    *std::copy(resolved.begin(), resolved.end(), text) = 0;
}

/// Makes the first `length` pending units, with the texts in them, what the accessors tell about.
void XMLReader::Machine::report(int type, std::size_t name, std::size_t value, std::size_t length) {
    attributes.swap(found);
    piece = {type, false, false, name, value};
    pending.takePiece(length);
    whiteSpace = 0;
}

/// The place of the first unit from `from` on that is marked in one of the rows, with as many further blocks as that
/// takes. If the data ends first, the failure has these words and this number.
template <std::uint64_t Marks::*... Rows>
std::size_t XMLReader::Machine::find(std::size_t from, const WideChar* failure, long number) {
    for (;;) {
        const std::size_t at = pending.next<Rows...>(from);
        if (at < pending.length()) {
            return at;
        }
        from = pending.length();
        if (!readBlock()) {
            failAtEnd(message(failure, number, u")"));
        }
    }
}

void XMLReader::Machine::fail(const WideString& message, long line) const {
    lang::raise<io::DataFormatException>(readerName, message, line);
}

/// Fails because the data ended. The next `doRead` finds nothing more.
void XMLReader::Machine::failAtEnd(const WideString& message, long line) {
    endOfData = true;
    pending.drop(pending.length());
    fail(message, line);
}

/// The number of the token in messages.
long XMLReader::Machine::position() const {
    return positionBase + static_cast<long>(whiteSpace);
}

WideString XMLReader::Machine::atPosition(const WideChar* words) const {
    return message(words, position(), u")");
}

WideString XMLReader::Machine::atPositionWithUnit(const WideChar* words) const {
    return message(words, position(), u") '", pending.units()[1], u"'");
}

}  // namespace moraine::xml::DOM
