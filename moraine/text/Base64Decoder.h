#pragma once

#include "moraine/text/HeldBytes.h"
#include "moraine/text/IDecoder.h"

namespace moraine::text {

/// The decoder for the name "BASE64": the standard alphabet with "=" padding (RFC 4648, section 4).
///
/// CR LF pairs are passed over wherever they stand, also across two blocks; nothing else that is not of the alphabet
/// is accepted, a lone CR or LF and blanks included. Padding is accepted in the last group of the stream only, and a
/// CR that ends a block counts as a character until its LF comes: a block that ends between padding and the LF of the
/// line end behind it is refused. Bits of the last character that no byte takes are not looked at, and neither is
/// what follows a "=" in the third place.
///
/// The last group, of 1 to 4 characters, is always held until the next call, since only the closing call may take it
/// for the last one. A closing call with nothing to decode gives an empty result. After a failure the object holds
/// what it would hold had the call succeeded. Copies go on with the same held characters.
class MORAINE_API Base64Decoder : public IDecoder {
public:
    Base64Decoder() = default;
    /// Copies the held characters too.
    Base64Decoder(const Base64Decoder& other) = default;
    ~Base64Decoder() override;
    /// Takes over the held characters.
    Base64Decoder& operator=(const Base64Decoder& other) = default;

    /// @throws lang::IllegalArgumentException with the character between apostrophes, if one is not accepted in its
    ///         place; without a message, if @p last is true and the number of characters is no multiple of 4
    OwnedByteString doDecode(const char* bytes, unsigned int length, bool last) override;

    /// As `doDecode`; each byte becomes one unit from 0 to 255, and bytes are never paired.
    OwnedWideString doDecodeM2W(const char* bytes, unsigned int length, bool last) override;
    void clear() override;
    /// "BASE64"
    const WideChar* getDecodeName() const override;

private:
    const WideChar* getClassName() const;

    /// The 6-bit value of a character.
    /// @throws lang::IllegalArgumentException with the character between apostrophes, if it has none
    unsigned int getBase64Index(char c) const;

    /// What is to be decoded now: text with CR LF pairs in it.
    struct Groups {
        const char* at;
        const char* end;
        std::size_t full;  // groups of 4 characters, of which none is padding
        bool closed;       // whether the last group of the stream, which may be padded, stands behind those
    };

    /// What was held and the block, without what stays back, which is held from here on.
    Groups takeGroups(const char* bytes, unsigned int length, bool last);

    /// Takes the next 4 characters that are not of a CR LF pair.
    static void nextGroup(Groups& groups, char* group);

    /// Decodes the next @p count groups.
    template <class Element>
    void decodeFull(Groups& groups, std::size_t count, Element* out) const;

    template <class Text>
    std::unique_ptr<Text> decodeGroups(Groups groups) const;

    HeldBytes<4> held;
    ByteString workText;  // means nothing between calls
};

}  // namespace moraine::text
