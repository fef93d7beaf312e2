#include "moraine/io/MemoryInputStream.h"

#include <algorithm>
#include <cstring>
#include <new>

#include "moraine/io/internal/Positions.h"
#include "moraine/io/IOException.h"
#include "moraine/lang/internal/Raise.h"

namespace moraine::io {
namespace {

/// A buffer of this size is kept, however little is held.
constexpr long usual = 1L << 16;

void copyBytes(char* target, const char* source, long length) {
    if (length > 0) {
        std::memmove(target, source, static_cast<std::size_t>(length));
    }
}

std::unique_ptr<char[]> newBytes(long capacity) {
    return std::unique_ptr<char[]>(new char[static_cast<std::size_t>(capacity)]);
}

}  // namespace

MemoryInputStream::MemoryInputStream() = default;

MemoryInputStream::MemoryInputStream(const MemoryInputStream& other) : InputStream(other) {
    *this = other;
}

MemoryInputStream::~MemoryInputStream() = default;

MemoryInputStream& MemoryInputStream::operator=(const MemoryInputStream& other) {
    if (this != &other) {
        setBytes(other.bytes.get() + other.start, other.size);
        position = other.position;
    }
    return *this;
}

unsigned int MemoryInputStream::read(char* buffer, unsigned int length) {
    const long count = std::min(static_cast<long>(length), size - position);
    copyBytes(buffer, bytes.get() + start + position, count);
    position += count;
    return static_cast<unsigned int>(count);
}

void MemoryInputStream::close() {
    // A memory stream stays readable.
}

void MemoryInputStream::skip(long count) {
    const long target = moved(position, count);
    if (target < 0) {
        lang::raise<IOException>(getClassName(),
                                 lang::message(u"The range of the data was exceeded. : ", target, u" < 0"));
    }
    if (target > size) {
        lang::raise<IOException>(getClassName(),
                                 lang::message(u"The range of the file was exceeded. : ", target, u" > ", size));
    }
    position = target;
}

void MemoryInputStream::setBytes(const char* data, long length) {
    const long count = std::max(length, 0L);
    std::unique_ptr<char[]> copy = newBytes(count);
    copyBytes(copy.get(), data, count);
    bytes = std::move(copy);
    size = capacity = count;
    start = position = 0;
}

void MemoryInputStream::addBytes(const char* data, long length) {
    const long remaining = size - position;
    const long total = moved(remaining, std::max(length, 0L));
    if (capacity > usual && total < capacity / 4) {
        giveBack(std::max(2 * total, usual));
    }
    const char* const unread = bytes.get() + start + position;
    if (total <= capacity - start - position) {
        start += position;
    } else if (total <= capacity / 2) {
        // At least half of the buffer has been read since bytes were moved last, so moving them now is cheap.
        copyBytes(bytes.get(), unread, remaining);
        start = 0;
    } else {
        const long roomy = std::max(total, moved(capacity, capacity));
        std::unique_ptr<char[]> grown = newBytes(roomy);
        copyBytes(grown.get(), unread, remaining);
        bytes = std::move(grown);
        capacity = roomy;
        start = 0;
    }
    copyBytes(bytes.get() + start + remaining, data, total - remaining);
    size = total;
    position = 0;
}

/// Keeps what is unread in a smaller buffer, unless there is no room for it.
void MemoryInputStream::giveBack(long enough) noexcept {
    if (std::unique_ptr<char[]> smaller{new (std::nothrow) char[static_cast<std::size_t>(enough)]}) {
        copyBytes(smaller.get(), bytes.get() + start + position, size - position);
        bytes = std::move(smaller);
        capacity = enough;
        size -= position;
        start = position = 0;
    }
}

unsigned int MemoryInputStream::getSize() {
    return static_cast<unsigned int>(size);
}

const WideChar* MemoryInputStream::getClassName() const {
    return u"moraine::io::MemoryInputStream";
}

}  // namespace moraine::io
