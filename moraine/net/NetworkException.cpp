#include "moraine/net/NetworkException.h"

namespace moraine::net {

const WideChar* NetworkException::getClassName() const {
    return u"moraine::net::NetworkException";
}

}  // namespace moraine::net
