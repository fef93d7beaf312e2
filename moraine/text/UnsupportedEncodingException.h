#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::text {

/// An encoding name that the library does not know.
class MORAINE_API UnsupportedEncodingException : public lang::Exception {
public:
    UnsupportedEncodingException(const WideChar* className, long line) : lang::Exception(className, line) {}
    UnsupportedEncodingException(const UnsupportedEncodingException& other);
    ~UnsupportedEncodingException() override;
    UnsupportedEncodingException& operator=(const UnsupportedEncodingException& other);

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::text
