#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::io {

/// Malformed input, and a wrong order of calls on the XML writer.
class MORAINE_API DataFormatException : public lang::Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    DataFormatException(const WideChar* className, long line) : lang::Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::io
