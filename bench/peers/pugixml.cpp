#include <pugixml.hpp>

#include "../xml_reader.h"

namespace {

using bench::Piece;
using bench::Pieces;

void visit(pugi::xml_node parent, Pieces& pieces) {
    for (pugi::xml_node node = parent.first_child(); node; node = node.next_sibling()) {
        if (node.type() != pugi::node_element) {
            pieces(node.type() == pugi::node_comment ? Piece::comment : Piece::text, node.value());
            continue;
        }
        pieces(Piece::start, node.name());
        for (pugi::xml_attribute each = node.first_attribute(); each; each = each.next_attribute()) {
            pieces(Piece::name, each.name());
            pieces(Piece::value, each.value());
        }
        visit(node, pieces);
        pieces(Piece::end, "");
    }
}

/// Works in place: of a document in memory on a copy, which is made before time runs.
struct Pugixml : bench::Parser {
    using Parser::Parser;
    void prepare() { copy = document.bytes; }
    void read(Pieces& pieces) {
        constexpr unsigned int options = pugi::parse_default | pugi::parse_comments;
        pugi::xml_document tree;
        require(inMemory() ? tree.load_buffer_inplace(copy.data(), copy.size(), options, pugi::encoding_utf8)
                           : tree.load_file(document.path.c_str(), options, pugi::encoding_utf8));
        visit(tree, pieces);
    }

    std::string copy;
};

const bench::Reader<Pugixml> way("pugixml");

}  // namespace
