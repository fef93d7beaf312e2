#include "moraine/text/UTF8Decoder.h"

#include <algorithm>

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/DecodeInto.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/Kernels.h"

namespace moraine::text {

UTF8Decoder::~UTF8Decoder() = default;

OwnedByteString UTF8Decoder::doDecode(const char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, length);
}

OwnedWideString UTF8Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    return held.keptWithoutMemory([&] {
        ByteString workText;
        return doDecProcM2W(held.join(bytes, length, workText), last);
    });
}

void UTF8Decoder::clear() {
    held.clear();
}

const WideChar* UTF8Decoder::getDecodeName() const {
    return u"UTF-8";
}

const WideChar* UTF8Decoder::getClassName() const {
    return u"moraine::text::UTF8Decoder";
}

OwnedWideString UTF8Decoder::doDecProcM2W(std::string_view bytes, bool last) {
    // No byte makes more than one unit.
    auto result = std::make_unique<WideString>();
    result->reserve(bytes.size());
    kernels::Utf8Walk walk{{bytes.data(), bytes.data() + bytes.size(), result->data()}};
    const char* stop = walk.at;
    while (walk.at >= stop && walk.at < walk.end) {
        const std::size_t piece = std::min(walk.left(), pieceSize / 2);
        walk.out = extend(*result, piece);
        stop = walk.at + piece;
        kernels::decodeUtf8(walk, stop);
        endAt(*result, walk.out);
    }
    if (walk.at < walk.end) {
        if (last) {
            lang::raise<lang::IllegalArgumentException>(getClassName());
        }
        held.hold({walk.at, walk.left()});
    }
    if (walk.zero != nullptr) {
        endAt(*result, walk.zero);
    }
    return result;
}

std::size_t decodeInto(UTF8Decoder& decoder, const char* bytes, unsigned int length, bool last, WideChar* target) {
    ByteString workText;
    const std::string_view joined = decoder.held.join(bytes, length, workText);
    kernels::Utf8Walk walk{{joined.data(), joined.data() + joined.size(), target}};
    kernels::decodeUtf8(walk, walk.end);
    if (walk.at < walk.end) {
        if (last) {
            lang::raise<lang::IllegalArgumentException>(decoder.getClassName());
        }
        decoder.held.hold({walk.at, walk.left()});
    }
    return static_cast<std::size_t>((walk.zero != nullptr ? walk.zero : walk.out) - target);
}

}  // namespace moraine::text
