#ifndef TRANSPORT_PACKETSOCKETSTREAM_H
#define TRANSPORT_PACKETSOCKETSTREAM_H

#include "transport/socketstream.h"

#include <vector>

namespace transport {

/**
 * A stream over a socket that keeps the bounds of what is sent: L2CAP. Each OBEX packet travels as one unit, as peers
 * expect that read one packet at a time; units that hold less or more than a packet are taken as they come.
 */
class PacketSocketStream : public SocketStream
{
public:
    /**
     * Takes over a connected SOCK_SEQPACKET socket.
     * @param receiveUnit  the largest unit that the peer may send, at least 1
     * @param sendUnit     the largest unit that the peer takes; larger packets go out in several
     */
    PacketSocketStream(Descriptor socket, Traits traits, std::string peer, std::size_t receiveUnit,
                       std::size_t sendUnit);

    IoResult read(std::uint8_t *data, std::size_t size, Deadline deadline) override;
    IoResult write(const std::uint8_t *data, std::size_t size, Deadline deadline) override;

private:
    std::size_t nextUnit(const std::uint8_t *data, std::size_t size) const;
    IoStatus waitForRoom(Deadline deadline, bool again) const;
    std::size_t takeKept(std::uint8_t *data, std::size_t size);

    const std::size_t m_receiveUnit;
    const std::size_t m_sendUnit;
    std::size_t m_packetLeft = 0;     /**< the writer's: bytes of the packet that is under way */
    std::vector<std::uint8_t> m_kept; /**< the reader's: the rest of a unit that did not fit */
    std::size_t m_keptBegin = 0;
};

} // namespace transport

#endif
