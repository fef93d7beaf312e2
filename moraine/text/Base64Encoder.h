#pragma once

#include "moraine/text/IEncoder.h"

namespace moraine::text {

/// The encoder for the name "BASE64": the standard alphabet with "=" padding (RFC 4648, section 4), without any line
/// break.
///
/// Up to 4 bits are held between calls. Characters are written as soon as their bits are complete, so the result of
/// a block need not be a multiple of 4 long; the closing call writes the last character and the padding. Copies go
/// on with the same held bits.
class MORAINE_API Base64Encoder : public IEncoder {
public:
    OwnedByteString doEncode(const unsigned char* bytes, unsigned int length, bool last) override;

    /// Encodes the bytes of the units: one byte below 0x100, otherwise two, high byte first. The forms are not
    /// marked, so text from U+0100 up does not come back from `Base64Decoder::doDecodeM2W` as it was.
    OwnedByteString doEncodeW2M(const WideChar* text, unsigned int length, bool last) override;
    void clear() override;
    /// "BASE64"
    const WideChar* getEncodeName() const override;

private:
    MORAINE_HIDDEN OwnedByteString encode(const unsigned char* bytes, std::size_t length, bool last);

    /// Encodes one byte by itself: it ends the value that is pending and begins the next one.
    MORAINE_HIDDEN void encodeByte(unsigned int byte, ByteString& result);

    unsigned int pendingBits = 0;   // already at their place in the next 6-bit value
    unsigned int pendingCount = 0;  // 0, 2 or 4
};

}  // namespace moraine::text
