#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// An operation called on an object that is not ready for it.
class MORAINE_API IllegalStateException : public Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    IllegalStateException(const WideChar* className, long line) : Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
