#include "moraine/lang/IllegalStateException.h"

namespace moraine::lang {

IllegalStateException::IllegalStateException(const IllegalStateException& other) = default;

IllegalStateException::~IllegalStateException() = default;

IllegalStateException& IllegalStateException::operator=(const IllegalStateException& other) = default;

const WideChar* IllegalStateException::getClassName() const {
    return u"moraine::lang::IllegalStateException";
}

}  // namespace moraine::lang
