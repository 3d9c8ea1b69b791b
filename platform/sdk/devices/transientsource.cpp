#include "devices/transientsource.h"

#include "transport/tcp.h"

#include <algorithm>

namespace devices {

std::vector<Device> TransientSource::devices()
{
    const bool isReady = ready();
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Device &device : m_devices)
        device.reachable = isReady;
    return m_devices;
}

std::unique_ptr<transport::Connector> TransientSource::connector(const Device &device)
{
    return std::make_unique<transport::TcpConnector>(device.address, device.port);
}

bool TransientSource::add(const Device &device)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto same = [&](const Device &other) { return other.id == device.id; };
    const auto found = std::find_if(m_devices.begin(), m_devices.end(), same);
    if (found != m_devices.end()) {
        found->name = device.name;
        return true;
    }
    if (m_devices.size() >= maxDevices)
        return false;
    m_devices.push_back(device);
    return true;
}

bool TransientSource::remove(const Device &device)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto same = [&](const Device &other) { return other.id == device.id; };
    const auto found = std::find_if(m_devices.begin(), m_devices.end(), same);
    if (found == m_devices.end())
        return false;
    m_devices.erase(found);
    return true;
}

} // namespace devices
