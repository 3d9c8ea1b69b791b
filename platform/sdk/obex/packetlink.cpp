#include "obex/packetlink.h"

#include <cstring>

namespace obex {

Error errorOf(transport::IoStatus status)
{
    switch (status) {
    case transport::IoStatus::Ok:
        return Error::None;
    case transport::IoStatus::TimedOut:
        return Error::TimedOut;
    case transport::IoStatus::Woken:
        return Error::Cancelled;
    case transport::IoStatus::Closed:
    case transport::IoStatus::Failed:
        break;
    }
    return Error::LinkLost;
}

// Room for several packets, so that a peer that streams is read in large pieces and seldom moved together.
PacketLink::PacketLink(transport::Stream &stream, std::size_t maxPacket)
    : m_stream(stream), m_maxPacket(maxPacket), m_buffer(4 * maxPacket)
{
}

Error PacketLink::send(Bytes packet, transport::Deadline deadline)
{
    m_unsent = packet;
    return finishSending(deadline);
}

Error PacketLink::finishSending(transport::Deadline deadline)
{
    if (m_unsent.empty())
        return Error::None;
    const transport::IoResult result = m_stream.write(m_unsent.data, m_unsent.size, deadline);
    m_unsent = m_unsent.from(result.bytes);
    return errorOf(result.status);
}

void PacketLink::makeRoom()
{
    if (m_begin == m_end) {
        m_begin = m_end = 0;
    } else if (m_buffer.size() - m_begin < m_maxPacket) {
        std::memmove(m_buffer.data(), m_buffer.data() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
}

Error PacketLink::receive(Packet &packet, transport::Deadline deadline)
{
    m_begin += m_current;
    m_current = 0;
    for (;;) {
        switch (readPacket({m_buffer.data() + m_begin, m_end - m_begin}, m_maxPacket, packet)) {
        case Parse::Ok:
            m_current = packet.size;
            return Error::None;
        case Parse::Malformed:
            return Error::Protocol;
        case Parse::NeedMore:
            break;
        }
        makeRoom();
        const transport::IoResult result = m_stream.read(m_buffer.data() + m_end, m_buffer.size() - m_end, deadline);
        if (!result.ok())
            return errorOf(result.status);
        m_end += result.bytes;
    }
}

} // namespace obex
