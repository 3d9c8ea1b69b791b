#ifndef MANAGER_SIGNALWATCH_H
#define MANAGER_SIGNALWATCH_H

#include <QSocketNotifier>

#include <memory>

namespace manager {

/** Ends the event loop on SIGINT, SIGTERM and SIGHUP, so that the program leaves nothing behind. One at a time. */
class SignalWatch
{
public:
    SignalWatch();
    ~SignalWatch();
    SignalWatch(const SignalWatch &) = delete;
    SignalWatch &operator=(const SignalWatch &) = delete;

private:
    int m_reader = -1;
    std::unique_ptr<QSocketNotifier> m_notifier;
};

} // namespace manager

#endif
