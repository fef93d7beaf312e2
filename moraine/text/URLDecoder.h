#pragma once

#include "moraine/text/HeldBytes.h"
#include "moraine/text/IDecoder.h"
#include "moraine/text/StringUtil.h"

namespace moraine::text {

/// The decoder for the name "URL": percent-escapes with upper-case digits, and "+" for the space (RFC 2396).
///
/// `doDecode` is lenient: every other byte passes unchanged. `doDecodeM2W` reads the pairs of escapes that
/// `URLEncoder::doEncodeW2M` writes, high byte first, back into one unit, takes a single escape for a unit from 0 to
/// 255, and accepts unescaped only the unreserved and reserved characters.
///
/// An incomplete escape is held between calls: up to 2 bytes by `doDecode`, up to 5 by `doDecodeM2W`, which always
/// wants to see five bytes behind a "%" and so refuses a stream whose last five bytes hold a "%" that no pair takes.
/// After a failure nothing is held. Copies go on with the same held bytes.
///
/// Failures are `lang::IllegalArgumentException` without a message. The trace names `StringUtil` where a lower-case
/// digit is at fault, and this class otherwise.
class MORAINE_API URLDecoder : public IDecoder {
public:
    URLDecoder() = default;
    /// Copies the held bytes too.
    URLDecoder(const URLDecoder& other) = default;
    ~URLDecoder() override;
    /// Takes over the held bytes.
    URLDecoder& operator=(const URLDecoder& other) = default;

    /// @throws lang::IllegalArgumentException if an escape has a bad or lower-case digit, or if @p last is true and
    ///         fewer than two bytes follow a "%"
    OwnedByteString doDecode(const char* bytes, unsigned int length, bool last) override;

    /// @throws lang::IllegalArgumentException if an escape has a bad or lower-case digit, if a byte stands unescaped
    ///         that must not, or if @p last is true and fewer than five bytes follow a "%"
    OwnedWideString doDecodeM2W(const char* bytes, unsigned int length, bool last) override;
    void clear() override;
    /// "URL"
    const WideChar* getDecodeName() const override;

protected:
    /// The name of the object's class, for failures: static text.
    virtual const WideChar* getClassName() const;

private:
    template <class Text>
    std::unique_ptr<Text> decode(const char* bytes, unsigned int length, bool last);

    /// Throws for what stands first in the rest of a block; @p behind is how many bytes an escape wants behind its "%".
    [[noreturn]] void refuse(std::string_view rest, std::size_t behind) const;

    HeldBytes<6> held;
    ByteString workText;  // means nothing between calls
    StringUtil stringUtil;
};

}  // namespace moraine::text
