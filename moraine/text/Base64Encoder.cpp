#include "moraine/text/Base64Encoder.h"

#include "moraine/text/StringUtil.h"

namespace moraine::text {

Base64Encoder::Base64Encoder() = default;

Base64Encoder::~Base64Encoder() = default;

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
    auto result = std::make_unique<ByteString>(bits / 6 + closing, '=');
    char* out = result->data();
    const unsigned char* const end = bytes + length;
    while (bytes < end) {
        if (pendingCount == 0) {
            for (; end - bytes >= 3; bytes += 3, out += 4) {
                out[0] = alphabet[bytes[0] >> 2];
                out[1] = alphabet[(bytes[0] & 3) << 4 | bytes[1] >> 4];
                out[2] = alphabet[(bytes[1] & 15) << 2 | bytes[2] >> 6];
                out[3] = alphabet[bytes[2] & 63];
            }
            if (bytes == end) {
                break;
            }
        }
        // One byte by itself: it ends the value that is pending and begins the next one.
        pendingCount += 2;
        *out++ = alphabet[pendingBits | static_cast<unsigned int>(*bytes) >> pendingCount];
        pendingBits = (*bytes & ((1U << pendingCount) - 1)) << (6 - pendingCount);
        if (pendingCount == 6) {
            *out++ = alphabet[pendingBits];
            clear();
        }
        ++bytes;
    }
    if (last) {
        if (pendingCount != 0) {
            *out = alphabet[pendingBits];
        }
        clear();
    }
    return result;
}

}  // namespace moraine::text
