// Sends a line to a server and shows its answer: ask_server HOST PORT "GET / HTTP/1.0"
#include <netdb.h>
#include <unistd.h>

#include <iostream>

#include <moraine/extras/Files.h>
#include <moraine/extras/Utf8.h>
#include <moraine/net/TCPInputStream.h>
#include <moraine/net/TCPOutputStream.h>

int main(int count, char** words) {
    addrinfo* found = nullptr;
    if (count != 4 || ::getaddrinfo(words[1], words[2], nullptr, &found) != 0) {
        return std::cerr << "usage: ask_server HOST PORT LINE\n", 2;
    }
    const int descriptor = ::socket(found->ai_family, SOCK_STREAM, 0);
    if (::connect(descriptor, found->ai_addr, found->ai_addrlen) != 0) {
        return std::cerr << "no connection\n", 1;
    }
    ::freeaddrinfo(found);
    try {  // the streams own their descriptors
        moraine::net::TCPInputStream in(static_cast<unsigned int>(descriptor));
        moraine::net::TCPOutputStream out(static_cast<unsigned int>(::dup(descriptor)));
        moraine::extras::writeAll(out, std::string(words[3]) + "\r\n\r\n");
        std::cout << moraine::extras::readAll(in);
    } catch (moraine::lang::Exception& e) {
        return std::cerr << moraine::extras::report(e), 1;
    }
}
