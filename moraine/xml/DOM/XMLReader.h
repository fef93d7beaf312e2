#pragma once

#include <cstddef>
#include <exception>
#include <memory>
#include <string_view>
#include <vector>

#include "moraine/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/text/IDecoder.h"
#include "moraine/text/StringUtil.h"
#include "moraine/xml/DOM/Declaration.h"

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
/// nothing else is expanded. White-space in front of a text and between tags is dropped, all other white-space and all
/// line ends stay as they are. Nothing is validated beyond what the failures tell: names may hold almost any unit,
/// attributes of one name may repeat, and there may be several top-level elements. `>` ends a tag also within quotes.
/// An attribute with an empty value needs white-space or another attribute behind it: `<a b="" />`. An element that
/// is open when the data ends is noticed unless it is the last piece read and stands at the top.
///
/// The declaration is read as single bytes, must lie in the first block that the stream gives, and must hold an
/// attribute. Its encoding, "UTF-8", "BASE64" or "URL", or "utf-8" if it names none, is that of everything behind it.
/// The stream must be able to move back, by a negative `skip`, to the end of the declaration. With a stream whose
/// `skip` does nothing, as a socket's, what came with the first block is lost: read all of it into a
/// `MemoryInputStream` first.
///
/// Blocks. The stream is asked for 10240 bytes at a time and may give any number of them. Where its blocks end makes
/// no difference to the pieces, with these exceptions, which matter for a slow stream:
/// - the first block must hold the whole declaration;
/// - a block that ends behind `<!-` or `<!--`, or one that has nothing but the `!` behind the `<` of the one before,
///   makes the comment that begins there fail with "Unsupported element type.(";
/// - a block that gives no text ends the data, even if the stream has more: one that holds nothing but the start of a
///   multi-byte sequence, say, or with "BASE64" only characters that the decoder keeps for the next call;
/// - with "UTF-8" a zero byte hides all that follows it in its block, so that pieces may be missing without a failure.
///
/// A zero unit, which "BASE64" and "URL" can bring in, is an ordinary unit to the reader; a name or value ends in front
/// of it.
///
/// Memory follows the nesting depth and the longest piece, not the length of the text. Time is in proportion to the
/// length of the text, however it is made. Nesting has no limit of its own.
///
/// Failures. `doRead` throws `io::DataFormatException` for a bad text. The number in its message, if there is one, is
/// the length of the declaration plus the place in the text that was pending when the piece began, and not an offset in
/// the document. After a failure that says that the data ended too early, `doRead` returns false. After any other bad
/// text behind the declaration, and after `std::bad_alloc` and `std::length_error`, every further call throws that
/// failure again, with what was added to its trace, and the accessors still tell about the last piece.
///
/// A reader is used by one thread at a time and is not copyable. It borrows its stream, which must live until the last
/// `doRead`, and neither closes nor destroys it.
class MORAINE_API XMLReader {
public:
    /// A reader at the start of what @p stream has. The stream is not touched yet. Until the first `doRead` the
    /// accessors tell of a document without content.
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
    /// What else the stream throws, and `std::bad_alloc`, passes through.
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

    /// What the declaration says, from the first `doRead` on until the one that reads the first piece behind it.
    /// @throws lang::UnsupportedOperationException "Not parsed yet." before that, "Invalid XML data." after it
    const WideChar* getVersion() const;
    /// As `getVersion`.
    const WideChar* getEncoding() const;
    /// As `getVersion`.
    bool getStandalone();

private:
    static constexpr unsigned int blockSize = 10240;
    static constexpr std::size_t absent = static_cast<std::size_t>(-1);

    /// What the accessors tell about: a token that has been read. Its texts lie where the token itself does, in
    /// `textBuffer`, with their references resolved and a zero unit in the place of what stood behind them. Offsets
    /// count from the token's start.
    struct Piece {
        int type;
        bool start;
        bool empty;
        std::size_t name;   // an offset, or `absent`
        std::size_t value;  // an offset, or `absent`
        std::size_t begin;  // the place of the token in `textBuffer`
        std::size_t length;
    };

    /// The offsets of the texts of one attribute.
    struct Attribute {
        std::size_t name;
        std::size_t value;
    };

    /// Where a tag and its name end, which the token holds from `name` on.
    struct Tag {
        std::size_t name;
        std::size_t nameEnd;
        std::size_t end;
        unsigned int kinds;  // the kinds of units that the name is made of
        bool bracketed;      // whether there is a "<" in the tag
    };

    /// Units of the token, and whether a reference may be among them.
    struct Range {
        std::size_t begin;
        std::size_t end;
        bool reference;
    };

    const WideChar* getClassName() const;
    bool isWhilteSpace(WideChar c) const;

    void readProlog();
    std::size_t declarationEnd(std::size_t size) const;
    void chooseDecoder(unsigned int size);
    void reportDeclaration();

    bool parseToken();
    bool passWhiteSpace();
    void parseText();
    void parseMarkup();
    void parseComment();
    void parseStartTag();
    void parseEndTag();
    Tag findTag(std::size_t name);
    std::u16string_view parseTag(const Tag& tag);
    void refuseBracket(std::size_t first, std::size_t end, long position) const;
    template <class Add>
    void doAttributeParse(std::size_t first, std::size_t end, long position, Add add);
    void addAttributes(std::size_t first, std::size_t end, long position);

    std::size_t terminate(const Range& range);
    void resolve(WideChar* text, std::size_t length);
    void report(int type, std::size_t name, std::size_t value, std::size_t length);
    const WideChar* textAt(std::size_t offset) const;
    Declaration& declared() const;
    const Attribute& attributeAt(unsigned int index) const;

    unsigned int readBytes();
    bool readBlock();
    void append(const WideString& block);
    std::size_t indexOf(WideChar wanted, WideChar noted, bool& met, std::size_t from, const WideChar* failure,
                        long number);
    WideChar* pending() { return textBuffer.get() + textStart; }
    const WideChar* pending() const { return textBuffer.get() + textStart; }
    void consume(std::size_t count);

    [[noreturn]] void fail(const WideString& message, long line = __builtin_LINE()) const;
    [[noreturn]] void failAtEnd(const WideString& message, long line = __builtin_LINE());
    WideString atPosition(const WideChar* words) const;
    WideString atPositionWithUnit(const WideChar* words) const;

    io::InputStream* inputStream;              // borrowed
    std::unique_ptr<Declaration> declaration;  // until the first piece behind it has been read
    Piece piece;
    std::vector<Attribute> attributes;    // of `piece`
    std::vector<Attribute> found;         // of the token that is being read
    WideString openNames;                 // of the open elements, outermost first
    std::vector<std::size_t> openBegins;  // where each of these names begins
    char byteBuffer[blockSize];
    // The pending text, decoded and not yet consumed: `textLength` units from `textStart` on, of which the first is the
    // start of the token that is being parsed. In front of it the buffer keeps `piece`.
    std::unique_ptr<WideChar[]> textBuffer;
    std::size_t textCapacity;
    std::size_t textStart = 0;
    std::size_t textLength = 0;
    long positionBase = 0;   // the length of the declaration in bytes
    long tokenPosition = 0;  // `positionBase` and the white-space that was pending in front of the token
    bool endOfData = false;
    std::exception_ptr broken;  // what every further call throws
    WideString resolved;        // the room in which references are resolved
    text::StringUtil stringUtil;
    std::unique_ptr<text::IDecoder> decoder;  // set when the declaration has been read
};

}  // namespace moraine::xml::DOM
