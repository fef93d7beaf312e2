#include "moraine/extras/Files.h"

#include <algorithm>
#include <limits>
#include <memory>

#include "moraine/extras/internal/Failure.h"
#include "moraine/extras/ReplacingFileOutputStream.h"
#include "moraine/io/FileInputStream.h"
#include "moraine/io/IOException.h"

namespace moraine::extras {
namespace {

constexpr unsigned int blockSize = 16384;

/// Calls `take` with each block that is left.
template <class Take>
void forEachBlock(io::InputStream& in, Take take) {
    const std::unique_ptr<char[]> block(new char[blockSize]);
    while (const unsigned int count = in.read(block.get(), blockSize)) {
        if (count > blockSize) {
            raise<io::IOException>(u"moraine::extras::readAll", u"The stream could not be read.");
        }
        take(std::string_view(block.get(), count));
    }
}

}  // namespace

std::string readAll(io::InputStream& in) {
    std::string bytes;
    forEachBlock(in, [&](std::string_view block) { bytes.append(block); });
    return bytes;
}

std::string readAll(const WideChar* name) {
    io::FileInputStream file(name);
    return readAll(file);
}

void writeAll(io::OutputStream& out, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto length =
            static_cast<unsigned int>(std::min<std::size_t>(bytes.size(), std::numeric_limits<int>::max()));
        const unsigned int count = out.write(bytes.data(), length);
        if (count == 0 || count > length) {
            raise<io::IOException>(u"moraine::extras::writeAll", u"The stream could not be written.");
        }
        bytes.remove_prefix(count);
    }
}

void writeAll(const WideChar* name, std::string_view bytes) {
    ReplacingFileOutputStream file(name);
    writeAll(file, bytes);
    file.close();
}

unsigned long long copy(io::InputStream& in, io::OutputStream& out) {
    unsigned long long total = 0;
    forEachBlock(in, [&](std::string_view block) {
        writeAll(out, block);
        total += block.size();
    });
    return total;
}

}  // namespace moraine::extras
