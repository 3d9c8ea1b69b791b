#ifndef API_CALLBACKSLOT_H
#define API_CALLBACKSLOT_H

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace api {

/**
 * Holds a callback that somebody else may take away at any time. set() returns when the one that it replaces is not
 * running any more, so that what it uses may then go. Every member may be called from any thread; calls are made one
 * at a time.
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
        m_idle.wait(lock, [this] { return !m_running; });
        return true;
    }

    /** Hands the callback to body, when one is set; body calls it. */
    template <class Body>
    void call(Body body)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_idle.wait(lock, [this] { return !m_running; });
        if (!m_callback)
            return;
        const Callback callback = m_callback;
        m_running = true;
        m_runner = std::this_thread::get_id();
        lock.unlock();
        body(callback);
        lock.lock();
        m_running = false;
        m_runner = {};
        m_idle.notify_all();
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
    bool isInside() const { return m_running && m_runner == std::this_thread::get_id(); }

    mutable std::mutex m_mutex;
    std::condition_variable m_idle;
    Callback m_callback{};
    bool m_running = false;
    std::thread::id m_runner;
};

} // namespace api

#endif
