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
    std::FILE* const file = openedFile(state, getClassName(), notOpen);
    if (length == 0) {
        return 0;  // with a null pointer, perhaps
    }
    std::size_t count = std::fread(buffer, 1, length, file);
    while (count < length && std::ferror(file) != 0 && errno == EINTR) {
        std::clearerr(file);
        count += std::fread(buffer + count, 1, length - count, file);
    }
    return static_cast<unsigned int>(count);
}

void FileInputStream::close() {
    closeFile(state);
}

void FileInputStream::skip(long count) {
    std::FILE* const file = openedFile(state, getClassName(), notOpen);
    const platform::CancellationHold hold;
    seekWithin(file, std::ftell(file), count, state->size, getClassName());
}

void FileInputStream::setFileName(const WideChar* name) {
    std::unique_ptr<WideChar[]> kept = normalised(name, getClassName());
    const platform::CancellationHold hold;
    if (!state) {
        state = std::make_unique<FileState>();
    }
    close();
    state->name = std::move(kept);
    if (!state->buffer) {
        state->buffer.reset(new char[bufferSize]);
    }
    const platform::OpenedFile opened = platform::openFile(state->name.get(), platform::OpenMode::read);
    std::FILE* const file = opened.file;
    state->file.reset(file);
    if (file == nullptr) {
        lang::raise<FileNotFoundException>(getClassName(), lang::message(u"File not found. : ", state->name.get()));
    }
    if (opened.attributes.directory) {
        lang::raise<IOException>(getClassName(), lang::message(u"This file is directoy. : ", state->name.get()));
    }
    // Without this buffer the file has another one, and reads the same.
    static_cast<void>(std::setvbuf(file, state->buffer.get(), _IOFBF, bufferSize));
    state->size = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
    std::rewind(file);
}

const WideChar* FileInputStream::getFileName() {
    return state ? state->name.get() : nullptr;
}

const WideChar* FileInputStream::getClassName() const {
    return ownName;
}

}  // namespace moraine::io
