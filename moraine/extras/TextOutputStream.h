#pragma once

#include <string>

#include "moraine/extras/Export.h"
#include "moraine/extras/Utf8.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// Takes what the library's "UTF-8" encoder makes, and writes real UTF-8 (RFC 3629) to another stream: the counterpart
/// of `TextInputStream`.
///
///     moraine::io::FileOutputStream file(u"out.xml");
///     moraine::extras::TextOutputStream text(file);
///     moraine::xml::DOM::XMLWriter writer(&text, u"utf-8", true);
///
/// The six bytes of a surrogate pair become the four of its character, wherever the blocks are cut; well-formed UTF-8
/// passes through. What is neither, half a pair for one, is replaced by U+FFFD (one for each half and for each maximal
/// subpart, as `fromUtf8` does it) or refused. Up to 5 bytes of an unfinished character wait for the next `write`.
///
/// The target is borrowed: it must live as long as this stream is used, and is closed by `close` alone; the destructor
/// drops what is held. What it throws passes through, and then the bytes of that call may or may not have been written.
/// One thread at a time; not copyable.
class MORAINE_EXTRAS_API TextOutputStream : public io::OutputStream {
public:
    /// A stream that writes to @p stream, which is not touched yet.
    explicit TextOutputStream(io::OutputStream& stream, Malformed malformed = Malformed::replace);

    TextOutputStream(const TextOutputStream& other) = delete;
    ~TextOutputStream() override;
    TextOutputStream& operator=(const TextOutputStream& other) = delete;

    /// Writes @p length bytes, and returns that number.
    /// @throws io::DataFormatException "Malformed UTF-8. : offset N" with `Malformed::refuse`, N being the offset of
    ///         the bad bytes in all that was written to this stream. What stands before them has been written;
    ///         nothing after them is taken, and so it is with every further call
    /// @throws io::IOException "The stream could not be written." if the target takes nothing, or says that it took
    ///         more than it was given, which is how a socket says that it failed; "The stream is closed." after `close`
    /// @throws std::bad_alloc if there is no room for the converted bytes; none of them has been written
    unsigned int write(const char* data, unsigned int length) override;

    /// Flushes the target. An unfinished character goes on waiting.
    void flush() override;

    /// Ends the text and closes the target. An unfinished character is malformed. The target is closed also if that is
    /// refused. A second call does nothing.
    /// @throws io::DataFormatException, io::IOException as `write` does
    void close() override;

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;

    MORAINE_HIDDEN void convert(const char* begin, const char* end, bool last);
    MORAINE_HIDDEN void send();

    io::OutputStream* target;  // borrowed; null when closed
    Malformed choice;
    std::string held;               // an unfinished character, or the first half of a pair
    std::string room;               // what is on its way to the target
    unsigned long long offset = 0;  // of the first byte that is held
    bool broken = false;
};

}  // namespace moraine::extras
