#pragma once

#include "moraine/net/INetworkOutputStream.h"

namespace moraine::net {

/// Writes to a connected TCP socket: one system call for each `write`, no buffer, no exception.
///
/// A `write` may take fewer bytes than asked, and one that fails gives 4294967295, which is no count: test for both.
/// Writing to a peer that is gone raises no signal. The library's own writers do not look at the count, so let them
/// write to an `io::MemoryOutputStream` and send its bytes in a loop where the peer may be slow.
class MORAINE_API TCPOutputStream : public INetworkOutputStream {
public:
    /// A stream without a socket.
    TCPOutputStream();

    /// A stream that owns @p newSocket.
    explicit TCPOutputStream(unsigned int newSocket);
    ~TCPOutputStream() override;

    /// Sends at most @p length bytes and returns how many; 4294967295 when that fails, also without a socket. A call
    /// that a signal interrupts is repeated. A thread may be cancelled in it; how much it has sent is then not known.
    unsigned int write(const char* data, unsigned int length) override;

    /// Does nothing.
    void flush() override;

protected:
    /// The name of this class.
    const WideChar* getClassName() const override;
};

}  // namespace moraine::net
