#include "moraine/sql/SQLException.h"

namespace moraine::sql {

const WideChar* SQLException::getClassName() const {
    return u"moraine::sql::SQLException";
}

}  // namespace moraine::sql
