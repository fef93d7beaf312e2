#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::io {

/// A stream that fails: a file that is not open, a position outside the data, a directory in place of a file.
class MORAINE_API IOException : public lang::Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    IOException(const WideChar* className, long line) : lang::Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::io
