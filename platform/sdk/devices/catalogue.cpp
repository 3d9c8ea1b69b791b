#include "devices/catalogue.h"

namespace devices {

Catalogue::Catalogue(HandleMaker makeHandle, std::function<void()> changed)
    : m_makeHandle(std::move(makeHandle)), m_changed(std::move(changed))
{
}

Catalogue::~Catalogue()
{
    for (const auto &source : m_sources)
        source->setListener({});
}

void Catalogue::addSource(std::unique_ptr<Source> source)
{
    m_sources.push_back(std::move(source));
    // Last: its thread may call back at once, and the listener reads the list of sources.
    m_sources.back()->setListener(m_changed);
}

Known Catalogue::describe(Source *source, Device device)
{
    Handles &handles = m_handles[{source, device.id}];
    if (handles.device == 0)
        handles = {m_makeHandle(Handle::Device), m_makeHandle(Handle::Shortcut)};
    return {handles.device, handles.shortcut, source, std::move(device)};
}

std::vector<Known> Catalogue::list()
{
    std::vector<Known> known;
    bool changed = false;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<Device> all;
        for (const auto &source : m_sources) {
            for (Device &device : source->devices()) {
                all.push_back(device);
                known.push_back(describe(source.get(), std::move(device)));
            }
        }
        changed = m_listed && all != m_last;
        m_last = std::move(all);
        m_listed = true;
    }
    if (changed)
        m_changed();
    return known;
}

std::optional<Known> Catalogue::findDevice(std::uint32_t handle)
{
    for (Known &known : list()) {
        if (known.device == handle)
            return std::move(known);
    }
    return std::nullopt;
}

std::optional<Known> Catalogue::findShortcut(std::uint32_t handle)
{
    for (Known &known : list()) {
        if (known.shortcut == handle)
            return std::move(known);
    }
    return std::nullopt;
}

bool Catalogue::ready()
{
    for (const auto &source : m_sources) {
        if (source->ready())
            return true;
    }
    return false;
}

} // namespace devices
