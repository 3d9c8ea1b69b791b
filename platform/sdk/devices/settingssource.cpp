#include "devices/settingssource.h"

#include "transport/tcp.h"

#include <algorithm>
#include <cctype>
#include <strings.h>
#include <sys/stat.h>

namespace devices {

namespace {

constexpr char prefix[] = "DEVICE";
constexpr std::size_t prefixLength = sizeof prefix - 1;

bool isDeviceSection(const std::string &section)
{
    return section.size() > prefixLength && ::strncasecmp(section.c_str(), prefix, prefixLength) == 0 &&
           std::all_of(section.begin() + prefixLength, section.end(),
                       [](unsigned char c) { return std::isdigit(c) != 0; });
}

std::vector<Device> readDevices(const settings::Document &document)
{
    std::vector<Device> devices;
    for (const std::string &section : document.sections()) {
        if (!isDeviceSection(section) || devices.size() >= SettingsSource::maxDevices)
            continue;
        const std::string name = document.value(section, "Name").value_or("");
        const std::string address = document.value(section, "Address").value_or("");
        const int port = settings::toInt(document.value(section, "Port").value_or(""), 0);
        if (port < 0 || !isValidNetworkDevice(name, address, static_cast<unsigned int>(port)))
            continue;
        Device device;
        device.id = networkId(address, static_cast<std::uint16_t>(port));
        device.name = name;
        device.address = address;
        device.port = static_cast<std::uint16_t>(port);
        const auto same = [&](const Device &other) { return other.id == device.id; };
        if (std::none_of(devices.begin(), devices.end(), same))
            devices.push_back(std::move(device));
    }
    return devices;
}

// The section of the device with this address and port, or a free one.
std::string sectionFor(const settings::Document &document, const std::string &id, bool *found)
{
    std::vector<std::string> numbers;
    *found = false;
    for (const std::string &section : document.sections()) {
        if (!isDeviceSection(section))
            continue;
        const int port = settings::toInt(document.value(section, "Port").value_or(""), 0);
        if (networkId(document.value(section, "Address").value_or(""), static_cast<std::uint16_t>(port)) == id) {
            *found = true;
            return section;
        }
        numbers.push_back(section.substr(prefixLength));
    }
    std::size_t number = 1;
    while (std::find(numbers.begin(), numbers.end(), std::to_string(number)) != numbers.end())
        ++number;
    return prefix + std::to_string(number);
}

} // namespace

bool SettingsSource::Stamp::operator==(const Stamp &other) const
{
    return exists == other.exists && volume == other.volume && node == other.node && size == other.size &&
           modified.tv_sec == other.modified.tv_sec && modified.tv_nsec == other.modified.tv_nsec;
}

SettingsSource::SettingsSource(std::string path) : m_path(std::move(path)), m_file(m_path) {}

SettingsSource::Stamp SettingsSource::stampNow() const
{
    Stamp stamp;
    struct stat status;
    if (::stat(m_path.c_str(), &status) == 0)
        stamp = {true, status.st_dev, status.st_ino, status.st_size, status.st_mtim};
    return stamp;
}

std::vector<Device> SettingsSource::devices()
{
    const bool isReady = ready();
    const std::lock_guard<std::mutex> lock(m_mutex);
    // Taken before the reading: a write in between is then found the next time.
    const Stamp stamp = stampNow();
    if (!m_read || !(stamp == m_stamp)) {
        settings::Document document;
        if (m_file.read(document)) { // while it cannot be read, what was known stays
            m_devices = readDevices(document);
            m_stamp = stamp;
            m_read = true;
        }
    }
    for (Device &device : m_devices)
        device.reachable = isReady;
    return m_devices;
}

bool SettingsSource::ready()
{
    return m_file.intValue("NETWORK", "Enabled", 1) != 0;
}

std::unique_ptr<transport::Connector> SettingsSource::connector(const Device &device)
{
    return std::make_unique<transport::TcpConnector>(device.address, device.port);
}

settings::Outcome SettingsSource::add(const Device &device)
{
    return m_file.update([&](settings::Document &document) {
        bool found = false;
        const std::string section = sectionFor(document, device.id, &found);
        if (!found && readDevices(document).size() >= maxDevices)
            return false;
        return document.setValue(section, "Name", device.name) &&
               document.setValue(section, "Address", device.address) &&
               document.setValue(section, "Port", std::to_string(device.port));
    });
}

settings::Outcome SettingsSource::remove(const Device &device)
{
    return m_file.update([&](settings::Document &document) {
        bool found = true;
        for (;;) { // the same device may stand there twice
            const std::string section = sectionFor(document, device.id, &found);
            if (!found)
                return true;
            document.removeSection(section);
        }
    });
}

} // namespace devices
