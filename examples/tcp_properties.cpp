// A server that sends a property table over TCP, and a client that reads it.

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <system_error>

#include "moraine/io/MemoryOutputStream.h"
#include "moraine/net/TCPInputStream.h"
#include "moraine/net/TCPOutputStream.h"
#include "moraine/util/PropertyManager.h"

#include "console.h"

namespace {

using moraine::net::TCPInputStream;
using moraine::net::TCPOutputStream;
using moraine::util::PropertyManager;

constexpr const char* usage = "usage: tcp_properties serve PORT NAME=VALUE...\n"
                              "       tcp_properties fetch PORT\n"
                              "\n"
                              "serve  waits on this machine's own network for one client and sends it the\n"
                              "       table; PORT 0 takes any free port. Prints the port first.\n"
                              "fetch  reads the table from a server on this machine and prints it.\n"
                              "\n"
                              "  --help  print this text\n";

/// What a socket cannot do is an error of the program.
int checked(int result, const char* what) {
    if (result < 0) {
        throw std::runtime_error(std::string(what) + ": " + std::generic_category().message(errno));
    }
    return result;
}

/// A socket as the streams take it. To them 0 is no socket, and a program that was started without standard input may
/// well get that descriptor.
unsigned int forStream(int socket) {
    if (socket != 0) {
        return static_cast<unsigned int>(socket);
    }
    const int other = checked(::dup(socket), "dup");
    ::close(socket);
    return static_cast<unsigned int>(other);
}

unsigned int newSocket() {
    return forStream(checked(::socket(AF_INET, SOCK_STREAM, 0), "socket"));
}

sockaddr_in localAddress(unsigned short port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
}

/// Sends everything, however little the socket takes at a time.
void sendAll(TCPOutputStream& out, const char* data, unsigned int length) {
    while (length > 0) {
        const unsigned int sent = out.write(data, length);
        if (sent > length) {
            throw std::runtime_error("the client is gone");
        }
        data += sent;
        length -= sent;
    }
}

int serve(unsigned short port, const std::vector<std::string>& words) {
    PropertyManager properties;
    for (std::size_t i = 2; i < words.size(); ++i) {
        const std::string& entry = words[i];
        const std::size_t equals = entry.find('=');
        if (equals == std::string::npos) {
            throw console::Misuse(entry + " is not NAME=VALUE");
        }
        properties.put(console::wide(entry.substr(0, equals)).c_str(), console::wide(entry.substr(equals + 1)).c_str());
    }

    TCPInputStream listener(newSocket());
    const int listening = static_cast<int>(listener.getSocket());
    sockaddr_in address = localAddress(port);
    auto* const general = reinterpret_cast<sockaddr*>(&address);
    socklen_t size = sizeof address;
    checked(::bind(listening, general, size), "bind");
    checked(::listen(listening, 1), "listen");
    checked(::getsockname(listening, general, &size), "getsockname");
    std::printf("%u\n", ntohs(address.sin_port));
    static_cast<void>(std::fflush(stdout));

    TCPOutputStream client(forStream(checked(::accept(listening, nullptr, nullptr), "accept")));
    // The manager does not look at how much a stream takes, so it writes to memory first.
    moraine::io::MemoryOutputStream memory;
    properties.write(&memory, u"UTF-8");
    sendAll(client, memory.getBytes(), memory.getSize());
    client.close();
    return console::done;
}

int fetch(unsigned short port) {
    TCPInputStream server(newSocket());
    const sockaddr_in address = localAddress(port);
    checked(
        ::connect(static_cast<int>(server.getSocket()), reinterpret_cast<const sockaddr*>(&address), sizeof address),
        "connect");
    PropertyManager properties;
    properties.read(&server, u"UTF-8");
    moraine::io::MemoryOutputStream table;
    properties.write(&table, u"UTF-8");
    std::printf("%.*s", static_cast<int>(table.getSize()), table.getBytes());
    return console::done;
}

}  // namespace

int main(int argc, char** argv) {
    return console::run(argc, argv, usage, {}, [](const console::CommandLine& line) {
        line.expectWords(2, std::numeric_limits<std::size_t>::max());
        const std::string& command = line.words[0];
        const auto port = console::numberFrom<unsigned short>(line.words[1], 0);
        if (command == "serve") {
            return serve(port, line.words);
        }
        if (command == "fetch" && line.words.size() == 2) {
            return fetch(port);
        }
        throw console::Misuse("that is no command, or not what it needs");
    });
}
