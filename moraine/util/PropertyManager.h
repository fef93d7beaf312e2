#pragma once

#include <memory>

#include "moraine/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::util {

/// A table of named texts that is read from and written to any stream in any encoding that the library has.
///
/// A property file is a list of lines `name=value`. There is no quoting, no escape, no continuation and no trimming:
/// - a line ends with a line feed, the last one also with the end of the data;
/// - a line that begins with a line feed, a carriage return or `#` is passed over; one that begins with a blank is
///   refused;
/// - a name has at least one of `a` to `z`, `A` to `Z`, `0` to `9` and `_`, and nothing else;
/// - the value is all after the first `=`, less the carriage returns at its end, and ends at its first zero unit, which
///   "BASE64" and "URL" can bring in. It may be empty;
/// - of two lines with one name the first one counts.
///
/// The table is written in order of the names' units. Streams are borrowed, for the time of the call, and must not be
/// null. An object is used by one thread at a time. Copies are deep.
class MORAINE_API PropertyManager {
public:
    /// An empty table.
    PropertyManager();
    /// Copies the table.
    /// @throws std::bad_alloc if there is no room
    PropertyManager(const PropertyManager& other);
    virtual ~PropertyManager();
    /// Takes over a copy of the table.
    /// @throws std::bad_alloc if there is no room
    PropertyManager& operator=(const PropertyManager& other);

    /// Replaces the table by what a stream holds, up to its end. The stream is not closed. Memory does not follow the
    /// stream's length, only the table's.
    ///
    /// The text in hand is never more than 10240 units: what is left of the last block, which ends inside a line, and
    /// the next block. A line is therefore too long from somewhat less than that on; and since a block of 10240 units
    /// fits only at the very start, so is the second block of a stream that delivers full blocks of one-byte
    /// characters, however short its lines. A file of 20480 such characters or more is refused in that way, and one of
    /// a few less unless a line ends with its first block; put a stream that hands out smaller pieces, say 4096 bytes
    /// at a time, between the file and this operation.
    ///
    /// With "UTF-8" a zero byte hides all that follows it in its block, without a failure; a byte order mark fails in
    /// line 1; a byte of Latin-1 above 0x7F swallows one to three bytes after it, a line end among them; a character of
    /// four bytes, beyond U+FFFF, becomes the unit of its low 16 bits.
    ///
    /// A failure leaves the properties of the lines before it in the table, and the stream partly read.
    /// @throws text::UnsupportedEncodingException if the encoding is not known; the table is as it was
    /// @throws lang::IllegalArgumentException if @p encoding is null (the table is as it was), or if the decoder cannot
    ///         read the bytes
    /// @throws io::DataFormatException with the number N of the line, from 1: "Can't use white-space for line top. :
    ///         (N)"; "Not found for '='. : (N)", if neither the line nor what is in hand after it has one; "Can't find
    ///         for property name. : (N)"; "Can't use char contained in property name. : (N)", also for a line without
    ///         "=" where one after it has; "Line is too long. : (N)"
    /// @throws io::IOException "The stream could not be read." if the stream says that it gave more than it was asked
    ///         for, which is how a socket says that it failed
    ///
    /// What else the stream throws, and `std::bad_alloc`, passes through.
    void read(io::InputStream* in, const WideChar* encoding);

    /// Writes all entries in order, each with "\r\n" after it. The stream is neither flushed nor closed. It may change
    /// this table while it is written to: what it adds after the entry of that moment is written, what it removes is
    /// not. Names and values that the format can hold read back as they are; a value must have no line feed and no
    /// carriage return at its end.
    /// @throws text::UnsupportedEncodingException if the encoding is not known
    /// @throws lang::IllegalArgumentException if @p encoding is null
    /// @throws std::length_error if a line has 2^32 units, or bytes, or more; those before it are written
    ///
    /// What the stream throws, and `std::bad_alloc`, passes through. The counts that its `write` gives are not looked
    /// at.
    void write(io::OutputStream* out, const WideChar* encoding);

    /// The value of a name, or null if @p name is null or not in the table. It belongs to the table and is good until
    /// the entry is removed or the table replaced.
    const WideChar* get(const WideChar* name);

    /// Adds an entry, unless there is one of that name: then that one stays as it is. Null texts count as empty. An
    /// empty name is accepted here, and would not read back from a file.
    /// @throws io::DataFormatException "Can't use char contained in property name."
    /// @throws std::bad_alloc if there is no room; the table is as it was
    void put(const WideChar* name, const WideChar* value);

    /// Removes an entry. Does nothing if @p name is null or not in the table.
    void remove(const WideChar* name);

    /// Empties the table.
    void removeAll();

    /// The number of entries.
    unsigned int count();

protected:
    /// Whether a unit may stand in a name.
    bool check4VariableUseableChar(WideChar c);

    /// Reads the complete lines of `text` from @p start up to @p end, and the last one even if no line feed ends it
    /// where @p atEnd is true. Nothing from @p end on is looked at. Returns where it stopped; @p lineNumber is then the
    /// number of the line there.
    unsigned int readProc(WideChar* text, unsigned int start, unsigned int end, bool atEnd, unsigned int& lineNumber);

private:
    MORAINE_HIDDEN const WideChar* getClassName() const;

    MORAINE_HIDDEN void readProperty(const WideChar* text, unsigned int start, unsigned int lineEnd, unsigned int end,
                                     unsigned int lineNumber);

    struct MORAINE_HIDDEN Table;
    const std::unique_ptr<Table> table;
};

}  // namespace moraine::util
