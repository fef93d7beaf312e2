#pragma once

#include "moraine/extras/ConvertingInputStream.h"
#include "moraine/extras/Export.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

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
/// their line feeds.
class MORAINE_EXTRAS_API TextInputStream : public ConvertingInputStream {
public:
    /// A stream at the start of what @p source has. `line` and `column` are those of the next byte to be handed out.
    /// `read` throws `io::DataFormatException` "Malformed UTF-8. : line L, column C" with `Malformed::refuse`.
    /// @throws std::bad_alloc if there is no room for the buffers
    explicit TextInputStream(io::InputStream& source, Malformed malformed = Malformed::replace);
    ~TextInputStream() override;
};

}  // namespace moraine::extras
