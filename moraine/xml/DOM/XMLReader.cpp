#include "moraine/xml/DOM/XMLReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <string_view>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/internal/References.h"
#include "moraine/xml/internal/UnitCount.h"

namespace moraine::xml::DOM {
namespace {

using lang::message;

/// The offset in the data of the first byte behind "<?xml" and a white-space.
constexpr std::size_t declarationStart = 6;

/// What a unit means within a tag, as bits.
enum UnitKind : unsigned char { white = 1, equals = 2, quote = 4, bracket = 8, ampersand = 16, zero = 32 };

constexpr auto asciiKinds = [] {
    std::array<unsigned char, 128> kinds{};
    kinds[u' '] = kinds[u'\t'] = kinds[u'\n'] = kinds[u'\r'] = white;
    kinds[u'='] = equals;
    kinds[u'"'] = kinds[u'\''] = quote;
    kinds[u'<'] = bracket;
    kinds[u'&'] = ampersand;
    kinds[0] = zero;
    return kinds;
}();

unsigned int kindOf(WideChar unit) {
    return unit < asciiKinds.size() ? asciiKinds[unit] : 0U;
}

}  // namespace

XMLReader::XMLReader(io::InputStream* stream)
    : inputStream(stream), piece{documentNode, false, false, absent, absent, 0, 0}, textBuffer(new WideChar[blockSize]),
      textCapacity(blockSize) {}

XMLReader::~XMLReader() = default;

bool XMLReader::doRead() {
    if (!decoder) {
        readProlog();
        return true;
    }
    if (piece.type == documentNode) {
        reportDeclaration();
        return true;
    }
    return parseToken();
}

const WideChar* XMLReader::getName() const {
    return textAt(piece.name);
}

const WideChar* XMLReader::getValue() const {
    return textAt(piece.value);
}

bool XMLReader::hasValue() {
    return piece.value != absent;
}

int XMLReader::getNodeType() {
    return piece.type;
}

bool XMLReader::isStartElement() {
    return piece.start;
}

bool XMLReader::isEmptyElement() {
    return piece.empty;
}

unsigned int XMLReader::getAttributeCount() {
    return static_cast<unsigned int>(attributes.size());
}

bool XMLReader::hasAttribute() {
    return !attributes.empty();
}

const WideChar* XMLReader::getAttributeName(unsigned int index) const {
    return textAt(attributeAt(index).name);
}

const WideChar* XMLReader::getAttributeValue(unsigned int index) const {
    return textAt(attributeAt(index).value);
}

const WideChar* XMLReader::getVersion() const {
    return declared().getVersion();
}

const WideChar* XMLReader::getEncoding() const {
    return declared().getEncoding();
}

bool XMLReader::getStandalone() {
    return declared().getStandalone();
}

const WideChar* XMLReader::getClassName() const {
    return u"moraine::xml::DOM::XMLReader";
}

bool XMLReader::isWhilteSpace(WideChar c) const {
    return kindOf(c) == white;
}

// The declaration is examined as bytes, since it is what tells the encoding of the rest. Its text stays pending until
// the call that reports it.
void XMLReader::readProlog() {
    const unsigned int size = readBytes();
    const std::size_t end = declarationEnd(size);
    declaration = std::make_unique<Declaration>();
    const std::size_t length = end - declarationStart;
    append(*stringUtil.toWide(byteBuffer + declarationStart, unitCount(length)));
    try {
        // Here the references are resolved by the attributes themselves.
        refuseBracket(0, length, declarationStart);
        doAttributeParse(0, length, declarationStart,
                         [this](std::size_t name, std::size_t nameEnd, std::size_t value, std::size_t valueEnd) {
                             auto attribute = std::make_unique<Attr>();
                             attribute->setLocalName(pending() + name, unitCount(nameEnd - name));
                             attribute->setValue(pending() + value, unitCount(valueEnd - value));
                             declaration->appendAttribute(attribute.get());
                             attribute.release()->setParentNode(declaration.get());
                         });
    } catch (io::DataFormatException& e) {
        lang::passOn(e, getClassName());
    }
    positionBase = static_cast<long>(end) + 2;
    if (declaration->getAttributeCount() == 0) {
        fail(u"Invalid XML declaration.");
    }
    try {
        chooseDecoder(size);
    } catch (lang::Exception& e) {
        lang::passOn(e, getClassName());
    }
}

/// The offset of the "?>" that ends the declaration at the start of the first block, which has `size` bytes.
std::size_t XMLReader::declarationEnd(std::size_t size) const {
    constexpr const WideChar* notFound = u"XML declaration not found.";
    if (size == 0) {
        lang::raise<io::IOException>(getClassName(), u"Data is empty.");
    }
    if (size < 4 || std::memcmp(byteBuffer, "<?xm", 4) != 0) {
        fail(u"Invaild data.");
    }
    if (size <= 8 || byteBuffer[4] != 'l' || !isWhilteSpace(static_cast<WideChar>(byteBuffer[5]))) {
        fail(notFound);
    }
    const char* const stop = byteBuffer + size;
    const char* const mark =
        std::find_if(byteBuffer + declarationStart, stop, [](char c) { return c == '?' || c == 0; });
    if (stop - mark < 2 || mark[0] != '?' || mark[1] != '>') {
        fail(notFound);
    }
    return static_cast<std::size_t>(mark - byteBuffer);
}

/// Gets the decoder and moves the stream, of which `size` bytes have been read, back to the end of the declaration.
void XMLReader::chooseDecoder(unsigned int size) {
    const WideChar* const encoding = declaration->getEncoding();
    text::DecoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(getClassName(), message(u"Unsupported encoding. : ", encoding));
    }
    inputStream->skip(positionBase - static_cast<long>(size));
    decoder.reset(manager.getDecoder(encoding));
}

void XMLReader::reportDeclaration() {
    addAttributes(0, textLength, declarationStart);
    report(declarationNode, absent, absent, textLength);
}

/// Reads the next token; false at the end of the data.
bool XMLReader::parseToken() {
    if (!passWhiteSpace()) {
        return false;
    }
    found.clear();
    // The "<" behind a text has given its place to the text's terminator.
    if (piece.type == textNode || *pending() == u'<') {
        parseMarkup();
    } else {
        parseText();
    }
    declaration.reset();
    return true;
}

/// Moves to the start of the next token; false if there is none.
bool XMLReader::passWhiteSpace() {
    for (;;) {
        std::size_t white = 0;
        while (white < textLength && isWhilteSpace(pending()[white])) {
            ++white;
        }
        consume(white);
        if (textLength > 0) {
            tokenPosition = positionBase + static_cast<long>(white);
            return true;
        }
        if (endOfData) {
            return false;
        }
        if (!readBlock()) {
            endOfData = true;
            // An element that is open counts as inside only if there was anything behind its tag.
            const bool opened = piece.start && !piece.empty;
            if (openEnds.size() > (opened ? 1U : 0U)) {
                fail(u"Invalid element tree.");
            }
            return false;
        }
    }
}

void XMLReader::parseText() {
    if (openEnds.empty()) {
        fail(atPosition(u"Invalid text.("));
    }
    bool resolve = *pending() == u'&';
    const std::size_t end = indexOf(u'<', u'&', resolve, 1, u"Invalid EOD.(", positionBase);
    report(textNode, absent, terminate(0, end, resolve), end);
}

void XMLReader::parseMarkup() {
    // One more block is enough to see what the markup is; only a comment needs more units than that.
    if (textLength < 3 && !readBlock()) {
        failAtEnd(atPosition(u"Invalid element.("));
    }
    switch (pending()[1]) {
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

void XMLReader::parseComment() {
    constexpr std::size_t openingLength = 4;
    if (textLength <= openingLength || pending()[2] != u'-' || pending()[3] != u'-') {
        fail(atPositionWithUnit(u"Unsupported element type.("));
    }
    bool resolve = false;
    std::size_t close = openingLength - 1;
    do {
        close = indexOf(u'>', u'&', resolve, close + 1, u"Invalid comment.(", tokenPosition);
        // The dashes of the opening are none of the closing.
    } while (close < openingLength + 2 || pending()[close - 1] != u'-' || pending()[close - 2] != u'-');
    report(commentNode, absent, terminate(openingLength, close - 2, resolve), close + 1);
}

void XMLReader::parseStartTag() {
    bool bracketed = false;
    const std::size_t close = indexOf(u'>', u'<', bracketed, 1, u"Invalid element.(", tokenPosition);
    if (close == 1) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    const bool empty = pending()[close - 1] == u'/';
    const std::size_t nameLength = parseTag(1, empty ? close - 1 : close, bracketed);
    if (!empty) {
        openNames.append(pending() + 1, nameLength);
        openEnds.push_back(openNames.size());
    }
    report(elementNode, 1, absent, close + 1);
    piece.start = true;
    piece.empty = empty;
}

void XMLReader::parseEndTag() {
    bool bracketed = false;
    const std::size_t close = indexOf(u'>', u'<', bracketed, 2, u"Invalid element.(", tokenPosition);
    if (close == 2) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    const std::size_t nameLength = parseTag(2, close, bracketed);
    if (openEnds.empty() || std::u16string_view(pending() + 2, nameLength) != innermostName()) {
        fail(atPosition(u"Invalid element tree.("));
    }
    openNames.resize(openNames.size() - nameLength);
    openEnds.pop_back();
    report(elementNode, 2, absent, close + 1);
}

/// Name and attributes of a tag, whose content are the pending units from `first` up to `end`; `bracketed` tells
/// whether a "<" is among them. Returns the length of the name.
std::size_t XMLReader::parseTag(std::size_t first, std::size_t end, bool bracketed) {
    const WideChar* const text = pending();
    std::size_t nameEnd = first;
    unsigned int met = 0;
    for (; nameEnd < end; ++nameEnd) {
        const unsigned int kind = kindOf(text[nameEnd]);
        if (kind == white) {
            break;
        }
        met |= kind;
    }
    const bool bare = nameEnd == end;
    if (nameEnd == first && !bare) {
        fail(atPosition(first == 1 ? u"Invalid element name.(" : u"Element name not found.("));
    }
    // A "<" is let through in a name that attributes, or at least white-space, follow.
    if ((met & (equals | quote)) != 0 || (bare && bracketed)) {
        fail(atPositionWithUnit(u"Invalid element name.("));
    }
    terminate(first, nameEnd, (met & ampersand) != 0);
    if (!bare) {
        const std::size_t passed = nameEnd + 1;
        const long position = tokenPosition + static_cast<long>(passed - first);
        try {
            if (bracketed) {
                refuseBracket(passed, end, position);
            }
            addAttributes(passed, end, position);
        } catch (io::DataFormatException& e) {
            lang::passOn(e, getClassName());
        }
    }
    return (met & (ampersand | zero)) != 0 ? text::lengthOf(text + first) : nameEnd - first;
}

/// Fails if there is a "<" or ">" in attributes.
void XMLReader::refuseBracket(std::size_t first, std::size_t end, long position) const {
    const WideChar* const text = pending() + first;
    const std::size_t length = end - first;
    const std::size_t at = text::scan::findEither(text, length, u'<', u'>');
    if (at < length) {
        fail(message(u"Invalud attribute name.(", position + static_cast<long>(at), u") : '", text[at], u"'"));
    }
}

/// Finds the attributes that stand in the pending units from `first` up to `end`, none of which is a "<" or ">", and
/// calls `add` for each with where its name and value begin and end. `position` is the number of the first unit in
/// messages.
template <class Add>
void XMLReader::doAttributeParse(std::size_t first, std::size_t end, long position, Add add) {
    const WideChar* const text = pending();
    const auto failAt = [&](const WideChar* words, std::size_t at) {
        fail(message(words, position + static_cast<long>(at - first), u")"));
    };
    const auto skipWhite = [&](std::size_t at) {
        while (at < end && kindOf(text[at]) == white) {
            ++at;
        }
        return at;
    };
    const auto findSpecial = [&](std::size_t at) {
        while (at < end && (kindOf(text[at]) & (equals | quote)) == 0) {
            ++at;
        }
        return at;
    };

    for (std::size_t at = skipWhite(first); at < end; at = skipWhite(at)) {
        const std::size_t name = at;
        at = findSpecial(at);
        if (at == end) {
            failAt(u"Invalid element.(", end);
        }
        if (text[at] != u'=') {
            failAt(u"Invalid attribute name.(", at);
        }
        if (at == name) {
            failAt(u"Attribute name not found.(", at);
        }
        std::size_t nameEnd = at;
        while (kindOf(text[nameEnd - 1]) == white) {
            --nameEnd;
        }

        const std::size_t opening = skipWhite(at + 1);
        at = findSpecial(opening);
        if (at == end) {
            failAt(u"Invalid element.(", end);
        }
        if (at != opening || text[at] == u'=') {
            failAt(u"Invalid attribute name.(", at);
        }
        // Two units must follow the opening quote, so an empty value cannot be the very last thing.
        const std::size_t value = at + 1;
        const std::size_t rest = end - value;
        const std::size_t valueLength = rest < 2 ? rest : text::scan::find(text + value, rest, text[at]);
        if (valueLength == rest) {
            failAt(u"Invalid attribute value.(", at);
        }
        at = value + valueLength;
        add(name, nameEnd, value, at);
        ++at;
    }
}

/// Makes the attributes of the token that is being read.
void XMLReader::addAttributes(std::size_t first, std::size_t end, long position) {
    const auto hasReference = [this](std::size_t from, std::size_t to) {
        return text::scan::find(pending() + from, to - from, u'&') < to - from;
    };
    doAttributeParse(first, end, position,
                     [&](std::size_t name, std::size_t nameEnd, std::size_t value, std::size_t valueEnd) {
                         terminate(name, nameEnd, hasReference(name, nameEnd));
                         found.push_back({name, terminate(value, valueEnd, hasReference(value, valueEnd))});
                     });
}

/// Makes a text of the pending units from `first` up to `end`, in their place. Returns its offset, or `absent` if
/// there are none.
std::size_t XMLReader::terminate(std::size_t first, std::size_t end, bool resolve) {
    const unsigned int length = unitCount(end - first);
    if (length == 0) {
        return absent;
    }
    WideChar* const text = pending() + first;
    text[length] = 0;
    if (resolve) {
        // No reference stands for more units than it has itself.
        resolved.clear();
        appendResolved(resolved, text, length, Resolve::all);
        *std::copy(resolved.begin(), resolved.end(), text) = 0;
    }
    return first;
}

/// Makes the first `length` pending units, with the texts in them, what the accessors tell about.
void XMLReader::report(int type, std::size_t name, std::size_t value, std::size_t length) {
    attributes.swap(found);
    piece = {type, false, false, name, value, textStart, length};
    consume(length);
}

/// The name of the innermost open element.
std::u16string_view XMLReader::innermostName() const {
    const std::size_t begin = openEnds.size() < 2 ? 0 : openEnds[openEnds.size() - 2];
    return std::u16string_view(openNames).substr(begin);
}

const WideChar* XMLReader::textAt(std::size_t offset) const {
    return offset == absent ? nullptr : textBuffer.get() + piece.begin + offset;
}

Declaration& XMLReader::declared() const {
    if (!declaration) {
        lang::raise<lang::UnsupportedOperationException>(getClassName(),
                                                         decoder ? u"Invalid XML data." : u"Not parsed yet.");
    }
    return *declaration;
}

const XMLReader::Attribute& XMLReader::attributeAt(unsigned int index) const {
    if (index >= attributes.size()) {
        const auto count = static_cast<unsigned int>(attributes.size());
        lang::raise<lang::ArrayIndexOutBoundsException>(getClassName(), message(index, u" > ", count));
    }
    return attributes[index];
}

unsigned int XMLReader::readBytes() {
    const unsigned int count = inputStream->read(byteBuffer, blockSize);
    if (count > blockSize) {
        lang::raise<io::IOException>(getClassName(), u"The stream could not be read.");
    }
    return count;
}

/// Puts the next block behind the pending text; false if it gives no text, which ends the data.
bool XMLReader::readBlock() {
    const unsigned int count = readBytes();
    const OwnedWideString block = decoder->doDecodeM2W(byteBuffer, count, count == 0);
    append(*block);
    return !block->empty();
}

/// Puts a block behind the pending text, in front of which the current piece stays.
void XMLReader::append(const WideString& block) {
    const std::size_t needed = piece.length + textLength + block.size();
    if (textStart + textLength + block.size() > textCapacity) {
        // The buffer doubles, so that the cost of a long token stays in proportion to its length.
        const std::size_t roomy = needed > textCapacity ? std::max(needed, textCapacity * 2) : 0;
        std::unique_ptr<WideChar[]> room(roomy != 0 ? new WideChar[roomy] : nullptr);
        WideChar* const target = room ? room.get() : textBuffer.get();
        std::memmove(target, textBuffer.get() + piece.begin, piece.length * sizeof(WideChar));
        std::memmove(target + piece.length, pending(), textLength * sizeof(WideChar));
        if (room) {
            textBuffer = std::move(room);
            textCapacity = roomy;
        }
        piece.begin = 0;
        textStart = piece.length;
    }
    std::copy(block.begin(), block.end(), pending() + textLength);
    textLength += block.size();
}

/// The index of the first `wanted` unit at or behind `from`, with as many further blocks as that takes. `met` becomes
/// true if a `noted` unit stands in front of it. If the data ends first, the failure has these words and this number.
std::size_t XMLReader::indexOf(WideChar wanted, WideChar noted, bool& met, std::size_t from, const WideChar* failure,
                               long number) {
    for (;;) {
        if (!met && from < textLength) {
            from += text::scan::findEither(pending() + from, textLength - from, wanted, noted);
            met = from < textLength && pending()[from] == noted;
        }
        if (met && from < textLength) {
            from += text::scan::find(pending() + from, textLength - from, wanted);
        }
        if (from < textLength) {
            return from;
        }
        if (!readBlock()) {
            failAtEnd(message(failure, number, u")"));
        }
    }
}

void XMLReader::consume(std::size_t count) {
    textStart += count;
    textLength -= count;
}

void XMLReader::fail(const WideString& message, long line) const {
    lang::raise<io::DataFormatException>(getClassName(), message, line);
}

/// Fails because the data ended. The next `doRead` finds nothing more.
void XMLReader::failAtEnd(const WideString& message, long line) {
    endOfData = true;
    consume(textLength);
    fail(message, line);
}

WideString XMLReader::atPosition(const WideChar* words) const {
    return message(words, tokenPosition, u")");
}

WideString XMLReader::atPositionWithUnit(const WideChar* words) const {
    return message(words, tokenPosition, u") '", pending()[1], u"'");
}

}  // namespace moraine::xml::DOM
