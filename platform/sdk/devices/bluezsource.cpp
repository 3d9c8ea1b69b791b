#include "devices/bluezsource.h"

#include "transport/bluetooth.h"

namespace devices {

Device describe(const BluetoothDevice &device)
{
    Device shown;
    shown.id = device.adapter + '\n' + device.address;
    shown.name = device.name;
    shown.address = device.address;
    shown.adapter = device.adapter;
    shown.kind = Kind::Bluetooth;
    shown.paired = device.paired;
    shown.reachable = device.powered;
    shown.offersFileTransfer = device.offersFileTransfer;
    return shown;
}

std::vector<Device> BluezSource::devices()
{
    std::vector<Device> shown;
    for (const BluetoothDevice &device : m_bluez.devices())
        shown.push_back(describe(device));
    return shown;
}

std::unique_ptr<transport::Connector> BluezSource::connector(const Device &device)
{
    return std::make_unique<transport::BluetoothConnector>(device.adapter, device.address, m_useL2cap());
}

} // namespace devices
