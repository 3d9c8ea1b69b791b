#include "plainpeer.h"

#include "transport/wakeup.h"

#include <arpa/inet.h>
#include <cstdint>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

using transport::Descriptor;

constexpr std::size_t Block = 65536;
constexpr std::size_t AnswerSize = 3; // as long as an OBEX packet without headers

sockaddr_in loopback(std::uint16_t port)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

void noDelay(const Descriptor &socket)
{
    const int on = 1;
    require(::setsockopt(socket.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on) == 0, "TCP_NODELAY");
}

void sendAll(int socket, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(socket, data, size, MSG_NOSIGNAL);
        require(sent > 0, "plain send");
        data += sent;
        size -= static_cast<std::size_t>(sent);
    }
}

/** Up to size bytes, less only at the end of the stream. */
std::size_t receiveAll(int socket, char *data, std::size_t size)
{
    std::size_t got = 0;
    while (got < size) {
        const ssize_t piece = ::recv(socket, data + got, size - got, 0);
        require(piece >= 0, "plain receive");
        if (piece == 0)
            break;
        got += static_cast<std::size_t>(piece);
    }
    return got;
}

void writeAll(int file, const char *data, std::size_t size)
{
    require(::write(file, data, size) == static_cast<ssize_t>(size), "plain write");
}

void sendFile(int socket, const std::string &path, bool answered)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::vector<char> block(Block);
    char answer[AnswerSize];
    for (;;) {
        const ssize_t size = ::read(file.get(), block.data(), Block);
        require(size >= 0, "plain read");
        if (size == 0)
            break;
        if (answered)
            require(receiveAll(socket, answer, AnswerSize) == AnswerSize, "plain answer");
        sendAll(socket, block.data(), static_cast<std::size_t>(size));
    }
    ::shutdown(socket, SHUT_WR);
}

void receiveFile(int socket, const std::string &path, bool answered)
{
    const Descriptor file(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666));
    std::vector<char> block(Block);
    const char answer[AnswerSize] = {};
    for (;;) {
        if (answered)
            sendAll(socket, answer, AnswerSize);
        const std::size_t size = receiveAll(socket, block.data(), Block);
        writeAll(file.get(), block.data(), size);
        if (size < Block)
            break;
    }
}

bool isGet(PlainMode mode)
{
    return mode == PlainMode::GetAsked || mode == PlainMode::GetOneWay;
}

bool isAnswered(PlainMode mode)
{
    return mode == PlainMode::GetAsked || mode == PlainMode::PutAnswered;
}

} // namespace

Child::Body plainServer(const std::string &source, const std::string &sink)
{
    return [=](const std::function<void(std::uint16_t)> &ready) {
        const Descriptor listener(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        require(::bind(listener.get(), reinterpret_cast<sockaddr *>(&address), size) == 0 &&
                    ::listen(listener.get(), 1) == 0 &&
                    ::getsockname(listener.get(), reinterpret_cast<sockaddr *>(&address), &size) == 0,
                "plain listener");
        if (::fork() == 0) {
            for (;;) {
                const Descriptor client(::accept4(listener.get(), nullptr, nullptr, SOCK_CLOEXEC));
                noDelay(client);
                char mode = 0;
                if (receiveAll(client.get(), &mode, 1) == 0)
                    std::_Exit(0);
                const auto asked = static_cast<PlainMode>(mode);
                if (isGet(asked))
                    sendFile(client.get(), source, isAnswered(asked));
                else
                    receiveFile(client.get(), sink, isAnswered(asked));
            }
        }
        ready(ntohs(address.sin_port));
        // A connection without a word ends the one that serves.
        const Descriptor goodbye(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
        (void)::connect(goodbye.get(), reinterpret_cast<sockaddr *>(&address), sizeof address);
    };
}

void plainCopy(std::uint16_t port, PlainMode mode, const std::string &file)
{
    const Descriptor socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const sockaddr_in address = loopback(port);
    require(::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0, "plain dial");
    noDelay(socket);
    const char word = static_cast<char>(mode);
    sendAll(socket.get(), &word, 1);
    if (isGet(mode)) {
        receiveFile(socket.get(), file, isAnswered(mode));
    } else {
        sendFile(socket.get(), file, isAnswered(mode));
        char end = 0;
        (void)receiveAll(socket.get(), &end, isAnswered(mode) ? AnswerSize : 1); // until the other side is done
    }
}

} // namespace bench
