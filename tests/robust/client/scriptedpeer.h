#ifndef TESTS_SCRIPTEDPEER_H
#define TESTS_SCRIPTEDPEER_H

#include "obex/headers.h"
#include "transport/socketstream.h"

#include <QByteArray>
#include <QVector>

#include <atomic>
#include <functional>
#include <mutex>
#include <thread>

/** One end of a link, in the hands of a script. */
class PeerEnd
{
public:
    explicit PeerEnd(transport::Stream &stream) : m_stream(stream) {}

    /** The next packet as sent; empty when the client has gone. */
    QByteArray request();
    void send(const QByteArray &bytes);
    void close() { m_stream.close(); }
    /** Says nothing until the client goes; what it sends meanwhile is thrown away. */
    void stayAway();
    /** Does not even read until the client goes or the time is up. */
    void freeze(const std::atomic<bool> &until);

    QVector<QByteArray> requests() const;

private:
    transport::Stream &m_stream;
    QByteArray m_pending;
    mutable std::mutex m_mutex;
    QVector<QByteArray> m_requests;
};

/** A peer that does what a script says, on a thread of its own, at the other end of a socket pair. */
class ScriptedPeer
{
public:
    using Script = std::function<void(PeerEnd &)>;

    struct Ends
    {
        std::unique_ptr<transport::Stream> client;
        std::unique_ptr<transport::Stream> peer;
    };

    explicit ScriptedPeer(Script script);
    /** Hangs up and waits for the script. */
    ~ScriptedPeer();

    std::unique_ptr<transport::Stream> takeStream() { return std::move(m_ends.client); }
    QVector<QByteArray> requests() const { return m_end.requests(); }

private:
    Ends m_ends;
    PeerEnd m_end;
    std::thread m_thread;
};

namespace reply {

using Headers = std::function<void(obex::PacketWriter &)>;

QByteArray packet(obex::ResponseCode code, const Headers &headers = {});
QByteArray connected(std::uint16_t maxPacket = 65535);
QByteArray connectedAs(const QByteArray &who);
QByteArray body(obex::ResponseCode code, const QByteArray &bytes, const Headers &headers = {});

} // namespace reply

/** Answers CONNECT as folder browsing does. */
void acceptConnect(PeerEnd &peer, std::uint16_t maxPacket = 65535);

/** True when the packet carries that header. */
bool carries(const QByteArray &packet, obex::HeaderId id);

#endif
