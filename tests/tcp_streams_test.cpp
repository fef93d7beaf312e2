#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <climits>
#include <csignal>
#include <thread>

#include "moraine/net/TCPInputStream.h"
#include "moraine/net/TCPOutputStream.h"

#include "support.h"

namespace moraine::test {
namespace {

using net::TCPInputStream, net::TCPOutputStream;

static_assert(!std::is_copy_constructible_v<TCPInputStream> && !std::is_copy_assignable_v<TCPInputStream>);
static_assert(!std::is_copy_constructible_v<TCPOutputStream> && !std::is_copy_assignable_v<TCPOutputStream>);

constexpr unsigned int failure = 4294967295;

/// Two connected sockets: one for a stream, which closes it, and its peer.
struct Connection {
    Connection() { EXPECT_EQ(::socketpair(AF_UNIX, SOCK_STREAM, 0, ends), 0); }
    ~Connection() { leave(); }
    unsigned int socket() const { return static_cast<unsigned int>(ends[0]); }
    void say(const std::string& bytes) const { ::send(ends[1], bytes.data(), bytes.size(), 0); }
    std::string hear() const {
        std::string bytes(1 << 20, '#');
        const ssize_t count = ::recv(ends[1], bytes.data(), bytes.size(), MSG_DONTWAIT);
        return count < 0 ? "nothing" : bytes.substr(0, static_cast<std::size_t>(count));
    }
    /// Takes the peer away. If it has not read all, that is a reset.
    void leave() { ends[1] = ends[1] >= 0 ? ::close(ends[1]) - 1 : -1; }

    int ends[2] = {-1, -1};
};

std::string readOnce(io::InputStream& stream, unsigned int length) {
    std::string bytes(length, '#');
    const unsigned int count = stream.read(bytes.data(), length);
    return count == failure ? "failure" : bytes.substr(0, count);
}

struct TcpStreams : DescriptorsStay {};

TEST_F(TcpStreams, ReadsTakeWhatArrivedAndTellTheEndFromAFailure) {
    for (const bool reset : {false, true}) {
        Connection connection;
        TCPInputStream in(connection.socket());
        connection.say(std::string("a\0\xFF four", 8));
        EXPECT_EQ(readOnce(in, 3), std::string("a\0\xFF", 3));
        in.skip(1);
        in.skip(LONG_MIN);
        EXPECT_EQ(readOnce(in, 100), " four") << "what was there, without waiting for more";
        ::fcntl(connection.ends[0], F_SETFL, O_NONBLOCK);
        EXPECT_EQ(readOnce(in, 1), "failure") << "nothing there yet is not the end";
        reset ? static_cast<void>(::send(connection.ends[0], "x", 1, 0)) : void();
        connection.leave();
        EXPECT_EQ(readOnce(in, 1), reset ? "failure" : "");
    }
}

TEST_F(TcpStreams, WritesTellHowMuchWasTakenAndRaiseNoSignal) {
    Connection connection;
    TCPOutputStream out(connection.socket());
    ::fcntl(connection.ends[0], F_SETFL, O_NONBLOCK);
    const std::string data(1 << 26, 'd');
    const unsigned int taken = out.write(data.data(), 1 << 26);
    EXPECT_TRUE(taken > 0 && taken < 1 << 26) << taken;
    out.flush();
    out.skip(LONG_MIN);
    EXPECT_EQ(out.getPos(), -1);
    std::string received(taken, '#');
    ASSERT_EQ(::recv(connection.ends[1], received.data(), taken, MSG_WAITALL), taken);
    EXPECT_TRUE(received == data.substr(0, taken));
    EXPECT_EQ(connection.hear(), "nothing");
    const auto former = ::signal(SIGPIPE, SIG_DFL);  // which would end the process
    connection.leave();
    EXPECT_EQ(out.write("x", 1), failure);
    ::signal(SIGPIPE, former);
    out.close();
    EXPECT_TRUE(out.write("x", 1) == failure && TCPOutputStream(0).write("x", 1) == failure);
    TCPInputStream in;  // no more of a socket than that one
    EXPECT_EQ(readOnce(in, 1), "failure");
    Connection other;
    const int former0 = ::fcntl(0, F_DUPFD_CLOEXEC, 3);
    EXPECT_EQ(::dup2(other.ends[0], 0), 0);  // a socket, which is not the stream's for all that
    EXPECT_EQ(::send(other.ends[1], "x", 1, MSG_NOSIGNAL), 1);
    EXPECT_TRUE(readOnce(in, 1) == "failure" && TCPOutputStream().write("x", 1) == failure);
    in.close();
    EXPECT_NE(::fcntl(0, F_GETFD), -1) << "closed what 0 stands for";
    former0 < 0 ? ::close(0) : ::dup2(former0, 0) + ::close(former0);
    ::close(other.ends[0]);
}

template <class Stream>
void expectOneEnd() {
    Connection first, second;
    const int copy = ::dup(first.ends[0]), place = second.ends[0];
    Stream(first.socket()).skip(1);
    EXPECT_EQ(::fcntl(first.ends[0], F_GETFD), -1);
    EXPECT_EQ(first.hear(), "") << "the copy is open, so that only a shutdown tells the peer";
    EXPECT_EQ(::send(first.ends[1], "x", 1, MSG_NOSIGNAL), 1) << "more than sending has ended";
    {
        Stream stream(static_cast<unsigned int>(copy));
        stream.setSocket(second.socket());
        stream.close();
        EXPECT_TRUE(stream.getSocket() == 0 && ::fcntl(place, F_GETFD) == -1);
        EXPECT_EQ(::dup2(copy, place), place);
        stream.close();
    }
    EXPECT_TRUE(::close(copy) == 0 && ::close(place) == 0) << "closed although the stream had it no more";
}

TEST_F(TcpStreams, TheSocketIsClosedOnceAndOnlySendingIsEndedBefore) {
    expectOneEnd<TCPInputStream>();
    expectOneEnd<TCPOutputStream>();
}

TEST_F(TcpStreams, InterruptedCallsAreRepeated) {
    static std::atomic<int> interruptions{0};
    struct sigaction action = {}, former = {};
    action.sa_handler = [](int) { ++interruptions; };  // and no SA_RESTART
    ::sigaction(SIGUSR1, &action, &former);
    Connection connection;
    TCPInputStream in(connection.socket());
    TCPOutputStream out(static_cast<unsigned int>(::dup(connection.ends[0])));
    const std::string block(1 << 20, 'b');
    ::send(connection.ends[0], block.data(), block.size(), MSG_DONTWAIT);  // so that the write has to wait
    unsigned int count = 0;
    std::string received;
    std::atomic<bool> done{false};
    std::thread reader([&] { received = readOnce(in, 5), done = true; });
    std::thread writer([&] { count = out.write("x", 1), done = true; });
    for (int i = 0; i < 10000 && !done && interruptions < 40; ++i) {
        ::pthread_kill((i % 2 == 0 ? reader : writer).native_handle(), SIGUSR1);
        ::usleep(1000);
    }
    EXPECT_FALSE(done) << "gave up";
    connection.say("hello");
    for (int i = 0; i < 10000 && connection.hear().back() != 'x'; ++i) {
        ::usleep(1000);
    }
    reader.join();
    writer.join();
    EXPECT_TRUE(received == "hello" && count == 1) << received << count;
    ::sigaction(SIGUSR1, &former, nullptr);
}

}  // namespace
}  // namespace moraine::test
