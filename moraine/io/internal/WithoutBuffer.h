#pragma once

/// @file
/// For who must not leave anything in the memory of the process.

namespace moraine::io {

class FileOutputStream;

/// Makes a stream that is not open hand the bytes of each `write` to the system before it returns.
void withoutBuffer(FileOutputStream& stream);

}  // namespace moraine::io
