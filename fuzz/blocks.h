#pragma once

#include <algorithm>
#include <utility>

#include "moraine/io/MemoryInputStream.h"

#include "input.h"

namespace moraine::fuzz {

/// Bytes in blocks whose sizes, a char each, come round again and again; without sizes in one block. The first one has
/// @p first bytes at least.
class Blocks : public io::MemoryInputStream {
public:
    Blocks(const std::string& content, std::string blockSizes, std::size_t first = 0)
        : sizes(std::move(blockSizes)), least(first) {
        setBytes(content.data(), static_cast<long>(content.size()));
    }

    unsigned int read(char* buffer, unsigned int length) override {
        const auto next = sizes.empty() ? length : static_cast<unsigned char>(sizes[reads++ % sizes.size()]);
        const auto wanted = std::max<std::size_t>(next, std::exchange(least, 1));
        return MemoryInputStream::read(buffer, static_cast<unsigned int>(std::min<std::size_t>(length, wanted)));
    }
    void close() override { require(false, "nobody closes the stream"); }

private:
    std::string sizes;
    std::size_t least;
    std::size_t reads = 0;
};

}  // namespace moraine::fuzz
