#include "obex/requestreader.h"

#include <cstring>

namespace obex {

namespace {

/** Room for several of the largest packets, so that a stream of them costs few calls and few moves. */
constexpr std::size_t BufferSize = 4 * MaxPacketSize;

} // namespace

RequestReader::RequestReader(transport::Stream &stream, std::size_t limit, std::chrono::milliseconds packetTime)
    : m_stream(stream), m_limit(limit), m_packetTime(packetTime), m_buffer(new std::uint8_t[BufferSize])
{
}

RequestReader::Result RequestReader::next(Packet *packet, transport::Deadline idle)
{
    transport::Deadline whole = transport::Deadline::never();
    bool begun = false;
    for (;;) {
        switch (readPacket({m_buffer.get() + m_begin, m_end - m_begin}, m_limit, *packet)) {
        case Parse::Ok:
            m_begin += packet->size;
            return Result::Packet;
        case Parse::Malformed:
            return Result::Malformed;
        case Parse::NeedMore:
            break;
        }
        if (!begun && m_begin != m_end) {
            begun = true;
            whole = transport::Deadline::after(m_packetTime);
        }
        const Result result = readMore(begun ? whole : idle);
        if (result != Result::Packet)
            return result;
    }
}

RequestReader::Result RequestReader::readMore(transport::Deadline deadline)
{
    if (m_begin == m_end) {
        m_begin = m_end = 0;
    } else if (BufferSize - m_begin < MaxPacketSize) {
        std::memmove(m_buffer.get(), m_buffer.get() + m_begin, m_end - m_begin);
        m_end -= m_begin;
        m_begin = 0;
    }
    const transport::IoResult result = m_stream.read(m_buffer.get() + m_end, BufferSize - m_end, deadline);
    m_end += result.bytes;
    switch (result.status) {
    case transport::IoStatus::Ok:
        return Result::Packet;
    case transport::IoStatus::TimedOut:
        return Result::TimedOut;
    default:
        return Result::Ended;
    }
}

} // namespace obex
