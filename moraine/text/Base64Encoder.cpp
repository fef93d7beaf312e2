#include "moraine/text/Base64Encoder.h"

#include <algorithm>

#include "moraine/text/internal/Base64Kernels.h"
#include "moraine/text/internal/Extend.h"
#include "moraine/text/StringUtil.h"

namespace moraine::text {

OwnedByteString Base64Encoder::doEncode(const unsigned char* bytes, unsigned int length, bool last) {
    return encode(bytes, length, last);
}

OwnedByteString Base64Encoder::doEncodeW2M(const WideChar* text, unsigned int length, bool last) {
    const OwnedByteString bytes = StringUtil().wide2Chars(text, length);
    return encode(reinterpret_cast<const unsigned char*>(bytes->data()), bytes->size(), last);
}

void Base64Encoder::clear() {
    pendingBits = 0;
    pendingCount = 0;
}

const WideChar* Base64Encoder::getEncodeName() const {
    return u"BASE64";
}

OwnedByteString Base64Encoder::encode(const unsigned char* bytes, std::size_t length, bool last) {
    const std::size_t bits = pendingCount + 8 * length;
    const std::size_t leftOver = bits % 6;
    const std::size_t closing = !last || leftOver == 0 ? 0 : leftOver == 2 ? 3 : 2;
    auto result = std::make_unique<ByteString>();
    result->reserve(bits / 6 + closing);
    for (; pendingCount != 0 && length > 0; --length) {
        encodeByte(*bytes++, *result);
    }
    while (length >= 3) {
        const std::size_t groups = std::min(length / 3, pieceSize / 4);
        kernels::encodeBase64(bytes, groups, extend(*result, 4 * groups));
        bytes += 3 * groups;
        length -= 3 * groups;
    }
    for (; length > 0; --length) {
        encodeByte(*bytes++, *result);
    }
    if (last) {
        if (closing != 0) {
            result->append(1, kernels::base64Digits[pendingBits]).append(closing - 1, '=');
        }
        clear();
    }
    return result;
}

void Base64Encoder::encodeByte(unsigned int byte, ByteString& result) {
    pendingCount += 2;
    result += kernels::base64Digits[pendingBits | byte >> pendingCount];
    pendingBits = (byte & ((1U << pendingCount) - 1)) << (6 - pendingCount);
    if (pendingCount == 6) {
        result += kernels::base64Digits[pendingBits];
        clear();
    }
}

}  // namespace moraine::text
