#include "moraine/text/URLEncoder.h"

#include <algorithm>
#include <cstring>

#include "moraine/text/internal/UrlKernels.h"

namespace moraine::text {
namespace {

// Both write 8 bytes at most, of which those that count are passed.

char* writeForm(unsigned char byte, char* out) {
    const url::ByteForm& form = url::byteForms[byte];
    std::memcpy(out, &form, sizeof form);
    return out + form.size;
}

char* writeForm(WideChar unit, char* out) {
    if (unit < url::unitForms.size()) {
        const url::UnitForm& form = url::unitForms[unit];
        std::memcpy(out, &form, sizeof form);
        return out + form.size;
    }
    std::memcpy(out, &url::escapes[unit >> 8], sizeof(url::ByteForm));
    std::memcpy(out + 3, &url::escapes[unit & 0xFFU], sizeof(url::ByteForm));
    return out + 6;
}

template <class Unit>
OwnedByteString escaped(const Unit* text, unsigned int length) {
    const std::size_t plain = kernels::countPlain(text, length);
    auto result = std::make_unique<ByteString>();
    result->reserve(plain + 3 * sizeof(Unit) * (length - plain));
    constexpr std::ptrdiff_t pieceLength = 512;
    char piece[6 * pieceLength + 2];
    for (const Unit* const end = text + length; text < end;) {
        const Unit* const stop = text + std::min(end - text, pieceLength);
        char* out = piece;
        for (; text < stop; ++text) {
            out = writeForm(*text, out);
        }
        result->append(piece, out);
    }
    return result;
}

}  // namespace

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
