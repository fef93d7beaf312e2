#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"
#include "moraine/xml/DOM/XMLWriter.h"
#include "moraine/xml/XMLStringUtil.h"
#include "xml_reading.h"

namespace moraine::fuzz {
namespace {

using namespace std::string_literals;
using Pieces = std::vector<Reading::Piece>;

constexpr int endTag = xml::DOM::elementNode, startTag = endTag + 8, emptyTag = startTag + 16;

Reading read(const char* bytes, std::size_t size) {
    io::MemoryInputStream stream;
    stream.setBytes(bytes, static_cast<long>(size));
    return readAll(stream);
}

bool isName(const WideString& text) {
    return !text.empty() && text.find_first_of(u"\0 \t\r\n=\"'<>&/?!"s) == WideString::npos;
}

/// What the writer makes of a text and the reader reads of that.
WideString resolved(const WideString& text) {
    const auto made = xml::XMLStringUtil().reference2String(text.data(), static_cast<unsigned int>(text.size()));
    return made->c_str();
}

/// Whether the texts of a piece read back: the reader drops white-space in front of a text and takes no other names.
bool isReadable(const Reading::Piece& piece) {
    bool readable = piece.type != xml::DOM::textNode || u" \t\r\n"s.find(piece.texts[1][0]) == WideString::npos;
    for (std::size_t i = 0; i < piece.texts.size(); ++i) {
        const WideString& text = piece.texts[i];
        const bool isAbsent = text == shown(nullptr);
        readable = readable && !text.empty() && (i < 2 || !isAbsent) && (i % 2 != 0 || isAbsent || isName(text));
    }
    return readable;
}

/// What is to be read of what is written for some pieces; nothing where it is known not to read back.
std::optional<Pieces> expected(const Pieces& pieces) {
    Pieces result;
    for (Reading::Piece piece : pieces) {
        for (WideString& text : piece.texts) {
            text = text == shown(nullptr) ? text : resolved(text);
        }
        if (piece.type == endTag) {
            piece.texts.resize(2);  // nobody can write attributes there
            if (result.back().type == startTag) {
                result.back().type = emptyTag;
                continue;
            }
        }
        if (!isReadable(piece)) {
            return std::nullopt;
        }
        result.push_back(piece);
    }
    return result;
}

/// What the writer makes of some pieces; nothing where it refuses one.
bool write(const Pieces& pieces, xml::DOM::XMLWriter& writer) try {
    for (const auto& [type, texts] : pieces) {
        if (type == xml::DOM::textNode) {
            writer.writeText(texts[1].c_str());
        } else if (type == xml::DOM::commentNode) {
            writer.writeComment(texts[1].c_str());
        } else if (type == endTag) {
            writer.writeEndElement();
        } else {
            writer.writeStartElement(texts[0].c_str());
            for (std::size_t i = 2; i < texts.size(); i += 2) {
                writer.writeAttribute(texts[i].c_str(), texts[i + 1].c_str());
            }
            type == emptyTag ? writer.writeEndElement() : void();
        }
    }
    writer.close();
    return true;
} catch (io::DataFormatException&) {  // two attributes of one name, two texts of one element, an element left open
    return false;
}

/// Without the white-space at the end of texts, which indentation adds to.
Pieces trimmed(Pieces pieces) {
    for (auto& [type, texts] : pieces) {
        type == xml::DOM::textNode ? texts[1].resize(texts[1].find_last_not_of(u" \t\r\n") + 1) : void();
    }
    return pieces;
}

}  // namespace

void check(Input input) {
    const std::string document = input.remaining();
    Reading reading = read(document.data(), document.size());
    if (!reading.failure.empty() || reading.pieces.size() < 2) {
        return;
    }
    const Pieces pieces(reading.pieces.begin() + 2, reading.pieces.end());
    const auto wanted = expected(pieces);
    for (const bool indented : {false, true}) {
        io::MemoryOutputStream sink;
        xml::DOM::XMLWriter writer(&sink, u"UTF-8", indented);
        if (write(pieces, writer) && wanted) {
            Reading again = read(sink.getBytes(), sink.getSize());
            require(again.failure.empty() && again.pieces.size() >= 2, "what is written can be read");
            again.pieces.erase(again.pieces.begin(), again.pieces.begin() + 2);
            require(trimmed(again.pieces) == trimmed(*wanted) && (indented || again.pieces == *wanted),
                    "and is the same");
        }
    }
}

}  // namespace moraine::fuzz
