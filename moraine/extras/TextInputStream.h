#pragma once

#include <memory>

#include "moraine/extras/Export.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

class PieceStream;

/// Reads a text in real UTF-8 (RFC 3629) from another stream and hands it out in the form, and in the pieces, that the
/// library's "UTF-8" decoder, `PropertyManager` and `XMLReader` take.
///
///     moraine::io::FileInputStream file(u"my.properties");
///     moraine::extras::TextInputStream text(file);
///     moraine::util::PropertyManager table;
///     table.read(&text, u"utf-8");
///
/// What it changes:
/// - a byte order mark at the start is dropped;
/// - a character beyond U+FFFF, four bytes of UTF-8, becomes six: the three of each half of its surrogate pair. The
///   library's decoder makes the pair of them, and `TextOutputStream` the four bytes again;
/// - bytes that are not UTF-8, and U+0000, which would end the decoder's block, are replaced by U+FFFD (one for each
///   maximal subpart, as `fromUtf8` does it) or refused.
///
/// All else, line ends included, passes through byte by byte.
///
/// Where a piece ends. As long as `read` is asked for 16 bytes or more, no piece ends within a character (both halves
/// of a pair count as one), between "\r" and "\n", within or directly after `<!--`, which `XMLReader` asks for, or
/// within a declaration `<?xml ... ?>` at the very start that fits into one piece. A piece has at most 10239 bytes. It
/// ends after a line feed where it cannot hold all that is at hand, and lines together with the piece that they are
/// in stay so short that `PropertyManager` reads a file of any length whose lines have at most 10239 units each, with
/// their line feeds. The source is read ahead, up to 16 KiB at a time, but `read` waits for it only while there is
/// nothing to hand out.
///
/// The source is borrowed: it must live as long as it is read, and is closed by `close` alone. What it throws passes
/// through. One thread at a time; not copyable.
class MORAINE_EXTRAS_API TextInputStream : public io::InputStream {
public:
    /// A stream at the start of what @p source has. The source is not touched yet.
    /// @throws std::bad_alloc if there is no room for the buffers
    explicit TextInputStream(io::InputStream& source, Malformed malformed = Malformed::replace);

    TextInputStream(const TextInputStream& other) = delete;
    ~TextInputStream() override;
    TextInputStream& operator=(const TextInputStream& other) = delete;

    /// Hands out at most @p length bytes, and 0 only at the end of the source or if @p length is 0.
    /// @throws io::DataFormatException "Malformed UTF-8. : line L, column C" with `Malformed::refuse`, when all in
    ///         front of the place has been handed out; so does every further call
    /// @throws io::IOException "The stream could not be read." if the source says that it gave more than it was asked
    ///         for, which is how a socket says that it failed; "The stream is closed." after `close`
    unsigned int read(char* buffer, unsigned int length) override;

    /// Closes the source and drops what is held. A second call does nothing.
    void close() override;

    /// Moves over @p count bytes of what this stream hands out. Back at least as far as the last 10240 bytes that
    /// were handed out, or to the start; forward up to the end. The position is unchanged when this throws, unless the
    /// end was met, or the source failed, on the way forward: then it is as far as it came.
    /// @throws io::IOException "The range of the data was exceeded. : N" if the target lies farther off; and what
    ///         `read` throws, on the way forward
    void skip(long count) override;

    /// The line, from 1, of the next byte to be handed out; after a failure that tells a line, that one. A line ends
    /// with "\n", "\r\n" or "\r" alone.
    unsigned long line() const;

    /// The column of the same place: one more than the characters before it in its line. A character beyond
    /// U+FFFF is one, and so is U+FFFD for what was malformed.
    unsigned long column() const;

private:
    std::unique_ptr<PieceStream> pieces;
};

}  // namespace moraine::extras
