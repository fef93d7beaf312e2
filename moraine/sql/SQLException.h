#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::sql {

/// A failure of a database. The library itself never throws it; it is here for clients.
class MORAINE_API SQLException : public lang::Exception {
public:
    /// No message, and one trace line, on the terms of `Exception`.
    SQLException(const WideChar* className, long line) : lang::Exception(className, line) {}

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::sql
