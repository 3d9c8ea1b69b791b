#ifndef TRANSPORT_TCP_H
#define TRANSPORT_TCP_H

#include "transport/socketstream.h"

#include <cstdint>

namespace transport {

/** A TCP connection: packets of 65,535 bytes, Single Response Mode allowed, no waiting for more to send. */
class TcpStream : public SocketStream
{
public:
    TcpStream(Descriptor socket, std::string peer);
};

/** Dials a host by name or address. Names are looked up by a thread of its own, which the deadline does not wait for.
 */
class TcpConnector : public Connector
{
public:
    TcpConnector(std::string host, std::uint16_t port);

    Dialled connect(Deadline deadline, const Wakeup &cancel) override;

private:
    const std::string m_host;
    const std::uint16_t m_port;
};

/** Listens on one numeric address. */
class TcpListener : public Listener
{
public:
    /** @param port 0 for any free one. @return null when the address cannot be had */
    static std::unique_ptr<TcpListener> listen(const std::string &address, std::uint16_t port);

    Dialled accept(Deadline deadline) override;
    void close() override { m_closed.notify(); }
    std::string address() const override;
    std::uint16_t port() const;

private:
    explicit TcpListener(Descriptor socket) : m_socket(std::move(socket)) {}

    Descriptor m_socket;
    Wakeup m_closed;
};

} // namespace transport

#endif
