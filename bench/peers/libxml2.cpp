#include <libxml/parser.h>
#include <libxml/xmlreader.h>
#include <libxml/xmlwriter.h>

#include "../xml_reader.h"
#include "../xml_writer.h"

namespace {

using bench::give;
using bench::Piece;
using bench::Pieces;

std::string_view view(const xmlChar* text) {
    return text == nullptr ? std::string_view() : reinterpret_cast<const char*>(text);
}

std::string_view view(const xmlChar* text, std::ptrdiff_t length) {
    return {reinterpret_cast<const char*>(text), static_cast<std::size_t>(length)};
}

struct TextReader : bench::Parser {
    using Parser::Parser;
    void read(Pieces& pieces) {
        constexpr int options = XML_PARSE_HUGE | XML_PARSE_NONET;
        const std::unique_ptr<xmlTextReader, void (*)(xmlTextReaderPtr)> owner(
            inMemory() ? xmlReaderForMemory(document.bytes.data(), static_cast<int>(document.bytes.size()), nullptr,
                                            nullptr, options)
                       : xmlReaderForFile(document.path.c_str(), nullptr, options),
            xmlFreeTextReader);
        xmlTextReaderPtr reader = owner.get();
        int state = xmlTextReaderRead(reader);
        for (; state == 1; state = xmlTextReaderRead(reader)) {
            const int type = xmlTextReaderNodeType(reader);
            const bool tag = type == XML_READER_TYPE_ELEMENT;
            if (!tag && type != XML_READER_TYPE_END_ELEMENT) {
                pieces(type == XML_READER_TYPE_COMMENT ? Piece::comment : Piece::text,
                       view(xmlTextReaderConstValue(reader)));
                continue;
            }
            const std::string_view name = view(xmlTextReaderConstName(reader));
            const bool ends = !tag || xmlTextReaderIsEmptyElement(reader) == 1;
            tag ? pieces(Piece::start, name) : void();
            while (tag && xmlTextReaderMoveToNextAttribute(reader) == 1) {
                pieces(Piece::name, view(xmlTextReaderConstName(reader)));
                pieces(Piece::value, view(xmlTextReaderConstValue(reader)));
            }
            ends ? pieces(Piece::end, name) : void();
        }
        require(state == 0);
    }
};

struct Sax : bench::Parser {
    using Parser::Parser;
    void read(Pieces& pieces) {
        xmlSAXHandler handler{};
        handler.initialized = XML_SAX2_MAGIC;
        handler.startElementNs = start;
        handler.endElementNs = [](void* to, const xmlChar* local, const xmlChar* prefix, const xmlChar*) {
            std::string room;
            give(to, Piece::end, joined(prefix, local, room));
        };
        handler.characters = [](void* to, const xmlChar* text, int length) {
            give(to, Piece::text, view(text, length));
        };
        handler.ignorableWhitespace = handler.characters;
        handler.comment = [](void* to, const xmlChar* text) { give(to, Piece::comment, view(text)); };
        const std::unique_ptr<xmlParserCtxt, void (*)(xmlParserCtxtPtr)> parser(
            xmlCreatePushParserCtxt(&handler, &pieces, nullptr, 0, nullptr), xmlFreeParserCtxt);
        // Without NOENT an attribute's value has "&#38;" for "&amp;".
        xmlCtxtUseOptions(parser.get(), XML_PARSE_HUGE | XML_PARSE_NONET | XML_PARSE_NOENT);
        feedAll(10240, [&](const char* bytes, std::size_t size, bool last) {
            xmlParseChunk(parser.get(), bytes, static_cast<int>(size), last);
        });
        require(parser->wellFormed != 0);
    }

    static void start(void* to, const xmlChar* local, const xmlChar* prefix, const xmlChar* /*space*/, int spaceCount,
                      const xmlChar** space, int count, int /*defaulted*/, const xmlChar** attribute) {
        std::string room;
        give(to, Piece::start, joined(prefix, local, room));
        const auto* const xmlns = reinterpret_cast<const xmlChar*>("xmlns");
        for (int i = 0; i < spaceCount; ++i, space += 2) {
            give(to, Piece::name, space[0] == nullptr ? view(xmlns) : joined(xmlns, space[0], room));
            give(to, Piece::value, view(space[1]));
        }
        for (int i = 0; i < count; ++i, attribute += 5) {
            give(to, Piece::name, joined(attribute[1], attribute[0], room));
            give(to, Piece::value, view(attribute[3], attribute[4] - attribute[3]));
        }
    }

    /// A name as it is written.
    static std::string_view joined(const xmlChar* prefix, const xmlChar* local, std::string& room) {
        return prefix == nullptr ? view(local) : room.assign(view(prefix)).append(1, ':').append(view(local));
    }
};

class TextWriter {
public:
    static std::string form(const std::u16string& text) { return bench::utf8(text); }

    TextWriter(const char* path, bool indented)
        : buffer(path != nullptr ? nullptr : xmlBufferCreateSize(1 << 14)),
          writer(path != nullptr ? xmlNewTextWriterFilename(path, 0) : xmlNewTextWriterMemory(buffer.get(), 0)) {
        if (buffer) {
            xmlBufferSetAllocationScheme(buffer.get(), XML_BUFFER_ALLOC_DOUBLEIT);
        }
        xmlTextWriterSetIndent(writer.get(), indented ? 1 : 0);
        xmlTextWriterSetIndentString(writer.get(), BAD_CAST "  ");
        xmlTextWriterStartDocument(writer.get(), "1.0", nullptr, "yes");
    }
    void start(const std::string& name) { xmlTextWriterStartElement(writer.get(), units(name)); }
    void attribute(const std::string& name, const std::string& value) {
        xmlTextWriterWriteAttribute(writer.get(), units(name), units(value));
    }
    void text(const std::string& value) { xmlTextWriterWriteString(writer.get(), units(value)); }
    void comment(const std::string& value) { xmlTextWriterWriteComment(writer.get(), units(value)); }
    void end() { xmlTextWriterEndElement(writer.get()); }
    void close() {
        xmlTextWriterEndDocument(writer.get());
        writer.reset();
    }
    std::string bytes() const { return std::string(view(buffer ? xmlBufferContent(buffer.get()) : nullptr)); }

private:
    static const xmlChar* units(const std::string& text) { return reinterpret_cast<const xmlChar*>(text.c_str()); }

    struct Deleter {
        void operator()(xmlBuffer* doomed) const { xmlBufferFree(doomed); }
        void operator()(xmlTextWriter* doomed) const { xmlFreeTextWriter(doomed); }
    };
    std::unique_ptr<xmlBuffer, Deleter> buffer;
    std::unique_ptr<xmlTextWriter, Deleter> writer;
};

const bench::Reader<TextReader> reader("xmlTextReader");
const bench::Reader<Sax> sax("libxml2 SAX2");
const bench::Writing<TextWriter> writer("xmlTextWriter");

}  // namespace
