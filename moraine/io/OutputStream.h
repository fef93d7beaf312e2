#pragma once

#include "moraine/Export.h"

namespace moraine::io {

/// A sink of bytes. A stream is used by one thread at a time. What an operation throws is for the classes derived
/// from this one to say; whoever takes an `OutputStream` lets it pass.
class MORAINE_API OutputStream {
public:
    virtual ~OutputStream();

    /// Takes @p length bytes from @p data and returns how many it took.
    virtual unsigned int write(const char* data, unsigned int length) = 0;

    /// Passes on what the stream holds back, if it holds anything.
    virtual void flush() = 0;

    /// Ends the use of the stream.
    virtual void close() = 0;
};

}  // namespace moraine::io
