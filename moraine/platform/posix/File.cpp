#include "moraine/platform/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <string>

namespace moraine::platform {
namespace {

bool isHighSurrogate(WideChar unit) {
    return unit >= 0xD800 && unit <= 0xDBFF;
}

bool isLowSurrogate(WideChar unit) {
    return unit >= 0xDC00 && unit <= 0xDFFF;
}

void appendUtf8(std::string& path, char32_t point) {
    const auto trail = [&](int shift) { path += static_cast<char>(0x80 | ((point >> shift) & 0x3F)); };
    if (point < 0x80) {
        path += static_cast<char>(point);
    } else if (point < 0x800) {
        path += static_cast<char>(0xC0 | (point >> 6));
        trail(0);
    } else if (point < 0x10000) {
        path += static_cast<char>(0xE0 | (point >> 12));
        trail(6);
        trail(0);
    } else {
        path += static_cast<char>(0xF0 | (point >> 18));
        trail(12);
        trail(6);
        trail(0);
    }
}

/// Writes @p name as UTF-8, whatever the locale; false if it holds half a surrogate pair.
bool toPath(const WideChar* name, std::string& path) {
    for (; *name != 0; ++name) {
        char32_t point = *name;
        if (isHighSurrogate(*name) && isLowSurrogate(name[1])) {
            point = 0x10000 + ((point - 0xD800) << 10) + (*++name - 0xDC00U);
        } else if (isHighSurrogate(*name) || isLowSurrogate(*name)) {
            return false;
        }
        appendUtf8(path, point);
    }
    return true;
}

}  // namespace

std::FILE* openFile(const WideChar* name, OpenMode mode) {
    std::string path;
    if (!toPath(name, path)) {
        return nullptr;
    }
    const int flags = mode == OpenMode::read ? O_RDONLY : O_WRONLY | O_CREAT | O_TRUNC;
    int descriptor = -1;
    do {
        descriptor = ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666);
    } while (descriptor < 0 && errno == EINTR);
    if (descriptor < 0) {
        return nullptr;
    }
    std::FILE* const file = ::fdopen(descriptor, mode == OpenMode::read ? "rb" : "wb");
    if (file == nullptr) {
        ::close(descriptor);
    }
    return file;
}

FileAttributes attributesOf(std::FILE* file) noexcept {
    struct stat status {};
    if (::fstat(::fileno(file), &status) != 0) {
        return {true, true};
    }
    constexpr mode_t anyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    return {S_ISDIR(status.st_mode), (status.st_mode & anyWrite) == 0};
}

}  // namespace moraine::platform
