#include "moraine/net/TCPOutputStream.h"

#include "moraine/platform/Socket.h"

namespace moraine::net {

TCPOutputStream::TCPOutputStream() = default;

TCPOutputStream::TCPOutputStream(unsigned int newSocket) : INetworkOutputStream(newSocket) {}

TCPOutputStream::~TCPOutputStream() = default;

unsigned int TCPOutputStream::write(const char* data, unsigned int length) {
    return getSocket() == 0 ? platform::socketFailure : platform::send(getSocket(), data, length);
}

void TCPOutputStream::flush() {
    // Nothing is held back.
}

const WideChar* TCPOutputStream::getClassName() const {
    return u"moraine::net::TCPOutputStream";
}

}  // namespace moraine::net
