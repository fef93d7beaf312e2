#pragma once

#include <cstdio>
#include <memory>

namespace moraine::io {

/// Closes an open file at the end of its owner's life.
struct FileCloser {
    void operator()(std::FILE* file) const noexcept { std::fclose(file); }
};

using OwnedFile = std::unique_ptr<std::FILE, FileCloser>;

}  // namespace moraine::io
