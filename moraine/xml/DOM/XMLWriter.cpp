#include "moraine/xml/DOM/XMLWriter.h"

#include <algorithm>
#include <limits>
#include <utility>

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/internal/TextForms.h"
#include "moraine/xml/internal/Utf8Buffer.h"

namespace moraine::xml::DOM {
namespace {

using text::unitCount;

/// From so many attributes on their names are looked up instead of compared one by one.
constexpr unsigned int manyAttributes = 16;

/// Empties a text that is used again and again. It does not keep the room of an unusually long one.
inline void empty(WideString& text) {
    constexpr std::size_t usual = std::size_t{1} << 15;
    if (text.capacity() > usual) {
        WideString().swap(text);
    }
    text.clear();
}

/// A zero-terminated argument, read as a node stores it.
class Stored {
public:
    explicit Stored(const WideChar* markup) {
        if (markup == nullptr) {
            return;
        }
        // Most arguments are so short that one walk unit by unit is done before two searches have begun.
        constexpr std::size_t few = 16;
        while (plain < few && markup[plain] != 0 && !text::scan::scalar::isReserved(markup[plain])) {
            ++plain;
        }
        std::size_t length = plain;
        if (markup[plain] != 0) {
            length += text::lengthOf(markup + plain);
            plain += text::scan::findReserved(markup + plain, length - plain);
        }
        given = {markup, unitCount(length)};
        text = plain == length ? std::u16string_view(markup, length) : storedForm(markup, length, room);
    }
    Stored(const Stored& other) = delete;
    Stored& operator=(const Stored& other) = delete;

    std::u16string_view asGiven() const { return given; }
    std::u16string_view get() const { return text; }

    static void append(Utf8Buffer& form, const Stored& stored) {
        form.append(stored.text.substr(0, stored.plain));
        if (stored.plain < stored.text.size()) {
            appendReferences(form, stored.text.data() + stored.plain, stored.text.size() - stored.plain);
        }
    }

private:
    std::size_t plain = 0;  // so many units at its start mean themselves and are written as they are
    WideString room;
    std::u16string_view given;
    std::u16string_view text;
};

}  // namespace

XMLWriter::XMLWriter(io::OutputStream* target, const WideChar* encoding, bool indented)
    : stream(target), tags(std::make_unique<Utf8Buffer>()), indent(indented), piece(std::make_unique<Utf8Buffer>()) {
    text::EncoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(getClassName(),
                                                        lang::message(u"Unsupported encoding. : ", encoding));
    }
    encoder.reset(manager.getEncoder(encoding));
    utf8 = text::equal(encoder->getEncodeName(), u"UTF-8");
    Declaration declaration;
    declaration.setEncoding(encoding);
    piece->append(std::u16string_view(*declaration.getReferenceString()));
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
    piece->clear();
    if (putStartTag()) {
        putLineEnd();
        send();
        lastWritten = elementNode;
    }
    const std::size_t start = nested ? openElements.back().nameEnd : 0;
    tags->truncate(start);
    *tags += u'<';
    tags->append(stored.get());
    openElements.emplace_back(start, tags->size());
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
    const Stored storedName(name);
    if (hasAttribute(storedName.asGiven())) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a same attribute name.");
    }
    const Stored storedValue(value);
    *tags += u' ';
    appendAttribute(*tags, storedName, storedValue, Stored::append);
    attributeNames.append(storedName.get()).push_back(0);
    ++attributeCount;
}

void XMLWriter::writeText(const WideChar* text) {
    requireOpenElement();
    if (openElements.back().hasText) {
        lang::raise<io::DataFormatException>(getClassName(), u"Already has a text.");
    }
    const Stored stored(text);
    piece->clear();
    putStartTag();
    Stored::append(*piece, stored);
    openElements.back().hasText = true;
    send();
    lastWritten = textNode;
}

void XMLWriter::writeComment(const WideChar* text) {
    const Stored stored(text);
    piece->clear();
    if (putStartTag()) {
        putLineEnd();
    }
    // Behind a text the comment continues the line.
    const bool ownLine = lastWritten != textNode;
    if (ownLine) {
        putIndentation();
    }
    appendComment(*piece, stored, Stored::append);
    if (ownLine) {
        putLineEnd();
    }
    send();
    lastWritten = commentNode;
}

void XMLWriter::writeEndElement() {
    requireOpenElement();
    piece->clear();
    const OpenElement ended = openElements.back();
    if (!ended.hasChild) {
        putIndentation();
        piece->append(tags->text().substr(ended.tag));
        *piece += u"/>";
    } else {
        // Behind a text the end tag continues the line.
        if (lastWritten == elementNode || lastWritten == commentNode) {
            putIndentation();
        }
        *piece += u"</";
        piece->append(tags->text().substr(ended.tag + 1, ended.nameEnd - ended.tag - 1));
        *piece += u'>';
    }
    putLineEnd();
    leaveLevel();
    send();
    lastWritten = elementNode;
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
    piece->append(tags->text().substr(openElements.back().tag));
    *piece += u'>';
    return true;
}

void XMLWriter::putIndentation() {
    if (indent) {
        piece->append(2 * static_cast<std::size_t>(depth), ' ');
    }
}

void XMLWriter::putLineEnd() {
    if (indent) {
        *piece += u"\r\n";
    }
}

void XMLWriter::leaveLevel() {
    depth = std::max(depth - 1, 0);
}

void XMLWriter::send() {
    std::string_view rest = piece->text();
    if (utf8 && rest.size() <= std::numeric_limits<unsigned int>::max()) {
        stream->write(rest.data(), static_cast<unsigned int>(rest.size()));
        return;
    }
    // A piece is one write, but for one so long that its bytes might be more than a write takes.
    constexpr std::size_t most = std::size_t{1} << 29;
    text::UTF8Decoder decoder;
    do {
        const std::string_view part = rest.substr(0, most);
        rest.remove_prefix(part.size());
        const OwnedWideString units = decoder.doDecodeM2W(part.data(), unitCount(part.size()), false);
        const OwnedByteString bytes = encoder->doEncodeW2M(units->data(), unitCount(units->size()), false);
        stream->write(bytes->data(), unitCount(bytes->size()));
    } while (!rest.empty());
}

}  // namespace moraine::xml::DOM
