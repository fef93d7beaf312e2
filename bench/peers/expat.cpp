#include <expat.h>

#include "../xml_reader.h"

namespace {

using bench::give;
using bench::Piece;
using bench::Pieces;

struct Expat : bench::Parser {
    using Parser::Parser;
    void read(Pieces& pieces) {
        const std::unique_ptr<XML_ParserStruct, void (*)(XML_Parser)> owner(XML_ParserCreate(nullptr), XML_ParserFree);
        XML_Parser parser = owner.get();
        XML_SetUserData(parser, &pieces);
        XML_SetElementHandler(parser, start, [](void* to, const char* tag) { give(to, Piece::end, tag); });
        XML_SetCharacterDataHandler(parser, [](void* to, const char* text, int length) {
            give(to, Piece::text, {text, static_cast<std::size_t>(length)});
        });
        XML_SetCommentHandler(parser, [](void* to, const char* text) { give(to, Piece::comment, text); });
        feedAll(document.bytes.size(), [&](const char* bytes, std::size_t size, bool last) {
            require(XML_Parse(parser, bytes, static_cast<int>(size), last) == XML_STATUS_OK);
        });
    }

    static void start(void* to, const char* tag, const char** attribute) {
        give(to, Piece::start, tag);
        for (; attribute[0] != nullptr; attribute += 2) {
            give(to, Piece::name, attribute[0]);
            give(to, Piece::value, attribute[1]);
        }
    }
};

const bench::Reader<Expat> way("Expat");

}  // namespace
