#ifndef DEVICES_TRANSIENTSOURCE_H
#define DEVICES_TRANSIENTSOURCE_H

#include "devices/source.h"

#include <mutex>

namespace devices {

/** Network devices that are forgotten when the process ends. */
class TransientSource : public Source
{
public:
    static constexpr std::size_t maxDevices = 1000;

    /** @param ready  whether the network transport is on */
    explicit TransientSource(std::function<bool()> ready) : m_ready(std::move(ready)) {}

    std::vector<Device> devices() override;
    bool ready() override { return m_ready(); }
    std::unique_ptr<transport::Connector> connector(const Device &device) override;

    /** Adds a device, or renames the one of this address and port. @return false when there are too many */
    bool add(const Device &device);

    /** @return false when it is not there */
    bool remove(const Device &device);

private:
    const std::function<bool()> m_ready;
    std::mutex m_mutex;
    std::vector<Device> m_devices;
};

} // namespace devices

#endif
