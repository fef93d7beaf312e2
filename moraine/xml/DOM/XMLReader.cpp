#include "moraine/xml/DOM/XMLReader.h"

#include <algorithm>
#include <cstring>

#include "moraine/io/DataFormatException.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/lang/UnsupportedOperationException.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Text.h"
#include "moraine/xml/internal/UnitCount.h"

namespace moraine::xml::DOM {
namespace {

using lang::message;

/// The offset in the data of the first byte behind "<?xml" and a white-space.
constexpr std::size_t declarationStart = 6;

bool isQuote(WideChar unit) {
    return unit == u'"' || unit == u'\'';
}

}  // namespace

XMLReader::XMLReader(io::InputStream* stream)
    : inputStream(stream), document(std::make_unique<Document>()), currentNode(document.get()),
      lastNode(document.get()), openNode(document.get()), textBuffer(new WideChar[blockSize]), textCapacity(blockSize) {
}

XMLReader::~XMLReader() = default;

bool XMLReader::doRead() {
    if (lastNode == document.get()) {
        readProlog();
        return true;
    }
    if (lastNode == currentNode && !parseToken()) {
        return false;
    }
    return advance();
}

const WideChar* XMLReader::getName() const {
    return currentNode->getLocalName();
}

const WideChar* XMLReader::getValue() const {
    return currentNode->getValue();
}

bool XMLReader::hasValue() {
    return getValue() != nullptr;
}

int XMLReader::getNodeType() {
    return currentNode->getNodeType();
}

bool XMLReader::isStartElement() {
    return getNodeType() == elementNode && !static_cast<Element*>(currentNode)->isEnd();
}

bool XMLReader::isEmptyElement() {
    return getNodeType() == elementNode && static_cast<Element*>(currentNode)->isEmpty();
}

unsigned int XMLReader::getAttributeCount() {
    return currentNode->getAttributeCount();
}

bool XMLReader::hasAttribute() {
    return getAttributeCount() > 0;
}

const WideChar* XMLReader::getAttributeName(unsigned int index) const {
    checkAttributeIndex(index);
    return currentNode->attributeAt(index)->getLocalName();
}

const WideChar* XMLReader::getAttributeValue(unsigned int index) const {
    checkAttributeIndex(index);
    return currentNode->attributeAt(index)->getValue();
}

const WideChar* XMLReader::getVersion() const {
    return declaration().getVersion();
}

const WideChar* XMLReader::getEncoding() const {
    return declaration().getEncoding();
}

bool XMLReader::getStandalone() {
    return declaration().getStandalone();
}

const WideChar* XMLReader::getClassName() const {
    return u"moraine::xml::DOM::XMLReader";
}

bool XMLReader::isWhilteSpace(WideChar c) const {
    return c == u' ' || c == u'\n' || c == u'\r' || c == u'\t';
}

// The declaration is examined as bytes, since it is what tells the encoding of the rest.
void XMLReader::readProlog() {
    const unsigned int size = readBytes();
    const std::size_t end = declarationEnd(size);
    auto* const declaration = static_cast<Declaration*>(hang(std::make_unique<Declaration>(), document.get()));
    try {
        const std::size_t length = end - declarationStart;
        const OwnedWideString text = stringUtil.toWide(byteBuffer + declarationStart, unitCount(length));
        doAttributeParse(text->data(), length, declaration, declarationStart);
    } catch (io::DataFormatException& e) {
        lang::passOn(e, getClassName());
    }
    positionBase = static_cast<long>(end) + 2;
    if (declaration->getAttributeCount() == 0) {
        fail(u"Invalid XML declaration.");
    }
    try {
        chooseDecoder(*declaration, size);
    } catch (lang::Exception& e) {
        lang::passOn(e, getClassName());
    }
    lastNode = declaration;
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
void XMLReader::chooseDecoder(const Declaration& declaration, unsigned int size) {
    text::DecoderManager manager;
    if (!manager.isSupported(declaration.getEncoding())) {
        lang::raise<text::UnsupportedEncodingException>(
            getClassName(), message(u"Unsupported encoding. : ", declaration.getEncoding()));
    }
    inputStream->skip(positionBase - static_cast<long>(size));
    decoder.reset(manager.getDecoder(declaration.getEncoding()));
}

/// Makes the node of the next token; false at the end of the data.
bool XMLReader::parseToken() {
    if (!passWhiteSpace()) {
        return false;
    }
    if (*pending() == u'<') {
        parseMarkup();
    } else {
        parseText();
    }
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
            if (lastNode->getParentNode()->getNodeType() != documentNode) {
                fail(u"Invalid element tree.");
            }
            return false;
        }
    }
}

void XMLReader::parseText() {
    if (openNode->getNodeType() != elementNode) {
        fail(atPosition(u"Invalid text.("));
    }
    const std::size_t end = indexOf(u'<', 1, u"Invalid EOD.(", positionBase);
    auto text = std::make_unique<Text>();
    text->setValue(pending(), unitCount(end));
    lastNode = hang(std::move(text), openNode);
    consume(end);
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
    // The dashes of the opening are none of the closing, so the first ">" to look at stands two units behind them.
    std::size_t close = openingLength + 1;
    do {
        close = indexOf(u'>', close + 1, u"Invalid comment.(", tokenPosition);
    } while (pending()[close - 1] != u'-' || pending()[close - 2] != u'-');
    auto comment = std::make_unique<Comment>();
    comment->setValue(pending() + openingLength, unitCount(close - 2 - openingLength));
    lastNode = hang(std::move(comment), openNode);
    consume(close + 1);
}

void XMLReader::parseStartTag() {
    const std::size_t close = indexOf(u'>', 1, u"Invalid element.(", tokenPosition);
    if (close == 1) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    auto element = std::make_unique<Element>();
    const bool empty = pending()[close - 1] == u'/';
    element->setEmpty(empty);
    parseTag(*element, 1, empty ? close - 1 : close);
    lastNode = hang(std::move(element), openNode);
    if (!empty) {
        openNode = lastNode;
    }
    consume(close + 1);
}

void XMLReader::parseEndTag() {
    const std::size_t close = indexOf(u'>', 2, u"Invalid element.(", tokenPosition);
    if (close == 2) {
        fail(atPositionWithUnit(u"Element name not found.("));
    }
    auto element = std::make_unique<Element>();
    element->setEnd(true);
    parseTag(*element, 2, close);
    if (openNode->getNodeType() != elementNode || !text::equal(openNode->getLocalName(), element->getLocalName())) {
        fail(atPosition(u"Invalid element tree.("));
    }
    Node* const parent = openNode->getParentNode();
    lastNode = hang(std::move(element), parent);
    openNode = parent;
    consume(close + 1);
}

/// Name and attributes of a tag, whose content are the pending units from `first` up to `end`.
void XMLReader::parseTag(Element& element, std::size_t first, std::size_t end) {
    const WideChar* const content = pending() + first;
    const std::size_t length = end - first;
    std::size_t nameLength = 0;
    bool stopped = false;
    bool bracket = false;
    for (; nameLength < length && !isWhilteSpace(content[nameLength]); ++nameLength) {
        const WideChar unit = content[nameLength];
        stopped = stopped || unit == u'=' || isQuote(unit);
        bracket = bracket || unit == u'<';
    }
    const bool bare = nameLength == length;
    if (nameLength == 0 && !bare) {
        fail(atPosition(first == 1 ? u"Invalid element name.(" : u"Element name not found.("));
    }
    // A "<" is let through in a name that attributes, or at least white-space, follow.
    if (stopped || (bare && bracket)) {
        fail(atPositionWithUnit(u"Invalid element name.("));
    }
    element.setLocalName(content, unitCount(nameLength));
    if (bare) {
        return;
    }
    const std::size_t passed = nameLength + 1;
    try {
        doAttributeParse(content + passed, length - passed, &element, tokenPosition + static_cast<long>(passed));
    } catch (io::DataFormatException& e) {
        lang::passOn(e, getClassName());
    }
}

/// Hangs the attributes that stand in `text` on a node. `position` is the number of its first unit in messages.
void XMLReader::doAttributeParse(const WideChar* text, std::size_t length, Node* node, long position) {
    const auto failAt = [&](const WideChar* words, std::size_t at) {
        fail(message(words, position + static_cast<long>(at), u")"));
    };
    const auto isSpecial = [](WideChar unit) { return unit == u'=' || isQuote(unit); };
    const auto skipWhite = [&](std::size_t at) {
        while (at < length && isWhilteSpace(text[at])) {
            ++at;
        }
        return at;
    };
    const auto findSpecial = [&](std::size_t at) {
        while (at < length && !isSpecial(text[at])) {
            ++at;
        }
        return at;
    };

    const std::size_t bracket = text::scan::findEither(text, length, u'<', u'>');
    if (bracket < length) {
        fail(
            message(u"Invalud attribute name.(", position + static_cast<long>(bracket), u") : '", text[bracket], u"'"));
    }
    for (std::size_t at = skipWhite(0); at < length; at = skipWhite(at)) {
        const std::size_t nameStart = at;
        at = findSpecial(at);
        if (at == length) {
            failAt(u"Invalid element.(", length);
        }
        if (isQuote(text[at])) {
            failAt(u"Invalid attribute name.(", at);
        }
        if (at == nameStart) {
            failAt(u"Attribute name not found.(", at);
        }
        std::size_t nameEnd = at;
        while (isWhilteSpace(text[nameEnd - 1])) {
            --nameEnd;
        }
        auto attribute = std::make_unique<Attr>();
        attribute->setLocalName(text + nameStart, unitCount(nameEnd - nameStart));

        const std::size_t valueStart = skipWhite(at + 1);
        at = findSpecial(valueStart);
        if (at == length) {
            failAt(u"Invalid element.(", length);
        }
        if (at != valueStart || !isQuote(text[at])) {
            failAt(u"Invalid attribute name.(", at);
        }
        // Two units must follow the opening quote, so an empty value cannot be the very last thing.
        const std::size_t value = at + 1;
        const std::size_t rest = length - value;
        const std::size_t valueLength = rest < 2 ? rest : text::scan::find(text + value, rest, text[at]);
        if (valueLength == rest) {
            failAt(u"Invalid attribute value.(", at);
        }
        attribute->setValue(text + value, unitCount(valueLength));
        node->appendAttribute(attribute.get());
        attribute.release()->setParentNode(node);
        at = value + valueLength + 1;
    }
}

// Moves to the node that has not been reported yet, which is always one, and destroys what is left behind. An open
// element survives, because the new node hangs under it; its end tag hangs beside it, and then it goes.
bool XMLReader::advance() {
    Node* child = currentNode->getChild();
    while (child == nullptr) {
        Node* const parent = currentNode->getParentNode();
        if (parent == nullptr) {
            return false;
        }
        parent->removeChild(static_cast<unsigned int>(parent->getCurrentChildIndex()));
        currentNode = parent;
        if (currentNode->moveToNext()) {
            child = currentNode->getChild();
        }
    }
    currentNode = child;
    return currentNode->moveToFirst();
}

/// Makes a node the last child of `parent`.
Node* XMLReader::hang(std::unique_ptr<Node> node, Node* parent) {
    parent->appendChild(node.get());
    node->setParentNode(parent);
    return node.release();
}

Declaration& XMLReader::declaration() const {
    if (document->getChildCount() == 0) {
        lang::raise<lang::UnsupportedOperationException>(getClassName(), u"Not parsed yet.");
    }
    Node* const first = document->childAt(0);
    if (first->getNodeType() != declarationNode) {
        lang::raise<lang::UnsupportedOperationException>(getClassName(), u"Invalid XML data.");
    }
    return *static_cast<Declaration*>(first);
}

void XMLReader::checkAttributeIndex(unsigned int index) const {
    const unsigned int count = currentNode->getAttributeCount();
    if (index >= count) {
        lang::raise<lang::ArrayIndexOutBoundsException>(getClassName(), message(index, u" > ", count));
    }
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

void XMLReader::append(const WideString& block) {
    const std::size_t needed = textLength + block.size();
    if (needed > textCapacity) {
        // The buffer doubles, so that the cost of a long token stays in proportion to its length.
        const std::size_t grown = std::max(needed, textCapacity * 2);
        std::unique_ptr<WideChar[]> room(new WideChar[grown]);
        std::copy_n(pending(), textLength, room.get());
        textBuffer = std::move(room);
        textCapacity = grown;
        textStart = 0;
    } else if (textStart >= textLength || textStart + needed > textCapacity) {
        // What is pending moves to the front where that is cheap, and where it must.
        std::memmove(textBuffer.get(), pending(), textLength * sizeof(WideChar));
        textStart = 0;
    }
    std::copy(block.begin(), block.end(), textBuffer.get() + textStart + textLength);
    textLength = needed;
}

/// The index of the first `wanted` unit at or behind `from`, with as many further blocks as that takes. If the data
/// ends first, the failure has these words and this number.
std::size_t XMLReader::indexOf(WideChar wanted, std::size_t from, const WideChar* failure, long number) {
    for (;;) {
        if (from < textLength) {
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
