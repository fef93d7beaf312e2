#pragma once

#include <memory>

#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::io {

struct FileState;

/// Reads a file from its start.
///
/// A file name is zero-terminated text. Backslashes in it become forward slashes, and it is kept in that form. The
/// system gets it as UTF-8, whatever the locale; a name that holds half a surrogate pair opens no file. The file is
/// not inherited by programs that the process starts.
///
/// A stream is open or not open. It owns its file and closes it at its own end. What a signal interrupts goes on. A
/// thread may be cancelled in `read`, whose bytes so far are then lost, and in no other operation. One thread at a
/// time; not copyable.
class MORAINE_API FileInputStream : public InputStream {
public:
    /// A stream that is not open.
    FileInputStream();

    /// Opens a file as `setFileName` does. A failure leaves no file open.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null
    /// @throws FileNotFoundException if the file cannot be opened
    /// @throws lang::Exception if the file is a directory: the class is `Exception` itself, so that a handler for
    ///         `IOException` does not take it
    explicit FileInputStream(const WideChar* name);

    FileInputStream(const FileInputStream& other) = delete;
    ~FileInputStream() override;
    FileInputStream& operator=(const FileInputStream& other) = delete;

    /// Reads up to @p length bytes and returns how many, which may be fewer; 0 at the end of the file. A failing
    /// device also ends the data. @p buffer may be null where @p length is 0.
    /// @throws IOException "The file is not open."
    unsigned int read(char* buffer, unsigned int length) override;

    /// Closes the file, if one is open.
    void close() override;

    /// Moves by @p count bytes, at most to the end of the file as it was when it was opened. The position is
    /// unchanged when this throws.
    /// @throws IOException if the target lies outside the file, if the file has no position to move (a pipe), or
    ///         "The file is not open."
    void skip(long count) override;

    /// Opens a file. One that is open is closed first, as soon as the name has been found not to be null.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null; the stream is as it was
    /// @throws FileNotFoundException if the file cannot be opened; the stream is not open and keeps the new name
    /// @throws IOException if the file is a directory; it stays open, and gives no bytes
    /// @throws std::bad_alloc if there is no room for the name or a buffer
    virtual void setFileName(const WideChar* name);

    /// The name with its forward slashes, or null if none was ever set. It belongs to the stream and is good until
    /// the next `setFileName` or the stream's end.
    virtual const WideChar* getFileName();

protected:
    /// The name of the object's class, for failures: static text.
    virtual const WideChar* getClassName() const;

private:
    std::unique_ptr<FileState> state;
};

}  // namespace moraine::io
