// Encodes or decodes a file of any size with a codec that is chosen by its name. Only one block is in memory at a time.

#include <functional>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/text/DecoderManager.h"
#include "moraine/text/EncoderManager.h"

#include "draft.h"
#include "streams.h"

namespace {

using moraine::OwnedByteString;
using moraine::WideString;

constexpr const char* usage = "usage: codec encode|decode NAME [IN [OUT]]\n"
                              "\n"
                              "Encodes or decodes the bytes of IN with the codec NAME and writes them to OUT.\n"
                              "NAME is BASE64, URL or UTF-8 (which leaves bytes as they are), in upper or lower\n"
                              "case. IN and OUT are standard input and output when they are left away or \"-\".\n"
                              "OUT stays as it was unless the new one could be written whole.\n"
                              "\n"
                              "  --help  print this text\n"
                              "\n"
                              "  printf 'a/b c' | codec encode URL          prints a%2Fb+c\n"
                              "  codec encode BASE64 photo.jpg photo.txt\n"
                              "\n"
                              "Base64 is written in one line; in what is decoded, lines end in CR LF or nothing.\n";

/// One step of a conversion: a block goes in, with whether it is the last one, and what can be made of it comes out.
using Step = std::function<OwnedByteString(const char* bytes, unsigned int length, bool last)>;

/// A manager makes a codec by its name and leaves it to us. `shared_ptr`, because a `std::function` wants to be copied.
Step encoderNamed(const WideString& name) {
    const std::shared_ptr<moraine::text::IEncoder> encoder(moraine::text::EncoderManager().getEncoder(name.c_str()));
    return [encoder](const char* bytes, unsigned int length, bool last) {
        return encoder->doEncode(reinterpret_cast<const unsigned char*>(bytes), length, last);
    };
}

Step decoderNamed(const WideString& name) {
    const std::shared_ptr<moraine::text::IDecoder> decoder(moraine::text::DecoderManager().getDecoder(name.c_str()));
    return
        [decoder](const char* bytes, unsigned int length, bool last) { return decoder->doDecode(bytes, length, last); };
}

Step stepFor(const std::string& direction, const std::string& codec) {
    const WideString name = console::wide(codec);
    if (direction != "encode" && direction != "decode") {
        throw console::Misuse("'" + direction + "' is neither encode nor decode");
    }
    // Every codec has both directions.
    if (!moraine::text::EncoderManager().isSupported(name.c_str())) {
        throw console::Misuse("there is no codec '" + codec + "'");
    }
    return direction == "encode" ? encoderNamed(name) : decoderNamed(name);
}

/// Reads the next block and returns its length, 0 at the end. A block that would end in CR gets one byte more: a line
/// end after the padding of Base64 must come to the decoder in one piece.
unsigned int readBlock(moraine::io::InputStream& in, std::vector<char>& block) {
    const auto most = static_cast<unsigned int>(block.size()) - 1;
    unsigned int length = in.read(block.data(), most);
    if (length > 0 && block[length - 1] == '\r') {
        length += in.read(&block[length], 1);
    }
    return length;
}

void convert(const Step& step, moraine::io::InputStream& in, moraine::io::OutputStream& out) {
    constexpr std::size_t blockSize = 65536;
    std::vector<char> block(blockSize + 1);
    unsigned int length = 0;
    do {
        length = readBlock(in, block);
        // The end is told with an empty block, and only now the codec gives out what it has held back.
        const OwnedByteString made = step(block.data(), length, length == 0);
        out.write(made->data(), static_cast<unsigned int>(made->size()));
    } while (length > 0);
}

int program(const console::CommandLine& line) {
    line.expectWords(2, 4);
    const Step step = stepFor(line.words[0], line.words[1]);
    const std::string inPath = line.word(2, "-");
    const std::string outPath = line.word(3, "-");

    const std::unique_ptr<moraine::io::InputStream> in = console::openInput(inPath);
    console::ProgressStream progress(*in, inPath, outPath != "-" || !console::printsToTerminal());
    writeTo(outPath, [&](moraine::io::OutputStream& out) {
        try {
            convert(step, progress, out);
        } catch (moraine::lang::IllegalArgumentException&) {
            std::fprintf(stderr, "%s is not what %s makes; it fails in the last block of the first %ju bytes:\n",
                         inPath == "-" ? "standard input" : inPath.c_str(), line.words[1].c_str(), progress.getBytes());
            throw;
        }
    });
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, program);
}
