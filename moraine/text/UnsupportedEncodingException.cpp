#include "moraine/text/UnsupportedEncodingException.h"

namespace moraine::text {

UnsupportedEncodingException::UnsupportedEncodingException(const UnsupportedEncodingException& other) = default;

UnsupportedEncodingException::~UnsupportedEncodingException() = default;

UnsupportedEncodingException&
UnsupportedEncodingException::operator=(const UnsupportedEncodingException& other) = default;

const WideChar* UnsupportedEncodingException::getClassName() const {
    return u"moraine::text::UnsupportedEncodingException";
}

}  // namespace moraine::text
