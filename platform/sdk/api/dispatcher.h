#ifndef API_DISPATCHER_H
#define API_DISPATCHER_H

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>

namespace api {

/** Does jobs one at a time, in order, on a thread of its own that starts with the first. */
class Dispatcher
{
public:
    /** How many jobs may wait; a peer's doings can make no more, however slow the callbacks are. */
    static constexpr std::size_t maxWaiting = 10000;

    ~Dispatcher();

    /** Any thread. @param optional  left out when maxWaiting jobs wait already */
    void post(std::function<void()> job, bool optional = false);

    /** Does what waits, then ends the thread; later jobs are left out. Not from within a job. */
    void stop();

    bool isCurrentThread() const;

private:
    void run();

    mutable std::mutex m_mutex;
    std::condition_variable m_posted;
    std::deque<std::function<void()>> m_jobs;
    std::thread m_thread;
    bool m_stopping = false;
};

} // namespace api

#endif
