#pragma once

#include "moraine/Export.h"

namespace moraine::io {

/// A source of bytes. A stream is used by one thread at a time. What an operation throws is for the classes derived
/// from this one to say; whoever takes an `InputStream` lets it pass.
class MORAINE_API InputStream {
public:
    virtual ~InputStream();

    /// Places at most @p length bytes at @p buffer and returns how many. Fewer than asked for say nothing about what
    /// is still to come; 0 says that no more will, unless @p length is 0.
    virtual unsigned int read(char* buffer, unsigned int length) = 0;

    /// Ends the use of the stream.
    virtual void close() = 0;

    /// Moves the read position by @p count bytes from where it is; negative moves back.
    virtual void skip(long count) = 0;
};

}  // namespace moraine::io
