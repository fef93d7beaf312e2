#include "moraine/platform/File.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdint>
#include <new>
#include <string>

#include "moraine/platform/Thread.h"

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

// A file that is written has operations of its own below those of the C library, which drops what it holds where a
// signal interrupts it. Their cookie is the descriptor. One that is read has none: with them the C library would read
// anew at each move, where it now moves in what it has.

int descriptorIn(void* cookie) noexcept {
    return static_cast<int>(reinterpret_cast<std::intptr_t>(cookie));
}

ssize_t writeRepeatedly(void* cookie, const char* data, std::size_t size) noexcept {
    std::size_t done = 0;
    while (done < size) {
        const ssize_t count = ::write(descriptorIn(cookie), data + done, size - done);
        if (count > 0) {
            done += static_cast<std::size_t>(count);
        } else if (count == 0 || errno != EINTR) {
            break;
        }
    }
    return static_cast<ssize_t>(done);
}

int seek(void* cookie, off64_t* offset, int whence) noexcept {
    const off64_t reached = ::lseek64(descriptorIn(cookie), *offset, whence);
    if (reached < 0) {
        return -1;
    }
    *offset = reached;
    return 0;
}

int closeDescriptor(void* cookie) noexcept {
    return ::close(descriptorIn(cookie));
}

/// Repeats a call that a signal interrupted.
template <class Call>
int completed(Call call) noexcept {
    int result = 0;
    do {
        result = call();
    } while (result < 0 && errno == EINTR);
    return result;
}

int openDescriptor(const std::string& path, int flags) noexcept {
    return completed([&] { return ::open(path.c_str(), flags | O_CLOEXEC | O_NOCTTY, 0666); });
}

struct Opened {
    int descriptor;
    FileAttributes attributes;
};

/// Opens a file for writing and cuts it, but not if it may not be written. A file that is made here may be, even if the
/// umask makes it one that nobody else may write.
Opened openToWrite(const std::string& path) noexcept {
    int descriptor = openDescriptor(path, O_WRONLY | O_CREAT | O_EXCL);
    if (descriptor >= 0 || errno != EEXIST) {
        return {descriptor, {}};
    }
    // Where a link leads to no file yet, or the file has just gone, it is made after all. The flag stays where it is
    // there: some systems then refuse files that others have laid into a folder of everybody's.
    struct stat status {};
    const bool isMade = ::stat(path.c_str(), &status) != 0 && errno == ENOENT;
    descriptor = openDescriptor(path, O_WRONLY | O_CREAT);
    if (descriptor < 0 || isMade) {
        return {descriptor, {}};
    }
    if (::fstat(descriptor, &status) != 0) {
        return {descriptor, {true, true}};
    }
    constexpr mode_t anyWrite = S_IWUSR | S_IWGRP | S_IWOTH;
    const FileAttributes attributes{S_ISDIR(status.st_mode), (status.st_mode & anyWrite) == 0};
    if (S_ISREG(status.st_mode) && !attributes.readOnly && completed([=] { return ::ftruncate(descriptor, 0); }) != 0) {
        ::close(descriptor);
        return {-1, {}};
    }
    return {descriptor, attributes};
}

Opened openToRead(const std::string& path) noexcept {
    const int descriptor = openDescriptor(path, O_RDONLY);
    struct stat status {};
    const bool known = descriptor < 0 || ::fstat(descriptor, &status) == 0;
    return {descriptor, {!known || S_ISDIR(status.st_mode), !known}};
}

}  // namespace

OpenedFile openFile(const WideChar* name, OpenMode mode) {
    std::string path;
    if (!toPath(name, path)) {
        return {};
    }
    const CancellationHold hold;
    const auto [descriptor, attributes] = mode == OpenMode::read ? openToRead(path) : openToWrite(path);
    if (descriptor < 0) {
        return {};
    }
    // NOLINTNEXTLINE(performance-no-int-to-ptr): nobody takes it for a pointer
    void* const cookie = reinterpret_cast<void*>(static_cast<std::intptr_t>(descriptor));
    std::FILE* const file = mode == OpenMode::read
                                ? ::fdopen(descriptor, "rb")
                                : ::fopencookie(cookie, "wb", {nullptr, writeRepeatedly, seek, closeDescriptor});
    if (file == nullptr) {
        ::close(descriptor);
        throw std::bad_alloc();
    }
    return {file, attributes};
}

}  // namespace moraine::platform
