#include <memory>

#include "moraine/lang/Exception.h"
#include "moraine/text/DecoderManager.h"

#include "blocks.h"
#include "xml_reading.h"

namespace moraine::fuzz {
namespace {

/// Whether each block after the declaration gives text, and all of it: one without text ends the data for the reader.
bool givesText(Blocks& blocks, long declaration, const WideString& encoding) {
    const std::unique_ptr<text::IDecoder> decoder(text::DecoderManager().getDecoder(encoding.c_str()));
    char block[10240];
    blocks.skip(declaration - static_cast<long>(blocks.read(block, sizeof block)));
    while (const unsigned int size = blocks.read(block, sizeof block)) {
        const auto text = resultOf<lang::Exception>([&] { return *decoder->doDecodeM2W(block, size, false); });
        if (!text || text->empty() || text->find(u'\0') != WideString::npos) {
            return false;
        }
    }
    return true;
}

/// What can begin a zero unit, which in UTF-8 hides the rest of its block.
const std::string zeroLeads("\0\xC0\xE0\xF0\xF1\xF2\xF3\xF4\xF5\xF6\xF7", 11);

}  // namespace

/// The first line holds the sizes of blocks, a byte each; the rest is the document.
void check(Input input) {
    const std::string all = input.remaining(), sizes = all.substr(0, all.find('\n'));
    const std::string document = all.substr(std::min(all.size(), sizes.size() + 1));
    const std::size_t mark = document.find("?>"), declaration = mark == std::string::npos ? document.size() : mark + 2;
    const std::size_t first = std::max<std::size_t>(declaration, 9);  // any shorter one is refused
    Blocks blocks(document, sizes, first), again(document, sizes, first), whole(document, "");
    const Reading cut = readAll(blocks), uncut = readAll(whole);
    // A comment that opens across a border is refused, wherever that is.
    const bool refused = (cut.failure + uncut.failure).find(u"'!'") != WideString::npos;
    if (document.find_first_of(zeroLeads) != std::string::npos ||
        !text::DecoderManager().isSupported(cut.encoding.c_str()) ||
        !givesText(again, static_cast<long>(declaration), cut.encoding)) {
        return;
    }
    const std::size_t common = refused ? std::min(cut.pieces.size(), uncut.pieces.size()) : uncut.pieces.size();
    require((refused || cut.pieces.size() == common) &&
                std::equal(uncut.pieces.begin(), uncut.pieces.begin() + static_cast<long>(common), cut.pieces.begin()),
            "the pieces don't depend on the blocks");
    require(refused || cut.failure.empty() == uncut.failure.empty(), "neither does whether they are well formed");
}

}  // namespace moraine::fuzz
