#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::text {

/// An encoding name that the library does not know.
class MORAINE_API UnsupportedEncodingException : public lang::Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    UnsupportedEncodingException(const WideChar* className, long line) : lang::Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::text
