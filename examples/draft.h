#pragma once

/// @file
/// Writing a file without losing the old one.

#include <filesystem>
#include <random>
#include <stdexcept>
#include <string>

#include "moraine/io/FileOutputStream.h"

#include "streams.h"

/// A file beside the one that is to be written. It takes that one's place when all has gone well, and goes otherwise.
class Draft {
public:
    explicit Draft(const std::filesystem::path& target)
        : destination(std::filesystem::exists(target) ? std::filesystem::canonical(target) : target),
          path(destination) {
        if (std::filesystem::exists(destination) && !std::filesystem::is_regular_file(destination)) {
            throw std::runtime_error(destination.string() + " is not a regular file");
        }
        path += ".draft-" + std::to_string(std::random_device()());
        stream.file.setFileName(console::wide(path.string()).c_str());
    }

    Draft(const Draft&) = delete;
    Draft& operator=(const Draft&) = delete;

    ~Draft() {
        stream.close();
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

    /// Where the content goes.
    moraine::io::OutputStream& getStream() { return stream; }

    /// Puts the file in its place.
    void publish() {
        stream.close();
        // The end of a full disk shows in nothing else.
        if (std::filesystem::file_size(path) != stream.bytes) {
            throw std::runtime_error(destination.string() + " could not be written whole");
        }
        if (std::filesystem::exists(destination)) {
            std::filesystem::permissions(path, std::filesystem::status(destination).permissions());
        }
        std::filesystem::rename(path, destination);
    }

private:
    /// Counts what is written to the file.
    struct CountingStream : moraine::io::OutputStream {
        unsigned int write(const char* data, unsigned int length) override {
            bytes += length;
            return file.write(data, length);
        }

        void flush() override { file.flush(); }
        void close() override { file.close(); }

        moraine::io::FileOutputStream file;
        std::uintmax_t bytes = 0;
    };

    std::filesystem::path destination;
    std::filesystem::path path;
    CountingStream stream;
};

/// Runs the work with a stream to a file, which comes to its place when all has gone well. "-" is standard output.
template <class Work>
void writeTo(const std::string& path, Work work) {
    if (path == "-") {
        console::StandardOutput out;
        work(out);
        return;
    }
    Draft draft(path);
    work(draft.getStream());
    draft.publish();
}
