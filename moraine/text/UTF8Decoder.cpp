#include "moraine/text/UTF8Decoder.h"

#include <algorithm>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/DecodeInto.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/HeldBytes.h"
#include "moraine/text/internal/Utf8Kernels.h"

namespace moraine::text {
namespace {

/// Holds an incomplete sequence at the end of a block, or refuses it at the end of the stream.
template <class Held>
void keepRest(Held& held, const kernels::Utf8Walk& walk, bool last) {
    if (walk.at == walk.end) {
        return;
    }
    if (last) {
        lang::raise<lang::IllegalArgumentException>(u"moraine::text::UTF8Decoder");
    }
    hold(held, {walk.at, walk.left()});
}

}  // namespace

OwnedByteString UTF8Decoder::doDecode(const char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, length);
}

OwnedWideString UTF8Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    return keptWithoutMemory(held, [&] {
        ByteString joined;
        const std::string_view block = joinHeld(held, bytes, length, joined);
        // No byte makes more than one unit.
        auto result = std::make_unique<WideString>();
        result->reserve(block.size());
        kernels::Utf8Walk walk{{block.data(), block.data() + block.size(), result->data()}};
        const char* stop = walk.at;
        while (walk.at >= stop && walk.at < walk.end) {
            const std::size_t piece = std::min(walk.left(), pieceSize / 2);
            walk.out = extend(*result, piece);
            stop = walk.at + piece;
            kernels::decodeUtf8(walk, stop);
            endAt(*result, walk.out);
        }
        keepRest(held, walk, last);
        if (walk.zero != nullptr) {
            endAt(*result, walk.zero);
        }
        return result;
    });
}

void UTF8Decoder::clear() {
    held.count = 0;
}

const WideChar* UTF8Decoder::getDecodeName() const {
    return u"UTF-8";
}

std::size_t decodeInto(UTF8Decoder& decoder, const char* bytes, unsigned int length, bool last, WideChar* target) {
    ByteString joined;
    const std::string_view block = joinHeld(decoder.held, bytes, length, joined);
    kernels::Utf8Walk walk{{block.data(), block.data() + block.size(), target}};
    kernels::decodeUtf8(walk, walk.end);
    keepRest(decoder.held, walk, last);
    return static_cast<std::size_t>((walk.zero != nullptr ? walk.zero : walk.out) - target);
}

}  // namespace moraine::text
