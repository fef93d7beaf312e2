#pragma once

#include <memory>

#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

class PieceStream;

/// What becomes of texts of nothing but white-space.
enum class WhiteSpace {
    drop,  ///< they are passed over
    keep   ///< they are texts like any other
};

/// Reads any well-formed XML 1.0 document from another stream and hands it out in the form that `XMLReader` takes.
///
///     moraine::io::FileInputStream file(u"data.xml");
///     moraine::extras::XmlInputStream xml(file);
///     moraine::xml::DOM::XMLReader reader(&xml);
///
/// What it takes: UTF-8, UTF-16 in both byte orders, ISO-8859-1 and US-ASCII, told by a byte order mark, by the first
/// bytes or by the declaration; with or without a declaration. It checks that the document is well formed. It validates
/// nothing and knows no namespaces.
///
/// What it hands out: a well-formed document again, in UTF-8 but for characters beyond U+FFFF, which are six bytes as
/// in `TextInputStream`. It begins with a declaration, and no element, attribute, text or comment is lost:
/// - CDATA sections become text; processing instructions and the document type are passed over. Texts on both sides of
///   a processing instruction or of a CDATA section are one text;
/// - the declaration has the version of the document's, and its standalone value if there is one;
/// - line ends are "\n", and in attribute values white-space is blanks, as XML 1.0 asks (2.11, 3.3.3), unless it was
///   written as a reference;
/// - references to characters become the characters, or such references as `XMLReader` resolves to them;
/// - a comment reads as it was written, references and all;
/// - empty values, and ">" in texts and values, are written as the reader needs them;
/// - white-space at the start of a text is kept. A text of nothing but white-space does not reach the reader, or does
///   with `WhiteSpace::keep`; one that has a reference or a CDATA section in it was meant so and always does.
///   White-space outside of the root element never does.
///
/// What the reader makes of it does not depend on the source's blocks. White-space between tags and the form of
/// references may.
///
/// What it does not do: nothing is ever expanded. A reference to an entity other than the five is refused by its name,
/// whether the document type declares it or not. Default values of attributes that the document type declares, and
/// types that would normalise values further, have no effect; of its declarations only what it takes to find their ends
/// is checked. Names may have all characters of XML 1.0, fifth edition.
///
/// Time is in proportion to the length of the document. Memory does not follow it: only the names of the open elements
/// are kept, the tag that is being read, and the white-space at the start of a text.
///
/// Blocks, as in `TextInputStream`: as long as `read` is asked for 16 bytes or more, none ends where `XMLReader` minds,
/// and the first one has the whole declaration. The source may give blocks of any size, is read ahead, up to 16 KiB at
/// a time, and is waited for only while there is nothing to hand out.
///
/// The source is borrowed: it must live as long as it is read, and is closed by `close` alone. What it throws passes
/// through, when all in front has been handed out, and comes again at each further call. One thread at a time; not
/// copyable.
class MORAINE_EXTRAS_API XmlInputStream : public io::InputStream {
public:
    /// A stream at the start of what @p source has. The source is not touched yet.
    /// @throws std::bad_alloc if there is no room for the buffers
    explicit XmlInputStream(io::InputStream& source, WhiteSpace whiteSpace = WhiteSpace::drop);

    XmlInputStream(const XmlInputStream& other) = delete;
    ~XmlInputStream() override;
    XmlInputStream& operator=(const XmlInputStream& other) = delete;

    /// Hands out at most @p length bytes, and 0 only at the end of the document or if @p length is 0.
    /// @throws io::DataFormatException if the document is not well formed, or refers to an entity: a sentence, " : ",
    ///         and the place, as in "Undeclared entity 'nbsp'. : line 7, column 12". It is thrown when all before
    ///         the fault has been handed out, and so does every further call
    /// @throws text::UnsupportedEncodingException likewise, "Unsupported encoding 'koi8-r'. : line 1, column 31"
    /// @throws io::IOException "The stream could not be read." if the source says that it gave more than it was asked
    ///         for, which is how a socket says that it failed; "The stream is closed." after `close`
    /// @throws std::bad_alloc, std::length_error if one tag has no room
    unsigned int read(char* buffer, unsigned int length) override;

    /// Closes the source and drops what is held. A second call does nothing.
    void close() override;

    /// Moves over @p count bytes of what this stream hands out. Back at least as far as the last 10240 bytes that
    /// were handed out, or to the start; forward up to the end. The position is unchanged when this throws, unless the
    /// end was met, or the document is bad, on the way forward: then it is as far as it came.
    /// @throws io::IOException "The range of the data was exceeded. : N" if the target lies farther off; and what
    ///         `read` throws, on the way forward
    void skip(long count) override;

    /// The line, from 1, of the document up to which it has been looked at; after a failure that tells a line, that
    /// one. A line ends with "\n", "\r\n" or "\r" alone.
    unsigned long line() const;

    /// The column of the same place: one more than the characters before it in its line. A character is one,
    /// however it is encoded; a tab is one too.
    unsigned long column() const;

private:
    std::unique_ptr<PieceStream> pieces;
};

}  // namespace moraine::extras
