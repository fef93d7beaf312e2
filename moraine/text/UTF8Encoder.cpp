#include "moraine/text/UTF8Encoder.h"

#include "moraine/text/internal/Extend.h"
#include "moraine/text/internal/Utf8Kernels.h"

namespace moraine::text {

OwnedByteString UTF8Encoder::doEncode(const unsigned char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, bytes + length);
}

OwnedByteString UTF8Encoder::doEncodeW2M(const WideChar* text, unsigned int length, bool /*last*/) {
    // Most text is ASCII, so it is not measured beforehand.
    auto result = std::make_unique<ByteString>(length, '\0');
    const std::size_t ascii = kernels::narrowAscii(text, length, result->data());
    if (ascii < length) {
        const std::size_t rest = length - ascii;
        endAt(*result, result->data() + ascii);
        kernels::encodeUtf8(text + ascii, rest, extend(*result, kernels::utf8Size(text + ascii, rest)));
    }
    return result;
}

void UTF8Encoder::clear() {
    // Nothing is held.
}

const WideChar* UTF8Encoder::getEncodeName() const {
    return u"UTF-8";
}

}  // namespace moraine::text
