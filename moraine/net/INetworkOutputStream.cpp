#include "moraine/net/INetworkOutputStream.h"

#include <utility>

#include "moraine/platform/Socket.h"

namespace moraine::net {

INetworkOutputStream::INetworkOutputStream() = default;

INetworkOutputStream::INetworkOutputStream(unsigned int newSocket) : socket(newSocket) {}

INetworkOutputStream::~INetworkOutputStream() {
    INetworkOutputStream::close();
}

void INetworkOutputStream::close() {
    if (socket != 0) {
        platform::closeSocket(std::exchange(socket, 0));
    }
}

void INetworkOutputStream::skip(long /*count*/) {
    // A socket cannot be moved.
}

long INetworkOutputStream::getPos() {
    return -1;
}

void INetworkOutputStream::setSocket(unsigned int newSocket) {
    socket = newSocket;
}

unsigned int INetworkOutputStream::getSocket() {
    return socket;
}

const WideChar* INetworkOutputStream::getClassName() const {
    return u"moraine::net::INetworkOutputStream";
}

}  // namespace moraine::net
