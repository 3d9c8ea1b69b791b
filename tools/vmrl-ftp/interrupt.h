#ifndef VMRLFTP_INTERRUPT_H
#define VMRLFTP_INTERRUPT_H

#include <atomic>
#include <thread>

namespace vmrlftp {

/**
 * Ctrl-C and SIGTERM. The first one cancels what runs and lets the program end by itself; a second one ends it at once.
 * Made before any other thread, so that all of them leave the signals to this one.
 */
class Interrupt
{
public:
    Interrupt();
    ~Interrupt();
    Interrupt(const Interrupt &) = delete;
    Interrupt &operator=(const Interrupt &) = delete;

    bool happened() const { return m_happened; }

    /** What a cancel concerns: a shortcut while it is dialled, a connection later; 0 for none. */
    void setShortcut(unsigned int shortcut) { m_shortcut = shortcut; }
    void setConnection(unsigned int connection) { m_connection = connection; }

private:
    void wait();
    void cancel() const;

    std::atomic<bool> m_happened{false};
    std::atomic<bool> m_ended{false};
    std::atomic<unsigned int> m_shortcut{0};
    std::atomic<unsigned int> m_connection{0};
    std::thread m_thread;
};

} // namespace vmrlftp

#endif
