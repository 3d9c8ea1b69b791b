#ifndef DEVICES_BLUEZSOURCE_H
#define DEVICES_BLUEZSOURCE_H

#include "devices/bluez.h"
#include "devices/source.h"

namespace devices {

/** The Bluetooth devices that this computer is paired with, or that offer file transfer. */
class BluezSource : public Source
{
public:
    /**
     * @param bluez     outlives the source
     * @param useL2cap  whether L2CAP may be dialled; asked for each connection
     */
    BluezSource(Bluez &bluez, std::function<bool()> useL2cap) : m_bluez(bluez), m_useL2cap(std::move(useL2cap)) {}

    std::vector<Device> devices() override;
    bool ready() override { return m_bluez.state() == BluetoothState::Ready; }
    std::unique_ptr<transport::Connector> connector(const Device &device) override;
    void setListener(std::function<void()> changed) override { m_bluez.setListener(std::move(changed)); }

private:
    Bluez &m_bluez;
    const std::function<bool()> m_useL2cap;
};

/** What a source shows of a device. */
Device describe(const BluetoothDevice &device);

} // namespace devices

#endif
