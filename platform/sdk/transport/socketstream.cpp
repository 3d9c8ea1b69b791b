#include "transport/socketstream.h"

#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace transport {

IoStatus statusOf(Wait wait)
{
    switch (wait) {
    case Wait::Ready:
        return IoStatus::Ok;
    case Wait::TimedOut:
        return IoStatus::TimedOut;
    case Wait::Woken:
        return IoStatus::Woken;
    case Wait::Failed:
        break;
    }
    return IoStatus::Failed;
}

SocketStream::SocketStream(Descriptor socket, Traits traits, std::string peer)
    : m_socket(std::move(socket)), m_traits(traits), m_peer(std::move(peer))
{
}

IoStatus SocketStream::wait(short events, Deadline deadline) const
{
    return statusOf(waitFor(m_socket.get(), events, m_wakeup, deadline));
}

IoStatus SocketStream::statusOfError(int error)
{
    return error == ECONNRESET || error == EPIPE || error == ENOTCONN ? IoStatus::Closed : IoStatus::Failed;
}

IoResult SocketStream::read(std::uint8_t *data, std::size_t size, Deadline deadline)
{
    for (;;) {
        // A reader that had to wait last time most likely has to wait again: poll first and spare a failing recv.
        if (m_expectWait) {
            const IoStatus status = wait(POLLIN, deadline);
            if (status != IoStatus::Ok)
                return {unlessClosed(status), 0};
        }
        const ssize_t got = ::recv(m_socket.get(), data, size, MSG_DONTWAIT);
        if (got > 0) {
            m_expectWait = static_cast<std::size_t>(got) < size;
            return {IoStatus::Ok, static_cast<std::size_t>(got)};
        }
        if (got == 0)
            return {IoStatus::Closed, 0};
        if (errno == EAGAIN || errno == EWOULDBLOCK)
            m_expectWait = true;
        else if (errno != EINTR)
            return {unlessClosed(statusOfError(errno)), 0};
    }
}

IoResult SocketStream::write(const std::uint8_t *data, std::size_t size, Deadline deadline)
{
    std::size_t done = 0;
    while (done < size) {
        const ssize_t sent = ::send(m_socket.get(), data + done, size - done, MSG_DONTWAIT | MSG_NOSIGNAL);
        if (sent >= 0) {
            done += static_cast<std::size_t>(sent);
        } else if (errno == EAGAIN || errno == EWOULDBLOCK) {
            const IoStatus status = wait(POLLOUT, deadline);
            if (status != IoStatus::Ok)
                return {unlessClosed(status), done};
        } else if (errno != EINTR) {
            return {unlessClosed(statusOfError(errno)), done};
        }
    }
    return {IoStatus::Ok, done};
}

void SocketStream::close()
{
    m_closed = true;
    // It fails when the peer has gone already, which is as good.
    (void)::shutdown(m_socket.get(), SHUT_RDWR);
}

} // namespace transport
