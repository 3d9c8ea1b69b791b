#include "transport/linkwatcher.h"

#include "transport/stream.h"

#include <map>
#include <mutex>
#include <sys/epoll.h>
#include <thread>

namespace transport {

class LinkWatcher::Private
{
public:
    Private();
    ~Private();

    std::uint64_t watch(int fd, Lost lost);
    void unwatch(std::uint64_t number);

private:
    struct Link
    {
        int fd;
        Lost lost;
    };

    void run();
    void report(std::uint64_t number);

    std::mutex m_mutex; // held while a callback runs: that is what unwatch() waits for
    std::map<std::uint64_t, Link> m_links;
    std::uint64_t m_last = 0; // number 0 is the stop event's
    Descriptor m_epoll;
    Wakeup m_stop;
    std::thread m_thread;
};

LinkWatcher::Private::Private() : m_epoll(::epoll_create1(EPOLL_CLOEXEC))
{
    epoll_event event{};
    event.events = EPOLLIN;
    (void)::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, m_stop.descriptor(), &event);
    m_thread = std::thread([this] { run(); });
}

LinkWatcher::Private::~Private()
{
    m_stop.notify();
    m_thread.join();
}

std::uint64_t LinkWatcher::Private::watch(int fd, Lost lost)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::uint64_t number = ++m_last;
    epoll_event event{};
    event.events = EPOLLRDHUP | EPOLLONESHOT;
    event.data.u64 = number;
    if (::epoll_ctl(m_epoll.get(), EPOLL_CTL_ADD, fd, &event) != 0)
        return 0;
    m_links.emplace(number, Link{fd, std::move(lost)});
    return number;
}

void LinkWatcher::Private::unwatch(std::uint64_t number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto link = m_links.find(number);
    if (link == m_links.end())
        return;
    (void)::epoll_ctl(m_epoll.get(), EPOLL_CTL_DEL, link->second.fd, nullptr);
    m_links.erase(link);
}

void LinkWatcher::Private::report(std::uint64_t number)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto link = m_links.find(number);
    if (link != m_links.end())
        link->second.lost();
}

void LinkWatcher::Private::run()
{
    while (!m_stop.isSet()) {
        epoll_event events[16];
        const int count = ::epoll_wait(m_epoll.get(), events, 16, -1);
        for (int i = 0; i < count; ++i) {
            if (events[i].data.u64 != 0)
                report(events[i].data.u64);
        }
    }
}

LinkWatcher::LinkWatcher() : d(std::make_unique<Private>()) {}

LinkWatcher::~LinkWatcher() = default;

std::uint64_t LinkWatcher::watch(const Stream &stream, Lost lost)
{
    return d->watch(stream.descriptor(), std::move(lost));
}

void LinkWatcher::unwatch(std::uint64_t number)
{
    d->unwatch(number);
}

} // namespace transport
