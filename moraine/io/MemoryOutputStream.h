#pragma once

#include <memory>

#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::io {

/// A sink that gathers bytes in memory.
///
/// There is no open or closed state: `close` changes nothing, and only `clear` empties the stream. The buffer grows
/// by a factor, so many small writes cost no more than one large one. It holds up to 4 GiB less one byte. Copies are
/// deep. One thread at a time.
class MORAINE_API MemoryOutputStream : public OutputStream {
public:
    /// An empty stream.
    /// @throws std::bad_alloc if there is no room for the first buffer
    MemoryOutputStream();
    /// Copies the bytes.
    /// @throws std::bad_alloc if there is no room
    MemoryOutputStream(const MemoryOutputStream& other);
    ~MemoryOutputStream() override;
    /// Takes over a copy of the bytes.
    /// @throws std::bad_alloc if there is no room; the stream is as it was
    MemoryOutputStream& operator=(const MemoryOutputStream& other);

    /// Appends @p length bytes and returns @p length. @p data is not read when that is 0.
    /// @throws std::bad_alloc if there is no room for them; the stream is as it was
    unsigned int write(const char* data, unsigned int length) override;

    /// Does nothing.
    void flush() override;

    /// Does nothing.
    void close() override;

    /// The number of bytes gathered.
    unsigned int getSize();

    /// The bytes themselves, `getSize()` of them, with no terminator. They belong to the stream and are good until
    /// the next `write`, `clear` or assignment, or the stream's end.
    const char* getBytes() const;

    /// Drops all bytes and gives back the room that they took.
    /// @throws std::bad_alloc if there is no room for a new first buffer; the stream is as it was
    void clear();

    /// Writes all bytes to @p target with one `write`, whose result is not looked at, then flushes and closes
    /// @p target, which stays the caller's. This stream keeps its bytes. To go on writing to @p target, use
    /// `getBytes` and `getSize` instead. What @p target throws passes through.
    void writeto(OutputStream* target);

private:
    struct MORAINE_HIDDEN Free {
        void operator()(char* doomed) const noexcept;
    };
    /// A block of the C library, which can enlarge one, and a big one without copying what is in it.
    using Bytes = std::unique_ptr<char[], Free>;

    MORAINE_HIDDEN const WideChar* getClassName() const;

    MORAINE_HIDDEN static Bytes newBytes(unsigned int capacity);
    MORAINE_HIDDEN static Bytes copyOf(const MemoryOutputStream& other);
    MORAINE_HIDDEN const char* makeRoom(const char* data, unsigned int length);

    Bytes bytes;
    unsigned int capacity;
    unsigned int size = 0;  // size <= capacity
};

}  // namespace moraine::io
