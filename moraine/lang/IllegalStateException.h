#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::lang {

/// An operation called on an object that is not ready for it.
class MORAINE_API IllegalStateException : public Exception {
public:
    IllegalStateException(const WideChar* className, long line) : Exception(className, line) {}
    IllegalStateException(const IllegalStateException& other);
    ~IllegalStateException() override;
    IllegalStateException& operator=(const IllegalStateException& other);

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::lang
