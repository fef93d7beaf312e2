#pragma once

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::text {

/// Turns bytes of an external form back into text or raw bytes, block by block.
///
/// A stream is a run of calls on one object: any number with @p last false, then one with it true. Each call returns
/// what could be made of this block together with what was held from earlier ones; the results, one after the
/// other, are the whole conversion, wherever the blocks were cut (`Base64Decoder` tells of one place where they must
/// not be). The closing block may be empty and often is. After it the object holds nothing and is ready for a new
/// stream. A stream uses one of the two decoding operations.
///
/// Malformed input is reported by `lang::IllegalArgumentException`, and what the failing call had decoded is lost.
/// A length is taken literally: 0 is an empty block, whose pointer is not read. Results are new, belong to the
/// caller and are never null; making them passes on `std::bad_alloc`, and what is held is
/// then as before, so that the same call may be made again. An object serves one stream and one thread at a
/// time; separate objects are independent.
class MORAINE_API IDecoder {
public:
    virtual ~IDecoder();

    /// Decodes to raw bytes.
    virtual OwnedByteString doDecode(const char* bytes, unsigned int length, bool last) = 0;

    /// Decodes to text.
    virtual OwnedWideString doDecodeM2W(const char* bytes, unsigned int length, bool last) = 0;

    /// Throws away, without output, what is held between calls. The object is ready for a new stream.
    virtual void clear() = 0;

    /// The encoding's name, upper-case: static zero-terminated text.
    virtual const WideChar* getDecodeName() const = 0;
};

}  // namespace moraine::text
