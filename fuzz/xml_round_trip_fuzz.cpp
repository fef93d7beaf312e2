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

WideString markup(const WideString& text) {
    return *xml::XMLStringUtil().string2Reference(text.data(), static_cast<unsigned int>(text.size()));
}

/// Whether the texts of a piece read back: the reader drops white-space before a text, takes no other names, and
/// no empty value at the end of a tag.
bool isReadable(const Reading::Piece& piece) {
    bool readable = piece.type != xml::DOM::textNode || u" \t\r\n"s.find(piece.texts[1][0]) == WideString::npos;
    for (std::size_t i = 0; i < piece.texts.size(); ++i) {
        const WideString& text = piece.texts[i];
        const bool isName = i % 2 == 0 && text.find_first_of(u"\0 \t\r\n=\"'<>&/?!"s) == WideString::npos;
        readable = readable && !text.empty() && (text == shown(nullptr) ? i < 2 : i % 2 != 0 || isName);
    }
    return readable;
}

/// Writes pieces and gives those that are to be read of them; nothing where one is refused or known not to read back.
std::optional<Pieces> written(const Pieces& pieces, xml::DOM::XMLWriter& writer) try {
    Pieces result;
    bool readable = true;
    for (const auto& [type, texts] : pieces) {
        result.push_back({type, texts});
        if (type == xml::DOM::textNode) {
            writer.writeText(markup(texts[1]).c_str());
        } else if (type == xml::DOM::commentNode) {
            writer.writeComment(markup(texts[1]).c_str());
        } else if (type == endTag) {
            writer.writeEndElement();
            result.back().texts.resize(2);  // nobody can write attributes there
            if (result[result.size() - 2].type == startTag) {
                result.pop_back();
                result.back().type = emptyTag;
            }
        } else {
            writer.writeStartElement(texts[0].c_str());
            for (std::size_t i = 2; i < texts.size(); i += 2) {
                writer.writeAttribute(texts[i].c_str(), markup(texts[i + 1]).c_str());
            }
            type == emptyTag ? writer.writeEndElement() : void();
        }
        readable = readable && isReadable(result.back());
    }
    writer.close();
    return readable ? std::optional<Pieces>(result) : std::nullopt;
} catch (io::DataFormatException&) {  // two attributes of one name, two texts of one element, an element left open
    return std::nullopt;
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
    for (const bool indented : {false, true}) {
        io::MemoryOutputStream sink;
        xml::DOM::XMLWriter writer(&sink, u"UTF-8", indented);
        if (const auto wanted = written(pieces, writer)) {
            Reading again = read(sink.getBytes(), sink.getSize());
            if (again.failure.find(u"'!'") != WideString::npos && sink.getSize() > 10240) {
                continue;  // a comment that opens where a block of the reader ends
            }
            require(again.failure.empty() && again.pieces.size() >= 2, "what is written can be read");
            again.pieces.erase(again.pieces.begin(), again.pieces.begin() + 2);
            require(trimmed(again.pieces) == trimmed(*wanted) && (indented || again.pieces == *wanted),
                    "and is the same");
        }
    }
}

}  // namespace moraine::fuzz
