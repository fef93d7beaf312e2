#pragma once

#include <cstddef>
#include <cstring>
#include <memory>

#include "moraine/extras/internal/Failure.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/IOException.h"

namespace moraine::extras {

/// The bytes of a stream, read ahead in blocks as it gives them.
class ByteSource {
public:
    explicit ByteSource(io::InputStream& from) : stream(from), block(new char[blockSize]) {}

    const char* begin() const { return block.get() + first; }
    const char* end() const { return block.get() + last; }
    std::size_t size() const { return last - first; }
    bool atEnd() const { return ended; }

    void consume(std::size_t count) { first += count; }

    /// Asks the stream once, and puts what it gives after the bytes at hand, which must be few. False if the stream
    /// has ended.
    /// @throws io::IOException if the stream says that it gave more than it was asked for
    bool read(const WideChar* className) {
        if (ended) {
            return false;
        }
        std::memmove(block.get(), begin(), size());
        last = size();
        first = 0;
        const auto room = static_cast<unsigned int>(blockSize - last);
        const unsigned int count = stream.read(block.get() + last, room);
        if (count > room) {
            raise<io::IOException>(className, u"The stream could not be read.");
        }
        last += count;
        ended = count == 0;
        return !ended;
    }

    void close() {
        first = last = 0;
        ended = true;
        stream.close();
    }

private:
    static constexpr std::size_t blockSize = 16384;

    io::InputStream& stream;  // borrowed
    std::unique_ptr<char[]> block;
    std::size_t first = 0;
    std::size_t last = 0;
    bool ended = false;
};

}  // namespace moraine::extras
