#include "transport/packetsocketstream.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace transport {

namespace {

/** An OBEX packet begins with its code and its length in two bytes (IrOBEX 1.5, 3.1). */
constexpr std::size_t packetHead = 3;

/** The kernel calls a socket writable while less than half of its buffer is in use, and yet refuses a unit that does
 *  not fit as a whole: how long to wait before it is offered again. */
constexpr std::chrono::milliseconds roomPause{2};

} // namespace

PacketSocketStream::PacketSocketStream(Descriptor socket, Traits traits, std::string peer, std::size_t receiveUnit,
                                       std::size_t sendUnit)
    : SocketStream(std::move(socket), traits, std::move(peer)),
      m_receiveUnit(std::max<std::size_t>(receiveUnit, 1)),
      m_sendUnit(std::max<std::size_t>(sendUnit, 1))
{
}

std::size_t PacketSocketStream::takeKept(std::uint8_t *data, std::size_t size)
{
    const std::size_t taken = std::min(size, m_kept.size() - m_keptBegin);
    std::memcpy(data, m_kept.data() + m_keptBegin, taken);
    m_keptBegin += taken;
    if (m_keptBegin == m_kept.size()) {
        m_kept.clear();
        m_keptBegin = 0;
    }
    return taken;
}

IoResult PacketSocketStream::read(std::uint8_t *data, std::size_t size, Deadline deadline)
{
    if (!m_kept.empty())
        return {IoStatus::Ok, takeKept(data, size)};
    if (size >= m_receiveUnit)
        return SocketStream::read(data, size, deadline);
    // The kernel drops what does not fit, so there must be room for a whole unit.
    m_kept.resize(m_receiveUnit);
    const IoResult result = SocketStream::read(m_kept.data(), m_kept.size(), deadline);
    m_kept.resize(result.bytes);
    if (!result.ok())
        return result;
    return {IoStatus::Ok, takeKept(data, size)};
}

std::size_t PacketSocketStream::nextUnit(const std::uint8_t *data, std::size_t size) const
{
    std::size_t packet = m_packetLeft;
    if (packet == 0 && size >= packetHead)
        packet = std::max<std::size_t>(static_cast<std::size_t>(data[1] << 8 | data[2]), packetHead);
    if (packet == 0)
        packet = size;
    return std::min({packet, size, m_sendUnit});
}

IoStatus PacketSocketStream::waitForRoom(Deadline deadline, bool again) const
{
    if (!again)
        return wait(POLLOUT, deadline);
    const Deadline pause = Deadline::earlier(deadline, Deadline::after(roomPause));
    if (waitFor(-1, 0, wakeup(), pause) == Wait::Woken)
        return IoStatus::Woken;
    return deadline.passed() ? IoStatus::TimedOut : IoStatus::Ok;
}

IoResult PacketSocketStream::write(const std::uint8_t *data, std::size_t size, Deadline deadline)
{
    std::size_t done = 0;
    bool refused = false;
    while (done < size) {
        const bool begins = m_packetLeft == 0;
        const std::size_t unit = nextUnit(data + done, size - done);
        const ssize_t sent = ::send(descriptor(), data + done, unit, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent > 0) {
            const auto count = static_cast<std::size_t>(sent);
            std::size_t packet = m_packetLeft;
            if (begins && size - done >= packetHead)
                packet = std::max<std::size_t>(static_cast<std::size_t>(data[done + 1] << 8 | data[done + 2]), count);
            m_packetLeft = packet > count ? packet - count : 0;
            done += count;
            refused = false;
        } else if (sent == 0 || errno == EAGAIN || errno == EWOULDBLOCK) {
            const IoStatus status = waitForRoom(deadline, refused);
            if (status != IoStatus::Ok)
                return {unlessClosed(status), done};
            refused = !refused;
        } else if (errno != EINTR) {
            return {unlessClosed(statusOfError(errno)), done};
        }
    }
    return {IoStatus::Ok, done};
}

} // namespace transport
