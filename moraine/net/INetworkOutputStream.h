#pragma once

#include "moraine/io/OutputStream.h"
#include "moraine/text/WideChar.h"

namespace moraine::net {

/// A sink of bytes bound to a socket that the client has connected: who owns and closes it, what 0 means, and which
/// threads may use it are the same as for `INetworkInputStream`.
class MORAINE_API INetworkOutputStream : public io::OutputStream {
public:
    /// A stream without a socket.
    INetworkOutputStream();

    /// A stream that owns @p newSocket.
    explicit INetworkOutputStream(unsigned int newSocket);
    INetworkOutputStream(const INetworkOutputStream& other) = delete;
    ~INetworkOutputStream() override;
    INetworkOutputStream& operator=(const INetworkOutputStream& other) = delete;

    /// Ends the sending direction and closes the socket. Does nothing without one.
    void close() override;

    /// Does nothing, whatever the count: a socket cannot be moved.
    virtual void skip(long count);

    /// Always -1: a socket has no position.
    virtual long getPos();

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
