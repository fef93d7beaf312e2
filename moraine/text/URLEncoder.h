#pragma once

#include "moraine/text/IEncoder.h"

namespace moraine::text {

/// The encoder for the name "URL": percent-escapes over the character classes of RFC 2396, with "+" for the space.
///
/// Unreserved characters (letters, digits and `-_.!~*'()`) stay as they are, the space becomes "+", and all others
/// are escaped with upper-case digits: a byte by `doEncode` as one escape, "%2F", and a unit by `doEncodeW2M` always
/// as two, high byte first, "%00%2F". Nothing is held between calls, so the last-block flag means nothing here.
class MORAINE_API URLEncoder : public IEncoder {
public:
    OwnedByteString doEncode(const unsigned char* bytes, unsigned int length, bool last) override;
    OwnedByteString doEncodeW2M(const WideChar* text, unsigned int length, bool last) override;
    void clear() override;
    /// "URL"
    const WideChar* getEncodeName() const override;
};

}  // namespace moraine::text
