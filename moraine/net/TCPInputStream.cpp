#include "moraine/net/TCPInputStream.h"

#include "moraine/platform/Socket.h"

namespace moraine::net {

TCPInputStream::TCPInputStream() = default;

TCPInputStream::TCPInputStream(unsigned int newSocket) : INetworkInputStream(newSocket) {}

TCPInputStream::~TCPInputStream() = default;

unsigned int TCPInputStream::read(char* buffer, unsigned int length) {
    return getSocket() == 0 ? platform::socketFailure : platform::receive(getSocket(), buffer, length);
}

const WideChar* TCPInputStream::getClassName() const {
    return u"moraine::net::TCPInputStream";
}

}  // namespace moraine::net
