#include "moraine/xml/DOM/XMLWriter.h"

#include <algorithm>

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Attr.h"
#include "moraine/xml/DOM/Comment.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/DOM/Element.h"
#include "moraine/xml/DOM/Text.h"
#include "moraine/xml/internal/UnitCount.h"

namespace moraine::xml::DOM {
namespace {

/// From so many attributes on their names are looked up instead of compared one by one.
constexpr unsigned int manyAttributes = 16;

unsigned int measured(const WideChar* text) {
    return unitCount(text::lengthOf(text));
}

}  // namespace

XMLWriter::XMLWriter(io::OutputStream* target, const WideChar* encoding, bool indented)
    : stream(target), document(std::make_unique<Document>()), currentNode(document.get()), indent(indented) {
    text::EncoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(getClassName(),
                                                        lang::message(u"Unsupported encoding. : ", encoding));
    }
    encoder.reset(manager.getEncoder(encoding));
    auto declaration = std::make_unique<Declaration>();
    declaration->setEncoding(encoding);
    WideString piece = *declaration->getReferenceString();
    putLineEnd(piece);
    adopt(std::move(declaration));
    send(piece);
    lastWritten = declarationNode;
}

XMLWriter::~XMLWriter() {
    if (isElementOpen()) {
        return;
    }
    try {
        close();
    } catch (...) {
        // There is nobody to tell; whoever wants to know calls close.
    }
}

void XMLWriter::writeStartElement(const WideChar* name) {
    auto element = std::make_unique<Element>();
    element->setLocalName(name, measured(name));
    Node* const opened = element.get();
    const bool nested = isElementOpen();
    if (adopt(std::move(element))) {
        WideString piece;
        putIndentation(piece);
        piece += *currentNode->getReferenceString();
        putLineEnd(piece);
        send(piece);
        lastWritten = elementNode;
    }
    enter(opened);
    if (nested && indent) {
        ++depth;
    }
}

void XMLWriter::writeAttribute(const WideChar* name, const WideChar* value) {
    requireOpenElement();
    if (currentNode->getChildCount() > 0) {
        lang::raise<io::DataFormatException>(getClassName(), u"Current element is already writed.");
    }
    if (hasAttribute(name)) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a same attribute name.");
    }
    auto attribute = std::make_unique<Attr>();
    attribute->setLocalName(name, measured(name));
    attribute->setValue(value, measured(value));
    currentNode->appendAttribute(attribute.get());
    static_cast<void>(attribute.release());
}

void XMLWriter::writeText(const WideChar* text) {
    requireOpenElement();
    if (hasText()) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a text.");
    }
    auto node = std::make_unique<Text>();
    node->setValue(text, measured(text));
    const OwnedWideString form = node->getReferenceString();
    WideString piece;
    if (adopt(std::move(node))) {
        putIndentation(piece);
        piece += *currentNode->getReferenceString();
    }
    piece += *form;
    send(piece);
    lastWritten = textNode;
}

void XMLWriter::writeComment(const WideChar* text) {
    auto node = std::make_unique<Comment>();
    node->setValue(text, measured(text));
    const OwnedWideString form = node->getReferenceString();
    WideString piece;
    if (adopt(std::move(node))) {
        putIndentation(piece);
        piece += *currentNode->getReferenceString();
        putLineEnd(piece);
    }
    // Behind a text the comment continues the line.
    if (lastWritten == textNode) {
        piece += *form;
    } else {
        putIndentation(piece);
        piece += *form;
        putLineEnd(piece);
    }
    send(piece);
    lastWritten = commentNode;
}

void XMLWriter::writeEndElement() {
    requireOpenElement();
    WideString piece;
    if (currentNode->getChildCount() == 0) {
        putIndentation(piece);
        piece += *currentNode->getReferenceString();
    } else {
        // Behind a text the end tag continues the line.
        if (lastWritten == elementNode || lastWritten == commentNode) {
            putIndentation(piece);
        }
        piece += u"</";
        piece.append(currentNode->getLocalName(), text::lengthOf(currentNode->getLocalName()));
        piece += u">";
    }
    putLineEnd(piece);
    leaveLevel();
    send(piece);
    lastWritten = elementNode;
    currentNode->removeAll();
    enter(currentNode->getParentNode());
}

void XMLWriter::close() {
    if (closed) {
        return;
    }
    if (isElementOpen()) {
        lang::raise<io::DataFormatException>(getClassName(), u"Current element is not element.");
    }
    const OwnedByteString rest = encoder->doEncodeW2M(nullptr, 0, true);
    stream->write(rest->data(), static_cast<unsigned int>(rest->size()));
    stream->close();
    closed = true;
}

const WideChar* XMLWriter::getClassName() const {
    return u"moraine::xml::DOM::XMLWriter";
}

bool XMLWriter::isElementOpen() {
    return currentNode != document.get();
}

void XMLWriter::requireOpenElement(long line) {
    if (!isElementOpen()) {
        lang::raise<io::DataFormatException>(getClassName(), u"Current element is not element.", line);
    }
}

bool XMLWriter::hasAttribute(const WideChar* name) {
    const unsigned int count = currentNode->getAttributeCount();
    if (count < manyAttributes) {
        for (unsigned int i = 0; i < count; ++i) {
            if (text::equal(currentNode->attributeAt(i)->getLocalName(), name)) {
                return true;
            }
        }
        return false;
    }
    const auto toString = [](const WideChar* text) { return WideString(text, text::lengthOf(text)); };
    for (; namedAttributes < count; ++namedAttributes) {
        attributeNames.insert(toString(currentNode->attributeAt(namedAttributes)->getLocalName()));
    }
    return attributeNames.count(toString(name)) > 0;
}

bool XMLWriter::hasText() {
    for (unsigned int i = 0; i < currentNode->getChildCount(); ++i) {
        if (currentNode->childAt(i)->getNodeType() == textNode) {
            return true;
        }
    }
    return false;
}

/// Makes a node the last child of the current one; whether it is the first one too, so that a start tag has waited for
/// it. The document's first child is the declaration. Of the children that are finished only their presence counts, and
/// whether a text is among them: one that is no text goes when the next one comes.
bool XMLWriter::adopt(std::unique_ptr<Node> node) {
    const unsigned int before = currentNode->getChildCount();
    currentNode->appendChild(node.get());
    node.release()->setParentNode(currentNode);
    if (before > 0) {
        const int type = currentNode->childAt(before - 1)->getNodeType();
        if (type == elementNode || type == commentNode) {
            currentNode->removeChild(before - 1);
        }
    }
    return before == 0;
}

void XMLWriter::enter(Node* node) {
    currentNode = node;
    attributeNames.clear();
    namedAttributes = 0;
}

void XMLWriter::putIndentation(WideString& piece) const {
    if (indent) {
        piece.append(2 * static_cast<std::size_t>(depth), u' ');
    }
}

void XMLWriter::putLineEnd(WideString& piece) const {
    if (indent) {
        piece += u"\r\n";
    }
}

void XMLWriter::leaveLevel() {
    depth = std::max(depth - 1, 0);
}

void XMLWriter::send(const WideString& piece) {
    // A piece is one write, but for one so long that its bytes might be more than a write takes.
    constexpr std::size_t most = std::size_t{1} << 29;
    std::size_t at = 0;
    do {
        const std::size_t count = std::min(piece.size() - at, most);
        const OwnedByteString bytes = encoder->doEncodeW2M(piece.data() + at, static_cast<unsigned int>(count), false);
        stream->write(bytes->data(), static_cast<unsigned int>(bytes->size()));
        at += count;
    } while (at < piece.size());
}

}  // namespace moraine::xml::DOM
