#pragma once

#include <cstdio>

#include "moraine/text/WideChar.h"

/// @file
/// Files by 16-bit name.

namespace moraine::platform {

enum class OpenMode {
    read,   ///< an existing file, from its start
    write,  ///< cut to length 0, or made
};

/// What a file is, apart from its content.
struct FileAttributes {
    bool directory;
    bool readOnly;
};

/// Opens a file in binary form; a program started later does not inherit it. An interrupted attempt is repeated.
/// A name that has no form on this system, such as one with half a surrogate pair, opens nothing.
/// @return the open file, which the caller closes with `std::fclose`, or null
std::FILE* openFile(const WideChar* name, OpenMode mode);

/// The attributes of an open file; all of them set if they cannot be had.
FileAttributes attributesOf(std::FILE* file) noexcept;

}  // namespace moraine::platform
