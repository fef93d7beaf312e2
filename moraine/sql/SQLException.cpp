#include "moraine/sql/SQLException.h"

namespace moraine::sql {

SQLException::SQLException(const SQLException& other) = default;

SQLException::~SQLException() = default;

SQLException& SQLException::operator=(const SQLException& other) = default;

const WideChar* SQLException::getClassName() const {
    return u"moraine::sql::SQLException";
}

}  // namespace moraine::sql
