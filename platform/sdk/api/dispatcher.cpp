#include "api/dispatcher.h"

namespace api {

Dispatcher::~Dispatcher()
{
    stop();
}

void Dispatcher::post(std::function<void()> job, bool optional)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_stopping || (optional && m_jobs.size() >= maxWaiting))
        return;
    m_jobs.push_back(std::move(job));
    if (!m_thread.joinable())
        m_thread = std::thread(&Dispatcher::run, this);
    m_posted.notify_one();
}

void Dispatcher::stop()
{
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        thread.swap(m_thread);
        m_posted.notify_one();
    }
    if (thread.joinable())
        thread.join();
}

bool Dispatcher::isCurrentThread() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_thread.get_id() == std::this_thread::get_id();
}

void Dispatcher::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_posted.wait(lock, [this] { return m_stopping || !m_jobs.empty(); });
        if (m_jobs.empty())
            return;
        const std::function<void()> job = std::move(m_jobs.front());
        m_jobs.pop_front();
        lock.unlock();
        job();
        lock.lock();
    }
}

} // namespace api
