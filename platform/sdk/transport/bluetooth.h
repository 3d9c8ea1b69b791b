#ifndef TRANSPORT_BLUETOOTH_H
#define TRANSPORT_BLUETOOTH_H

#include "transport/servicesearch.h"
#include "transport/wakeup.h"

#include <functional>

namespace transport {

/** "AA:BB:CC:DD:EE:FF", upper case. */
bool isBluetoothAddress(const std::string &text);

/** Dials the file transfer service of a device: asks where it is, then takes L2CAP where that is offered, with Single
 *  Response Mode, else RFCOMM. */
class BluetoothConnector : public Connector
{
public:
    /**
     * @param source    address of the adapter to dial from
     * @param useL2cap  false for a device whose L2CAP is not to be trusted
     */
    BluetoothConnector(std::string source, std::string device, bool useL2cap = true);

    Dialled connect(Deadline deadline, const Wakeup &cancel) override;

private:
    Dialled dial(const FileTransferService &service, Deadline deadline, const Wakeup &cancel) const;

    const std::string m_source;
    const std::string m_device;
    const bool m_useL2cap;
};

/** Waits for callers on all adapters. */
class BluetoothListener : public Listener
{
public:
    /** @return null when this system has no Bluetooth, or nothing is free */
    static std::unique_ptr<BluetoothListener> listenRfcomm(bool secure);
    static std::unique_ptr<BluetoothListener> listenL2cap(bool secure);

    Dialled accept(Deadline deadline) override;
    void close() override { m_closed.notify(); }
    std::string address() const override;

    /** The RFCOMM channel or the PSM. */
    std::uint16_t port() const { return m_port; }

private:
    enum class Link { Rfcomm, L2cap };

    BluetoothListener(Descriptor socket, Link link, std::uint16_t port, bool secure);

    const Descriptor m_socket;
    const Link m_link;
    const std::uint16_t m_port;
    const bool m_secure;
    Wakeup m_closed;
};

} // namespace transport

#endif
