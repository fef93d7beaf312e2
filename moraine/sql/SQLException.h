#pragma once

#include "moraine/lang/Exception.h"

namespace moraine::sql {

/// A failure of a database. The library itself never throws it; it is here for clients.
class MORAINE_API SQLException : public lang::Exception {
public:
    SQLException(const WideChar* className, long line) : lang::Exception(className, line) {}
    SQLException(const SQLException& other);
    ~SQLException() override;
    SQLException& operator=(const SQLException& other);

protected:
    const WideChar* getClassName() const override;
};

}  // namespace moraine::sql
