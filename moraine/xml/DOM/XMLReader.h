#pragma once

#include <memory>

#include "moraine/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/WideChar.h"
#include "moraine/xml/DOM/NodeType.h"

namespace moraine::xml::DOM {

/// Reads XML text from a stream, one piece at a time.
///
///     moraine::io::FileInputStream file(u"data.xml");
///     moraine::xml::DOM::XMLReader reader(&file);
///     while (reader.doRead()) {
///         if (reader.isStartElement()) {
///             use(reader.getName());
///         }
///     }
///
/// Each `doRead` that returns true moves to the next piece: the document, its declaration, then every start tag, empty
/// tag, end tag, text and comment in order. The accessors tell about that piece. An end tag is a piece of its own, with
/// a name and, if it has any, attributes.
///
/// What it accepts. A text that begins, with its very first byte, with an XML declaration, and goes on with elements,
/// text and comments. Processing instructions, document types and CDATA sections are refused. The five predefined
/// entities and numeric references are resolved, in names and values alike, as `XMLStringUtil::reference2String` does;
/// nothing else is expanded. White-space before a text and between tags is dropped, all other white-space and all
/// line ends stay as they are. Nothing is validated beyond what the failures tell: names may hold almost any unit,
/// attributes of one name may repeat, and there may be several top-level elements. `>` ends a tag also within quotes.
/// An attribute with an empty value needs white-space or another attribute after it: `<a b="" />`. An element that
/// is open when the data ends is noticed unless it is the last piece read and stands at the top.
///
/// The declaration is read as single bytes, must lie in the first block that the stream gives, and must hold an
/// attribute. Its encoding, "UTF-8", "BASE64" or "URL", or "utf-8" if it names none, is that of everything after it.
/// The stream must be able to move back, by a negative `skip`, to the end of the declaration. With a stream whose
/// `skip` does nothing, as a socket's, what came with the first block is lost: read all of it into a
/// `MemoryInputStream` first.
///
/// Blocks. The stream is asked for 10240 bytes at a time and may give any number of them. Where its blocks end makes
/// no difference to the pieces, with these exceptions, most of which matter for a slow stream only:
/// - the first block must hold the whole declaration;
/// - a block that ends after `<!-` or `<!--`, or one that has nothing but the `!` after the `<` of the one before,
///   makes the comment that begins there fail with "Unsupported element type.(". This happens in any document longer
///   than a block, from a file as from a slow stream: of 200 files of 100 kB with a comment every 450 bytes 4 were
///   refused, and of 200 files of 1 MB 71. A stream that ends its blocks elsewhere, before a "<" say, is the way
///   round it;
/// - a block that gives no text ends the data, even if the stream has more: one that holds nothing but the start of a
///   multi-byte sequence, say, or with "BASE64" only characters that the decoder keeps for the next call;
/// - with "UTF-8" a zero byte hides all that follows it in its block, so that pieces may be missing without a failure.
///
/// A zero unit, which "BASE64" and "URL" can bring in, is an ordinary unit to the reader; a name or value ends before
/// it.
///
/// Memory follows the nesting depth and the longest piece, not the length of the text. Time is in proportion to the
/// length of the text, however it is made. Nesting has no limit of its own.
///
/// Failures. `doRead` throws `io::DataFormatException` for a bad text. The number in its message, if there is one, is
/// the length of the declaration plus the place in the text that was pending when the piece began, and not an offset in
/// the document. After a failure that says that the data ended too early, `doRead` returns false. What the stream's
/// `read` throws, and "The stream could not be read.", take nothing: the next call asks the stream again, and no piece
/// is lost. After every other failure, those of the declaration and of the decoder, `std::bad_alloc` and
/// `std::length_error` among them, each further call throws that failure again, with what was added to its trace. The
/// accessors then still tell about the last piece.
///
/// A character beyond U+FFFF in real UTF-8 (RFC 3629), which has four bytes, comes as one unit, the low 16 bits of its
/// number. The six bytes that the library writes for a pair of units come as that pair.
///
/// A reader is used by one thread at a time and is not copyable. It borrows its stream, which must live until the last
/// `doRead`, and neither closes nor destroys it.
class MORAINE_API XMLReader {
public:
    /// A reader at the start of what @p stream has. The stream is not touched yet, and may be null until the first
    /// `doRead`, which needs it. Until then the accessors tell of a document without content.
    /// @throws std::bad_alloc
    explicit XMLReader(io::InputStream* stream);

    XMLReader(const XMLReader& other) = delete;
    virtual ~XMLReader();
    XMLReader& operator=(const XMLReader& other) = delete;

    /// Moves to the next piece. False at the end of the data, where the accessors still tell about the last piece.
    /// @throws io::DataFormatException if the text is not well formed in the sense above
    /// @throws io::IOException "Data is empty." if the stream gives nothing at all; "The stream could not be read." if
    ///         it says that it gave more than it was asked for, which is how a socket says that it failed
    /// @throws lang::Exception if the declaration names an encoding that is not known, or the stream cannot move back:
    ///         the class is `Exception` itself
    /// @throws lang::IllegalArgumentException if the decoder cannot read the bytes
    /// @throws std::length_error if one name, value, text or comment has 2^32 units or more
    ///
    /// What else the stream throws, and `std::bad_alloc`, passes through. Undefined if the stream is null.
    bool doRead();

    /// The name of a start, empty or end tag; null for every other piece.
    /// This text and all others that the accessors give belong to the reader and are good until the next `doRead`.
    const WideChar* getName() const;

    /// The text of a text or comment; null if a comment is empty, and for every other piece.
    const WideChar* getValue() const;

    /// Whether `getValue` is not null.
    bool hasValue();

    /// The kind of the piece, one of `NodeType`.
    int getNodeType();

    /// Whether the piece is a start tag or an empty tag.
    bool isStartElement();

    /// Whether the piece is an empty tag: `<a/>`. It has no end tag.
    bool isEmptyElement();

    /// The number of attributes of the piece: a tag or the declaration.
    unsigned int getAttributeCount();

    /// Whether there is any attribute.
    bool hasAttribute();

    /// The name of the attribute at @p index, from 0.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below `getAttributeCount()`
    const WideChar* getAttributeName(unsigned int index) const;

    /// The value, null if it is empty.
    /// @throws lang::ArrayIndexOutBoundsException if @p index is not below `getAttributeCount()`
    const WideChar* getAttributeValue(unsigned int index) const;

    /// What the declaration says, from the first `doRead` on until the one that reads the first piece after it.
    /// @throws lang::UnsupportedOperationException "Not parsed yet." before that, "Invalid XML data." after it
    const WideChar* getVersion() const;
    /// As `getVersion`.
    const WideChar* getEncoding() const;
    /// As `getVersion`.
    bool getStandalone();

private:
    class MORAINE_HIDDEN Machine;
    const std::unique_ptr<Machine> machine;
};

}  // namespace moraine::xml::DOM
