#include "api/connection.h"

#include <chrono>

namespace api {

Connection::Connection(std::uint32_t handle, devices::Known device)
    : m_handle(handle), m_device(std::move(device)), m_since(currentTime())
{
}

void Connection::open(std::unique_ptr<obex::ClientSession> session)
{
    m_session = std::move(session);
}

obex::Outcome Connection::run(const Operation &operation, bool transfer)
{
    if (m_busy.exchange(true))
        return obex::Error::Busy;
    struct Release
    {
        Connection &connection;
        ~Release()
        {
            connection.m_runner = std::thread::id();
            connection.m_busy = false;
        }
    } const release{*this};
    m_runner = std::this_thread::get_id();
    const obex::Outcome outcome = operation(*m_session);
    if (transfer)
        m_reporter.finish(outcome.ok());
    return outcome;
}

bool Connection::setStatusCallback(BtsdkStatusCallback callback)
{
    if (!m_reporter.setCallback(callback))
        return false;
    // Whoever wants to hear of a transfer is about to begin one, and may be told to cancel it before it has begun.
    m_session->expectTransfer(callback != nullptr);
    return true;
}

bool Connection::isWithinCallback() const
{
    return m_runner == std::this_thread::get_id() || m_reporter.runsOnThisThread();
}

std::int64_t currentTime()
{
    using namespace std::chrono;
    return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

} // namespace api
