#pragma once

#include "moraine/extras/ConvertingInputStream.h"
#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

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
/// and the first one has the whole declaration. The source may give blocks of any size.
class MORAINE_EXTRAS_API XmlInputStream : public ConvertingInputStream {
public:
    /// A stream at the start of what @p source has. `read` throws
    /// - `io::DataFormatException` if the document is not well formed, or refers to an entity: a sentence, " : ", and
    /// the
    ///   place, as in "Undeclared entity 'nbsp'. : line 7, column 12";
    /// - `text::UnsupportedEncodingException` likewise, "Unsupported encoding 'koi8-r'. : line 1, column 31";
    /// - `std::bad_alloc`, `std::length_error` if one tag has no room.
    /// @throws std::bad_alloc if there is no room for the buffers
    explicit XmlInputStream(io::InputStream& source, WhiteSpace whiteSpace = WhiteSpace::drop);
    ~XmlInputStream() override;
};

}  // namespace moraine::extras
