#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::net {

/// A failure of the network. The library itself never throws it; it is here for clients.
class MORAINE_API NetworkException : public lang::Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    NetworkException(const WideChar* className, long line) : lang::Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::net
