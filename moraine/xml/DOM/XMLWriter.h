#pragma once

#include <memory>

#include "moraine/Export.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::xml::DOM {

/// Writes an XML document to a stream, call by call, in document order.
///
///     moraine::xml::DOM::XMLWriter writer(&file, u"utf-8", true);
///     writer.writeStartElement(u"item");
///     writer.writeAttribute(u"key", u"a&b");
///     writer.writeText(u"1 < 2");
///     writer.writeEndElement();
///     writer.close();
///
/// Each piece goes to the stream, with one `write`, as soon as its text is settled. Only the start tag of the innermost
/// open element waits for its attributes; it goes out with the first child, or as `<item/>` when the element ends
/// without one. Nothing is flushed, and the counts that `write` gives are not looked at.
///
/// All text arguments are zero-terminated markup text, copied before the call returns: references in them are resolved
/// first and written again on the way out, so `1 < 2` and `1 &lt; 2` give the same output. An element's name is written
/// as it is. An empty text is as good as any other: `b=""`, `<!---->`. A null text counts as empty. Nothing is
/// validated: the writer takes names and comments that no reader would.
///
/// With indentation each tag and comment stands on a line of its own that ends in "\r\n", two blanks in for each level.
/// Text never gets a blank or a line end of its own, and what follows a text continues its line. A comment stands at
/// the column of its parent's tags.
///
/// One element takes one text, wherever it stands among its children. More than one top-level element is accepted.
///
/// Memory follows the nesting depth and the attributes of the open elements, not the length of the document.
///
/// A text argument has fewer than 2^32 units (`std::length_error`).
///
/// Failures. A call in the wrong place throws `io::DataFormatException` before anything has changed, and the writer
/// goes on. `std::bad_alloc`, from wherever, changes nothing either: the same call may be made again. Only if a piece
/// of more than 512 MiB has gone out in part, every further call throws that failure again. Anything else that the
/// stream throws passes through, and what was being written counts as begun. The destructor closes if it can, throws
/// nothing, and releases everything.
///
/// After `close` further pieces go to the closed stream, which may refuse them, and ask for a `close` of their own.
///
/// A character beyond U+FFFF, a pair of units, becomes six bytes in "UTF-8", which is not RFC 3629: the library reads
/// them back as that pair, and other programs refuse them.
///
/// A writer is used by one thread at a time and is not copyable. It borrows its stream, which must outlive it; `close`
/// closes the stream.
class MORAINE_API XMLWriter {
public:
    /// Writes the declaration: version "1.0", the encoding as it is spelled here, standalone "yes".
    /// @param target where the document goes; borrowed; not null, since the declaration is written at once
    /// @param encoding a name that `text::EncoderManager` knows
    /// @param indented whether to add line ends and indentation
    /// @throws text::UnsupportedEncodingException "Unsupported encoding. : " and the name
    /// @throws lang::IllegalArgumentException if @p encoding is null
    XMLWriter(io::OutputStream* target, const WideChar* encoding, bool indented);

    XMLWriter(const XMLWriter& other) = delete;

    /// Runs `close`. With an element still open the stream is left as it is.
    virtual ~XMLWriter();

    XMLWriter& operator=(const XMLWriter& other) = delete;

    /// Opens an element in the innermost open one.
    void writeStartElement(const WideChar* name);

    /// Gives the innermost open element an attribute.
    /// @throws io::DataFormatException "Current element is not element." if no element is open; "Current element is
    ///         already writed." if it has a child already; "Already has a same attribute name." if @p name is, case
    ///         and all, that of an attribute that it has. @p name is compared as it is given here, its
    ///         references unresolved, so `a&amp;b` may be given twice
    void writeAttribute(const WideChar* name, const WideChar* value);

    /// Writes character data.
    /// @throws io::DataFormatException "Current element is not element." if no element is open; "Already has a text."
    ///         if the innermost one has
    void writeText(const WideChar* text);

    /// Writes a comment, inside or outside of elements. Nothing tests that @p text has no "--" in it.
    void writeComment(const WideChar* text);

    /// Ends the innermost open element.
    /// @throws io::DataFormatException "Current element is not element." if none is open
    void writeEndElement();

    /// Writes what the encoder still holds and closes the stream. Does nothing if nothing was written since the last
    /// `close` that succeeded.
    /// @throws io::DataFormatException "Current element is not element." if an element is still open
    void close();

private:
    class MORAINE_HIDDEN Machine;
    const std::unique_ptr<Machine> machine;
};

}  // namespace moraine::xml::DOM
