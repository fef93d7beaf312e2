#pragma once

#include "moraine/net/INetworkInputStream.h"

namespace moraine::net {

/// Reads from a connected TCP socket: one system call for each `read`, no buffer, no exception.
///
/// A `read` that fails gives 4294967295, which is no count: test for it. The library's own readers do, and throw
/// `io::IOException`. `XMLReader` needs to move back and so cannot work on this stream directly; read what the peer
/// sends into an `io::MemoryInputStream` first:
///
///     char block[10240];
///     moraine::io::MemoryInputStream memory;
///     for (unsigned int n = in.read(block, sizeof block); n != 0; n = in.read(block, sizeof block)) {
///         if (n > sizeof block) {
///             throw std::runtime_error("the connection broke");
///         }
///         memory.addBytes(block, n);
///     }
class MORAINE_API TCPInputStream : public INetworkInputStream {
public:
    /// A stream without a socket.
    TCPInputStream();

    /// A stream that owns @p newSocket.
    explicit TCPInputStream(unsigned int newSocket);
    ~TCPInputStream() override;

    /// Takes what has arrived, at most @p length bytes, and waits for it if nothing has. 0 when the peer has ended its
    /// side; 4294967295 when that fails, also without a socket. A call that a signal interrupts is repeated. A thread
    /// may be cancelled in it; what arrives at that moment may be lost.
    unsigned int read(char* buffer, unsigned int length) override;

protected:
    /// The name of this class.
    const WideChar* getClassName() const override;
};

}  // namespace moraine::net
