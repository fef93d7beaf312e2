#pragma once

#include "moraine/Export.h"

namespace moraine::io {

/// A source of bytes. A stream is used by one thread at a time.
class MORAINE_API InputStream {
public:
    InputStream() = default;
    InputStream(const InputStream& other) = default;
    virtual ~InputStream();
    InputStream& operator=(const InputStream& other) = default;

    /// Places at most @p length bytes at @p buffer and returns how many. Fewer than asked for say nothing about what
    /// is still to come; 0 says that no more will.
    virtual unsigned int read(char* buffer, unsigned int length) = 0;

    /// Ends the use of the stream.
    virtual void close() = 0;

    /// Moves the read position by @p count bytes from where it is; negative moves back.
    virtual void skip(long count) = 0;
};

}  // namespace moraine::io
