#include "transport/tcp.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <mutex>
#include <netdb.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace transport {

namespace {

struct Address
{
    sockaddr_storage storage{};
    socklen_t length = 0;

    const sockaddr *get() const { return reinterpret_cast<const sockaddr *>(&storage); }
    sockaddr *get() { return reinterpret_cast<sockaddr *>(&storage); }
};

/** A look-up that outlives an impatient caller. */
struct LookUp
{
    std::mutex mutex;
    std::vector<Address> found;
    Wakeup done;
};

std::vector<Address> lookUp(const std::string &host, std::uint16_t port, int flags)
{
    addrinfo hints{};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_STREAM;
    hints.ai_flags = flags | AI_NUMERICSERV;
    addrinfo *list = nullptr;
    std::vector<Address> found;
    if (::getaddrinfo(host.c_str(), std::to_string(port).c_str(), &hints, &list) != 0)
        return found;
    for (const addrinfo *entry = list; entry != nullptr; entry = entry->ai_next) {
        Address address;
        address.length = std::min<socklen_t>(entry->ai_addrlen, sizeof address.storage);
        std::memcpy(&address.storage, entry->ai_addr, address.length);
        found.push_back(address);
    }
    ::freeaddrinfo(list);
    return found;
}

IoStatus resolve(const std::string &host, std::uint16_t port, Deadline deadline, const Wakeup &cancel,
                 std::vector<Address> &addresses)
{
    addresses = lookUp(host, port, AI_NUMERICHOST);
    if (!addresses.empty())
        return IoStatus::Ok;

    const auto job = std::make_shared<LookUp>();
    try {
        std::thread([job, host, port] {
            std::vector<Address> found = lookUp(host, port, AI_ADDRCONFIG);
            const std::lock_guard<std::mutex> lock(job->mutex);
            job->found = std::move(found);
            job->done.notify();
        }).detach();
    } catch (const std::system_error &) {
        return IoStatus::Failed;
    }
    const IoStatus status = statusOf(waitFor(job->done.descriptor(), POLLIN, cancel, deadline));
    if (status != IoStatus::Ok)
        return status;
    const std::lock_guard<std::mutex> lock(job->mutex);
    addresses = std::move(job->found);
    return addresses.empty() ? IoStatus::Failed : IoStatus::Ok;
}

std::string describe(const Address &address)
{
    char host[NI_MAXHOST];
    char port[NI_MAXSERV];
    if (::getnameinfo(address.get(), address.length, host, sizeof host, port, sizeof port,
                      NI_NUMERICHOST | NI_NUMERICSERV) != 0)
        return {};
    const bool bracket = std::strchr(host, ':') != nullptr;
    return (bracket ? "[" + std::string(host) + "]" : std::string(host)) + ":" + port;
}

Dialled dial(const Address &address, Deadline deadline, const Wakeup &cancel)
{
    Descriptor socket(::socket(address.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!socket.valid())
        return {};
    if (::connect(socket.get(), address.get(), address.length) != 0) {
        if (errno != EINPROGRESS && errno != EINTR)
            return {};
        const IoStatus status = statusOf(waitFor(socket.get(), POLLOUT, cancel, deadline));
        if (status != IoStatus::Ok)
            return {nullptr, status};
        int error = 0;
        socklen_t size = sizeof error;
        if (::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) != 0 || error != 0)
            return {};
    }
    return {std::make_unique<TcpStream>(std::move(socket), describe(address)), IoStatus::Ok};
}

} // namespace

TcpStream::TcpStream(Descriptor socket, std::string peer) : SocketStream(std::move(socket), Traits{}, std::move(peer))
{
    const int on = 1;
    // Both are improvements that a link also works without.
    (void)::setsockopt(descriptor(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    (void)::setsockopt(descriptor(), SOL_SOCKET, SO_KEEPALIVE, &on, sizeof on);
    // What is under way when a streamed transfer is cancelled has to be taken off first: a few packets keep a local
    // link busy, and the megabytes that the system would grow to only keep the user waiting.
    const int buffer = 4 * 65536;
    (void)::setsockopt(descriptor(), SOL_SOCKET, SO_SNDBUF, &buffer, sizeof buffer);
    (void)::setsockopt(descriptor(), SOL_SOCKET, SO_RCVBUF, &buffer, sizeof buffer);
}

TcpConnector::TcpConnector(std::string host, std::uint16_t port) : m_host(std::move(host)), m_port(port) {}

Dialled TcpConnector::connect(Deadline deadline, const Wakeup &cancel)
{
    std::vector<Address> addresses;
    const IoStatus status = resolve(m_host, m_port, deadline, cancel, addresses);
    if (status != IoStatus::Ok)
        return {nullptr, status};
    Dialled result;
    for (const Address &address : addresses) {
        result = dial(address, deadline, cancel);
        if (result.status != IoStatus::Failed)
            break;
    }
    return result;
}

std::unique_ptr<TcpListener> TcpListener::listen(const std::string &address, std::uint16_t port)
{
    constexpr int backlog = 64;
    for (const Address &candidate : lookUp(address, port, AI_NUMERICHOST | AI_PASSIVE)) {
        Descriptor socket(::socket(candidate.storage.ss_family, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
        if (!socket.valid())
            continue;
        const int on = 1;
        (void)::setsockopt(socket.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
        if (::bind(socket.get(), candidate.get(), candidate.length) == 0 && ::listen(socket.get(), backlog) == 0)
            return std::unique_ptr<TcpListener>(new TcpListener(std::move(socket)));
    }
    return nullptr;
}

Dialled TcpListener::accept(Deadline deadline)
{
    for (;;) {
        const IoStatus status = statusOf(waitFor(m_socket.get(), POLLIN, m_closed, deadline));
        if (status != IoStatus::Ok)
            return {nullptr, status == IoStatus::Woken ? IoStatus::Closed : status};
        Address peer;
        peer.length = sizeof peer.storage;
        Descriptor socket(::accept4(m_socket.get(), peer.get(), &peer.length, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (socket.valid())
            return {std::make_unique<TcpStream>(std::move(socket), describe(peer)), IoStatus::Ok};
        // A caller who has given up meanwhile is no reason to stop listening; out of descriptors is.
        if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            return {};
    }
}

namespace {

Address boundAddress(int socket)
{
    Address address;
    address.length = sizeof address.storage;
    if (::getsockname(socket, address.get(), &address.length) != 0)
        address = Address{};
    return address;
}

} // namespace

std::string TcpListener::address() const
{
    return describe(boundAddress(m_socket.get()));
}

std::uint16_t TcpListener::port() const
{
    const Address address = boundAddress(m_socket.get());
    if (address.storage.ss_family == AF_INET6)
        return ntohs(reinterpret_cast<const sockaddr_in6 *>(&address.storage)->sin6_port);
    return ntohs(reinterpret_cast<const sockaddr_in *>(&address.storage)->sin_port);
}

} // namespace transport
