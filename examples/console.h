#pragma once

/// @file
/// What the example programs share: text to and from the console, a progress display, and one way to end.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <string>

#include "moraine/io/InputStream.h"
#include "moraine/lang/Exception.h"
#include "moraine/text/UTF8Decoder.h"
#include "moraine/text/UTF8Encoder.h"

namespace console {

/// The library's text as UTF-8.
inline std::string narrow(const moraine::WideString& text) {
    return *moraine::text::UTF8Encoder().doEncodeW2M(text.data(), static_cast<unsigned int>(text.size()), true);
}

/// UTF-8, as it comes from the command line, as the library's text.
inline moraine::WideString wide(const std::string& text) {
    return *moraine::text::UTF8Decoder().doDecodeM2W(text.data(), static_cast<unsigned int>(text.size()), true);
}

/// Runs the program. Whatever fails is reported on standard error, a failure of the library with its whole trace, and
/// gives the exit status 1; so does output that standard output could not take.
template <class Program>
int run(Program program) {
    int status = 1;
    try {
        status = program();
    } catch (moraine::lang::Exception& e) {
        std::fprintf(stderr, "%s", narrow(*e.getTrace()).c_str());
    } catch (const std::exception& e) {
        std::fprintf(stderr, "error: %s\n", e.what());
    }
    if (std::fflush(stdout) != 0 || std::ferror(stdout) != 0) {
        std::fprintf(stderr, "error: standard output could not be written\n");
        return 1;
    }
    return status;
}

/// A stream around another one that shows on standard error how much of a file has been read, if that is a terminal
/// and reading takes a while.
class ProgressStream : public moraine::io::InputStream {
public:
    ProgressStream(moraine::io::InputStream& file, const std::string& path) : source(file) {
        std::error_code none;
        total = std::filesystem::file_size(path, none);
        shown = !none && ::isatty(STDERR_FILENO) == 1;
    }

    ~ProgressStream() override {
        if (drawn) {
            std::fprintf(stderr, "\r%*s\r", 20, "");
        }
    }

    unsigned int read(char* buffer, unsigned int length) override {
        const unsigned int count = source.read(buffer, length);
        bytes += count;
        if (shown && std::chrono::steady_clock::now() >= next) {
            std::fprintf(stderr, "\rreading: %3.0f %%",
                         100.0 * static_cast<double>(bytes) / static_cast<double>(total));
            next = std::chrono::steady_clock::now() + std::chrono::milliseconds(100);
            drawn = true;
        }
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
    moraine::io::InputStream& source;
    std::uintmax_t total = 0;
    std::uintmax_t bytes = 0;
    bool shown = false;
    bool drawn = false;
    std::chrono::steady_clock::time_point next = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
};

}  // namespace console
