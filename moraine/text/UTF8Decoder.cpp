#include "moraine/text/UTF8Decoder.h"

#include "moraine/lang/IllegalArgumentException.h"
#include "moraine/lang/internal/Raise.h"
#include "moraine/text/internal/Scan.h"

namespace moraine::text {
namespace {

/// The length of the sequence that a byte from 0x80 up leads; 1 for a byte that leads none.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0xC0 || lead >= 0xF8) {
        return 1;
    }
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// The unit that the last @p count bytes of a sequence spell below the bits of what stands in front of them. Bits
/// beyond 16 fall away.
WideChar spelled(unsigned int bits, const char* trail, std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
        bits = bits << 6 | (static_cast<unsigned char>(trail[i]) & 0x3F);
    }
    return static_cast<WideChar>(bits);
}

}  // namespace

UTF8Decoder::~UTF8Decoder() = default;

OwnedByteString UTF8Decoder::doDecode(const char* bytes, unsigned int length, bool /*last*/) {
    return std::make_unique<ByteString>(bytes, length);
}

OwnedWideString UTF8Decoder::doDecodeM2W(const char* bytes, unsigned int length, bool last) {
    ByteString workText;
    OwnedWideString result = doDecProcM2W(held.join(bytes, length, workText), last);
    result->resize(scan::find(result->data(), result->size(), 0));
    return result;
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
    auto result = std::make_unique<WideString>(bytes.size(), u'\0');
    WideChar* out = result->data();
    const char* at = bytes.data();
    const char* const end = at + bytes.size();
    while (at < end) {
        const auto lead = static_cast<unsigned char>(*at);
        const auto left = static_cast<std::size_t>(end - at);
        if (lead < 0x80) {
            const std::size_t run = scan::widenAscii(at, left, out);
            at += run;
            out += run;
            continue;
        }
        const std::size_t size = sequenceLength(lead);
        if (size > left) {
            if (last) {
                lang::raise<lang::IllegalArgumentException>(getClassName());
            }
            held.hold({at, left});
            break;
        }
        if (size > 1) {
            *out++ = spelled(lead & (0x7FU >> size), at + 1, size - 1);
        }
        at += size;
    }
    result->resize(static_cast<std::size_t>(out - result->data()));
    return result;
}

}  // namespace moraine::text
