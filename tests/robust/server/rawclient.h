/**
 * @file
 * A client that sends what the test tells it to, right or wrong, and shows what comes back.
 */
#ifndef RAWCLIENT_H
#define RAWCLIENT_H

#include "obex/headers.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <vector>

using obex::HeaderId;
using obex::Opcode;
using obex::ResponseCode;

/** What the server answered. */
struct Reply
{
    int code = 0;       ///< 0: nothing came, the server has hung up or was silent for too long
    QByteArray fields;  ///< those of a response to CONNECT
    QByteArray headers; ///< as they stand in the packet

    bool is(ResponseCode expected) const { return code == static_cast<int>(expected); }
    bool has(HeaderId id) const;
    QByteArray sequence(HeaderId id) const;
    quint32 number(HeaderId id) const;
    QByteArray body() const; ///< Body and EndOfBody
};

/** For QCOMPARE against a response code. */
inline bool operator==(const Reply &reply, ResponseCode code)
{
    return reply.is(code);
}

/** Blocking, over TCP on the loopback address; every wait ends after a few seconds. One thread. */
class RawClient
{
public:
    using Build = std::function<void(obex::PacketWriter &)>;

    explicit RawClient(quint16 port);
    RawClient(RawClient &&other) noexcept;
    RawClient(const RawClient &) = delete;
    ~RawClient();

    bool isOpen() const { return m_socket >= 0; }
    void hangUp();

    /** Whether the server ends the link within some seconds; what it still sends is thrown away. */
    bool isHungUpOn();

    bool send(const QByteArray &bytes);
    Reply receive(bool toConnect = false);
    /** Whether something can be read, or the link has ended, within a time in milliseconds. */
    bool isReadable(int milliseconds);

    /** One packet: the Connection Id, then what build adds. */
    QByteArray packet(Opcode opcode, const Build &build) const;
    Reply ask(Opcode opcode, const Build &build);

    Reply connect(quint16 maxPacket = 65535, const Build &more = {});
    /** Answers the challenge of a reply. */
    Reply connectWithPasskey(const Reply &challenge, const QByteArray &passkey);
    Reply setPath(const QString &name, quint8 flags = obex::SetPathNoCreate);
    Reply up() { return setPath({}, obex::SetPathBackup | obex::SetPathNoCreate); }
    Reply putFile(const QString &name, const QByteArray &content, const Build &more = {});
    Reply remove(const QString &name);
    Reply abort();
    Reply disconnect();

    /** Fetches to the end, packet by packet. @return the last reply; content receives the body */
    Reply getFile(const QString &name, QByteArray *content = nullptr);
    Reply list(QByteArray *document, const QString &name = {});

    quint32 connectionId = 0;
    std::size_t maxPacket = 255; ///< what the server takes

private:
    Reply getToTheEnd(Reply reply, QByteArray *content);

    int m_socket = -1;
};

#endif
