#include "SignalWatch.h"

#include <QCoreApplication>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace manager {

namespace {

int writer = -1;

void wake(int number)
{
    const auto byte = static_cast<char>(number);
    (void)!write(writer, &byte, 1); // a full pipe has woken the loop already
}

} // namespace

SignalWatch::SignalWatch()
{
    int ends[2];
    if (pipe2(ends, O_CLOEXEC | O_NONBLOCK) != 0)
        return;
    m_reader = ends[0];
    writer = ends[1];
    m_notifier = std::make_unique<QSocketNotifier>(m_reader, QSocketNotifier::Read);
    QObject::connect(m_notifier.get(), &QSocketNotifier::activated, qApp, [this] {
        char byte = 0;
        (void)!read(m_reader, &byte, 1);
        QCoreApplication::quit();
    });
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        std::signal(number, &wake);
}

SignalWatch::~SignalWatch()
{
    for (const int number : {SIGINT, SIGTERM, SIGHUP})
        std::signal(number, SIG_DFL);
    m_notifier.reset();
    close(m_reader);
    close(std::exchange(writer, -1));
}

} // namespace manager
