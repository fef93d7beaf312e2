#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// An index that is not below the number of entries, in the node tree and in the attribute access of the XML
/// reader.
class MORAINE_API ArrayIndexOutBoundsException : public Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    ArrayIndexOutBoundsException(const WideChar* className, long line) : Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
