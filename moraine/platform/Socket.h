#pragma once

/// @file
/// What the socket streams ask of the system. A socket is its descriptor. Interrupted calls are repeated.
/// A thread may be cancelled in `receive` and `send`; how much they have moved is then not known.

namespace moraine::platform {

/// What `receive` and `send` give when they fail.
constexpr unsigned int socketFailure = 0xFFFFFFFF;

/// Takes what has arrived, at most @p length bytes. 0 if the peer has ended its side.
unsigned int receive(unsigned int socket, char* buffer, unsigned int length);

/// Sends at most @p length bytes and returns how many. A peer that is gone makes this fail and raises no signal.
unsigned int send(unsigned int socket, const char* data, unsigned int length);

/// Ends the sending direction, then closes the socket.
void closeSocket(unsigned int socket) noexcept;

}  // namespace moraine::platform
