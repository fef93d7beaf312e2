#pragma once

#include "moraine/io/IOException.h"

namespace moraine::io {

/// A file that cannot be opened.
class MORAINE_API FileNotFoundException : public IOException {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    FileNotFoundException(const WideChar* className, long line) : IOException(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::io
