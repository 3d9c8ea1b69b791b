#ifndef OBEX_PACKETLINK_H
#define OBEX_PACKETLINK_H

#include "obex/outcome.h"
#include "obex/packet.h"
#include "transport/stream.h"

#include <vector>

namespace obex {

/** Whole packets over a stream. One thread at a time. */
class PacketLink
{
public:
    /** @param maxPacket what the peer was offered, MinPacketSize to MaxPacketSize */
    PacketLink(transport::Stream &stream, std::size_t maxPacket);

    /** Cancelled leaves the rest of the packet for finishSending(). */
    Error send(Bytes packet, transport::Deadline deadline);
    Error finishSending(transport::Deadline deadline);
    bool hasUnsent() const { return !m_unsent.empty(); }

    /** The next packet; what it shows is valid until the next call. A packet that has not come within the deadline is
     *  kept as far as it has come. */
    Error receive(Packet &packet, transport::Deadline deadline);

    /** True when bytes have come that nobody has asked for. */
    bool hasUnread() const { return m_end - m_begin > m_current; }

private:
    void makeRoom();

    transport::Stream &m_stream;
    const std::size_t m_maxPacket;
    std::vector<std::uint8_t> m_buffer; // filled from m_begin to m_end
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
    std::size_t m_current = 0; // bytes of the packet that was handed out last
    Bytes m_unsent;
};

/** What a stream's status means to a call; Ok becomes None. */
Error errorOf(transport::IoStatus status);

} // namespace obex

#endif
