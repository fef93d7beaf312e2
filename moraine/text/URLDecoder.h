#pragma once

#include "moraine/text/IDecoder.h"

namespace moraine::text {

/// The decoder for the name "URL": percent-escapes with upper-case digits, and "+" for the space (RFC 2396).
///
/// `doDecode` is lenient: every other byte passes unchanged. `doDecodeM2W` reads the pairs of escapes that
/// `URLEncoder::doEncodeW2M` writes, high byte first, back into one unit, takes a single escape for a unit from 0 to
/// 255, and accepts unescaped only the unreserved and reserved characters.
///
/// An incomplete escape is held between calls: up to 2 bytes by `doDecode`, up to 5 by `doDecodeM2W`, which always
/// wants to see five bytes after a "%" and so refuses a stream whose last five bytes hold a "%" that no pair takes.
/// After a failure nothing is held. Copies go on with the same held bytes.
///
/// Failures are `lang::IllegalArgumentException` without a message. The trace names `StringUtil` where a lower-case
/// digit is at fault, and this class otherwise.
class MORAINE_API URLDecoder : public IDecoder {
public:
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
    MORAINE_HIDDEN std::unique_ptr<Text> decode(const char* bytes, unsigned int length, bool last);

    struct Held {
        char bytes[6] = {};
        unsigned int count = 0;
    } held;  // the start of an escape
};

}  // namespace moraine::text
