#pragma once

#include <cstddef>
#include <memory>
#include <string_view>

#include "moraine/extras/internal/ByteSource.h"
#include "moraine/extras/internal/Place.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// The encodings of documents.
enum class XmlEncoding { utf8, utf16Big, utf16Little, latin1, ascii };

/// The characters of a document in the form that the library's decoder takes, with "\n" for every line end. Only
/// characters that XML allows are here: text that cannot be decoded ends before the fault.
class XmlText {
public:
    XmlText(io::InputStream& stream, const WideChar* name) : source(stream), className(name) {}

    /// What is at hand: whole characters, with a zero byte after them.
    const char* begin() const { return bytes.get() + next; }
    const char* end() const { return bytes.get() + last; }
    std::size_t size() const { return last - next; }
    bool empty() const { return next == last; }

    void moveTo(const char* at) { next = static_cast<std::size_t>(at - bytes.get()); }
    void consume(std::size_t count) { next += count; }

    /// Puts more after what is at hand, which may move to another place. False at the end.
    bool more();

    /// Whether at least @p count bytes are at hand; gets more until it is so.
    bool have(std::size_t count) {
        while (size() < count) {
            if (!more()) {
                return false;
            }
        }
        return true;
    }

    /// Whether more can be had without waiting for the stream.
    bool hasMoreAtHand() const { return source.size() > 0 && !starved; }

    /// What is wrong at the end of the text; empty if nothing is.
    const WideString& fault() const { return words; }

    /// Looks at the first bytes, of which a byte order mark is dropped, and takes the encoding that they tell: that or,
    /// if none is told, UTF-8 up to the first ">", after which a declaration has been read.
    void detect();

    /// The encoding that was told by the first bytes. True if it was by a byte order mark, or if it is UTF-16.
    bool isCertain() const { return certain; }
    XmlEncoding encoding() const { return form; }

    /// The encoding of all that is not yet decoded.
    void goOnAs(XmlEncoding encoding);

    /// The line and column of what is at hand.
    Place place() const;

    void close() { source.close(); }

private:
    void provide(std::size_t count);
    void decode();
    const char* decodeUtf8(const char* from, const char* end);
    const char* decodeBytes(const char* from, const char* end);
    const char* decodeUtf16(const char* from, const char* end);
    char* write(char32_t character, char* to);
    void refuse(char32_t character);
    void refuse(const WideChar* sentence);

    ByteSource source;
    const WideChar* const className;  // for failures
    std::unique_ptr<char[]> bytes;
    std::size_t capacity = 0;
    std::size_t next = 0;
    std::size_t last = 0;
    Place origin;  // of the first byte that is held
    XmlEncoding form = XmlEncoding::utf8;
    bool certain = false;
    bool undeclared = false;  // stop after each ">"
    bool starved = false;     // the bytes at hand are too few to go on
    bool returned = false;    // after a "\r": a "\n" is of the same line end
    WideString words;
};

}  // namespace moraine::extras
