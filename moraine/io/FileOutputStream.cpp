#include "moraine/io/FileOutputStream.h"

#include "moraine/io/internal/FileOperations.h"
#include "moraine/io/internal/WithoutBuffer.h"
#include "moraine/platform/File.h"
#include "moraine/platform/Thread.h"

namespace moraine::io {
namespace {

constexpr const WideChar* ownName = u"moraine::io::FileOutputStream";

/// So much that a call of the system costs little beside what it takes over.
constexpr std::size_t bufferSize = std::size_t{1} << 16;

constexpr const WideChar* notOpen = u"The file is not write.";

}  // namespace

FileOutputStream::FileOutputStream() = default;

FileOutputStream::FileOutputStream(const WideChar* name) {
    openInConstructor(ownName, [&] { FileOutputStream::setFileName(name); });
}

FileOutputStream::~FileOutputStream() = default;

unsigned int FileOutputStream::write(const char* data, unsigned int length) {
    if (!file) {
        lang::raise<IOException>(getClassName(), notOpen);
    }
    if (length == 0) {
        return 0;  // with a null pointer, perhaps
    }
    const platform::CancellationHold hold;
    return static_cast<unsigned int>(std::fwrite(data, 1, length, file.get()));
}

void FileOutputStream::flush() {
    if (file) {
        const platform::CancellationHold hold;
        static_cast<void>(std::fflush(file.get()));
    }
}

void FileOutputStream::close() {
    file.reset();
}

void FileOutputStream::skip(long count) {
    if (!file) {
        lang::raise<IOException>(getClassName(), notOpen);
    }
    const platform::CancellationHold hold;
    const long current = std::ftell(file.get());
    if (std::fflush(file.get()) != 0) {
        // What could not be written is gone. To move back to where it would have ended would leave a hole in its place.
        lang::raise<IOException>(getClassName(), beyondStart(moved(current, count)));
    }
    const long end = std::fseek(file.get(), 0, SEEK_END) == 0 ? std::ftell(file.get()) : -1;
    seekWithin(file.get(), current, count, end, getClassName());
}

void FileOutputStream::setFileName(const WideChar* name) {
    std::unique_ptr<WideChar[]> kept = normalised(name, getClassName());
    const platform::CancellationHold hold;
    close();
    fileName = std::move(kept);
    if (buffered && !fileBuffer) {
        fileBuffer.reset(new char[bufferSize]);
    }
    const platform::OpenedFile opened = platform::openFile(fileName.get(), platform::OpenMode::write);
    file.reset(opened.file);
    if (!file) {
        lang::raise<FileNotFoundException>(getClassName(), fileName.get());
    }
    if (opened.attributes.directory || opened.attributes.readOnly) {
        lang::raise<IOException>(getClassName(),
                                 lang::message(u"This file or directoy is System file. : ", fileName.get()));
    }
    // If this fails, the file has another buffer, and is written the same.
    static_cast<void>(buffered ? std::setvbuf(file.get(), fileBuffer.get(), _IOFBF, bufferSize)
                               : std::setvbuf(file.get(), nullptr, _IONBF, 0));
}

const WideChar* FileOutputStream::getFileName() {
    return fileName.get();
}

const WideChar* FileOutputStream::getClassName() const {
    return ownName;
}

void withoutBuffer(FileOutputStream& stream) noexcept {
    stream.buffered = false;
}

}  // namespace moraine::io
