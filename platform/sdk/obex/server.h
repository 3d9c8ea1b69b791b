#ifndef OBEX_SERVER_H
#define OBEX_SERVER_H

#include "obex/serverconfig.h"
#include "transport/stream.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace obex {

/**
 * Is told what the clients of a server do: on threads of the server's, one call at a time, clients waiting meanwhile.
 * A function of it must not call the server's start, serve, stop or configure, nor destroy it; status() is fine.
 */
class ServerObserver
{
public:
    virtual ~ServerObserver() = default;

    /** A client has been let in. @param client a number, 1 and up, that no other client of this server has */
    virtual void clientConnected(std::uint32_t client, const std::string &peer) = 0;

    /** A client that had been let in is gone; once for each. */
    virtual void clientLeft(std::uint32_t client) = 0;

    /**
     * A file is complete and in place.
     * @param folder  where, from the root of the share: "" or "pictures/2026"
     * @param name    as stored, UTF-8, 1 to 255 bytes
     */
    virtual void fileReceived(std::uint32_t client, const std::string &folder, const std::string &name) = 0;
};

/** How a server stands at one moment. */
struct ServerStatus
{
    bool running = false;
    unsigned clients = 0;       /**< let in and still here */
    std::string newestPeer;     /**< of the newest client, for people: "127.0.0.1:40112"; empty without clients */
    std::uint64_t received = 0; /**< file bytes from clients since start() */
    std::uint64_t sent = 0;     /**< file bytes to clients since start() */
    std::vector<std::string> listening; /**< addresses of the listeners, for people */
};

/**
 * The file transfer server: many clients at once, each with a thread and deadlines of its own.
 * Every member may be called from any thread but those of the observer's calls.
 */
class Server
{
public:
    /** Stopped. @param observer outlives the server; may be null */
    explicit Server(ServerConfig config, ServerObserver *observer = nullptr);

    /** Stops. */
    ~Server();
    Server(const Server &) = delete;
    Server &operator=(const Server &) = delete;

    /** Begins to accept clients from all listeners, or none when only serve() is used. Does nothing when running. */
    void start(std::vector<std::unique_ptr<transport::Listener>> listeners);

    /** Serves a client that has connected by another way. @return false when stopped or full: it is hung up on */
    bool serve(std::unique_ptr<transport::Stream> stream);

    /** Closes the listeners and drops the clients; returns when the last is gone. */
    void stop();

    /** Takes a new configuration. When folder, access or passkey differ, connected clients are dropped (what they
     *  were sending leaves no trace) and the call returns when they are gone; they may connect again at once. */
    void configure(const ServerConfig &config);

    ServerConfig config() const;
    ServerStatus status() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace obex

#endif
