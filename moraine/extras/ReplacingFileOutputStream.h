#pragma once

#include <filesystem>

#include "moraine/extras/Export.h"
#include "moraine/io/FileOutputStream.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::extras {

/// Writes a file that takes the place of another one only when it is complete.
///
///     moraine::extras::ReplacingFileOutputStream file(u"settings.txt");
///     file.write("port=80\n", 8);
///     file.close();  // now, and not before, settings.txt is the new one
///
/// The new file is written beside the old one, under a name of its own in the same folder. `close` makes sure that the
/// system has taken all of it, gives it the old one's permissions and moves it to the old one's place in one step:
/// other programs see the old file or the new one, and never half of one. Where a link leads to the file, it goes on
/// leading there. Without `close`, or when something fails, the old file is as it was and the new one is removed. What
/// a power failure leaves is up to the system.
///
/// Two streams on one name do not meet: the one closed last wins. One thread at a time; not copyable.
class MORAINE_EXTRAS_API ReplacingFileOutputStream : public io::OutputStream {
public:
    /// Opens a new file that is to become @p name, on whose form `io::FileOutputStream` says more.
    /// @throws lang::IllegalArgumentException without a message, if @p name is null
    /// @throws io::FileNotFoundException with the name, if no file can be made in that folder, or if there is something
    ///         else than a file under that name
    /// @throws io::IOException "This file is read-only. : " and the name, if nobody may write the old file
    explicit ReplacingFileOutputStream(const WideChar* name);

    ReplacingFileOutputStream(const ReplacingFileOutputStream& other) = delete;

    /// Removes the new file, unless `close` has put it in its place.
    ~ReplacingFileOutputStream() override;

    ReplacingFileOutputStream& operator=(const ReplacingFileOutputStream& other) = delete;

    /// Writes @p length bytes, and returns that number.
    /// @throws io::IOException "The file could not be written. : " and the name, if the system takes fewer, and at
    /// every
    ///         further call; "The stream is closed." after `close`
    unsigned int write(const char* data, unsigned int length) override;

    /// Hands to the system what is still in the buffer.
    void flush() override;

    /// Puts the new file in the place of the old one. A second call does nothing.
    /// @throws io::IOException "The file could not be written. : " and the name, if the system did not take everything,
    ///         or the file cannot be moved; the old one is as it was
    void close() override;

private:
    [[noreturn]] MORAINE_HIDDEN void fail(long line = __builtin_LINE());
    MORAINE_HIDDEN void discard() noexcept;

    WideString given;  // the name
    std::filesystem::path target;
    std::filesystem::path draft;
    io::FileOutputStream file;
    bool failed = false;
    bool closed = false;
};

}  // namespace moraine::extras
