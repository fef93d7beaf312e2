#include "moraine/platform/Socket.h"

#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>

#include "moraine/platform/Thread.h"

namespace moraine::platform {
namespace {

/// Repeats a call that a signal interrupted.
template <class Call>
unsigned int completed(Call call) {
    for (;;) {
        const ssize_t count = call();
        if (count >= 0) {
            return static_cast<unsigned int>(count);
        }
        if (errno != EINTR) {
            return socketFailure;
        }
    }
}

}  // namespace

unsigned int receive(unsigned int socket, char* buffer, unsigned int length) {
    return completed([=] { return ::recv(static_cast<int>(socket), buffer, length, 0); });
}

unsigned int send(unsigned int socket, const char* data, unsigned int length) {
    return completed([=] { return ::send(static_cast<int>(socket), data, length, MSG_NOSIGNAL); });
}

void closeSocket(unsigned int socket) noexcept {
    const CancellationHold hold;
    ::shutdown(static_cast<int>(socket), SHUT_WR);
    // Not repeated when interrupted: the descriptor is gone all the same and may be somebody else's by then.
    ::close(static_cast<int>(socket));
}

}  // namespace moraine::platform
