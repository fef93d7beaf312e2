#include "moraine/text/UTF8Encoder.h"

#include "moraine/text/internal/Kernels.h"

namespace moraine::text {

UTF8Encoder::~UTF8Encoder() = default;

OwnedByteString UTF8Encoder::doEncode(const unsigned char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, bytes + length);
}

OwnedByteString UTF8Encoder::doEncodeW2M(const WideChar* text, unsigned int length, bool /*last*/) {
    auto result = std::make_unique<ByteString>(kernels::utf8Size(text, length), '\0');
    kernels::encodeUtf8(text, length, result->data());
    return result;
}

void UTF8Encoder::clear() {
    // Nothing is held.
}

const WideChar* UTF8Encoder::getEncodeName() const {
    return u"UTF-8";
}

const WideChar* UTF8Encoder::getClassName() const {
    return u"moraine::text::UTF8Encoder";
}

}  // namespace moraine::text
