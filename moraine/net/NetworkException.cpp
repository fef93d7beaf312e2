#include "moraine/net/NetworkException.h"

namespace moraine::net {

NetworkException::NetworkException(const NetworkException& other) = default;

NetworkException::~NetworkException() = default;

NetworkException& NetworkException::operator=(const NetworkException& other) = default;

const WideChar* NetworkException::getClassName() const {
    return u"moraine::net::NetworkException";
}

}  // namespace moraine::net
