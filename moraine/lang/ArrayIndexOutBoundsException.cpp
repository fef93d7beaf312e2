#include "moraine/lang/ArrayIndexOutBoundsException.h"

namespace moraine::lang {

ArrayIndexOutBoundsException::ArrayIndexOutBoundsException(const ArrayIndexOutBoundsException& other) = default;

ArrayIndexOutBoundsException::~ArrayIndexOutBoundsException() = default;

ArrayIndexOutBoundsException&
ArrayIndexOutBoundsException::operator=(const ArrayIndexOutBoundsException& other) = default;

const WideChar* ArrayIndexOutBoundsException::getClassName() const {
    return u"moraine::lang::ArrayIndexOutBoundsException";
}

}  // namespace moraine::lang
