#include "moraine/io/MemoryOutputStream.h"

#include <algorithm>
#include <cstring>
#include <limits>
#include <new>

namespace moraine::io {
namespace {

constexpr unsigned int step = 10240;

std::unique_ptr<char[]> newBytes(unsigned int capacity) {
    return std::unique_ptr<char[]>(new char[capacity]);
}

}  // namespace

MemoryOutputStream::MemoryOutputStream() : bytes(newBytes(step)), capacity(step) {}

MemoryOutputStream::MemoryOutputStream(const MemoryOutputStream& other)
    : OutputStream(other), bytes(newBytes(other.capacity)), capacity(other.capacity), size(other.size) {
    std::memcpy(bytes.get(), other.bytes.get(), size);
}

MemoryOutputStream::~MemoryOutputStream() = default;

MemoryOutputStream& MemoryOutputStream::operator=(const MemoryOutputStream& other) {
    if (this != &other) {
        std::unique_ptr<char[]> copy = newBytes(other.capacity);
        std::memcpy(copy.get(), other.bytes.get(), other.size);
        bytes = std::move(copy);
        capacity = other.capacity;
        size = other.size;
    }
    return *this;
}

unsigned int MemoryOutputStream::write(const char* data, unsigned int length) {
    std::unique_ptr<char[]> former;  // until the copy is made: the data may be the stream's own
    if (capacity - size < length) {
        constexpr std::size_t most = std::numeric_limits<unsigned int>::max();
        const std::size_t needed = std::size_t{size} + length;
        if (needed > most) {
            throw std::bad_alloc();
        }
        const auto grown =
            static_cast<unsigned int>(std::min(most, std::max(needed + step, std::size_t{capacity} + capacity / 2)));
        former = newBytes(grown);
        std::memcpy(former.get(), bytes.get(), size);
        bytes.swap(former);
        capacity = grown;
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

}  // namespace moraine::io
