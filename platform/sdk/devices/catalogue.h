#ifndef DEVICES_CATALOGUE_H
#define DEVICES_CATALOGUE_H

#include "devices/source.h"

#include <map>
#include <mutex>
#include <optional>

namespace devices {

/** A device as the library's callers know it, by its handle and that of its file transfer shortcut. */
struct Known
{
    std::uint32_t device = 0;
    std::uint32_t shortcut = 0;
    Source *source = nullptr; /**< lives as long as the catalogue */
    Device data;

    /** The shortcut's display name, for people. */
    std::string shortcutName() const { return "File transfer on " + data.name; }
};

/**
 * All devices of all sources, with handles. A device keeps its handles while the catalogue lives, even when it goes
 * and comes back. Every member may be called from any thread.
 */
class Catalogue
{
public:
    enum class Handle { Device, Shortcut };
    using HandleMaker = std::function<std::uint32_t(Handle)>;

    /**
     * @param makeHandle  gives a new handle, never 0
     * @param changed     called, with no lock held, by whoever finds out that the devices are not what they were
     */
    Catalogue(HandleMaker makeHandle, std::function<void()> changed);
    ~Catalogue();

    /** Only before the first of the other calls; one that tells of its changes by itself goes last. */
    void addSource(std::unique_ptr<Source> source);

    /** All devices of this moment, source by source. Asks the sources, as the two below do. */
    std::vector<Known> list();
    std::optional<Known> findDevice(std::uint32_t handle);
    std::optional<Known> findShortcut(std::uint32_t handle);

    /** Whether any source can dial now. */
    bool ready();

private:
    struct Handles
    {
        std::uint32_t device = 0;
        std::uint32_t shortcut = 0;
    };

    Known describe(Source *source, Device device);

    const HandleMaker m_makeHandle;
    const std::function<void()> m_changed;
    std::vector<std::unique_ptr<Source>> m_sources;
    std::mutex m_mutex;
    std::map<std::pair<Source *, std::string>, Handles> m_handles;
    std::vector<Device> m_last;
    bool m_listed = false;
};

} // namespace devices

#endif
