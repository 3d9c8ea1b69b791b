#ifndef API_STATUSREPORTER_H
#define API_STATUSREPORTER_H

#include "api/callbackslot.h"
#include "btsdk.h"

#include <cstdint>
#include <deque>
#include <string>

namespace obex {
struct Progress;
}

namespace api {

/**
 * Hands the progress of one connection's transfers to the status callback, on a thread of its own that starts with the
 * first report. The first and last report of each file always arrive; of those between, the newest of what waits.
 */
class StatusReporter
{
public:
    ~StatusReporter();

    /** Sets the callback; returns when the one before is not running any more. Any thread. @return false, and nothing
     *  changes, when called from within the callback */
    bool setCallback(BtsdkStatusCallback callback) { return m_callback.set(callback); }

    bool runsOnThisThread() const { return m_callback.runsOnThisThread(); }

    /** Takes a report, on the thread of the transfer; waits for a callback that lags far behind. */
    void report(const obex::Progress &progress);

    /** Ends a transfer: returns when the callback has had everything and is not running any more. On the thread of the
     *  transfer. @param deliver  whether what waits is still handed over */
    void finish(bool deliver);

private:
    static constexpr std::size_t maxWaiting = 64;

    struct Report
    {
        bool first = false;
        bool last = false;
        std::string name;
        std::uint64_t size = 0;
        std::uint64_t done = 0;
    };

    void run();
    void deliver(Report report);

    CallbackSlot<BtsdkStatusCallback> m_callback;
    std::mutex m_mutex;
    std::condition_variable m_changed;
    std::deque<Report> m_reports;
    bool m_delivering = false;
    bool m_stopping = false;
    std::thread m_thread;
};

/** Brings both sizes below 2^32. A larger size becomes 2^32 - 1, so that whoever shows it can tell, with done in
 *  proportion; without a size, done stops there. */
void scaleTo32Bits(std::uint64_t &size, std::uint64_t &done);

} // namespace api

#endif
