#pragma once

#include "moraine/text/IDecoder.h"

namespace moraine::text {

/// The decoder for the name "BASE64": the standard alphabet with "=" padding (RFC 4648, section 4).
///
/// CR LF pairs are passed over wherever they stand, also across two blocks; nothing else that is not of the alphabet
/// is accepted, a lone CR or LF and blanks included. Padding is accepted in the last group of the stream only, and a
/// CR that ends a block counts as a character until its LF comes: a block that ends between padding and the LF of the
/// line end after it is refused. Bits of the last character that no byte takes are not looked at, and neither is
/// what follows a "=" in the third place.
///
/// The last group, of 1 to 4 characters, is always held until the next call, since only the closing call may take it
/// for the last one. A closing call with nothing to decode gives an empty result. After a failure the object holds
/// what it would hold had the call succeeded. Copies go on with the same held characters.
class MORAINE_API Base64Decoder : public IDecoder {
public:
    /// @throws lang::IllegalArgumentException with the character between apostrophes, if one is not accepted in its
    ///         place; without a message, if @p last is true and the number of characters is no multiple of 4
    OwnedByteString doDecode(const char* bytes, unsigned int length, bool last) override;

    /// As `doDecode`; each byte becomes one unit from 0 to 255, and bytes are never paired.
    OwnedWideString doDecodeM2W(const char* bytes, unsigned int length, bool last) override;
    void clear() override;
    /// "BASE64"
    const WideChar* getDecodeName() const override;

private:
    struct Held {
        char bytes[4] = {};
        unsigned int count = 0;
    } held;  // the last group so far
};

}  // namespace moraine::text
