#include "transport/bluetooth.h"

#include "transport/packetsocketstream.h"

#include <algorithm>
#include <array>
#include <bluetooth/bluetooth.h>
#include <bluetooth/l2cap.h>
#include <bluetooth/rfcomm.h>
#include <cctype>
#include <cerrno>
#include <poll.h>
#include <sys/socket.h>
#include <utility>

namespace transport {

namespace {

/** Large enough that the answer to each packet costs little, small enough that a cancelled transfer ends soon on a slow
 *  link. */
constexpr std::size_t rfcommPacket = 32767;

/** With Single Response Mode packets need no size to be fast. The kernel keeps a unit in many small frames that take
 *  several times its room, and a unit that is large beside the socket's buffers makes the link stand still. */
constexpr std::uint16_t l2capUnit = 8192;

/** RFCOMM channels for our own server, those first that no service of a usual desktop asks for by number. */
constexpr std::array<std::uint8_t, 18> channels = {27, 28, 29, 30, 25, 26, 23, 22, 21, 20, 19, 18, 8, 7, 6, 5, 4, 2};

/** PSMs for our own server. They lie above those that the kernel gives to whoever asks for any: it gives the same one
 * for one adapter that is taken for all adapters, and callers then reach the other program. */
constexpr std::uint16_t firstPsm = 0x1281;
constexpr std::uint16_t lastPsm = 0x128f;

/** On a fresh link a device may refuse the first connection, since it does not know yet how the link is encrypted. */
constexpr int attempts = 2;

Descriptor makeSocket(int type, int protocol)
{
    return Descriptor(::socket(AF_BLUETOOTH, type | SOCK_CLOEXEC | SOCK_NONBLOCK, protocol));
}

sockaddr_rc rfcommAddress(const bdaddr_t &device, std::uint8_t channel)
{
    sockaddr_rc address{};
    address.rc_family = AF_BLUETOOTH;
    address.rc_bdaddr = device;
    address.rc_channel = channel;
    return address;
}

sockaddr_l2 l2capAddress(const bdaddr_t &device, std::uint16_t psm)
{
    sockaddr_l2 address{};
    address.l2_family = AF_BLUETOOTH;
    address.l2_bdaddr = device;
    address.l2_psm = htobs(psm);
    address.l2_bdaddr_type = BDADDR_BREDR;
    return address;
}

template <class Address>
bool bindTo(const Descriptor &socket, const Address &address)
{
    return ::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
}

bool setSecurity(const Descriptor &socket, std::uint8_t level)
{
    bt_security security{};
    security.level = level;
    return ::setsockopt(socket.get(), SOL_BLUETOOTH, BT_SECURITY, &security, sizeof security) == 0;
}

/** Frames that are lost are sent again, and units may be larger than a frame: what OBEX needs of L2CAP (GOEP 2.1). */
bool setRetransmission(const Descriptor &socket)
{
    l2cap_options options{};
    socklen_t size = sizeof options;
    if (::getsockopt(socket.get(), SOL_L2CAP, L2CAP_OPTIONS, &options, &size) != 0)
        return false;
    options.imtu = l2capUnit;
    options.omtu = l2capUnit;
    options.mode = L2CAP_MODE_ERTM;
    options.fcs = 1;
    return ::setsockopt(socket.get(), SOL_L2CAP, L2CAP_OPTIONS, &options, sizeof options) == 0;
}

template <class Address>
IoStatus connectTo(const Descriptor &socket, const Address &address, Deadline deadline, const Wakeup &cancel)
{
    if (::connect(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0)
        return IoStatus::Ok;
    if (errno != EINPROGRESS && errno != EINTR && errno != EAGAIN)
        return IoStatus::Failed;
    const IoStatus status = statusOf(waitFor(socket.get(), POLLOUT, cancel, deadline));
    if (status != IoStatus::Ok)
        return status;
    int error = 0;
    socklen_t size = sizeof error;
    const bool known = ::getsockopt(socket.get(), SOL_SOCKET, SO_ERROR, &error, &size) == 0;
    return known && error == 0 ? IoStatus::Ok : IoStatus::Failed;
}

std::string textOf(const bdaddr_t &address)
{
    char text[18] = "";
    (void)::ba2str(&address, text);
    return text;
}

std::unique_ptr<Stream> rfcommStream(Descriptor socket, std::string peer, bool authenticated)
{
    return std::make_unique<SocketStream>(std::move(socket), SocketStream::Traits{rfcommPacket, false, authenticated},
                                          std::move(peer));
}

std::unique_ptr<Stream> l2capStream(Descriptor socket, std::string peer, bool authenticated)
{
    l2cap_options options{};
    socklen_t size = sizeof options;
    if (::getsockopt(socket.get(), SOL_L2CAP, L2CAP_OPTIONS, &options, &size) != 0)
        return nullptr;
    // What the peer takes it says itself, in its CONNECT.
    return std::make_unique<PacketSocketStream>(std::move(socket),
                                                SocketStream::Traits{options.imtu, true, authenticated},
                                                std::move(peer), options.imtu, options.omtu);
}

Dialled dialled(std::unique_ptr<Stream> stream)
{
    Dialled result;
    result.status = stream ? IoStatus::Ok : IoStatus::Failed;
    result.stream = std::move(stream);
    return result;
}

Dialled dialL2cap(const bdaddr_t &from, const bdaddr_t &to, std::uint16_t psm, Deadline deadline, const Wakeup &cancel)
{
    Descriptor socket = makeSocket(SOCK_SEQPACKET, BTPROTO_L2CAP);
    if (!socket.valid() || !bindTo(socket, l2capAddress(from, 0)) || !setRetransmission(socket))
        return {};
    const IoStatus status = connectTo(socket, l2capAddress(to, psm), deadline, cancel);
    if (status != IoStatus::Ok)
        return {nullptr, status};
    return dialled(l2capStream(std::move(socket), textOf(to), false));
}

Dialled dialRfcomm(const bdaddr_t &from, const bdaddr_t &to, std::uint8_t channel, Deadline deadline,
                   const Wakeup &cancel)
{
    Descriptor socket = makeSocket(SOCK_STREAM, BTPROTO_RFCOMM);
    if (!socket.valid() || !bindTo(socket, rfcommAddress(from, 0)))
        return {};
    const IoStatus status = connectTo(socket, rfcommAddress(to, channel), deadline, cancel);
    if (status != IoStatus::Ok)
        return {nullptr, status};
    return dialled(rfcommStream(std::move(socket), textOf(to), false));
}

} // namespace

bool isBluetoothAddress(const std::string &text)
{
    if (text.size() != 17)
        return false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto c = static_cast<unsigned char>(text[i]);
        if (i % 3 == 2 ? c != ':' : (std::isxdigit(c) == 0 || std::islower(c) != 0))
            return false;
    }
    return true;
}

BluetoothConnector::BluetoothConnector(std::string source, std::string device, bool useL2cap)
    : m_source(std::move(source)), m_device(std::move(device)), m_useL2cap(useL2cap)
{
}

Dialled BluetoothConnector::dial(const FileTransferService &service, Deadline deadline, const Wakeup &cancel) const
{
    bdaddr_t from;
    bdaddr_t to;
    if (::str2ba(m_source.c_str(), &from) != 0 || ::str2ba(m_device.c_str(), &to) != 0)
        return {};
    Dialled result;
    for (int attempt = 0; m_useL2cap && service.psm != 0 && attempt < attempts; ++attempt) {
        result = dialL2cap(from, to, service.psm, deadline, cancel);
        if (result.status != IoStatus::Failed)
            return result;
    }
    for (int attempt = 0; service.channel != 0 && attempt < attempts; ++attempt) {
        result = dialRfcomm(from, to, service.channel, deadline, cancel);
        if (result.status != IoStatus::Failed)
            return result;
    }
    return result;
}

Dialled BluetoothConnector::connect(Deadline deadline, const Wakeup &cancel)
{
    ServiceSearch search;
    for (int attempt = 0; attempt < attempts && search.status == IoStatus::Failed; ++attempt)
        search = searchFileTransfer(m_source, m_device, deadline, cancel);
    Dialled result;
    result.status = search.status == IoStatus::Ok ? IoStatus::Failed : search.status;
    result.lacksService = search.status == IoStatus::Ok && search.services.empty();
    for (const FileTransferService &service : search.services) {
        result = dial(service, deadline, cancel);
        if (result.status != IoStatus::Failed)
            break;
    }
    return result;
}

BluetoothListener::BluetoothListener(Descriptor socket, Link link, std::uint16_t port, bool secure)
    : m_socket(std::move(socket)), m_link(link), m_port(port), m_secure(secure)
{
}

namespace {

constexpr int backlog = 8;

std::uint8_t levelFor(bool secure)
{
    return secure ? BT_SECURITY_MEDIUM : BT_SECURITY_LOW;
}

} // namespace

std::unique_ptr<BluetoothListener> BluetoothListener::listenRfcomm(bool secure)
{
    for (const std::uint8_t channel : channels) {
        Descriptor socket = makeSocket(SOCK_STREAM, BTPROTO_RFCOMM);
        if (!socket.valid())
            return nullptr;
        if (bindTo(socket, rfcommAddress(bdaddr_t{}, channel)) && setSecurity(socket, levelFor(secure)) &&
            ::listen(socket.get(), backlog) == 0)
            return std::unique_ptr<BluetoothListener>(
                new BluetoothListener(std::move(socket), Link::Rfcomm, channel, secure));
    }
    return nullptr;
}

std::unique_ptr<BluetoothListener> BluetoothListener::listenL2cap(bool secure)
{
    for (std::uint16_t psm = firstPsm; psm <= lastPsm; psm = static_cast<std::uint16_t>(psm + 2)) {
        Descriptor socket = makeSocket(SOCK_SEQPACKET, BTPROTO_L2CAP);
        if (!socket.valid() || !setRetransmission(socket))
            return nullptr;
        if (bindTo(socket, l2capAddress(bdaddr_t{}, psm)) && setSecurity(socket, levelFor(secure)) &&
            ::listen(socket.get(), backlog) == 0)
            return std::unique_ptr<BluetoothListener>(
                new BluetoothListener(std::move(socket), Link::L2cap, psm, secure));
    }
    return nullptr;
}

Dialled BluetoothListener::accept(Deadline deadline)
{
    for (;;) {
        const IoStatus status = statusOf(waitFor(m_socket.get(), POLLIN, m_closed, deadline));
        if (status != IoStatus::Ok)
            return {nullptr, status == IoStatus::Woken ? IoStatus::Closed : status};
        sockaddr_storage peer{};
        socklen_t size = sizeof peer;
        Descriptor socket(
            ::accept4(m_socket.get(), reinterpret_cast<sockaddr *>(&peer), &size, SOCK_CLOEXEC | SOCK_NONBLOCK));
        if (socket.valid() && m_link == Link::Rfcomm)
            return dialled(rfcommStream(std::move(socket),
                                        textOf(reinterpret_cast<const sockaddr_rc *>(&peer)->rc_bdaddr), m_secure));
        if (socket.valid())
            return dialled(l2capStream(std::move(socket),
                                       textOf(reinterpret_cast<const sockaddr_l2 *>(&peer)->l2_bdaddr), m_secure));
        if (errno != EAGAIN && errno != EINTR && errno != ECONNABORTED)
            return {};
    }
}

std::string BluetoothListener::address() const
{
    return m_link == Link::Rfcomm ? "Bluetooth channel " + std::to_string(m_port)
                                  : "Bluetooth PSM " + std::to_string(m_port);
}

} // namespace transport
