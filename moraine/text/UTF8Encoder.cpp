#include "moraine/text/UTF8Encoder.h"

#include "moraine/text/internal/Scan.h"

namespace moraine::text {
namespace {

std::size_t encodedSize(const WideChar* text, std::size_t length) {
    std::size_t size = length;
    for (std::size_t i = 0; i < length; ++i) {
        size += static_cast<std::size_t>(text[i] >= 0x80) + static_cast<std::size_t>(text[i] >= 0x800);
    }
    return size;
}

char trailByte(unsigned int bits) {
    return static_cast<char>(0x80 | (bits & 0x3F));
}

}  // namespace

UTF8Encoder::~UTF8Encoder() = default;

OwnedByteString UTF8Encoder::doEncode(const unsigned char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, bytes + length);
}

OwnedByteString UTF8Encoder::doEncodeW2M(const WideChar* text, unsigned int length, bool /*last*/) {
    auto result = std::make_unique<ByteString>(encodedSize(text, length), '\0');
    char* out = result->data();
    const WideChar* const end = text + length;
    while (text < end) {
        const WideChar unit = *text;
        if (unit < 0x80) {
            const std::size_t run = scan::narrowAscii(text, static_cast<std::size_t>(end - text), out);
            text += run;
            out += run;
            continue;
        }
        if (unit < 0x800) {
            *out++ = static_cast<char>(0xC0 | (unit >> 6));
        } else {
            *out++ = static_cast<char>(0xE0 | (unit >> 12));
            *out++ = trailByte(unit >> 6);
        }
        *out++ = trailByte(unit);
        ++text;
    }
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
