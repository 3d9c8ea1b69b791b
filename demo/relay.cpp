#include "relay.h"

#include <QElapsedTimer>

#include <arpa/inet.h>
#include <cerrno>
#include <cstring>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

constexpr size_t kMostClients = 64;
constexpr int kChunk = 64 * 1024;

// IrOBEX 1.5, 3.4: opcodes with their final bit; 3.2.1: the response.
constexpr quint8 kGet = 0x83;
constexpr quint8 kSetPath = 0x85;
constexpr quint8 kNameHeader = 0x01;
constexpr char kForbidden[] = {'\xC3', 0, 3};

/** Takes a port of the loopback address. @return the socket, or -1 with a reason */
int bindLoopback(quint16 wanted, quint16 *port, QString *error)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(wanted);
    socklen_t length = sizeof address;
    const int on = 1;
    if (fd >= 0)
        (void)::setsockopt(fd, SOL_SOCKET, SO_REUSEADDR, &on, sizeof on); // a port just left can be taken again
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&address), length) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        *error =
            QStringLiteral("cannot take port %1: %2").arg(wanted).arg(QString::fromLocal8Bit(std::strerror(errno)));
        if (fd >= 0)
            ::close(fd);
        return -1;
    }
    *port = ntohs(address.sin_port);
    return fd;
}

int dialLoopback(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    if (fd >= 0 && ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0)
        return fd;
    if (fd >= 0)
        ::close(fd);
    return -1;
}

bool sendAll(int fd, const char *data, int size)
{
    while (size > 0) {
        const ssize_t sent = ::send(fd, data, static_cast<size_t>(size), MSG_NOSIGNAL);
        if (sent < 0 && errno == EINTR)
            continue;
        if (sent <= 0)
            return false;
        data += sent;
        size -= static_cast<int>(sent);
    }
    return true;
}

/** What can be read now. @return empty when the other side has gone */
QByteArray receive(int fd)
{
    QByteArray data(kChunk, Qt::Uninitialized);
    const ssize_t got = ::recv(fd, data.data(), static_cast<size_t>(data.size()), 0);
    data.truncate(static_cast<int>(qMax<ssize_t>(0, got)));
    return data;
}

quint16 bigEndian16(const QByteArray &data, int at)
{
    return static_cast<quint16>(static_cast<quint8>(data[at]) << 8 | static_cast<quint8>(data[at + 1]));
}

QByteArray asNameHeader(const QString &name)
{
    QByteArray bytes;
    for (QChar c : name) {
        bytes.append(static_cast<char>(c.unicode() >> 8));
        bytes.append(static_cast<char>(c.unicode() & 0xFF));
    }
    return bytes.isEmpty() ? bytes : bytes.append(2, '\0');
}

/** The value of the Name header of a whole packet; empty when there is none. */
QByteArray nameIn(const QByteArray &packet)
{
    int at = static_cast<quint8>(packet[0]) == kSetPath ? 5 : 3;
    while (at < packet.size()) {
        const quint8 id = static_cast<quint8>(packet[at]);
        int length = (id >> 6) == 2 ? 2 : 5; // one byte, or four
        if ((id >> 6) < 2)
            length = at + 3 <= packet.size() ? bigEndian16(packet, at + 1) : 0;
        if (length < 2 || length > packet.size() - at)
            return QByteArray();
        if (id == kNameHeader)
            return packet.mid(at + 3, length - 3);
        at += length;
    }
    return QByteArray();
}

} // namespace

RefusingPort::~RefusingPort()
{
    if (m_socket >= 0)
        ::close(m_socket);
}

bool RefusingPort::open(quint16 port, QString *error)
{
    m_socket = bindLoopback(port, &m_port, error);
    return m_socket >= 0;
}

Relay::Relay(quint16 target, const Rules &rules)
    : m_target(target), m_connectDelay(rules.connectDelay), m_deniedName(asNameHeader(rules.deniedName))
{
}

Relay::~Relay()
{
    if (m_acceptor.joinable()) {
        const quint64 one = 1;
        (void)!::write(m_stop, &one, sizeof one); // an eventfd takes it as long as it is open
        m_acceptor.join();
    }
    reapClients(true);
    for (int fd : {m_listener, m_stop}) {
        if (fd >= 0)
            ::close(fd);
    }
}

bool Relay::open(quint16 port, QString *error)
{
    m_stop = ::eventfd(0, EFD_CLOEXEC);
    m_listener = bindLoopback(port, &m_port, error);
    if (m_listener < 0)
        return false;
    if (m_stop < 0 || ::listen(m_listener, SOMAXCONN) != 0) {
        *error = QString::fromLocal8Bit(std::strerror(errno));
        return false;
    }
    m_acceptor = std::thread([this] { acceptClients(); });
    return true;
}

void Relay::acceptClients()
{
    for (;;) {
        pollfd ready[] = {{m_stop, POLLIN, 0}, {m_listener, POLLIN, 0}};
        if (::poll(ready, 2, -1) < 0 && errno != EINTR)
            return;
        if (ready[0].revents != 0)
            return;
        if (ready[1].revents == 0)
            continue;
        const int socket = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        reapClients(false);
        if (socket < 0)
            continue;
        if (m_clients.size() >= kMostClients) {
            ::close(socket);
            continue;
        }
        const int on = 1;
        (void)::setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on); // slower without, and no more
        Client &client = m_clients.emplace_back();
        client.socket = socket;
        client.thread = std::thread([this, &client] { serve(&client); });
    }
}

/** Joins the threads of clients that have gone; those of all when the relay ends. */
void Relay::reapClients(bool all)
{
    for (auto client = m_clients.begin(); client != m_clients.end();) {
        if (!all && !client->ended) {
            ++client;
            continue;
        }
        ::shutdown(client->socket, SHUT_RDWR);
        client->thread.join();
        ::close(client->socket);
        client = m_clients.erase(client);
    }
}

void Relay::serve(Client *client)
{
    const int server = waitOut(client->socket) ? dialLoopback(m_target) : -1;
    if (server >= 0) {
        pass(client->socket, server);
        ::close(server);
    }
    ::shutdown(client->socket, SHUT_RDWR);
    client->ended = true;
}

/** Lets the delay pass. @return false when the client or the relay ends meanwhile */
bool Relay::waitOut(int client) const
{
    QElapsedTimer clock;
    clock.start();
    for (;;) {
        const qint64 left = m_connectDelay - clock.elapsed();
        if (left <= 0)
            return true;
        pollfd ready[] = {{m_stop, POLLIN, 0}, {client, POLLRDHUP, 0}};
        if (::poll(ready, 2, static_cast<int>(left)) < 0 && errno != EINTR)
            return false;
        if (ready[0].revents != 0 || ready[1].revents != 0)
            return false;
    }
}

void Relay::pass(int client, int server)
{
    QByteArray pending;
    for (;;) {
        pollfd ready[] = {{m_stop, POLLIN, 0}, {client, POLLIN, 0}, {server, POLLIN, 0}};
        if (::poll(ready, 3, -1) < 0 && errno != EINTR)
            return;
        if (ready[0].revents != 0)
            return;
        if (ready[1].revents != 0 && !passRequest(client, server, &pending))
            return;
        if (ready[2].revents != 0) {
            const QByteArray answer = receive(server);
            if (answer.isEmpty() || !sendAll(client, answer.constData(), answer.size()))
                return;
        }
    }
}

/** Hands on the whole packets that the client has sent. @return false when a side has gone or the packet makes no sense
 */
bool Relay::passRequest(int client, int server, QByteArray *pending) const
{
    const QByteArray data = receive(client);
    if (data.isEmpty())
        return false;
    if (m_deniedName.isEmpty())
        return sendAll(server, data.constData(), data.size());
    pending->append(data);
    while (pending->size() >= 3) {
        const int length = bigEndian16(*pending, 1);
        if (length < 3)
            return false;
        if (pending->size() < length)
            break;
        const QByteArray packet = pending->left(length);
        pending->remove(0, length);
        const bool sent = isDenied(packet) ? sendAll(client, kForbidden, sizeof kForbidden)
                                           : sendAll(server, packet.constData(), packet.size());
        if (!sent)
            return false;
    }
    return true;
}

bool Relay::isDenied(const QByteArray &packet) const
{
    const quint8 opcode = static_cast<quint8>(packet[0]);
    return (opcode == kGet || opcode == kSetPath) && nameIn(packet) == m_deniedName;
}
