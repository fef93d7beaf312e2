#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// An argument that cannot be used: a null where a value is needed, or input that a codec cannot decode.
class MORAINE_API IllegalArgumentException : public Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    IllegalArgumentException(const WideChar* className, long line) : Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
