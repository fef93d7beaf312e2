#include "moraine/io/FileInputStream.h"

#include <cerrno>

#include "moraine/io/internal/FileOperations.h"
#include "moraine/platform/File.h"
#include "moraine/platform/Thread.h"

namespace moraine::io {
namespace {

constexpr const WideChar* ownName = u"moraine::io::FileInputStream";

/// The block that readers ask for. With a buffer of that size the runtime reads such a block straight to its place.
constexpr std::size_t bufferSize = 10240;

constexpr const WideChar* notOpen = u"The file is not open.";

}  // namespace

FileInputStream::FileInputStream() = default;

FileInputStream::FileInputStream(const WideChar* name) {
    openInConstructor(ownName, [&] { FileInputStream::setFileName(name); });
}

FileInputStream::~FileInputStream() = default;

unsigned int FileInputStream::read(char* buffer, unsigned int length) {
    if (!file) {
        lang::raise<IOException>(getClassName(), notOpen);
    }
    if (length == 0) {
        return 0;  // with a null pointer, perhaps
    }
    std::size_t count = std::fread(buffer, 1, length, file.get());
    while (count < length && std::ferror(file.get()) != 0 && errno == EINTR) {
        std::clearerr(file.get());
        count += std::fread(buffer + count, 1, length - count, file.get());
    }
    return static_cast<unsigned int>(count);
}

void FileInputStream::close() {
    file.reset();
}

void FileInputStream::skip(long count) {
    if (!file) {
        lang::raise<IOException>(getClassName(), notOpen);
    }
    const platform::CancellationHold hold;
    seekWithin(file.get(), std::ftell(file.get()), count, fileSize, getClassName());
}

void FileInputStream::setFileName(const WideChar* name) {
    std::unique_ptr<WideChar[]> kept = normalised(name, getClassName());
    const platform::CancellationHold hold;
    close();
    fileName = std::move(kept);
    if (!fileBuffer) {
        fileBuffer.reset(new char[bufferSize]);
    }
    const platform::OpenedFile opened = platform::openFile(fileName.get(), platform::OpenMode::read);
    file.reset(opened.file);
    if (!file) {
        lang::raise<FileNotFoundException>(getClassName(), lang::message(u"File not found. : ", fileName.get()));
    }
    if (opened.attributes.directory) {
        lang::raise<IOException>(getClassName(), lang::message(u"This file is directoy. : ", fileName.get()));
    }
    // Without this buffer the file has another one, and reads the same.
    static_cast<void>(std::setvbuf(file.get(), fileBuffer.get(), _IOFBF, bufferSize));
    fileSize = std::fseek(file.get(), 0, SEEK_END) == 0 ? std::ftell(file.get()) : -1;
    std::rewind(file.get());
}

const WideChar* FileInputStream::getFileName() {
    return fileName.get();
}

const WideChar* FileInputStream::getClassName() const {
    return ownName;
}

}  // namespace moraine::io
