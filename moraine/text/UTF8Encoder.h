#pragma once

#include "moraine/text/IEncoder.h"

namespace moraine::text {

/// The encoder for the name "UTF-8" (RFC 3629), one unit at a time.
///
/// Each unit becomes one to three bytes, independently of its neighbours: a surrogate takes three bytes and a pair
/// therefore six, and four-byte sequences are never written. `UTF8Decoder` reads that back unit by unit. It is not
/// RFC 3629, and other programs refuse it; some call it CESU-8. Nothing is held between calls, so the last-block flag
/// means nothing here.
class MORAINE_API UTF8Encoder : public IEncoder {
public:
    /// A plain copy of the bytes.
    OwnedByteString doEncode(const unsigned char* bytes, unsigned int length, bool last) override;
    OwnedByteString doEncodeW2M(const WideChar* text, unsigned int length, bool last) override;
    void clear() override;
    /// "UTF-8"
    const WideChar* getEncodeName() const override;
};

}  // namespace moraine::text
