#pragma once

#include <memory>

#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::io {

/// A source of bytes in memory. Holds a private copy of what it is given.
///
/// There is no open or closed state: `close` changes nothing. Copies are deep and go on at the same position. One
/// thread at a time.
class MORAINE_API MemoryInputStream : public InputStream {
public:
    /// An empty stream.
    MemoryInputStream();
    /// Copies bytes and position.
    /// @throws std::bad_alloc if there is no room
    MemoryInputStream(const MemoryInputStream& other);
    ~MemoryInputStream() override;
    /// Takes over copies of bytes and position.
    /// @throws std::bad_alloc if there is no room; the stream is as it was
    MemoryInputStream& operator=(const MemoryInputStream& other);

    /// Copies the next bytes, as many as are left up to @p length, and moves past them; 0 at the end.
    unsigned int read(char* buffer, unsigned int length) override;

    /// Does nothing.
    void close() override;

    /// Moves the read position. Reaching the very end is allowed. The position is unchanged when this throws.
    /// @throws IOException if the target lies before the first or after the last byte held
    void skip(long count) override;

    /// Replaces the content by a copy of @p length bytes, and starts at the first of them. @p data is not read when
    /// @p length is 0; a negative @p length counts as 0.
    /// @throws std::bad_alloc if there is no room; the stream is as it was
    void setBytes(const char* data, long length);

    /// Drops what has been read, keeps what has not, and appends a copy of @p length bytes, on the terms of
    /// `setBytes`. The next byte to read is then the first one held: `skip` no longer reaches what was read.
    /// The cost is that of copying the new bytes, on average over many calls. Of a buffer beyond 64 KiB no more is kept
    /// than four times what is then held.
    /// @throws std::bad_alloc if there is no room; the stream is as it was
    void addBytes(const char* data, long length);

    /// The number of bytes held, read or not. Only its low 32 bits.
    unsigned int getSize();

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;
    MORAINE_HIDDEN void giveBack(long enough) noexcept;

    std::unique_ptr<char[]> bytes;
    long size = 0;
    long position = 0;  // 0 <= position <= size
    long start = 0;     // the place in `bytes` of the first byte held
    long capacity = 0;  // start + size <= capacity
};

}  // namespace moraine::io
