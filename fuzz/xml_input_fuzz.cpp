#include "moraine/extras/Tree.h"
#include "moraine/extras/XmlInputStream.h"
#include "moraine/io/MemoryOutputStream.h"

#include "blocks.h"
#include "xml_reading.h"

namespace moraine::fuzz {

/// What becomes of a document that is loaded and saved.
std::string savedAgain(const std::string& document, extras::WhiteSpace white, extras::Layout layout) {
    Blocks in(document, "");
    const auto tree = extras::load(in, white);
    io::MemoryOutputStream out;
    extras::save(*tree, out, layout);
    return {out.getBytes(), out.getSize()};
}

/// The first line holds the choice of white-space and the sizes of blocks, a byte each; the rest is the document.
void check(Input input) {
    const auto white = input.below(2) == 0 ? extras::WhiteSpace::drop : extras::WhiteSpace::keep;
    const std::string all = input.remaining(), sizes = all.substr(0, all.find('\n'));
    const std::string document = all.substr(std::min(all.size(), sizes.size() + 1));
    std::string blockSizes = sizes;
    std::replace(blockSizes.begin(), blockSizes.end(), '\0', '\1');  // an empty block is the end

    Blocks blocks(document, blockSizes), whole(document, "");
    extras::XmlInputStream cutStream(blocks, white), wholeStream(whole, white);
    const Reading cut = readAll(cutStream), uncut = readAll(wholeStream);
    // What stands right before a fault may be seen or not.
    const std::size_t common = std::min(cut.pieces.size(), uncut.pieces.size());
    const std::size_t other = std::max(cut.pieces.size(), uncut.pieces.size());
    require(cut.failure == uncut.failure, "the outcome does not depend on the blocks");
    require(other == common || (!cut.failure.empty() && other == common + 1), "neither do the pieces");
    require(std::equal(cut.pieces.begin(), cut.pieces.begin() + static_cast<long>(common), uncut.pieces.begin()),
            "or what they are");
    require(cut.failure.empty() || cut.failure.find(u" : line ") != WideString::npos, "all faults have a place");
    require(cutStream.line() == wholeStream.line() && cutStream.column() == wholeStream.column(),
            "and it can be asked for");

    long depth = 0;
    bool afterText = false;
    for (const Reading::Piece& piece : cut.pieces) {
        const int kind = piece.type % 8;
        const bool start = piece.type / 8 % 2 == 1, empty = piece.type / 16 % 2 == 1;
        depth += kind != xml::DOM::elementNode || empty ? 0 : start ? 1 : -1;
        require(kind != xml::DOM::textNode || (depth > 0 && !afterText), "texts are in elements, and joined");
        afterText = kind == xml::DOM::textNode;
    }
    require(!cut.failure.empty() || depth == 0, "all elements are closed");

    // What is handed out is a document of the reader's form: in one block it reads likewise.
    Blocks again(document, "");
    extras::XmlInputStream form(again, white);
    char block[10240];
    const auto count = resultOf<lang::Exception>([&] { return form.read(block, sizeof block); });
    if (cut.failure.empty() && count < sizeof block) {
        Blocks handed(std::string(block, *count), "");
        const Reading direct = readAll(handed);
        require(direct.pieces == cut.pieces && direct.failure.empty(), "the form is the reader's");
    }

    const auto saved = resultOf<lang::Exception>([&] { return savedAgain(document, white, extras::Layout::plain); });
    require(saved.has_value() == cut.failure.empty(), "a tree can be made of what can be read");
    if (saved) {
        require(savedAgain(*saved, white, extras::Layout::plain) == *saved, "a tree comes back");
        if (white == extras::WhiteSpace::drop) {
            const std::string indented = savedAgain(*saved, white, extras::Layout::indented);
            require(savedAgain(indented, white, extras::Layout::plain) == *saved, "indentation changes nothing");
        }
    }
}

}  // namespace moraine::fuzz
