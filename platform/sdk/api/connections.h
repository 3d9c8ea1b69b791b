#ifndef API_CONNECTIONS_H
#define API_CONNECTIONS_H

#include "api/connection.h"
#include "api/handles.h"
#include "api/limits.h"
#include "transport/linkwatcher.h"

#include <set>
#include <unordered_map>

namespace api {

/** What happens to connections; called in order, on whatever thread brought it about, which is not to be held up. */
class ConnectionObserver
{
public:
    virtual ~ConnectionObserver() = default;
    virtual void connecting(std::uint32_t shortcut) = 0;
    virtual void connected(std::uint32_t shortcut, std::uint32_t connection) = 0;
    virtual void connectFailed(std::uint32_t shortcut, unsigned int result) = 0;
    /** @param result  why; BTSDK_OK when it was asked for */
    virtual void disconnected(std::uint32_t shortcut, std::uint32_t connection, unsigned int result) = 0;
    /** Runs a job on a thread of the library's, soon. */
    virtual void later(std::function<void()> job) = 0;
};

/** The connections that this side has made or is making, and what their shortcuts show of them. Every member may be
 *  called from any thread. */
class Connections
{
public:
    static constexpr std::size_t maxConnections = 64;

    /** Asks the user for a passkey. @return false when he declined */
    using AskPasskey = std::function<bool(std::uint32_t device, QByteArray &passkey)>;

    /** How a shortcut stands. */
    struct State
    {
        unsigned int dialling = 0;
        std::uint32_t connection = 0; /**< the newest, 0 without one */
        unsigned int lastResult = 0;
    };

    Connections(ConnectionObserver &observer, AskPasskey askPasskey);
    ~Connections();

    unsigned int connect(const devices::Known &device, const Limits &limits, std::uint32_t *handle);
    unsigned int disconnect(std::uint32_t handle);

    /** Ends a shortcut's connections and the dialling of new ones. */
    unsigned int disconnectShortcut(std::uint32_t shortcut);

    /** Ends everything; no new connection is let in. */
    void shutDown();

    /** Runs an operation on a connection and translates what came of it. */
    unsigned int run(std::uint32_t handle, const Connection::Operation &operation, bool transfer = false);

    /** Ends the operation that runs on a connection. */
    unsigned int cancel(std::uint32_t handle);

    /** Null when the connection is gone or was never there: missing() tells which. */
    std::shared_ptr<Connection> find(std::uint32_t handle) const { return m_open.find(handle); }
    static unsigned int missing(std::uint32_t handle);

    /** Those that are not known to be gone, oldest first. */
    std::vector<std::shared_ptr<Connection>> all() const { return m_open.all(); }

    State state(std::uint32_t shortcut) const;

private:
    struct Dialling;

    bool begin(Dialling &dialling);
    unsigned int dial(Dialling &dialling, const Limits &limits, Connection &connection);
    unsigned int greet(Dialling &dialling, Connection &connection);
    unsigned int end(Dialling &dialling, unsigned int result, const std::shared_ptr<Connection> &connection);
    obex::ClientOptions optionsFor(const Limits &limits, Connection &connection) const;
    void stopDialling(std::uint32_t shortcut);
    void watch(const Connection &connection);
    void unwatch(std::uint32_t handle);
    std::shared_ptr<Connection> take(std::uint32_t handle, unsigned int result);
    void lost(std::uint32_t handle, unsigned int result);
    void hangUp(const std::shared_ptr<Connection> &connection);

    ConnectionObserver &m_observer;
    const AskPasskey m_askPasskey;
    HandleRegistry<Connection> m_open{maxConnections};
    mutable std::mutex m_mutex;                        // also keeps the observer's calls in order
    std::unordered_map<std::uint32_t, State> m_states; // by shortcut; the connection is looked up instead
    std::set<Dialling *> m_dialling;
    bool m_closed = false;
    // The watcher's callbacks run under a lock of its own, so they must not wait for this one.
    std::mutex m_watchMutex;
    std::unordered_map<std::uint32_t, std::uint64_t> m_watches;
    transport::LinkWatcher m_watcher;
};

} // namespace api

#endif
