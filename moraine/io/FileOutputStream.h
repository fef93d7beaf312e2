#pragma once

#include <memory>

#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::io {

struct FileState;

/// Writes a file from its start, through the buffer of the runtime.
///
/// A file name is zero-terminated text. Backslashes in it become forward slashes, and it is kept in that form. The
/// system gets it as UTF-8, whatever the locale; a name that holds half a surrogate pair opens no file. The file is
/// not inherited by programs that the process starts.
///
/// A stream is open or not open. It owns its file and closes it at its own end. Neither `flush` nor `close` reports
/// that the system could not take what was written. What a signal interrupts goes on, and a thread is not cancelled in
/// an operation but after it. A pipe that nobody reads raises SIGPIPE, as for the system's own writing, which ends a
/// program that does not ignore it. One thread at a time; not copyable.
class MORAINE_API FileOutputStream : public OutputStream {
public:
    /// A stream that is not open.
    FileOutputStream();

    /// Opens a file as `setFileName` does. A failure leaves no file open.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null
    /// @throws FileNotFoundException if the file cannot be opened
    /// @throws lang::Exception if the file is refused for its attributes: the class is `Exception` itself, so that a
    ///         handler for `IOException` does not take it
    explicit FileOutputStream(const WideChar* name);

    FileOutputStream(const FileOutputStream& other) = delete;
    ~FileOutputStream() override;
    FileOutputStream& operator=(const FileOutputStream& other) = delete;

    /// Takes @p length bytes and returns how many it took, which may be fewer where the system takes no more. @p data
    /// may be null where @p length is 0.
    /// @throws IOException "The file is not write." if the stream is not open
    unsigned int write(const char* data, unsigned int length) override;

    /// Hands to the system what is still in the buffer. Does nothing when the stream is not open.
    void flush() override;

    /// Closes the file, if one is open.
    void close() override;

    /// Moves by @p count bytes, at most to the end of the file as it is at that moment, what was written included.
    /// The position is unchanged when this throws, but where what was written cannot be handed to the system: that is
    /// lost then, and the position is where the rest ends.
    /// @throws IOException if the target lies outside the file, if the file has no position to move (a pipe), if what
    ///         was written cannot be handed to the system, or "The file is not write." if the stream is not open
    virtual void skip(long count);

    /// Opens a file and cuts it to length 0; makes it if there is none. A file that is open is closed first, as soon
    /// as the name has been found not to be null.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null; the stream is as it was
    /// @throws FileNotFoundException if the file cannot be opened, a directory for one; the stream is not open and
    ///         keeps the new name
    /// @throws IOException if the file was there and is read-only, that is, nobody may write it, and could be opened
    ///         the same, by the system's administrator, say; it is as it was, and stays open
    /// @throws std::bad_alloc if there is no room for the name
    virtual void setFileName(const WideChar* name);

    /// The name with its forward slashes, or null if none was ever set. It belongs to the stream and is good until
    /// the next `setFileName` or the stream's end.
    virtual const WideChar* getFileName();

protected:
    /// The name of the object's class, for failures: static text.
    virtual const WideChar* getClassName() const;

private:
    friend void withoutBuffer(FileOutputStream& stream);

    std::unique_ptr<FileState> state;
};

}  // namespace moraine::io
