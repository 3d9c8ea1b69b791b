#include "transport/wakeup.h"

#include <cerrno>
#include <cstdint>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>
#include <utility>

namespace transport {

Descriptor &Descriptor::operator=(Descriptor &&other) noexcept
{
    if (this != &other) {
        if (m_fd >= 0)
            ::close(m_fd);
        m_fd = other.release();
    }
    return *this;
}

Descriptor::~Descriptor()
{
    if (m_fd >= 0)
        ::close(m_fd);
}

int Descriptor::release()
{
    return std::exchange(m_fd, -1);
}

Wakeup::Wakeup() : m_event(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {}

void Wakeup::notify()
{
    const std::uint64_t one = 1;
    // It can only fail when the counter is at its maximum, and then the flag is set all the same.
    (void)!::write(m_event.get(), &one, sizeof one);
}

void Wakeup::clear()
{
    std::uint64_t count = 0;
    // Nothing to read means that it was clear already.
    (void)!::read(m_event.get(), &count, sizeof count);
}

bool Wakeup::isSet() const
{
    pollfd event{m_event.get(), POLLIN, 0};
    return ::poll(&event, 1, 0) == 1;
}

Wait waitFor(int fd, short events, const Wakeup &wakeup, Deadline deadline)
{
    for (;;) {
        pollfd sources[2] = {{fd, events, 0}, {wakeup.descriptor(), POLLIN, 0}};
        const int ready = ::poll(sources, 2, deadline.pollTime());
        if (ready == 0)
            return Wait::TimedOut;
        if (ready < 0) {
            if (errno == EINTR)
                continue;
            return Wait::Failed;
        }
        return sources[1].revents != 0 ? Wait::Woken : Wait::Ready;
    }
}

} // namespace transport
