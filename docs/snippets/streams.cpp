// The examples of docs/streams.md.

#include <sys/socket.h>
#include <unistd.h>

#include <moraine/io/FileInputStream.h>
#include <moraine/io/FileOutputStream.h>
#include <moraine/io/IOException.h>
#include <moraine/io/MemoryInputStream.h>
#include <moraine/io/MemoryOutputStream.h>
#include <moraine/net/TCPInputStream.h>
#include <moraine/net/TCPOutputStream.h>

#include "tests/support.h"

using namespace moraine;

namespace {

//! [copying]
/// Copies all that is left of any stream to any other; false if either failed. Both stay open.
bool copyAll(io::InputStream& in, io::OutputStream& out) {
    char block[10240];
    while (const unsigned int count = in.read(block, sizeof block)) {
        if (count > sizeof block) {
            return false;  // 4294967295: a socket that failed
        }
        for (unsigned int sent = 0; sent < count;) {
            const unsigned int taken = out.write(block + sent, count - sent);
            if (taken == 0 || taken > count - sent) {
                return false;  // a full disk, a socket that failed
            }
            sent += taken;
        }
    }
    out.flush();
    return true;
}
//! [copying]

TEST(Streams, Files) {
    const test::TemporaryDirectory folder;
    const WideString name = folder.name(u"numbers.txt");
    //! [files]
    io::FileOutputStream out(name.c_str());
    out.write("0123456789", 10);
    out.skip(-4);
    out.write("xx", 2);
    out.close();

    io::FileInputStream in(name.c_str());
    char digits[4];
    in.skip(4);
    in.read(digits, sizeof digits);  // "45xx"
    //! [files]
    EXPECT_EQ(std::string(digits, 4), "45xx");
    EXPECT_THROW(in.skip(3), io::IOException);
    in.skip(-8);
    io::MemoryOutputStream copy;
    EXPECT_TRUE(copyAll(in, copy));
    EXPECT_EQ(std::string(copy.getBytes(), copy.getSize()), "012345xx89");
}

TEST(Streams, Memory) {
    //! [memory]
    io::MemoryInputStream queue;
    queue.addBytes("first ", 6);
    queue.addBytes("second", 6);
    char word[6];
    queue.read(word, sizeof word);      // "first "
    queue.addBytes(" third", 6);        // what was read is dropped
    const auto left = queue.getSize();  // 12
    //! [memory]
    EXPECT_EQ(std::string(word, 6), "first ");
    EXPECT_EQ(left, 12U);
}

/// A pair of connected sockets, neither of which is 0.
struct Connection {
    int ends[2] = {};
    Connection() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
};

TEST(Streams, Sockets) {
    const Connection connection;
    const int descriptor = connection.ends[0];
    net::TCPInputStream peer(static_cast<unsigned int>(connection.ends[1]));
    //! [sockets]
    net::TCPInputStream in(static_cast<unsigned int>(descriptor));
    net::TCPOutputStream out(static_cast<unsigned int>(::dup(descriptor)));  // each closes its own
    out.write("ping", 4);
    out.close();  // the output first: it ends sending for both
    in.close();
    //! [sockets]
    io::MemoryOutputStream received;
    EXPECT_TRUE(copyAll(peer, received));
    EXPECT_EQ(std::string(received.getBytes(), received.getSize()), "ping");
    EXPECT_FALSE(copyAll(in, received));
}

}  // namespace
