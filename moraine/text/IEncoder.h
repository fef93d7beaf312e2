#pragma once

#include "moraine/Export.h"
#include "moraine/text/WideChar.h"

namespace moraine::text {

/// Turns text or raw bytes into bytes of an external form, block by block.
///
/// A stream is a run of calls on one object: any number with @p last false, then one with it true. Each call returns
/// what could be made of this block together with what was held from earlier ones; the results, one after the
/// other, are the whole conversion. The closing block may be empty and often is. After it the object holds nothing
/// and is ready for a new stream.
///
/// Encoders accept every input. A length is taken literally: 0 is an empty block, whose pointer is not read.
/// Results are new, belong to the caller and are never null; making them passes on `std::bad_alloc`, and what is held
/// is then as before, so that the same call may be made again. An object serves one stream and one thread at a time;
/// separate objects are independent.
class MORAINE_API IEncoder {
public:
    virtual ~IEncoder();

    /// Encodes raw bytes.
    virtual OwnedByteString doEncode(const unsigned char* bytes, unsigned int length, bool last) = 0;

    /// Encodes text; @p length counts units.
    virtual OwnedByteString doEncodeW2M(const WideChar* text, unsigned int length, bool last) = 0;

    /// Throws away, without output, what is held between calls. The object is ready for a new stream.
    virtual void clear() = 0;

    /// The encoding's name, upper-case: static zero-terminated text.
    virtual const WideChar* getEncodeName() const = 0;
};

}  // namespace moraine::text
