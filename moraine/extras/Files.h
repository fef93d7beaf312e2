#pragma once

#include <string>
#include <string_view>

#include "moraine/extras/Export.h"
#include "moraine/io/InputStream.h"
#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

/// @file
/// Whole streams and files at once. These functions know that a short count is no end, and that a socket says by a
/// count above what it was asked for that it failed. What a stream throws passes through; what was read or written by
/// then is lost, or stays. Streams are neither flushed nor closed.

namespace moraine::extras {

/// All that is left in a stream.
/// @throws io::IOException "The stream could not be read." if it says that it gave more than it was asked for
/// @throws std::bad_alloc if there is no room
MORAINE_EXTRAS_API std::string readAll(io::InputStream& in);

/// The content of a file.
/// @throws lang::IllegalArgumentException, io::FileNotFoundException, lang::Exception as `io::FileInputStream` does
MORAINE_EXTRAS_API std::string readAll(const WideChar* name);

/// Writes all of @p bytes, in as many calls as it takes.
/// @throws io::IOException "The stream could not be written." if it takes nothing, or says that it took more than it
///         was given
MORAINE_EXTRAS_API void writeAll(io::OutputStream& out, std::string_view bytes);

/// Makes a file of that content, or replaces one, in one step.
/// @throws lang::IllegalArgumentException, io::FileNotFoundException, io::IOException as `ReplacingFileOutputStream`
///         does; the old file is then as it was
MORAINE_EXTRAS_API void writeAll(const WideChar* name, std::string_view bytes);

/// Copies all that is left in a stream to another one; returns how many bytes that was.
/// @throws io::IOException as `readAll` and `writeAll` do
MORAINE_EXTRAS_API unsigned long long copy(io::InputStream& in, io::OutputStream& out);

}  // namespace moraine::extras
