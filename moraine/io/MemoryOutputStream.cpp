#include "moraine/io/MemoryOutputStream.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <new>

namespace moraine::io {
namespace {

constexpr unsigned int step = 10240;

}  // namespace

MemoryOutputStream::MemoryOutputStream() : bytes(newBytes(step)), capacity(step) {}

MemoryOutputStream::MemoryOutputStream(const MemoryOutputStream& other)
    : OutputStream(other), bytes(copyOf(other)), capacity(other.capacity), size(other.size) {}

MemoryOutputStream::~MemoryOutputStream() = default;

MemoryOutputStream& MemoryOutputStream::operator=(const MemoryOutputStream& other) {
    if (this != &other) {
        bytes = copyOf(other);
        capacity = other.capacity;
        size = other.size;
    }
    return *this;
}

unsigned int MemoryOutputStream::write(const char* data, unsigned int length) {
    if (capacity - size < length) {
        data = makeRoom(data, length);
    }
    if (length > 0) {
        std::memcpy(bytes.get() + size, data, length);
        size += length;
    }
    return length;
}

void MemoryOutputStream::flush() {
    // Nothing is held back.
}

void MemoryOutputStream::close() {
    // A memory stream stays writable.
}

unsigned int MemoryOutputStream::getSize() {
    return size;
}

const char* MemoryOutputStream::getBytes() const {
    return bytes.get();
}

void MemoryOutputStream::clear() {
    bytes = newBytes(step);
    capacity = step;
    size = 0;
}

void MemoryOutputStream::writeto(OutputStream* target) {
    target->write(bytes.get(), size);
    target->flush();
    target->close();
}

const WideChar* MemoryOutputStream::getClassName() const {
    return u"moraine::io::MemoryOutputStream";
}

void MemoryOutputStream::Free::operator()(char* doomed) const noexcept {
    std::free(doomed);
}

MemoryOutputStream::Bytes MemoryOutputStream::newBytes(unsigned int capacity) {
    Bytes made(static_cast<char*>(std::malloc(capacity)));
    if (!made) {
        throw std::bad_alloc();
    }
    return made;
}

MemoryOutputStream::Bytes MemoryOutputStream::copyOf(const MemoryOutputStream& other) {
    Bytes copy = newBytes(other.capacity);
    std::memcpy(copy.get(), other.bytes.get(), other.size);
    return copy;
}

/// Makes room for more bytes. Returns where they are then, since they may be the stream's own.
const char* MemoryOutputStream::makeRoom(const char* data, unsigned int length) {
    constexpr std::size_t most = std::numeric_limits<unsigned int>::max();
    const std::size_t needed = std::size_t{size} + length;
    if (needed > most) {
        throw std::bad_alloc();
    }
    const std::size_t roomy = std::min(most, std::max(needed + step, std::size_t{capacity} + capacity / 2));
    const std::less<> liesBefore;
    const bool own = !liesBefore(data, bytes.get()) && liesBefore(data, bytes.get() + size);
    const std::ptrdiff_t place = own ? data - bytes.get() : 0;
    char* const former = bytes.release();
    auto* const grown = static_cast<char*>(std::realloc(former, roomy));
    bytes.reset(grown != nullptr ? grown : former);
    if (grown == nullptr) {
        throw std::bad_alloc();
    }
    capacity = static_cast<unsigned int>(roomy);
    return own ? bytes.get() + place : data;
}

}  // namespace moraine::io
