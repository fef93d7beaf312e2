#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// A query that has no answer at this moment, such as one about an XML declaration that was not read yet.
class MORAINE_API UnsupportedOperationException : public Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    UnsupportedOperationException(const WideChar* className, long line) : Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
