#include "moraine/lang/IllegalArgumentException.h"

namespace moraine::lang {

IllegalArgumentException::IllegalArgumentException(const IllegalArgumentException& other) = default;

IllegalArgumentException::~IllegalArgumentException() = default;

IllegalArgumentException& IllegalArgumentException::operator=(const IllegalArgumentException& other) = default;

const WideChar* IllegalArgumentException::getClassName() const {
    return u"moraine::lang::IllegalArgumentException";
}

}  // namespace moraine::lang
