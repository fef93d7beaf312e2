#include <climits>

#include "moraine/io/IOException.h"
#include "moraine/io/MemoryInputStream.h"
#include "moraine/io/MemoryOutputStream.h"

#include "input.h"

namespace moraine::fuzz {
namespace {

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
        const unsigned int operation = input.below(8);
        if (operation < 2) {
            const std::string more = bytes(input);
            const auto give = operation == 0 ? &io::MemoryInputStream::setBytes : &io::MemoryInputStream::addBytes;
            (in.*give)(exact(more).data(), static_cast<long>(more.size()));
            held = (operation == 0 ? "" : held.substr(position)) + more;
            position = 0;
        } else if (operation == 2) {
            std::vector<char> buffer(input.below(300));
            const unsigned int count = in.read(buffer.data(), static_cast<unsigned int>(buffer.size()));
            require(count <= buffer.size(), "no more than asked for");
            require(std::string(buffer.data(), count) == held.substr(position, buffer.size()), "the next bytes");
            position += count;
        } else if (operation == 3) {
            const unsigned int kind = input.below(10);
            const long near = kind < 2 ? 0 : static_cast<long>(input.below(65536)) - 32768;
            const long count = kind == 0 ? LONG_MIN : kind == 1 ? LONG_MAX : near;
            const long room = static_cast<long>(held.size() - position), back = -static_cast<long>(position);
            const bool moved = resultOf<io::IOException>([&] { return in.skip(count), true; }).has_value();
            require(moved == (back <= count && count <= room), "moves within what is held");
            position += static_cast<std::size_t>(moved ? count : 0);
        } else if (operation == 4) {
            const std::string data = bytes(input);
            require(out.write(exact(data).data(), static_cast<unsigned int>(data.size())) == data.size(), "all taken");
            gathered += data;
        } else if (operation == 5) {
            input.below(2) == 0 ? out.clear() : void(out = io::MemoryOutputStream());
            gathered.clear();
        } else if (operation == 6) {
            in = io::MemoryInputStream(in);
            out = io::MemoryOutputStream(out);
        } else if (gathered.size() < 60000) {
            out.writeto(&out);  // its own bytes are as good as any
            gathered += gathered;
        }
        require(in.getSize() == held.size(), "the size of what is held");
        require(std::string_view(out.getBytes(), out.getSize()) == gathered, "all that was written");
    }
}

}  // namespace moraine::fuzz
