#include "moraine/net/INetworkInputStream.h"

#include <utility>

#include "moraine/platform/Socket.h"

namespace moraine::net {

INetworkInputStream::INetworkInputStream() = default;

INetworkInputStream::INetworkInputStream(unsigned int newSocket) : socket(newSocket) {}

INetworkInputStream::~INetworkInputStream() {
    INetworkInputStream::close();
}

void INetworkInputStream::close() {
    if (socket != 0) {
        platform::closeSocket(std::exchange(socket, 0));
    }
}

void INetworkInputStream::skip(long /*count*/) {
    // A socket cannot be moved.
}

void INetworkInputStream::setSocket(unsigned int newSocket) {
    socket = newSocket;
}

unsigned int INetworkInputStream::getSocket() {
    return socket;
}

const WideChar* INetworkInputStream::getClassName() const {
    return u"moraine::net::INetworkInputStream";
}

}  // namespace moraine::net
