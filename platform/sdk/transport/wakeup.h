#ifndef TRANSPORT_WAKEUP_H
#define TRANSPORT_WAKEUP_H

#include "transport/deadline.h"

namespace transport {

/** Owns a file descriptor. */
class Descriptor
{
public:
    explicit Descriptor(int fd = -1) : m_fd(fd) {}
    Descriptor(Descriptor &&other) noexcept : m_fd(other.release()) {}
    Descriptor &operator=(Descriptor &&other) noexcept;
    ~Descriptor();

    int get() const { return m_fd; }
    bool valid() const { return m_fd >= 0; }
    int release();

private:
    int m_fd;
};

/** A flag that poll() can wait for; every member may be called from any thread. */
class Wakeup
{
public:
    Wakeup();

    void notify();
    void clear();
    bool isSet() const;
    int descriptor() const { return m_event.get(); }

private:
    Descriptor m_event;
};

/** What ended a waitFor(). */
enum class Wait { Ready, TimedOut, Woken, Failed };

/** Waits until fd shows one of events (or an error, which the next call on fd will tell), the wake-up is set, or the
 *  deadline has passed. The wake-up wins when several hold. */
Wait waitFor(int fd, short events, const Wakeup &wakeup, Deadline deadline);

} // namespace transport

#endif
