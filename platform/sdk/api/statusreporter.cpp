#include "api/statusreporter.h"

#include "obex/clientsession.h"

#include <algorithm>

namespace api {

StatusReporter::~StatusReporter()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_stopping = true;
        m_reports.clear();
        m_changed.notify_all();
    }
    if (m_thread.joinable())
        m_thread.join();
}

void StatusReporter::report(const obex::Progress &progress)
{
    if (!m_callback.isSet())
        return;
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool between = !progress.first && !progress.last;
    if (between && !m_reports.empty() && !m_reports.back().first && !m_reports.back().last) {
        m_reports.back().size = progress.size;
        m_reports.back().done = progress.done;
        return;
    }
    m_changed.wait(lock, [this] { return m_reports.size() < maxWaiting; });
    m_reports.push_back({progress.first, progress.last, progress.name, progress.size, progress.done});
    if (!m_thread.joinable())
        m_thread = std::thread(&StatusReporter::run, this);
    m_changed.notify_all();
}

void StatusReporter::finish(bool deliver)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (!deliver)
        m_reports.clear();
    m_changed.wait(lock, [this] { return m_reports.empty() && !m_delivering; });
}

void StatusReporter::run()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_changed.wait(lock, [this] { return m_stopping || !m_reports.empty(); });
        if (m_stopping)
            return;
        Report report = std::move(m_reports.front());
        m_reports.pop_front();
        m_delivering = true;
        lock.unlock();
        deliver(std::move(report));
        lock.lock();
        m_delivering = false;
        m_changed.notify_all();
    }
}

void StatusReporter::deliver(Report report)
{
    scaleTo32Bits(report.size, report.done);
    m_callback.call([&](BtsdkStatusCallback callback) {
        callback(report.first, report.last, reinterpret_cast<unsigned char *>(report.name.data()), report.size,
                 report.done);
    });
}

void scaleTo32Bits(std::uint64_t &size, std::uint64_t &done)
{
    if (size > UINT32_MAX) {
        const long double fraction = static_cast<long double>(done) / static_cast<long double>(size);
        done = static_cast<std::uint64_t>(std::min(fraction, 1.0L) * UINT32_MAX);
        size = UINT32_MAX;
    }
    done = std::min<std::uint64_t>(done, UINT32_MAX);
}

} // namespace api
