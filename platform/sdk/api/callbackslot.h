#ifndef API_CALLBACKSLOT_H
#define API_CALLBACKSLOT_H

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <mutex>
#include <thread>

namespace api {

/**
 * Holds a callback that somebody else may take away at any time. set() returns when the one that it replaces is not
 * running any more, so that what it uses may then go. Every member may be called from any thread; call() does not
 * serialise: who calls from several threads at once has the callback run on several.
 */
template <class Callback>
class CallbackSlot
{
public:
    /** @return false, and nothing changes, when called from within the callback */
    bool set(Callback callback)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (isInside())
            return false;
        m_callback = callback;
        const std::uint64_t own = ++m_generation;
        m_ended.wait(lock, [&] {
            return std::none_of(m_running.begin(), m_running.end(),
                                [&](const Running &running) { return running.generation < own; });
        });
        return true;
    }

    /** Hands the callback to body, when one is set; body calls it. */
    template <class Body>
    void call(Body body)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        if (!m_callback)
            return;
        const Callback callback = m_callback;
        const auto self = m_running.insert(m_running.end(), {std::this_thread::get_id(), m_generation});
        lock.unlock();
        body(callback);
        lock.lock();
        m_running.erase(self);
        m_ended.notify_all();
    }

    bool isSet() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return static_cast<bool>(m_callback);
    }

    bool runsOnThisThread() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return isInside();
    }

private:
    struct Running
    {
        std::thread::id thread;
        std::uint64_t generation;
    };

    bool isInside() const
    {
        return std::any_of(m_running.begin(), m_running.end(),
                           [](const Running &running) { return running.thread == std::this_thread::get_id(); });
    }

    mutable std::mutex m_mutex;
    std::condition_variable m_ended;
    Callback m_callback{};
    std::uint64_t m_generation = 0; // counts the callbacks that were set
    std::list<Running> m_running;
};

} // namespace api

#endif
