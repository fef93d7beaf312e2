#include "moraine/lang/IllegalArgumentException.h"

namespace moraine::lang {

const WideChar* IllegalArgumentException::getClassName() const {
    return u"moraine::lang::IllegalArgumentException";
}

}  // namespace moraine::lang
