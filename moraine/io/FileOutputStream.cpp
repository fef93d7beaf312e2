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
    std::FILE* const file = openedFile(state, getClassName(), notOpen);
    if (length == 0) {
        return 0;  // with a null pointer, perhaps
    }
    const platform::CancellationHold hold;
    return static_cast<unsigned int>(std::fwrite(data, 1, length, file));
}

void FileOutputStream::flush() {
    if (state && state->file) {
        const platform::CancellationHold hold;
        static_cast<void>(std::fflush(state->file.get()));
    }
}

void FileOutputStream::close() {
    closeFile(state);
}

void FileOutputStream::skip(long count) {
    std::FILE* const file = openedFile(state, getClassName(), notOpen);
    const platform::CancellationHold hold;
    const long current = std::ftell(file);
    if (std::fflush(file) != 0) {
        // What could not be written is gone. To move back to where it would have ended would leave a hole in its place.
        lang::raise<IOException>(getClassName(), beyondStart(moved(current, count)));
    }
    const long end = std::fseek(file, 0, SEEK_END) == 0 ? std::ftell(file) : -1;
    seekWithin(file, current, count, end, getClassName());
}

void FileOutputStream::setFileName(const WideChar* name) {
    std::unique_ptr<WideChar[]> kept = normalised(name, getClassName());
    const platform::CancellationHold hold;
    if (!state) {
        state = std::make_unique<FileState>();
    }
    close();
    state->name = std::move(kept);
    const bool buffered = state->buffered;
    if (buffered && !state->buffer) {
        state->buffer.reset(new char[bufferSize]);
    }
    const platform::OpenedFile opened = platform::openFile(state->name.get(), platform::OpenMode::write);
    std::FILE* const file = opened.file;
    state->file.reset(file);
    if (file == nullptr) {
        lang::raise<FileNotFoundException>(getClassName(), state->name.get());
    }
    if (opened.attributes.directory || opened.attributes.readOnly) {
        lang::raise<IOException>(getClassName(),
                                 lang::message(u"This file or directoy is System file. : ", state->name.get()));
    }
    // If this fails, the file has another buffer, and is written the same.
    static_cast<void>(buffered ? std::setvbuf(file, state->buffer.get(), _IOFBF, bufferSize)
                               : std::setvbuf(file, nullptr, _IONBF, 0));
}

const WideChar* FileOutputStream::getFileName() {
    return state ? state->name.get() : nullptr;
}

const WideChar* FileOutputStream::getClassName() const {
    return ownName;
}

void withoutBuffer(FileOutputStream& stream) {
    stream.state = std::make_unique<FileState>();
    stream.state->buffered = false;
}

}  // namespace moraine::io
