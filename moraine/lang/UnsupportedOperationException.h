#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// A query that has no answer at this moment, such as one about an XML declaration that was not read yet.
class MORAINE_API UnsupportedOperationException : public Exception {
public:
    UnsupportedOperationException(const WideChar* className, long line) : Exception(className, line) {}
    UnsupportedOperationException(const UnsupportedOperationException& other);
    ~UnsupportedOperationException() override;
    UnsupportedOperationException& operator=(const UnsupportedOperationException& other);

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
