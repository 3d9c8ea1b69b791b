#include "scriptedpeer.h"

#include <chrono>
#include <sys/socket.h>

using namespace obex;
using transport::Deadline;

namespace {

constexpr std::chrono::seconds LongEnough{20};

std::unique_ptr<transport::Stream> streamOver(int socket)
{
    return std::make_unique<transport::SocketStream>(transport::Descriptor(socket), transport::SocketStream::Traits{},
                                                     "peer");
}

} // namespace

QByteArray PeerEnd::request()
{
    for (;;) {
        Packet packet;
        if (readPacket(bytesOf(m_pending), MaxPacketSize, packet) == Parse::Ok) {
            const QByteArray request = m_pending.left(static_cast<int>(packet.size));
            m_pending.remove(0, static_cast<int>(packet.size));
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_requests.append(request);
            return request;
        }
        std::uint8_t buffer[4096];
        const transport::IoResult result = m_stream.read(buffer, sizeof buffer, Deadline::after(LongEnough));
        if (!result.ok())
            return {};
        m_pending.append(reinterpret_cast<const char *>(buffer), static_cast<int>(result.bytes));
    }
}

void PeerEnd::send(const QByteArray &bytes)
{
    // A client that has gone meanwhile is what many scripts are about.
    (void)m_stream.write(bytesOf(bytes).data, bytesOf(bytes).size, Deadline::after(LongEnough));
}

void PeerEnd::stayAway()
{
    while (!request().isEmpty()) {
    }
}

void PeerEnd::freeze(const std::atomic<bool> &until)
{
    const Deadline deadline = Deadline::after(LongEnough);
    while (!until && !deadline.passed())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
}

QVector<QByteArray> PeerEnd::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

namespace {

ScriptedPeer::Ends socketPair()
{
    int sockets[2] = {-1, -1};
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0, sockets) != 0)
        qFatal("no socket pair");
    return {streamOver(sockets[0]), streamOver(sockets[1])};
}

} // namespace

ScriptedPeer::ScriptedPeer(Script script)
    : m_ends(socketPair()), m_end(*m_ends.peer), m_thread([this, run = std::move(script)] {
          run(m_end);
          m_end.close();
      })
{
}

ScriptedPeer::~ScriptedPeer()
{
    m_ends.peer->close();
    m_thread.join();
}

namespace reply {

QByteArray packet(ResponseCode code, const Headers &headers)
{
    QByteArray buffer(MaxPacketSize, Qt::Uninitialized);
    PacketWriter writer(reinterpret_cast<std::uint8_t *>(buffer.data()), MaxPacketSize);
    writer.begin(code);
    if (headers)
        headers(writer);
    return buffer.left(static_cast<int>(writer.finish().size));
}

QByteArray connected(std::uint16_t maxPacket)
{
    return packet(ResponseCode::Success, [=](PacketWriter &writer) {
        writer.addConnectFields(maxPacket);
        writer.addNumber(HeaderId::ConnectionId, 7);
        writer.addSequence(HeaderId::Who, {FolderBrowsing, sizeof FolderBrowsing});
    });
}

QByteArray connectedAs(const QByteArray &who)
{
    return packet(ResponseCode::Success, [&](PacketWriter &writer) {
        writer.addConnectFields(65535);
        writer.addNumber(HeaderId::ConnectionId, 7);
        if (!who.isNull())
            writer.addSequence(HeaderId::Who, bytesOf(who));
    });
}

QByteArray body(ResponseCode code, const QByteArray &bytes, const Headers &headers)
{
    return packet(code, [&](PacketWriter &writer) {
        if (headers)
            headers(writer);
        writer.addSequence(code == ResponseCode::Continue ? HeaderId::Body : HeaderId::EndOfBody, bytesOf(bytes));
    });
}

} // namespace reply

void acceptConnect(PeerEnd &peer, std::uint16_t maxPacket)
{
    (void)peer.request();
    peer.send(reply::connected(maxPacket));
}

bool carries(const QByteArray &packet, HeaderId id)
{
    Packet parsed;
    if (readPacket(bytesOf(packet), MaxPacketSize, parsed) != Parse::Ok)
        return false;
    Header header;
    return findHeader(parsed.body, id, header);
}
