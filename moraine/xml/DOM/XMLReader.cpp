#include "moraine/xml/DOM/XMLReader.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string_view>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/internal/References.h"

namespace moraine::xml::DOM {
namespace {

using lang::message;
using text::unitCount;

/// The offset in the data of the first byte behind "<?xml" and a white-space.
constexpr std::size_t declarationStart = 6;

/// What a unit means within a tag, as bits.
enum UnitKind : unsigned char {
    white = 1,
    equals = 2,
    quote = 4,
    bracket = 8,
    closing = 16,
    ampersand = 32,
    zero = 64
};

constexpr auto asciiKinds = [] {
    std::array<unsigned char, 128> kinds{};
    kinds[u' '] = kinds[u'\t'] = kinds[u'\n'] = kinds[u'\r'] = white;
    kinds[u'='] = equals;
    kinds[u'"'] = kinds[u'\''] = quote;
    kinds[u'<'] = bracket;
    kinds[u'>'] = closing;
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
    if (broken) {
        std::rethrow_exception(broken);
    }
    try {
        if (!decoder) {
            readProlog();
        } else if (piece.type == documentNode) {
            reportDeclaration();
        } else {
            return parseToken();
        }
        return true;
    } catch (const io::DataFormatException&) {
        if (decoder && !endOfData) {
            broken = std::current_exception();  // the text of the bad token is no longer what it was
        }
        throw;
    } catch (const std::bad_alloc&) {
        broken = std::current_exception();  // a part of what was to be read may be taken already
        throw;
    } catch (const std::length_error&) {
        broken = std::current_exception();
        throw;
    }
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
    return text::scan::isWhite(c);
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
        doAttributeParse(0, length, declarationStart, [this](const Range& name, const Range& value) {
            auto attribute = std::make_unique<Attr>();
            attribute->setLocalName(pending() + name.begin, unitCount(name.end - name.begin));
            attribute->setValue(pending() + value.begin, unitCount(value.end - value.begin));
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
        const std::size_t count = text::scan::findSolid(pending(), textLength);
        consume(count);
        if (textLength > 0) {
            tokenPosition = positionBase + static_cast<long>(count);
            return true;
        }
        if (endOfData) {
            return false;
        }
        if (!readBlock()) {
            endOfData = true;
            // An element that is open counts as inside only if there was anything behind its tag.
            const bool opened = piece.start && !piece.empty;
            if (openBegins.size() > (opened ? 1U : 0U)) {
                fail(u"Invalid element tree.");
            }
            return false;
        }
    }
}

void XMLReader::parseText() {
    if (openBegins.empty()) {
        fail(atPosition(u"Invalid text.("));
    }
    bool resolve = *pending() == u'&';
    const std::size_t end = indexOf(u'<', u'&', resolve, 1, u"Invalid EOD.(", positionBase);
    report(textNode, absent, terminate({0, end, resolve}), end);
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
    report(commentNode, absent, terminate({openingLength, close - 2, resolve}), close + 1);
}

void XMLReader::parseStartTag() {
    Tag tag = findTag(1);
    const std::size_t close = tag.end;
    const bool empty = pending()[close - 1] == u'/';
    if (empty) {
        --tag.end;
        tag.nameEnd = std::min(tag.nameEnd, tag.end);
    }
    const std::u16string_view name = parseTag(tag);
    if (!empty) {
        openBegins.push_back(openNames.size());
        openNames.append(name);
    }
    report(elementNode, tag.name, absent, close + 1);
    piece.start = true;
    piece.empty = empty;
}

void XMLReader::parseEndTag() {
    const Tag tag = findTag(2);
    const std::u16string_view name = parseTag(tag);
    if (openBegins.empty()) {
        fail(atPosition(u"Invalid element tree.("));
    }
    const std::size_t begin = openBegins.back();
    if (!std::equal(name.begin(), name.end(), openNames.begin() + static_cast<std::ptrdiff_t>(begin),
                    openNames.end())) {
        fail(atPosition(u"Invalid element tree.("));
    }
    openNames.resize(begin);
    openBegins.pop_back();
    report(elementNode, tag.name, absent, tag.end + 1);
}

/// Finds the end of the tag whose name begins at `name`, and that of the name: at the first white-space or with the
/// tag.
XMLReader::Tag XMLReader::findTag(std::size_t name) {
    constexpr const WideChar* cutOff = u"Invalid element.(";
    Tag tag{name, name, name, 0, false};
    unsigned int kind = 0;
    for (;; ++tag.nameEnd) {
        tag.nameEnd += text::scan::findNameEnd(pending() + tag.nameEnd, textLength - tag.nameEnd);
        if (tag.nameEnd == textLength && !readBlock()) {
            failAtEnd(atPosition(cutOff));
        }
        kind = kindOf(pending()[tag.nameEnd]);
        if ((kind & (white | closing)) != 0) {
            break;
        }
        tag.kinds |= kind;
    }
    tag.bracketed = (tag.kinds & bracket) != 0;
    tag.end =
        kind == closing ? tag.nameEnd : indexOf(u'>', u'<', tag.bracketed, tag.nameEnd + 1, cutOff, tokenPosition);
    if (tag.end == name) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    return tag;
}

/// Makes name and attributes of a tag; returns the name.
std::u16string_view XMLReader::parseTag(const Tag& tag) {
    const bool bare = tag.nameEnd == tag.end;
    if (tag.nameEnd == tag.name) {
        fail(atPosition(tag.name == 1 ? u"Invalid element name.(" : u"Element name not found.("));
    }
    // A "<" is let through in a name that attributes, or at least white-space, follow.
    if ((tag.kinds & (equals | quote)) != 0 || (bare && tag.bracketed)) {
        fail(atPositionWithUnit(u"Invalid element name.("));
    }
    terminate({tag.name, tag.nameEnd, (tag.kinds & ampersand) != 0});
    if (!bare) {
        const std::size_t first = tag.nameEnd + 1;
        const long position = tokenPosition + static_cast<long>(first - tag.name);
        try {
            if (tag.bracketed) {
                refuseBracket(first, tag.end, position);
            }
            addAttributes(first, tag.end, position);
        } catch (io::DataFormatException& e) {
            lang::passOn(e, getClassName());
        }
    }
    const WideChar* const name = pending() + tag.name;
    return {name, (tag.kinds & (ampersand | zero)) != 0 ? text::lengthOf(name) : tag.nameEnd - tag.name};
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
/// calls `add` for each with its name and value. `position` is the number of the first unit in messages.
template <class Add>
void XMLReader::doAttributeParse(std::size_t first, std::size_t end, long position, Add add) {
    const WideChar* const text = pending();
    const auto failAt = [&](const WideChar* words, std::size_t at) {
        fail(message(words, position + static_cast<long>(at - first), u")"));
    };
    const auto skipWhite = [&](std::size_t at) {
        while (at < end && isWhilteSpace(text[at])) {
            ++at;
        }
        return at;
    };
    unsigned int met = 0;
    const auto findSpecial = [&](std::size_t at) {
        for (met = 0; at < end; ++at) {
            at += text::scan::findNameEnd(text + at, textLength - at);
            const unsigned int kind = at < end ? kindOf(text[at]) : 0U;
            if ((kind & (equals | quote)) != 0) {
                break;
            }
            met |= kind;
        }
        return std::min(at, end);
    };

    for (std::size_t at = skipWhite(first); at < end; at = skipWhite(at)) {
        Range name{at, findSpecial(at), (met & ampersand) != 0};
        at = name.end;
        if (at == end) {
            failAt(u"Invalid element.(", end);
        }
        if (text[at] != u'=') {
            failAt(u"Invalid attribute name.(", at);
        }
        if (at == name.begin) {
            failAt(u"Attribute name not found.(", at);
        }
        while (isWhilteSpace(text[name.end - 1])) {
            --name.end;
        }

        const std::size_t opening = skipWhite(at + 1);
        at = findSpecial(opening);
        if (at == end) {
            failAt(u"Invalid element.(", end);
        }
        if (at != opening || text[at] == u'=') {
            failAt(u"Invalid attribute name.(", at);
        }
        Range value{at + 1, at + 1, false};
        value.end += text::scan::findEither(text + value.end, textLength - value.end, text[at], u'&');
        if (value.end < end && text[value.end] == u'&') {
            value.reference = true;
            value.end += text::scan::find(text + value.end, textLength - value.end, text[at]);
        }
        // Two units must follow the opening quote, so an empty value cannot be the very last thing.
        if (value.end >= end || end - value.begin < 2) {
            failAt(u"Invalid attribute value.(", at);
        }
        add(name, value);
        at = value.end + 1;
    }
}

/// Makes the attributes of the token that is being read.
void XMLReader::addAttributes(std::size_t first, std::size_t end, long position) {
    doAttributeParse(first, end, position, [this](const Range& name, const Range& value) {
        terminate(name);
        found.push_back({name.begin, terminate(value)});
    });
}

/// Makes a text of pending units, in their place. Returns its offset, or `absent` if there are none.
std::size_t XMLReader::terminate(const Range& range) {
    const unsigned int length = unitCount(range.end - range.begin);
    if (length == 0) {
        return absent;
    }
    WideChar* const text = pending() + range.begin;
    text[length] = 0;
    if (range.reference) {
        resolve(text, length);
    }
    return range.begin;
}

/// Resolves the references of a text in its place; none stands for more units than it has itself.
void XMLReader::resolve(WideChar* text, std::size_t length) {
    resolved.clear();
    appendResolved(resolved, text, length, Resolve::all);
    *std::copy(resolved.begin(), resolved.end(), text) = 0;
}

/// Makes the first `length` pending units, with the texts in them, what the accessors tell about.
void XMLReader::report(int type, std::size_t name, std::size_t value, std::size_t length) {
    attributes.swap(found);
    piece = {type, false, false, name, value, textStart, length};
    consume(length);
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
