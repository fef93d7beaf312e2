#pragma once

#include "moraine/io/DataFormatException.h"
#include "moraine/io/InputStream.h"
#include "moraine/lang/ArrayIndexOutBoundsException.h"
#include "moraine/xml/DOM/XMLReader.h"

#include "input.h"

namespace moraine::fuzz {

/// The pieces of a document, each as its kind and all that the accessors tell of it, and how it ended.
struct Reading {
    struct Piece {
        int type;
        std::vector<WideString> texts;  // name, value, names and values of attributes; absent ones as a zero unit
    };
    std::vector<Piece> pieces;
    WideString encoding = u"utf-8";
    WideString failure;
};

inline bool operator==(const Reading::Piece& left, const Reading::Piece& right) {
    return left.type == right.type && left.texts == right.texts;
}

inline WideString shown(const WideChar* text) {
    return text == nullptr ? WideString(1, 0) : text;
}

inline Reading::Piece pieceOf(xml::DOM::XMLReader& reader) {
    const unsigned int count = reader.getAttributeCount();
    const int kind = reader.getNodeType() + 8 * reader.isStartElement() + 16 * reader.isEmptyElement();
    Reading::Piece piece{kind, {shown(reader.getName()), shown(reader.getValue())}};
    for (unsigned int i = 0; i < count; ++i) {
        piece.texts.push_back(shown(reader.getAttributeName(i)));
        piece.texts.push_back(shown(reader.getAttributeValue(i)));
    }
    require(reader.hasAttribute() == (count > 0), "hasAttribute goes by the count");
    require(reader.hasValue() == (reader.getValue() != nullptr), "hasValue goes by the value");
    const auto isRefused = [&](auto accessor) {
        return !resultOf<lang::ArrayIndexOutBoundsException>([&] { return (reader.*accessor)(count); });
    };
    using xml::DOM::XMLReader;
    require(isRefused(&XMLReader::getAttributeName) && isRefused(&XMLReader::getAttributeValue), "no more attributes");
    return piece;
}

inline Reading readAll(io::InputStream& stream) {
    xml::DOM::XMLReader reader(&stream);
    Reading all;
    try {
        while (reader.doRead()) {
            all.pieces.push_back(pieceOf(reader));
            const auto encoding = resultOf<lang::Exception>(
                [&] { return reader.getStandalone(), reader.getVersion(), reader.getEncoding(); });
            require(encoding.has_value() == (all.pieces.size() <= 2), "declared with the first two pieces");
            all.encoding = encoding.value_or(all.encoding.c_str());
        }
        require(!reader.doRead() && pieceOf(reader) == all.pieces.back(), "the end lasts");
    } catch (lang::Exception& e) {
        all.failure = u"failed: " + *e.getMessage();
        const bool isMalformed = dynamic_cast<io::DataFormatException*>(&e) != nullptr && !all.pieces.empty();
        const auto again = resultOf<lang::Exception>([&] { return reader.doRead(); });
        const bool isSame = !isMalformed || (!again.value_or(false) && pieceOf(reader) == all.pieces.back());
        require(isSame, "nothing is read after a failure");
    }
    return all;
}

}  // namespace moraine::fuzz
