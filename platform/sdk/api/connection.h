#ifndef API_CONNECTION_H
#define API_CONNECTION_H

#include "api/statusreporter.h"
#include "devices/catalogue.h"
#include "obex/clientsession.h"

#include <atomic>
#include <functional>
#include <memory>

namespace api {

/**
 * One connection that this side has made. Every member may be called from any thread; one operation is served at a
 * time and a second one is told at once that the connection is busy.
 */
class Connection
{
public:
    using Operation = std::function<obex::Outcome(obex::ClientSession &)>;

    Connection(std::uint32_t handle, devices::Known device);

    std::uint32_t handle() const { return m_handle; }
    const devices::Known &device() const { return m_device; }
    std::int64_t since() const { return m_since; }

    /** Takes the session, once, before anybody else knows of the connection. */
    void open(std::unique_ptr<obex::ClientSession> session);
    obex::ClientSession &session() { return *m_session; }
    const obex::ClientSession &session() const { return *m_session; }

    /** For the session's options. */
    void report(const obex::Progress &progress) { m_reporter.report(progress); }

    /** Runs an operation. @param transfer  one that reports its progress */
    obex::Outcome run(const Operation &operation, bool transfer);

    /** Sets who hears of transfers; waits until the one before is not running any more.
     *  @return false, and nothing changes, when called from within the callback */
    bool setStatusCallback(BtsdkStatusCallback callback);

    /** Whether the calling thread is within a callback of an operation of this connection, and so cannot wait for the
     *  operation's end. */
    bool isWithinCallback() const;

private:
    const std::uint32_t m_handle;
    const devices::Known m_device;
    const std::int64_t m_since; // milliseconds since 1970-01-01 UTC
    std::atomic<bool> m_busy{false};
    std::atomic<std::thread::id> m_runner{std::thread::id()};
    StatusReporter m_reporter;
    std::unique_ptr<obex::ClientSession> m_session;
};

/** Milliseconds since 1970-01-01 UTC. */
std::int64_t currentTime();

} // namespace api

#endif
