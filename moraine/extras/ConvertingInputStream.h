#pragma once

#include <memory>

#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"

namespace moraine::extras {

class PieceStream;

/// The base of the streams that read a text from another stream, the source, and hand it out in another form.
///
/// The source is borrowed: it must live as long as it is read, and is closed by `close` alone. It is not touched before
/// the first `read`, and then read ahead, up to 16 KiB at a time; but `read` waits for it only while there is nothing
/// to hand out. What it throws passes through. One thread at a time; not copyable.
class MORAINE_EXTRAS_API ConvertingInputStream : public io::InputStream {
public:
    ConvertingInputStream(const ConvertingInputStream& other) = delete;
    ~ConvertingInputStream() override;
    ConvertingInputStream& operator=(const ConvertingInputStream& other) = delete;

    /// Hands out at most @p length bytes, and 0 only at the end of the text or if @p length is 0. What is wrong with
    /// the text is thrown when all before the fault has been handed out, and again by every further call; the class
    /// derived from this one tells what that may be.
    /// @throws io::IOException "The stream could not be read." if the source says that it gave more than it was asked
    ///         for, which is how a socket says that it failed; "The stream is closed." after `close`
    unsigned int read(char* buffer, unsigned int length) override;

    /// Closes the source and drops what is held. A second call does nothing.
    void close() override;

    /// Moves over @p count bytes of what this stream hands out. Back at least as far as the last 10240 bytes that
    /// were handed out, or to the start; forward up to the end. The position is unchanged when this throws, unless the
    /// end or a fault was met on the way forward: then it is as far as it came.
    /// @throws io::IOException "The range of the data was exceeded. : N" if the target lies farther off; and what
    ///         `read` throws, on the way forward
    void skip(long count) override;

    /// The line, from 1, of the place in the source's text up to which it has been looked at; after a failure that
    /// tells a line, that one. A line ends with "\n", "\r\n" or "\r" alone.
    unsigned long line() const;

    /// The column of the same place: one more than the characters before it in its line. A character is one, however it
    /// is encoded; so is a tab, and U+FFFD for what was malformed.
    unsigned long column() const;

protected:
    /// A stream over what makes its text.
    explicit ConvertingInputStream(std::unique_ptr<PieceStream> made);

private:
    std::unique_ptr<PieceStream> pieces;
};

}  // namespace moraine::extras
