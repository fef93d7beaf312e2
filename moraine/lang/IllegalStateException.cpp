#include "moraine/lang/IllegalStateException.h"

namespace moraine::lang {

const WideChar* IllegalStateException::getClassName() const {
    return u"moraine::lang::IllegalStateException";
}

}  // namespace moraine::lang
