#include "moraine/xml/DOM/XMLWriter.h"

#include <algorithm>
#include <utility>

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/ShortUtf8.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/internal/TextForms.h"
#include "moraine/xml/internal/UnitCount.h"

namespace moraine::xml::DOM {
namespace {

/// From so many attributes on their names are looked up instead of compared one by one.
constexpr unsigned int manyAttributes = 16;

/// Empties a buffer that is used again and again. It does not keep the room of an unusually long text.
inline void empty(WideString& buffer) {
    constexpr std::size_t usual = std::size_t{1} << 15;
    if (buffer.capacity() > usual) {
        WideString().swap(buffer);
    }
    buffer.clear();
}

/// An argument, read as a node stores it.
class Stored {
public:
    explicit Stored(const WideChar* markup) {
        const unsigned int length = unitCount(text::lengthOf(markup));
        plain = text::scan::findReserved(markup, length) == length;
        text = plain ? std::u16string_view(markup, length) : storedForm(markup, length, room);
    }
    Stored(const Stored& other) = delete;
    Stored& operator=(const Stored& other) = delete;

    std::u16string_view get() const { return text; }

    static void append(WideString& form, const Stored& stored) {
        stored.plain ? appendLiteral(form, stored.text) : appendEscaped(form, stored.text);
    }

private:
    bool plain;  // nothing in it is resolved or written as a reference
    WideString room;
    std::u16string_view text;
};

}  // namespace

XMLWriter::XMLWriter(io::OutputStream* target, const WideChar* encoding, bool indented)
    : stream(target), indent(indented) {
    text::EncoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(getClassName(),
                                                        lang::message(u"Unsupported encoding. : ", encoding));
    }
    encoder.reset(manager.getEncoder(encoding));
    utf8 = text::equal(encoder->getEncodeName(), u"UTF-8");
    Declaration declaration;
    declaration.setEncoding(encoding);
    piece = *declaration.getReferenceString();
    putLineEnd();
    send();
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
    const Stored stored(name);
    const bool nested = isElementOpen();
    empty(piece);
    if (putStartTag()) {
        putLineEnd();
        send();
        lastWritten = elementNode;
    }
    openElements.emplace_back(tags.size());
    tags += u'<';
    tags += stored.get();
    empty(attributes);
    empty(attributeNames);
    attributeCount = 0;
    if (namedAttributes > 0) {
        manyAttributeNames.clear();
        namedAttributes = 0;
    }
    if (nested && indent) {
        ++depth;
    }
}

void XMLWriter::writeAttribute(const WideChar* name, const WideChar* value) {
    requireOpenElement();
    if (openElements.back().hasChild) {
        lang::raise<io::DataFormatException>(getClassName(), u"Current element is already writed.");
    }
    // The name counts as it comes here, and as it is stored where it is compared with later ones.
    if (hasAttribute(textOrEmpty(name))) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a same attribute name.");
    }
    const Stored storedName(name);
    const Stored storedValue(value);
    attributes += u' ';
    appendAttribute(attributes, storedName, storedValue, Stored::append);
    attributeNames.append(storedName.get()).push_back(0);
    ++attributeCount;
}

void XMLWriter::writeText(const WideChar* text) {
    requireOpenElement();
    if (openElements.back().hasText) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a text.");
    }
    const Stored stored(text);
    empty(piece);
    putStartTag();
    Stored::append(piece, stored);
    openElements.back().hasText = true;
    send();
    lastWritten = textNode;
}

void XMLWriter::writeComment(const WideChar* text) {
    const Stored stored(text);
    empty(piece);
    if (putStartTag()) {
        putLineEnd();
    }
    // Behind a text the comment continues the line.
    const bool ownLine = lastWritten != textNode;
    if (ownLine) {
        putIndentation();
    }
    appendComment(piece, stored, Stored::append);
    if (ownLine) {
        putLineEnd();
    }
    send();
    lastWritten = commentNode;
}

void XMLWriter::writeEndElement() {
    requireOpenElement();
    empty(piece);
    const OpenElement ended = openElements.back();
    if (!ended.hasChild) {
        putIndentation();
        putOpenTag();
        piece += u"/>";
    } else {
        // Behind a text the end tag continues the line.
        if (lastWritten == elementNode || lastWritten == commentNode) {
            putIndentation();
        }
        piece += u"</";
        piece.append(tags, ended.tag + 1);
        piece += u'>';
    }
    putLineEnd();
    leaveLevel();
    send();
    lastWritten = elementNode;
    tags.resize(ended.tag);
    openElements.pop_back();
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

bool XMLWriter::isElementOpen() const {
    return !openElements.empty();
}

void XMLWriter::requireOpenElement(long line) const {
    if (!isElementOpen()) {
        lang::raise<io::DataFormatException>(getClassName(), u"Current element is not element.", line);
    }
}

bool XMLWriter::hasAttribute(std::u16string_view name) {
    const bool many = attributeCount >= manyAttributes;
    for (std::size_t at = many ? namedAttributes : 0; at < attributeNames.size();) {
        const std::u16string_view other = attributeNames.data() + at;
        at += other.size() + 1;
        if (many) {
            manyAttributeNames.emplace(other);
            namedAttributes = at;
        } else if (other == name) {
            return true;
        }
    }
    return many && manyAttributeNames.count(WideString(name)) > 0;
}

/// Puts the start tag of the innermost open element into the piece if that is about to get its first child; returns
/// whether it is.
bool XMLWriter::putStartTag() {
    if (!isElementOpen() || std::exchange(openElements.back().hasChild, true)) {
        return false;
    }
    putIndentation();
    putOpenTag();
    piece += u'>';
    return true;
}

/// Puts the tag of the innermost open element with its attributes, but not what ends it.
void XMLWriter::putOpenTag() {
    piece.append(tags, openElements.back().tag);
    piece += attributes;
}

void XMLWriter::putIndentation() {
    if (indent) {
        piece.append(2 * static_cast<std::size_t>(depth), u' ');
    }
}

void XMLWriter::putLineEnd() {
    if (indent) {
        piece += u"\r\n";
    }
}

void XMLWriter::leaveLevel() {
    depth = std::max(depth - 1, 0);
}

void XMLWriter::send() {
    if (utf8 && piece.size() <= text::ShortUtf8::most) {
        const text::ShortUtf8 bytes(piece);
        stream->write(bytes.data(), bytes.size());
        return;
    }
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
