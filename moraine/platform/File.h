#pragma once

#include <cstdio>

#include "moraine/WideChar.h"

/// @file
/// Files by 16-bit name.

namespace moraine::platform {

enum class OpenMode {
    read,   ///< an existing file, from its start
    write,  ///< cut to length 0 unless it is refused for its attributes, or made
};

/// What a file is, apart from its content.
struct FileAttributes {
    bool directory;
    bool readOnly;  ///< nobody may write it; not so of one that the call made
};

struct OpenedFile {
    std::FILE* file = nullptr;    ///< which the caller closes with `std::fclose`, or null
    FileAttributes attributes{};  ///< all of them set if they cannot be had
};

/// Opens a file in binary form; a program started later does not inherit it. An interrupted attempt is repeated, and so
/// is writing. A name that has no form on this system, such as one with half a surrogate pair, opens nothing.
/// A thread is not cancelled here, nor in writing.
/// @throws std::bad_alloc
OpenedFile openFile(const WideChar* name, OpenMode mode);

}  // namespace moraine::platform
