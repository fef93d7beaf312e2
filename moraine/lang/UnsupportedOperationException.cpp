#include "moraine/lang/UnsupportedOperationException.h"

namespace moraine::lang {

const WideChar* UnsupportedOperationException::getClassName() const {
    return u"moraine::lang::UnsupportedOperationException";
}

}  // namespace moraine::lang
