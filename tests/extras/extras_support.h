#pragma once

#include <algorithm>
#include <string>
#include <vector>

#include "moraine/extras/Utf8.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"

#include "tests/support.h"

namespace moraine::test {

/// Bytes in blocks of at most so many.
class Blocks : public io::InputStream {
public:
    explicit Blocks(std::string content, std::size_t most = 1 << 20) : bytes(std::move(content)), block(most) {}

    unsigned int read(char* buffer, unsigned int length) override {
        ++reads;
        const std::size_t count = bytes.copy(buffer, std::min<std::size_t>(length, block), position);
        position += count;
        return static_cast<unsigned int>(count);
    }
    void close() override { ++closes; }
    void skip(long) override { ADD_FAILURE() << "the source is only read"; }

    std::size_t position = 0;
    int reads = 0;
    int closes = 0;

private:
    std::string bytes;
    std::size_t block;
};

/// Everything that a stream gives, in calls that ask for so many bytes.
inline std::string drain(io::InputStream& in, unsigned int length = 10240) {
    std::string all, block(length, 0);
    while (const unsigned int count = in.read(block.data(), length)) {
        all.append(block, 0, count);
    }
    return all;
}

/// Takes at most so many bytes at once, and keeps them.
class Keeper : public io::OutputStream {
public:
    unsigned int write(const char* data, unsigned int length) override {
        const unsigned int count = std::min(length, most);
        bytes.append(data, count);
        return count + excess;
    }
    void flush() override { ++flushes; }
    void close() override { ++closes; }

    std::string bytes;
    unsigned int most = 1000;
    unsigned int excess = 0;
    int flushes = 0;
    int closes = 0;
};

inline std::string messageOf(lang::Exception& failure) {
    return extras::toUtf8(*failure.getMessage());
}

/// The message of what is thrown; empty if nothing is.
template <class Action>
std::string failureOf(Action action) {
    try {
        action();
    } catch (lang::Exception& e) {
        return messageOf(e);
    }
    return "";
}

}  // namespace moraine::test
