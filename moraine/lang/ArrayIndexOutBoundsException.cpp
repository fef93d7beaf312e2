#include "moraine/lang/ArrayIndexOutBoundsException.h"

namespace moraine::lang {

const WideChar* ArrayIndexOutBoundsException::getClassName() const {
    return u"moraine::lang::ArrayIndexOutBoundsException";
}

}  // namespace moraine::lang
