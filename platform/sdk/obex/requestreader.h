#ifndef OBEX_REQUESTREADER_H
#define OBEX_REQUESTREADER_H

#include "obex/packet.h"
#include "transport/stream.h"

#include <memory>

namespace obex {

/** Cuts the bytes of a stream into packets. One thread. */
class RequestReader
{
public:
    enum class Result { Packet, TimedOut, Ended, Malformed };

    /** @param limit  the largest packet that is offered to the peer */
    RequestReader(transport::Stream &stream, std::size_t limit, std::chrono::milliseconds packetTime);

    /**
     * Waits for a packet, which stays valid until the next call.
     * @param idle  for its first byte; the rest must then come within the packet time
     */
    Result next(Packet *packet, transport::Deadline idle);

private:
    Result readMore(transport::Deadline deadline);

    transport::Stream &m_stream;
    const std::size_t m_limit;
    const std::chrono::milliseconds m_packetTime;
    const std::unique_ptr<std::uint8_t[]> m_buffer;
    std::size_t m_begin = 0;
    std::size_t m_end = 0;
};

} // namespace obex

#endif
