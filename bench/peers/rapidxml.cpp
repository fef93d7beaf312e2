#include <rapidxml/rapidxml.hpp>

#include <fstream>

#include "../xml_reader.h"

namespace {

using bench::Piece;
using bench::Pieces;

std::string_view name(const rapidxml::xml_base<>& of) {
    return {of.name(), of.name_size()};
}

std::string_view value(const rapidxml::xml_base<>& of) {
    return {of.value(), of.value_size()};
}

void visit(const rapidxml::xml_node<>& parent, Pieces& pieces) {
    for (const auto* node = parent.first_node(); node != nullptr; node = node->next_sibling()) {
        if (node->type() != rapidxml::node_element) {
            pieces(node->type() == rapidxml::node_comment ? Piece::comment : Piece::text, value(*node));
            continue;
        }
        pieces(Piece::start, name(*node));
        for (const auto* each = node->first_attribute(); each != nullptr; each = each->next_attribute()) {
            pieces(Piece::name, name(*each));
            pieces(Piece::value, value(*each));
        }
        visit(*node, pieces);
        pieces(Piece::end, "");
    }
}

/// Works in place: of a document in memory on a copy, which is made before time runs.
struct Rapidxml : bench::Parser {
    using Parser::Parser;
    void prepare() { copy = document.bytes; }
    void read(Pieces& pieces) {
        if (!inMemory()) {
            std::ifstream(document.path).read(copy.data(), static_cast<std::streamsize>(copy.size()));
        }
        rapidxml::xml_document<> tree;
        // What elements hold is asked of the texts below them.
        tree.parse<rapidxml::parse_comment_nodes | rapidxml::parse_no_element_values>(copy.data());
        visit(tree, pieces);
    }

    std::string copy;
};

const bench::Reader<Rapidxml> way("RapidXML");

}  // namespace
