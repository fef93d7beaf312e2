#pragma once

#include <map>
#include <optional>
#include <string_view>

#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// Settings in a file of lines `name=value`, in real UTF-8.
///
///     auto settings = moraine::extras::Properties::load(u"app.properties");  // there or not
///     const long long port = settings.getNumber(u"port", 80);
///     settings.set(u"title", u"Demo");
///     settings.save(u"app.properties");
///
/// The format is that of `util::PropertyManager`: lines that are empty or start with "#" are passed over, a name is
/// made of a-z, A-Z, 0-9 and "_", a value is all that follows the first "=" to the line's end, blanks included, and of
/// two lines with one name the first counts. Lines may have any length, a byte order mark is dropped, and characters
/// beyond U+FFFF stay whole. Comments are not kept.
///
/// Names and values are views of what the object holds: good until that entry is changed or removed, and
/// zero-terminated. Copies are deep. One thread at a time; while nobody changes it, any number.
class MORAINE_EXTRAS_API Properties {
public:
    /// Names and values.
    using Entries = std::map<WideString, WideString, std::less<>>;

    /// The settings in a file; none if there is no such file.
    /// @throws io::DataFormatException with the sentence, line and file, as in "'=' is missing. : line 3, file a.txt",
    /// if
    ///         a line is malformed: "'=' is missing.", "The line starts with a blank.", "The name is empty.", "The name
    ///         has other characters than letters, digits and '_'.", "Malformed UTF-8."
    /// @throws lang::IllegalArgumentException, io::FileNotFoundException, lang::Exception as `io::FileInputStream`
    /// does,
    ///         for a name that is null, a file that may not be read, a directory
    static Properties load(const WideChar* name);

    /// The settings in a stream, read to its end.
    /// @throws io::DataFormatException as above, without the file
    /// @throws io::IOException as `readAll` does
    static Properties load(io::InputStream& in);

    /// The value of that name; @p fallback if there is none.
    std::u16string_view get(std::u16string_view name, std::u16string_view fallback = u"") const;

    /// The value of that name, if there is one.
    std::optional<std::u16string_view> find(std::u16string_view name) const;

    /// The value of that name as a decimal number, with blanks around it; @p fallback if there is none.
    /// @throws io::DataFormatException "The value of port is no number. : 8o" if it is something else or does not fit
    long long getNumber(std::u16string_view name, long long fallback) const;

    /// Whether the value of that name is "true", "yes", "on" or "1", and not "false", "no", "off" or "0", in any case
    /// of letters, with blanks around it; @p fallback if there is none.
    /// @throws io::DataFormatException "The value of quiet is neither yes nor no. : maybe" if it is something else
    bool getFlag(std::u16string_view name, bool fallback) const;

    /// Adds or replaces an entry.
    /// @throws lang::IllegalArgumentException if it could not be read back: "The name is empty.", "The name has other
    ///         characters than letters, digits and '_'.", "The value has a line feed or a zero unit, ends in a carriage
    ///         return, or has half a surrogate pair."
    void set(std::u16string_view name, std::u16string_view value);
    /// As `set`, with a decimal number.
    void setNumber(std::u16string_view name, long long value);
    /// As `set`, with "true" or "false".
    void setFlag(std::u16string_view name, bool value);

    /// Removes an entry; false if there is none of that name.
    bool remove(std::u16string_view name);

    /// The number of entries.
    std::size_t size() const;
    /// The first entry, in order of the names' units: `first` is the name, `second` the value.
    Entries::const_iterator begin() const;
    /// The end of the entries.
    Entries::const_iterator end() const;

    /// Writes a file, or replaces one in one step. Lines end with a line feed.
    /// @throws lang::IllegalArgumentException, io::FileNotFoundException, io::IOException as
    /// `ReplacingFileOutputStream`
    ///         does; the old file is then as it was
    void save(const WideChar* name) const;

    /// Writes to a stream, which is neither flushed nor closed.
    /// @throws io::IOException as `writeAll` does
    void save(io::OutputStream& out) const;

private:
    Entries entries;
};

}  // namespace moraine::extras
