#pragma once

#include "moraine/io/InputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::net {

/// A source of bytes bound to a socket that the client has connected.
///
/// The stream owns its socket, given as its descriptor, and closes it once: in `close`, or at its own end. 0 stands for
/// none, so a client whose socket happens to be descriptor 0 duplicates it first. One socket for two streams, one for
/// each direction, needs a descriptor of its own for each: duplicate it. Closing either of the two ends the sending
/// direction for both, so the input stream is closed last. Nothing here throws. One thread at a time; one
/// thread may read and another write, each through its own stream. Not copyable.
class MORAINE_API INetworkInputStream : public io::InputStream {
public:
    /// A stream without a socket.
    INetworkInputStream();

    /// A stream that owns @p newSocket.
    explicit INetworkInputStream(unsigned int newSocket);
    INetworkInputStream(const INetworkInputStream& other) = delete;
    ~INetworkInputStream() override;
    INetworkInputStream& operator=(const INetworkInputStream& other) = delete;

    /// Ends the sending direction and closes the socket. Does nothing without one.
    void close() override;

    /// Does nothing, whatever the count: a socket cannot be moved.
    void skip(long count) override;

    /// Stores a socket, which then belongs to the stream. One held before is not closed.
    virtual void setSocket(unsigned int newSocket);

    /// The socket, 0 if there is none.
    virtual unsigned int getSocket();

protected:
    /// The name of the object's class, for failures: static text.
    virtual const WideChar* getClassName() const;

private:
    unsigned int socket = 0;
};

}  // namespace moraine::net
