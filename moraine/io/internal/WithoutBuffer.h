#pragma once

/// @file
/// For who must not leave anything in the memory of the process.

namespace moraine::io {

class FileOutputStream;

/// From the next `setFileName` on, each `write` hands its bytes to the system before it returns.
void withoutBuffer(FileOutputStream& stream) noexcept;

}  // namespace moraine::io
