#include "moraine/xml/DOM/XMLWriter.h"

#include <algorithm>
#include <exception>
#include <limits>
#include <new>
#include <set>
#include <string_view>
#include <vector>

#include "moraine/io/DataFormatException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/platform/Thread.h"
#include "moraine/text/Base64Encoder.h"
#include "moraine/text/EncoderManager.h"
#include "moraine/text/internal/Scan.h"
#include "moraine/text/internal/UnitCount.h"
#include "moraine/text/internal/Utf8Buffer.h"
#include "moraine/text/UnsupportedEncodingException.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/xml/DOM/Declaration.h"
#include "moraine/xml/internal/TextForms.h"

namespace moraine::xml::DOM {
namespace {

constexpr const WideChar* className = u"moraine::xml::DOM::XMLWriter";

using text::unitCount;
using text::Utf8Buffer;

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

/// Writes the pieces: each operation is that of the writer of the same name.
class XMLWriter::Machine {
public:
    Machine(io::OutputStream* target, const WideChar* encoding, bool indented);

    [[nodiscard]] bool isElementOpen() const { return !openElements.empty(); }

    void writeStartElement(const WideChar* name);
    void writeAttribute(const WideChar* name, const WideChar* value);
    void writeText(const WideChar* text);
    void writeComment(const WideChar* text);
    void writeEndElement();
    void close();

private:
    /// Of the elements only that is kept which the calls to come can ask for.
    struct OpenElement {
        OpenElement(std::size_t start, std::size_t end) : tag(start), nameEnd(end) {}

        std::size_t tag;        // where in `tags` its tag begins
        std::size_t nameEnd;    // and where the name in it ends
        bool hasChild = false;  // its start tag has waited for the first one
        bool hasText = false;
    };

    void requireOpenElement(long line = __builtin_LINE()) const;
    bool hasAttribute(std::u16string_view name);
    void ready();
    bool putStartTag();
    void putIndentation();
    void putLineEnd();
    template <class Begin>
    void send(Begin begin);
    void sendPiece();
    void encodeAndSend(const WideChar* text, std::size_t length, bool last);

    io::OutputStream* stream;               // borrowed
    std::vector<OpenElement> openElements;  // outermost first
    Utf8Buffer tags;                        // theirs, as far as they are to be written, one after the other
    WideString attributeNames;              // the innermost one's, a zero unit after each
    unsigned int attributeCount = 0;
    std::set<WideString> manyAttributeNames;  // the first ones of them again, once they are many,
    std::size_t namedAttributes = 0;          // up to this place in `attributeNames`
    int depth = 0;                            // the level of the innermost open element, kept only with indentation
    bool indent;
    int lastWritten = 0;  // the kind of the piece written last
    std::unique_ptr<text::IEncoder> encoder;
    bool utf8 = false;          // the encoder has nothing to do
    Utf8Buffer piece;           // what is being written
    bool closed = false;        // and nothing was written since
    std::exception_ptr broken;  // what every further call throws
};

XMLWriter::XMLWriter(io::OutputStream* target, const WideChar* encoding, bool indented)
    : machine(std::make_unique<Machine>(target, encoding, indented)) {}

XMLWriter::~XMLWriter() {
    if (machine->isElementOpen()) {
        return;
    }
    const platform::CancellationHold hold;  // a cancelled thread cannot unwind out of a destructor
    try {
        close();
    } catch (...) {
        // There is nobody to tell; whoever wants to know calls close.
    }
}

void XMLWriter::writeStartElement(const WideChar* name) {
    machine->writeStartElement(name);
}

void XMLWriter::writeAttribute(const WideChar* name, const WideChar* value) {
    machine->writeAttribute(name, value);
}

void XMLWriter::writeText(const WideChar* text) {
    machine->writeText(text);
}

void XMLWriter::writeComment(const WideChar* text) {
    machine->writeComment(text);
}

void XMLWriter::writeEndElement() {
    machine->writeEndElement();
}

void XMLWriter::close() {
    machine->close();
}

XMLWriter::Machine::Machine(io::OutputStream* target, const WideChar* encoding, bool indented)
    : stream(target), indent(indented) {
    text::EncoderManager manager;
    if (!manager.isSupported(encoding)) {
        lang::raise<text::UnsupportedEncodingException>(className,
                                                        lang::message(u"Unsupported encoding. : ", encoding));
    }
    encoder.reset(manager.getEncoder(encoding));
    utf8 = text::isUtf8(*encoder);
    Declaration declaration;
    declaration.setEncoding(encoding);
    piece.append(std::u16string_view(*declaration.getReferenceString()));
    putLineEnd();
    sendPiece();
    lastWritten = declarationNode;
}

void XMLWriter::Machine::writeStartElement(const WideChar* name) {
    ready();
    const Stored stored(name);
    const bool nested = isElementOpen();
    // All room is made before anything goes out.
    if (openElements.size() == openElements.capacity()) {
        openElements.reserve(2 * openElements.size() + 1);  // what reserve is asked for is all that it takes
    }
    tags.reserve(1 + 3 * stored.get().size());
    if (putStartTag()) {
        putLineEnd();
        send([this] { openElements.back().hasChild = true; });
        lastWritten = elementNode;
    }
    const std::size_t start = nested ? openElements.back().nameEnd : 0;
    tags.truncate(start);
    tags += u'<';
    tags.append(stored.get());
    openElements.emplace_back(start, tags.size());
    empty(attributeNames);
    attributeCount = 0;
    if (namedAttributes > 0) {
        manyAttributeNames.clear();
        namedAttributes = 0;
    }
    if (nested && indent) {
        ++depth;
    }
    closed = false;
}

void XMLWriter::Machine::writeAttribute(const WideChar* name, const WideChar* value) {
    ready();
    requireOpenElement();
    if (openElements.back().hasChild) {
        lang::raise<io::DataFormatException>(className, u"Current element is already writed.");
    }
    // The name counts as it comes here, and as it is stored where it is compared with later ones.
    const Stored storedName(name);
    if (hasAttribute(storedName.asGiven())) {
        lang::raise<io::DataFormatException>(className, u"Already has a same attribute name.");
    }
    const Stored storedValue(value);
    const std::size_t tagsBefore = tags.size();
    const std::size_t namesBefore = attributeNames.size();
    try {
        tags += u' ';
        appendAttribute(tags, storedName, storedValue, Stored::append);
        attributeNames.append(storedName.get()).push_back(0);
    } catch (...) {
        tags.truncate(tagsBefore);
        attributeNames.resize(namesBefore);
        throw;
    }
    ++attributeCount;
}

void XMLWriter::Machine::writeText(const WideChar* text) {
    ready();
    requireOpenElement();
    if (openElements.back().hasText) {
        lang::raise<io::DataFormatException>(className, u"Already has a text.");
    }
    const Stored stored(text);
    putStartTag();
    Stored::append(piece, stored);
    send([this] { openElements.back().hasChild = openElements.back().hasText = true; });
    lastWritten = textNode;
}

void XMLWriter::Machine::writeComment(const WideChar* text) {
    ready();
    const Stored stored(text);
    if (putStartTag()) {
        putLineEnd();
    }
    // After a text the comment continues the line.
    const bool ownLine = lastWritten != textNode;
    if (ownLine) {
        putIndentation();
    }
    appendComment(piece, stored, Stored::append);
    if (ownLine) {
        putLineEnd();
    }
    send([this] {
        if (isElementOpen()) {
            openElements.back().hasChild = true;
        }
    });
    lastWritten = commentNode;
}

void XMLWriter::Machine::writeEndElement() {
    ready();
    requireOpenElement();
    const OpenElement ended = openElements.back();
    if (!ended.hasChild) {
        putIndentation();
        piece.append(tags.text().substr(ended.tag));
        piece += u"/>";
    } else {
        // After a text the end tag continues the line.
        if (lastWritten == elementNode || lastWritten == commentNode) {
            putIndentation();
        }
        piece += u"</";
        piece.append(tags.text().substr(ended.tag + 1, ended.nameEnd - ended.tag - 1));
        piece += u'>';
    }
    putLineEnd();
    send([this] { depth = std::max(depth - 1, 0); });
    lastWritten = elementNode;
    openElements.pop_back();
}

void XMLWriter::Machine::close() {
    ready();
    if (closed) {
        return;
    }
    if (isElementOpen()) {
        lang::raise<io::DataFormatException>(className, u"Current element is not element.");
    }
    encodeAndSend(nullptr, 0, true);
    stream->close();
    closed = true;
}

void XMLWriter::Machine::requireOpenElement(long line) const {
    if (!isElementOpen()) {
        lang::raise<io::DataFormatException>(className, u"Current element is not element.", line);
    }
}

bool XMLWriter::Machine::hasAttribute(std::u16string_view name) {
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

/// Every call begins with an empty piece, and with the failure of one that is beyond repair.
void XMLWriter::Machine::ready() {
    if (broken) {
        std::rethrow_exception(broken);
    }
    piece.clear();
}

/// Puts the start tag of the innermost open element into the piece if that is about to get its first child; returns
/// whether it is.
bool XMLWriter::Machine::putStartTag() {
    if (!isElementOpen() || openElements.back().hasChild) {
        return false;
    }
    putIndentation();
    piece.append(tags.text().substr(openElements.back().tag));
    piece += u'>';
    return true;
}

void XMLWriter::Machine::putIndentation() {
    if (indent) {
        piece.append(2 * static_cast<std::size_t>(depth), ' ');
    }
}

void XMLWriter::Machine::putLineEnd() {
    if (indent) {
        piece += u"\r\n";
    }
}

/// Sends the piece. What @p begin changes is so afterwards, also if the stream fails; without memory nothing changes.
template <class Begin>
void XMLWriter::Machine::send(Begin begin) {
    try {
        sendPiece();
    } catch (const std::bad_alloc&) {
        throw;
    } catch (...) {
        begin();
        closed = false;
        throw;
    }
    begin();
    closed = false;
}

void XMLWriter::Machine::sendPiece() {
    std::string_view rest = piece.text();
    if (utf8 && rest.size() <= std::numeric_limits<unsigned int>::max()) {
        stream->write(rest.data(), static_cast<unsigned int>(rest.size()));
        return;
    }
    // A piece is one write, but for one so long that its bytes might be more than a write takes.
    constexpr std::size_t most = std::size_t{1} << 29;
    text::UTF8Decoder decoder;
    bool sent = false;
    try {
        do {
            const std::string_view part = rest.substr(0, most);
            rest.remove_prefix(part.size());
            const OwnedWideString units = decoder.doDecodeM2W(part.data(), unitCount(part.size()), false);
            encodeAndSend(units->data(), units->size(), false);
            sent = true;
        } while (!rest.empty());
    } catch (const std::bad_alloc&) {
        if (sent) {
            broken = std::current_exception();
        }
        throw;
    }
}

/// Without memory the encoder is as it was before, so that the same units may come again. Of the encoders only this one
/// holds anything.
void XMLWriter::Machine::encodeAndSend(const WideChar* text, std::size_t length, bool last) {
    auto* const base64 = dynamic_cast<text::Base64Encoder*>(encoder.get());
    const text::Base64Encoder before = base64 != nullptr ? *base64 : text::Base64Encoder();
    try {
        const OwnedByteString bytes = encoder->doEncodeW2M(text, unitCount(length), last);
        stream->write(bytes->data(), unitCount(bytes->size()));
    } catch (const std::bad_alloc&) {
        if (base64 != nullptr) {
            *base64 = before;
        }
        throw;
    }
}

}  // namespace moraine::xml::DOM
