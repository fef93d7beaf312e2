#pragma once

#include "moraine/text/IDecoder.h"

namespace moraine::text {

/// The decoder for the name "UTF-8" (RFC 3629), to units of 16 bits.
///
/// It is trusting: it tests that a sequence is complete and never what its continuation bytes are, so it is no
/// validator. In full:
/// - a lead byte takes the one to three bytes after it as its continuation, whatever they are; their low six bits
///   count. Overlong forms and surrogates give their value;
/// - a four-byte sequence gives one unit, the low 16 bits of its code point;
/// - a byte that leads nothing (0x80 to 0xBF, 0xF8 to 0xFF) is dropped;
/// - a byte order mark is text like any other (U+FEFF);
/// - `doDecodeM2W` ends its result before the first zero unit: what follows it in the same block is dropped.
///
/// Up to 3 bytes of an incomplete sequence are held between calls of `doDecodeM2W`. Copies go on with the same held
/// bytes.
class MORAINE_API UTF8Decoder : public IDecoder {
public:
    /// A plain copy of the bytes; neither uses nor changes what is held.
    OwnedByteString doDecode(const char* bytes, unsigned int length, bool last) override;

    /// @throws lang::IllegalArgumentException without a message, if @p last is true and the bytes end inside a
    ///         sequence; nothing is held afterwards
    OwnedWideString doDecodeM2W(const char* bytes, unsigned int length, bool last) override;
    void clear() override;
    /// "UTF-8"
    const WideChar* getDecodeName() const override;

private:
    friend std::size_t decodeInto(UTF8Decoder& decoder, const char* bytes, unsigned int length, bool last,
                                  WideChar* target);

    struct Held {
        char bytes[4] = {};
        unsigned int count = 0;
    } held;  // the start of a sequence
};

}  // namespace moraine::text
