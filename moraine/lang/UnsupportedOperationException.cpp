#include "moraine/lang/UnsupportedOperationException.h"

namespace moraine::lang {

UnsupportedOperationException::UnsupportedOperationException(const UnsupportedOperationException& other) = default;

UnsupportedOperationException::~UnsupportedOperationException() = default;

UnsupportedOperationException&
UnsupportedOperationException::operator=(const UnsupportedOperationException& other) = default;

const WideChar* UnsupportedOperationException::getClassName() const {
    return u"moraine::lang::UnsupportedOperationException";
}

}  // namespace moraine::lang
