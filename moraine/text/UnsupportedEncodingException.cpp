#include "moraine/text/UnsupportedEncodingException.h"

namespace moraine::text {

const WideChar* UnsupportedEncodingException::getClassName() const {
    return u"moraine::text::UnsupportedEncodingException";
}

}  // namespace moraine::text
