#include "vmrl-ftp/interrupt.h"

#include "btsdk.h"
#include "vmrl-ftp/options.h"

#include <csignal>
#include <unistd.h>

namespace vmrlftp {

namespace {

sigset_t interruptSignals()
{
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    return signals;
}

} // namespace

Interrupt::Interrupt()
{
    const sigset_t signals = interruptSignals();
    (void)::pthread_sigmask(SIG_BLOCK, &signals, nullptr); // cannot fail with these arguments
    m_thread = std::thread(&Interrupt::wait, this);
}

Interrupt::~Interrupt()
{
    m_ended = true;
    (void)::pthread_kill(m_thread.native_handle(), SIGTERM); // wakes the wait
    m_thread.join();
}

void Interrupt::cancel() const
{
    // Whether something still ran shows in the call that it ends.
    if (const unsigned int connection = m_connection)
        (void)Btsdk_FTPCancelTransfer(connection);
    else
        (void)Btsdk_DisconnectShortCut(m_shortcut);
}

void Interrupt::wait()
{
    const sigset_t signals = interruptSignals();
    constexpr timespec pause{0, 50'000'000};
    for (;;) {
        // Once cancelled, always cancelled: the next step of a command may just be about to start.
        const int signal = m_happened ? ::sigtimedwait(&signals, nullptr, &pause) : ::sigwaitinfo(&signals, nullptr);
        if (m_ended)
            return;
        if (signal > 0 && m_happened.exchange(true))
            ::_exit(ExitCancelled);
        if (m_happened)
            cancel();
    }
}

} // namespace vmrlftp
