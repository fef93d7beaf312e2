#pragma once

/// @file
/// Streams that the example programs share. Each is small: a stream is a class with three operations.

#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>
#include <utility>
#include <vector>

#include "moraine/io/FileInputStream.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"

#include "console.h"

namespace console {

/// Standard input. It hands on what has come, however little, and cannot go back.
class StandardInput : public moraine::io::InputStream {
public:
    unsigned int read(char* buffer, unsigned int length) override {
        ssize_t count = 0;
        do {
            count = ::read(STDIN_FILENO, buffer, length);
        } while (count < 0 && errno == EINTR);
        if (count < 0) {
            throw std::system_error(errno, std::generic_category(), "standard input");
        }
        return static_cast<unsigned int>(count);
    }

    void close() override {}
    void skip(long /*count*/) override { throw std::runtime_error("standard input cannot be moved"); }
};

/// Standard output.
class StandardOutput : public moraine::io::OutputStream {
public:
    unsigned int write(const char* data, unsigned int length) override {
        if (std::fwrite(data, 1, length, stdout) != length) {
            throw std::runtime_error("standard output takes no more");
        }
        return length;
    }

    void flush() override { static_cast<void>(std::fflush(stdout)); }
    void close() override {}
};

/// The file of this name, or standard input for "-".
inline std::unique_ptr<moraine::io::InputStream> openInput(const std::string& path) {
    if (path == "-") {
        return std::make_unique<StandardInput>();
    }
    return std::make_unique<moraine::io::FileInputStream>(wide(path).c_str());
}

/// A stream around another one that shows how much of a file has been read.
class ProgressStream : public moraine::io::InputStream {
public:
    /// @param path the file that @p stream reads; the size of anything else is not known
    /// @param wanted as `Progress` takes it
    ProgressStream(moraine::io::InputStream& stream, const std::string& path, bool wanted)
        : source(stream), progress("reading", sizeOf(path), wanted) {}

    unsigned int read(char* buffer, unsigned int length) override {
        const unsigned int count = source.read(buffer, length);
        bytes += count;
        progress.show(bytes);
        return count;
    }

    void close() override { source.close(); }

    void skip(long count) override {
        source.skip(count);
        bytes += static_cast<std::uintmax_t>(count);
    }

    /// How many bytes have been read and not skipped back over.
    std::uintmax_t getBytes() const { return bytes; }

private:
    static std::uintmax_t sizeOf(const std::string& path) {
        std::error_code none;
        const std::uintmax_t size = std::filesystem::file_size(path, none);
        return none ? 0 : size;
    }

    moraine::io::InputStream& source;
    Progress progress;
    std::uintmax_t bytes = 0;
};

/// Cuts a stream into lines, which end in LF or CR LF.
class Lines {
public:
    explicit Lines(moraine::io::InputStream& stream) : source(stream) {}

    /// Takes the next line, without its end. False when there is none.
    bool next(std::string& line) {
        line.clear();
        for (;;) {
            if (begin == end) {
                begin = 0;
                end = source.read(block.data(), static_cast<unsigned int>(block.size()));
                if (end == 0) {
                    return !line.empty();
                }
            }
            const auto* const feed = static_cast<const char*>(std::memchr(&block[begin], '\n', end - begin));
            const std::size_t stop = feed == nullptr ? end : static_cast<std::size_t>(feed - block.data());
            line.append(&block[begin], stop - begin);
            begin = stop;
            if (feed != nullptr) {
                ++begin;
                if (!line.empty() && line.back() == '\r') {
                    line.pop_back();
                }
                return true;
            }
        }
    }

private:
    moraine::io::InputStream& source;
    std::vector<char> block = std::vector<char>(10240);
    std::size_t begin = 0;
    std::size_t end = 0;
};

}  // namespace console
