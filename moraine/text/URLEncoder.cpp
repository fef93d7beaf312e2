#include "moraine/text/URLEncoder.h"

#include "moraine/text/internal/UrlCharacters.h"

namespace moraine::text {
namespace {

char* writeEscape(char* out, unsigned int byte) {
    constexpr char digits[] = "0123456789ABCDEF";
    out[0] = '%';
    out[1] = digits[byte >> 4];
    out[2] = digits[byte & 15];
    return out + 3;
}

/// Encodes bytes with one escape each, or units with two.
template <class Unit>
OwnedByteString escaped(const Unit* text, unsigned int length) {
    constexpr std::size_t escapeSize = 3 * sizeof(Unit);
    const auto isPlain = [](Unit unit) {
        const url::Kind kind = url::kindOf(unit);
        return kind == url::Kind::unreserved || kind == url::Kind::space;
    };
    std::size_t size = 0;
    for (unsigned int i = 0; i < length; ++i) {
        size += isPlain(text[i]) ? 1 : escapeSize;
    }
    auto result = std::make_unique<ByteString>(size, '\0');
    char* out = result->data();
    for (unsigned int i = 0; i < length; ++i) {
        const unsigned int unit = text[i];
        if (isPlain(text[i])) {
            *out++ = unit == ' ' ? '+' : static_cast<char>(unit);
            continue;
        }
        if constexpr (sizeof(Unit) == 2) {
            out = writeEscape(out, unit >> 8);
        }
        out = writeEscape(out, unit & 0xFF);
    }
    return result;
}

}  // namespace

URLEncoder::~URLEncoder() = default;

OwnedByteString URLEncoder::doEncode(const unsigned char* bytes, unsigned int length, bool /*last*/) {
    return escaped(bytes, length);
}

OwnedByteString URLEncoder::doEncodeW2M(const WideChar* text, unsigned int length, bool /*last*/) {
    return escaped(text, length);
}

void URLEncoder::clear() {
    // Nothing is held.
}

const WideChar* URLEncoder::getEncodeName() const {
    return u"URL";
}

}  // namespace moraine::text
