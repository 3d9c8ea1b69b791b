#ifndef TRANSPORT_SOCKETSTREAM_H
#define TRANSPORT_SOCKETSTREAM_H

#include "transport/stream.h"
#include "transport/wakeup.h"

#include <atomic>

namespace transport {

/** What the outcome of a wait means to the call that waited; Ready becomes Ok. */
IoStatus statusOf(Wait wait);

/** A stream over a connected stream socket of any family: TCP, a socket pair, RFCOMM. */
class SocketStream : public Stream
{
public:
    /** What the kind of link allows: see the functions of Stream that answer with it. */
    struct Traits
    {
        std::size_t maxPacket = 65535;
        bool supportsSrm = true;
        bool authenticated = false;
    };

    /** Takes over a connected socket. */
    SocketStream(Descriptor socket, Traits traits, std::string peer);

    IoResult read(std::uint8_t *data, std::size_t size, Deadline deadline) override;
    IoResult write(const std::uint8_t *data, std::size_t size, Deadline deadline) override;
    void wake() override { m_wakeup.notify(); }
    void clearWake() override { m_wakeup.clear(); }
    void close() override;
    int descriptor() const override { return m_socket.get(); }
    std::size_t maxPacket() const override { return m_traits.maxPacket; }
    bool supportsSrm() const override { return m_traits.supportsSrm; }
    std::string peer() const override { return m_peer; }
    bool isAuthenticated() const override { return m_traits.authenticated; }

protected:
    /** What a read or write that moved nothing returns: whether close() was called comes first. */
    IoStatus unlessClosed(IoStatus status) const { return m_closed ? IoStatus::Closed : status; }
    IoStatus wait(short events, Deadline deadline) const;
    const Wakeup &wakeup() const { return m_wakeup; }
    static IoStatus statusOfError(int error);

private:
    Descriptor m_socket;
    Wakeup m_wakeup;
    const Traits m_traits;
    const std::string m_peer;
    std::atomic<bool> m_closed{false};
    bool m_expectWait = false; /**< the reader's: the socket was emptied last time */
};

} // namespace transport

#endif
