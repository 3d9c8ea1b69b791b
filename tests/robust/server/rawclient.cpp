#include "rawclient.h"

#include "obex/auth.h"

#include <QElapsedTimer>

#include <algorithm>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

using obex::bytesOf;

namespace {

constexpr int Patience = 15000; // milliseconds, for anything that a server has to do at once

obex::Header find(const QByteArray &headers, HeaderId id, bool *found)
{
    obex::Header header;
    *found = obex::findHeader(bytesOf(headers), id, header);
    return header;
}

QByteArray copyOf(obex::Bytes bytes)
{
    return QByteArray(reinterpret_cast<const char *>(bytes.data), static_cast<int>(bytes.size));
}

} // namespace

bool Reply::has(HeaderId id) const
{
    bool found = false;
    (void)find(headers, id, &found);
    return found;
}

QByteArray Reply::sequence(HeaderId id) const
{
    bool found = false;
    const obex::Header header = find(headers, id, &found);
    return found ? copyOf(header.value) : QByteArray();
}

quint32 Reply::number(HeaderId id) const
{
    bool found = false;
    return find(headers, id, &found).number;
}

QByteArray Reply::body() const
{
    return has(HeaderId::Body) ? sequence(HeaderId::Body) : sequence(HeaderId::EndOfBody);
}

RawClient::RawClient(quint16 port) : m_socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
{
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    const int on = 1;
    (void)::setsockopt(m_socket, IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
    if (::connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0)
        hangUp();
}

RawClient::RawClient(RawClient &&other) noexcept
    : connectionId(other.connectionId), maxPacket(other.maxPacket), m_socket(std::exchange(other.m_socket, -1))
{
}

RawClient::~RawClient()
{
    hangUp();
}

void RawClient::hangUp()
{
    if (m_socket >= 0)
        ::close(std::exchange(m_socket, -1));
}

bool RawClient::isReadable(int milliseconds)
{
    pollfd wait = {m_socket, POLLIN, 0};
    return ::poll(&wait, 1, milliseconds) == 1;
}

bool RawClient::isHungUpOn()
{
    QElapsedTimer clock;
    clock.start();
    char buffer[4096];
    while (clock.elapsed() < Patience) {
        if (isReadable(100) && ::recv(m_socket, buffer, sizeof buffer, 0) <= 0)
            return true;
    }
    return false;
}

bool RawClient::send(const QByteArray &bytes)
{
    int sent = 0;
    while (sent < bytes.size()) {
        const ssize_t now =
            ::send(m_socket, bytes.constData() + sent, static_cast<std::size_t>(bytes.size() - sent), MSG_NOSIGNAL);
        if (now <= 0)
            return false;
        sent += static_cast<int>(now);
    }
    return true;
}

Reply RawClient::receive(bool toConnect)
{
    const auto read = [this](int size) {
        QByteArray bytes(size, '\0');
        int got = 0;
        while (got < size && isReadable(Patience)) {
            const ssize_t now = ::recv(m_socket, bytes.data() + got, static_cast<std::size_t>(size - got), 0);
            if (now <= 0)
                break;
            got += static_cast<int>(now);
        }
        return got == size ? bytes : QByteArray();
    };
    Reply reply;
    const QByteArray prefix = read(3);
    if (prefix.isEmpty())
        return reply;
    const int size = obex::readU16(bytesOf(prefix).data + 1) - 3;
    const QByteArray rest = read(size);
    if (rest.size() != size)
        return reply;
    reply.code = static_cast<quint8>(prefix.at(0));
    reply.fields = toConnect ? rest.left(4) : QByteArray();
    reply.headers = toConnect ? rest.mid(4) : rest;
    return reply;
}

QByteArray RawClient::packet(Opcode opcode, const Build &build) const
{
    QByteArray buffer(65535, '\0');
    obex::PacketWriter writer(reinterpret_cast<std::uint8_t *>(buffer.data()), maxPacket);
    writer.begin(opcode);
    if (connectionId != 0 && opcode != Opcode::SetPath)
        (void)writer.addNumber(HeaderId::ConnectionId, connectionId);
    if (build)
        build(writer);
    return copyOf(writer.finish());
}

Reply RawClient::ask(Opcode opcode, const Build &build)
{
    return send(packet(opcode, build)) ? receive() : Reply();
}

Reply RawClient::connect(quint16 wanted, const Build &more)
{
    connectionId = 0;
    const QByteArray request = packet(Opcode::Connect, [&](obex::PacketWriter &writer) {
        (void)writer.addConnectFields(wanted);
        (void)writer.addSequence(HeaderId::Target, {obex::FolderBrowsing, sizeof obex::FolderBrowsing});
        if (more)
            more(writer);
    });
    if (!send(request))
        return {};
    const Reply reply = receive(true);
    if (reply.fields.size() == 4)
        maxPacket = obex::readU16(bytesOf(reply.fields).data + 2);
    connectionId = reply.number(HeaderId::ConnectionId);
    return reply;
}

Reply RawClient::connectWithPasskey(const Reply &challenge, const QByteArray &passkey)
{
    obex::Challenge asked;
    const QByteArray value = challenge.sequence(HeaderId::AuthChallenge);
    if (!obex::readChallenge(bytesOf(value), asked))
        return {};
    const QByteArray answer = obex::makeChallengeAnswer(asked, passkey, {});
    return connect(
        65535, [&](obex::PacketWriter &writer) { (void)writer.addSequence(HeaderId::AuthResponse, bytesOf(answer)); });
}

Reply RawClient::setPath(const QString &name, quint8 flags)
{
    return ask(Opcode::SetPath, [&](obex::PacketWriter &writer) {
        (void)writer.addSetPathFields(flags);
        (void)writer.addNumber(HeaderId::ConnectionId, connectionId);
        if (!name.isNull() || (flags & obex::SetPathBackup) == 0)
            (void)writer.addText(HeaderId::Name, name);
    });
}

Reply RawClient::putFile(const QString &name, const QByteArray &content, const Build &more)
{
    int sent = 0;
    bool first = true;
    for (;;) {
        bool last = false;
        QByteArray request = packet(Opcode::Put, [&](obex::PacketWriter &writer) {
            if (first)
                (void)writer.addText(HeaderId::Name, name);
            if (first && more)
                more(writer);
            const int room = static_cast<int>(writer.roomForSequence());
            const QByteArray piece = content.mid(sent, room);
            sent += piece.size();
            last = sent == content.size();
            (void)writer.addSequence(last ? HeaderId::EndOfBody : HeaderId::Body, bytesOf(piece));
        });
        if (last)
            request[0] = static_cast<char>(Opcode::PutFinal);
        first = false;
        if (!send(request))
            return {};
        const Reply reply = receive();
        if (last || !reply.is(ResponseCode::Continue))
            return reply;
    }
}

Reply RawClient::remove(const QString &name)
{
    return ask(Opcode::PutFinal, [&](obex::PacketWriter &writer) { (void)writer.addText(HeaderId::Name, name); });
}

Reply RawClient::abort()
{
    return ask(Opcode::Abort, {});
}

Reply RawClient::disconnect()
{
    return ask(Opcode::Disconnect, {});
}

Reply RawClient::getToTheEnd(Reply reply, QByteArray *content)
{
    QByteArray body = reply.body();
    while (reply.is(ResponseCode::Continue)) {
        reply = ask(Opcode::GetFinal, {});
        body += reply.body();
    }
    if (content)
        *content = body;
    return reply;
}

Reply RawClient::getFile(const QString &name, QByteArray *content)
{
    return getToTheEnd(
        ask(Opcode::GetFinal, [&](obex::PacketWriter &writer) { (void)writer.addText(HeaderId::Name, name); }),
        content);
}

Reply RawClient::list(QByteArray *document, const QString &name)
{
    const auto request = [&](obex::PacketWriter &writer) {
        (void)writer.addSequence(HeaderId::Type, bytesOf(QByteArray(obex::ListingType, sizeof obex::ListingType)));
        if (!name.isNull())
            (void)writer.addText(HeaderId::Name, name);
    };
    return getToTheEnd(ask(Opcode::GetFinal, request), document);
}
