#include "api/connections.h"

#include "api/results.h"
#include "transport/wakeup.h"

#include <algorithm>

namespace api {

/** A connection in the making. */
struct Connections::Dialling
{
    explicit Dialling(const devices::Known &known) : device(known) {}

    const devices::Known &device;
    transport::Wakeup wakeup;
    obex::ClientSession *session = nullptr;
    bool cancelled = false;
};

Connections::Connections(ConnectionObserver &observer, AskPasskey askPasskey)
    : m_observer(observer), m_askPasskey(std::move(askPasskey))
{
}

Connections::~Connections()
{
    shutDown();
}

unsigned int Connections::missing(std::uint32_t handle)
{
    return wasIssued(handle, HandleKind::Connection) ? BTSDK_ER_NOT_CONNECTED : BTSDK_ER_INVALID_HANDLE;
}

unsigned int Connections::connect(const devices::Known &device, const Limits &limits, std::uint32_t *handle)
{
    Dialling dialling(device);
    if (!begin(dialling))
        return BTSDK_ER_CANCELLED;
    const auto connection = std::make_shared<Connection>(newHandle(HandleKind::Connection), device);
    const unsigned int result = end(dialling, dial(dialling, limits, *connection), connection);
    if (result != BTSDK_OK)
        return result;
    watch(*connection);
    *handle = connection->handle();
    return BTSDK_OK;
}

bool Connections::begin(Dialling &dialling)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_closed)
        return false;
    m_dialling.insert(&dialling);
    ++m_states[dialling.device.shortcut].dialling;
    m_observer.connecting(dialling.device.shortcut);
    return true;
}

unsigned int Connections::dial(Dialling &dialling, const Limits &limits, Connection &connection)
{
    const transport::Deadline deadline = transport::Deadline::after(limits.connectTimeout);
    const devices::Known &device = dialling.device;
    transport::Dialled dialled = device.source->connector(device.data)->connect(deadline, dialling.wakeup);
    if (dialled.lacksService)
        return BTSDK_ER_NOT_SUPPORTED;
    if (!dialled.stream)
        return resultOfDial(dialled.status);
    obex::ClientOptions options = optionsFor(limits, connection);
    options.connectTimeout = std::chrono::milliseconds(std::max(1, deadline.pollTime()));
    connection.open(std::make_unique<obex::ClientSession>(std::move(dialled.stream), std::move(options)));
    return greet(dialling, connection);
}

unsigned int Connections::greet(Dialling &dialling, Connection &connection)
{
    const auto setSession = [&](obex::ClientSession *session) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        dialling.session = session;
        return dialling.cancelled;
    };
    if (setSession(&connection.session()))
        return BTSDK_ER_CANCELLED;
    const obex::Outcome outcome = connection.session().connect();
    return setSession(nullptr) ? static_cast<unsigned int>(BTSDK_ER_CANCELLED) : resultOf(outcome);
}

unsigned int Connections::end(Dialling &dialling, unsigned int result, const std::shared_ptr<Connection> &connection)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const std::uint32_t shortcut = dialling.device.shortcut;
    if (result == BTSDK_OK && dialling.cancelled)
        result = BTSDK_ER_CANCELLED;
    if (result == BTSDK_OK && !m_open.add(connection->handle(), connection))
        result = BTSDK_ER_LOCAL_FULL;
    m_dialling.erase(&dialling);
    State &state = m_states[shortcut];
    --state.dialling;
    state.lastResult = result;
    if (result == BTSDK_OK)
        m_observer.connected(shortcut, connection->handle());
    else
        m_observer.connectFailed(shortcut, result);
    return result;
}

obex::ClientOptions Connections::optionsFor(const Limits &limits, Connection &connection) const
{
    obex::ClientOptions options;
    limits.apply(options);
    options.progress = [&connection](const obex::Progress &progress) { connection.report(progress); };
    const std::uint32_t device = connection.device().device;
    options.askPasskey = [this, device](QByteArray &passkey) { return m_askPasskey(device, passkey); };
    return options;
}

void Connections::watch(const Connection &connection)
{
    const std::uint32_t handle = connection.handle();
    const std::lock_guard<std::mutex> lock(m_watchMutex);
    if (!m_open.find(handle)) // ended by another thread already
        return;
    m_watches[handle] =
        m_watcher.watch(connection.session().stream(), [this, handle] { lost(handle, BTSDK_ER_LINK_LOST); });
}

void Connections::unwatch(std::uint32_t handle)
{
    const std::lock_guard<std::mutex> lock(m_watchMutex);
    const auto found = m_watches.find(handle);
    if (found == m_watches.end())
        return;
    m_watcher.unwatch(found->second);
    m_watches.erase(found);
}

std::shared_ptr<Connection> Connections::take(std::uint32_t handle, unsigned int result)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    std::shared_ptr<Connection> connection = m_open.take(handle);
    if (connection) {
        const std::uint32_t shortcut = connection->device().shortcut;
        if (result != BTSDK_OK)
            m_states[shortcut].lastResult = result;
        m_observer.disconnected(shortcut, handle, result);
    }
    return connection;
}

void Connections::lost(std::uint32_t handle, unsigned int result)
{
    // The watcher's own thread may neither end the watch nor destroy the stream.
    if (std::shared_ptr<Connection> connection = take(handle, result))
        m_observer.later([this, connection = std::move(connection)] { unwatch(connection->handle()); });
}

void Connections::hangUp(const std::shared_ptr<Connection> &connection)
{
    unwatch(connection->handle());
    connection->session().disconnect();
}

unsigned int Connections::disconnect(std::uint32_t handle)
{
    const std::shared_ptr<Connection> connection = m_open.find(handle);
    if (!connection)
        return missing(handle);
    if (connection->isWithinCallback())
        return BTSDK_ER_CALLBACK;
    if (!take(handle, BTSDK_OK))
        return BTSDK_ER_NOT_CONNECTED;
    hangUp(connection);
    return BTSDK_OK;
}

void Connections::stopDialling(std::uint32_t shortcut)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (Dialling *dialling : m_dialling) {
        if (shortcut != 0 && dialling->device.shortcut != shortcut)
            continue;
        dialling->cancelled = true;
        dialling->wakeup.notify();
        if (dialling->session)
            dialling->session->close();
    }
}

unsigned int Connections::disconnectShortcut(std::uint32_t shortcut)
{
    stopDialling(shortcut);
    unsigned int result = BTSDK_OK;
    for (const std::shared_ptr<Connection> &connection : m_open.all()) {
        if (connection->device().shortcut == shortcut && disconnect(connection->handle()) == BTSDK_ER_CALLBACK)
            result = BTSDK_ER_CALLBACK;
    }
    return result;
}

void Connections::shutDown()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_closed = true;
    }
    m_open.close();
    stopDialling(0);
    // Each may wait for a peer that has gone silent: all of them together, not one after the other.
    std::vector<std::thread> threads;
    for (const std::shared_ptr<Connection> &connection : m_open.all())
        threads.emplace_back([this, handle = connection->handle()] { (void)disconnect(handle); });
    for (std::thread &thread : threads)
        thread.join();
}

unsigned int Connections::run(std::uint32_t handle, const Connection::Operation &operation, bool transfer)
{
    const std::shared_ptr<Connection> connection = m_open.find(handle);
    if (!connection)
        return missing(handle);
    const obex::Outcome outcome = connection->run(operation, transfer);
    const unsigned int result = resultOf(outcome);
    if (outcome.error == obex::Error::Busy)
        return result;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_states[connection->device().shortcut].lastResult = result;
    }
    if (!outcome.ok() && !connection->session().isConnected())
        lost(handle, result);
    return result;
}

unsigned int Connections::cancel(std::uint32_t handle)
{
    const std::shared_ptr<Connection> connection = m_open.find(handle);
    if (!connection)
        return missing(handle);
    connection->session().cancel();
    return BTSDK_OK;
}

Connections::State Connections::state(std::uint32_t shortcut) const
{
    State state;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_states.find(shortcut);
        if (found != m_states.end())
            state = found->second;
    }
    for (const std::shared_ptr<Connection> &connection : m_open.all()) {
        if (connection->device().shortcut == shortcut)
            state.connection = connection->handle();
    }
    return state;
}

} // namespace api
