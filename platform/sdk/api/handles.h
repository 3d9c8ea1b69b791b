#ifndef API_HANDLES_H
#define API_HANDLES_H

#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <utility>
#include <vector>

namespace api {

/** What a handle names; told by its upper four bits, so that no handle is ever taken for one of another kind. */
enum class HandleKind : std::uint32_t { Device = 1, Shortcut = 2, Connection = 3, Server = 4 };

/** A handle that no call of this process has given in the last 2^28. */
std::uint32_t newHandle(HandleKind kind);

/** Whether newHandle() has given this handle. */
bool wasIssued(std::uint32_t handle, HandleKind kind);

/**
 * Objects by handle, shared: one that a thread has looked up lives until that thread lets go of it, whoever removes it
 * meanwhile. Every member may be called from any thread.
 */
template <class Object>
class HandleRegistry
{
public:
    explicit HandleRegistry(std::size_t limit) : m_limit(limit) {}

    /** @return false when there are too many, or none are let in any more */
    bool add(std::uint32_t handle, std::shared_ptr<Object> object)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_closed || m_objects.size() >= m_limit)
            return false;
        return m_objects.emplace(handle, std::move(object)).second;
    }

    std::shared_ptr<Object> find(std::uint32_t handle) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_objects.find(handle);
        return found == m_objects.end() ? nullptr : found->second;
    }

    /** Takes an object out. Of several callers one gets it, the others null. */
    std::shared_ptr<Object> take(std::uint32_t handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_objects.find(handle);
        if (found == m_objects.end())
            return nullptr;
        std::shared_ptr<Object> object = std::move(found->second);
        m_objects.erase(found);
        return object;
    }

    /** In the order of the handles, which is that of their making. */
    std::vector<std::shared_ptr<Object>> all() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<Object>> result;
        result.reserve(m_objects.size());
        for (const auto &entry : m_objects)
            result.push_back(entry.second);
        return result;
    }

    /** Lets nothing in any more. */
    void close()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }

private:
    const std::size_t m_limit;
    mutable std::mutex m_mutex;
    std::map<std::uint32_t, std::shared_ptr<Object>> m_objects;
    bool m_closed = false;
};

} // namespace api

#endif
