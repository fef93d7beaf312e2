#include "moraine/extras/TextInputStream.h"
#include "moraine/extras/TextOutputStream.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/MemoryOutputStream.h"
#include "moraine/text/UTF8Decoder.h"

#include "blocks.h"

namespace moraine::fuzz {
namespace {

const std::string mark = "\xef\xbb\xbf";

}  // namespace

/// How much is asked for at a time, then a line with the sizes of blocks, a byte each; the rest is the text.
void check(Input input) {
    const unsigned int length = 16 + input.below(2) * 10224 + input.below(32);
    const std::string all = input.remaining(), sizes = all.substr(0, all.find('\n'));
    const std::string bytes = all.substr(std::min(all.size(), sizes.size() + 1));
    std::string blockSizes = sizes;
    std::replace(blockSizes.begin(), blockSizes.end(), '\0', '\1');  // an empty block is the end

    WideString wanted = extras::fromUtf8(bytes.compare(0, mark.size(), mark) == 0 ? bytes.substr(mark.size()) : bytes);
    std::replace(wanted.begin(), wanted.end(), u'\0', u'\ufffd');

    Blocks blocks(bytes, blockSizes);
    extras::TextInputStream in(blocks);
    io::MemoryOutputStream sink;
    extras::TextOutputStream out(sink);
    WideString units;
    std::string piece(length, 0);
    while (const unsigned int count = in.read(piece.data(), length)) {
        require(count < 10240, "no piece is too long for a table");
        units += *text::UTF8Decoder().doDecodeM2W(piece.data(), count, true);  // whole characters, or it throws
        out.write(piece.data(), count);
    }
    out.close();
    require(units == wanted, "the library reads what is there");
    require(std::string(sink.getBytes(), sink.getSize()) == extras::toUtf8(wanted), "and what it writes is real UTF-8");

    Blocks again(bytes, "");
    extras::TextInputStream strict(again, extras::Malformed::refuse);
    const bool good = resultOf<lang::Exception>([&] {
                          while (strict.read(piece.data(), length) > 0) {
                          }
                          return true;
                      }).has_value();
    const bool valid =
        resultOf<lang::Exception>([&] { return extras::fromUtf8(bytes, extras::Malformed::refuse); }).has_value();
    require(good == (valid && bytes.find('\0') == std::string::npos), "only what is malformed is refused");
}

}  // namespace moraine::fuzz
