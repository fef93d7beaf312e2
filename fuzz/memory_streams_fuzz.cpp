#include <climits>

#include "input.h"
#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"

namespace moraine::fuzz {
namespace {

std::string contentOf(io::MemoryOutputStream& stream) {
    return {stream.getBytes(), stream.getSize()};
}

/// Some bytes, and now and then many.
std::string bytes(Input& input) {
    std::string some = input.bytes(40);
    return some.size() < 40 ? some : std::string(input.below(25000), some[0]) + some;
}

}  // namespace

/// A program of operations on both streams, beside a string each.
void check(Input input) {
    io::MemoryInputStream in;
    io::MemoryOutputStream out;
    std::string held, gathered;
    std::size_t position = 0;
    while (!input.isEmpty()) {
        switch (input.below(8)) {
            case 0: {
                held = bytes(input);
                in.setBytes(exact(held).data(), static_cast<long>(held.size()));
                position = 0;
                break;
            }
            case 1: {
                const std::string more = bytes(input);
                in.addBytes(exact(more).data(), static_cast<long>(more.size()));
                held = held.substr(position) + more;
                position = 0;
                break;
            }
            case 2: {
                std::vector<char> buffer(input.below(300));
                const unsigned int count = in.read(buffer.data(), static_cast<unsigned int>(buffer.size()));
                require(count <= buffer.size(), "no more than asked for");
                require(std::string(buffer.data(), count) == held.substr(position, buffer.size()), "the next bytes");
                position += count;
                break;
            }
            case 3: {
                const unsigned int kind = input.below(10);
                const long count = kind == 0   ? LONG_MIN
                                   : kind == 1 ? LONG_MAX
                                               : static_cast<long>(input.below(65536)) - 32768;
                const long room = static_cast<long>(held.size() - position), back = -static_cast<long>(position);
                const bool moved = resultOf<io::IOException>([&] { return in.skip(count), true; }).has_value();
                require(moved == (back <= count && count <= room), "moves within what is held");
                position += static_cast<std::size_t>(moved ? count : 0);
                break;
            }
            case 4: {
                const std::string data = bytes(input);
                require(out.write(exact(data).data(), static_cast<unsigned int>(data.size())) == data.size(),
                        "all taken");
                gathered += data;
                break;
            }
            case 5:
                out.clear();
                gathered.clear();
                break;
            case 6: {
                io::MemoryInputStream copy(in);
                in = copy;
                io::MemoryOutputStream other(out);
                out = other;
                break;
            }
            default:
                if (gathered.size() < 60000) {
                    out.writeto(&out);  // its own bytes are as good as any
                    gathered += gathered;
                }
        }
        require(in.getSize() == held.size(), "the size of what is held");
        require(contentOf(out) == gathered, "all that was written");
    }
}

}  // namespace moraine::fuzz
