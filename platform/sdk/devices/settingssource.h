#ifndef DEVICES_SETTINGSSOURCE_H
#define DEVICES_SETTINGSSOURCE_H

#include "devices/source.h"
#include "settings/settingsfile.h"

#include <mutex>
#include <sys/types.h>

namespace devices {

/**
 * The network devices of the settings file: sections DEVICE<n> with Name, Address and Port. Sections that miss one of
 * them, or hold one that is out of range, are passed over; of two with the same address and port the first counts.
 */
class SettingsSource : public Source
{
public:
    static constexpr std::size_t maxDevices = 1000;

    explicit SettingsSource(std::string path);

    std::vector<Device> devices() override;
    bool ready() override;
    std::unique_ptr<transport::Connector> connector(const Device &device) override;

    /** Adds a device, or renames the one of this address and port. @param device  isValidNetworkDevice() */
    settings::Outcome add(const Device &device);

    /** Takes a device out of the file. */
    settings::Outcome remove(const Device &device);

private:
    struct Stamp
    {
        bool exists = false;
        dev_t volume = 0;
        ino_t node = 0;
        off_t size = 0;
        timespec modified{};

        bool operator==(const Stamp &other) const;
    };

    Stamp stampNow() const;

    const std::string m_path;
    settings::SettingsFile m_file;
    std::mutex m_mutex;
    Stamp m_stamp;
    bool m_read = false;
    std::vector<Device> m_devices;
};

} // namespace devices

#endif
