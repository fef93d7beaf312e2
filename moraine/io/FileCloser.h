#pragma once

#include <cstdio>
#include <memory>

#include "moraine/Export.h"

namespace moraine::io {

/// Closes an open file at the end of its owner's life.
struct FileCloser {
    MORAINE_API void operator()(std::FILE* file) const noexcept;
};

using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace moraine::io
