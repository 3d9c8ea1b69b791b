#include "obex/server.h"

#include "obex/serversession.h"

#include <atomic>
#include <condition_variable>
#include <list>
#include <mutex>
#include <system_error>
#include <thread>

namespace obex {

namespace {

/** After a failed accept, out of descriptors say: long enough not to spin, short enough not to be noticed. */
constexpr std::chrono::milliseconds AcceptPause{100};

/** Whether clients that came under one configuration may stay under the other. */
bool isSameShare(const ServerConfig &a, const ServerConfig &b)
{
    return a.folder == b.folder && a.access == b.access && a.passkey == b.passkey;
}

} // namespace

class Server::Private
{
public:
    Private(ServerConfig initial, ServerObserver *watcher)
        : config(std::move(initial)), observer(watcher), guard(config.wrongPasskeyTime)
    {
    }

    struct Client;

    void accept(transport::Listener &listener);
    bool add(std::unique_ptr<transport::Stream> stream);
    void removeFinished();
    void dropClients(std::unique_lock<std::mutex> &lock);
    void stop();

    /** Starting, stopping and configuring happen one after the other. */
    std::mutex control;
    /** Guards everything below but the observer's calls. */
    mutable std::mutex mutex;
    std::condition_variable stopped;
    ServerConfig config;
    bool running = false;
    std::vector<std::unique_ptr<transport::Listener>> listeners;
    std::vector<std::thread> acceptors;
    std::list<std::unique_ptr<Client>> clients;
    std::uint32_t lastNumber = 0;

    /** Held while the observer is told something, so that it hears one thing at a time. */
    std::mutex telling;
    ServerObserver *const observer;
    PasskeyGuard guard;
    std::atomic<std::uint64_t> received{0};
    std::atomic<std::uint64_t> sent{0};
};

namespace {

/** A link that has shown who calls needs no passkey on top: few Bluetooth clients could give one. */
ServerConfig configOn(const transport::Stream &stream, ServerConfig config)
{
    if (stream.isAuthenticated())
        config.passkey.clear();
    return config;
}

} // namespace

/** One client with its thread. */
struct Server::Private::Client : SessionObserver
{
    Client(Private *server, std::unique_ptr<transport::Stream> link, const ServerConfig &settings, std::uint32_t id)
        : owner(server), stream(std::move(link)), config(configOn(*stream, settings)), number(id), peer(stream->peer())
    {
    }

    void run()
    {
        {
            ServerSession session(*stream, config, owner->guard, *this);
            session.run();
        }
        hangUp();
        const bool wasConnected = isConnected.exchange(false);
        if (wasConnected && owner->observer) {
            const std::lock_guard<std::mutex> lock(owner->telling);
            owner->observer->clientLeft(number);
        }
        finished = true; // the last touch: the thread may be joined and this object destroyed
    }

    /** Gives the socket back at once: the next client, whose coming has this object removed, may be long in coming. */
    void hangUp()
    {
        std::unique_ptr<transport::Stream> gone;
        const std::lock_guard<std::mutex> lock(owner->mutex);
        gone.swap(stream);
    }

    void connected() override
    {
        isConnected = true;
        if (!owner->observer)
            return;
        const std::lock_guard<std::mutex> lock(owner->telling);
        owner->observer->clientConnected(number, peer);
    }

    void fileReceived(const std::string &folder, const std::string &name) override
    {
        if (!owner->observer)
            return;
        const std::lock_guard<std::mutex> lock(owner->telling);
        owner->observer->fileReceived(number, folder, name);
    }

    void bytesReceived(std::uint64_t count) override { owner->received += count; }
    void bytesSent(std::uint64_t count) override { owner->sent += count; }

    Private *const owner;
    std::unique_ptr<transport::Stream> stream; // taken away under the server's mutex when the session has ended
    const ServerConfig config;
    const std::uint32_t number;
    const std::string peer;
    std::atomic<bool> isConnected{false};
    std::atomic<bool> finished{false};
    std::thread thread;
};

void Server::Private::accept(transport::Listener &listener)
{
    for (;;) {
        transport::Dialled dialled = listener.accept(transport::Deadline::never());
        if (dialled.stream) {
            (void)add(std::move(dialled.stream)); // one that is too many is hung up on
        } else if (dialled.status == transport::IoStatus::Closed) {
            return;
        } else {
            std::unique_lock<std::mutex> lock(mutex);
            if (stopped.wait_for(lock, AcceptPause, [this] { return !running; }))
                return;
        }
    }
}

bool Server::Private::add(std::unique_ptr<transport::Stream> stream)
{
    std::unique_lock<std::mutex> lock(mutex);
    removeFinished();
    if (!running || clients.size() >= config.maxClients)
        return false;
    clients.push_back(std::make_unique<Client>(this, std::move(stream), config, ++lastNumber));
    Client *client = clients.back().get();
    try {
        client->thread = std::thread([client] { client->run(); });
    } catch (const std::system_error &) { // no more threads: one client less is better than none at all
        clients.pop_back();
        return false;
    }
    return true;
}

/** Joins the threads of clients that have gone; each is at its very end. */
void Server::Private::removeFinished()
{
    for (auto client = clients.begin(); client != clients.end();) {
        if (!(*client)->finished) {
            ++client;
            continue;
        }
        (*client)->thread.join();
        client = clients.erase(client);
    }
}

/** The lock is let go meanwhile: those who leave may be telling an observer who asks for the status. */
void Server::Private::dropClients(std::unique_lock<std::mutex> &lock)
{
    for (const auto &client : clients) {
        if (client->stream)
            client->stream->close();
    }
    std::list<std::unique_ptr<Client>> leaving;
    leaving.swap(clients);
    lock.unlock();
    for (const auto &client : leaving)
        client->thread.join();
    leaving.clear();
    lock.lock();
}

void Server::Private::stop()
{
    std::unique_lock<std::mutex> lock(mutex);
    if (!running)
        return;
    running = false;
    stopped.notify_all();
    for (const auto &listener : listeners)
        listener->close();
    lock.unlock();
    for (std::thread &acceptor : acceptors)
        acceptor.join();
    lock.lock();
    acceptors.clear();
    listeners.clear();
    dropClients(lock);
}

Server::Server(ServerConfig config, ServerObserver *observer)
    : d(std::make_unique<Private>(std::move(config), observer))
{
}

Server::~Server()
{
    stop();
}

void Server::start(std::vector<std::unique_ptr<transport::Listener>> listeners)
{
    const std::lock_guard<std::mutex> control(d->control);
    const std::lock_guard<std::mutex> lock(d->mutex);
    if (d->running)
        return;
    d->running = true;
    d->received = 0;
    d->sent = 0;
    d->listeners = std::move(listeners);
    for (const auto &listener : d->listeners) {
        transport::Listener *caller = listener.get();
        d->acceptors.emplace_back([this, caller] { d->accept(*caller); });
    }
}

bool Server::serve(std::unique_ptr<transport::Stream> stream)
{
    return d->add(std::move(stream));
}

void Server::stop()
{
    const std::lock_guard<std::mutex> control(d->control);
    d->stop();
}

void Server::configure(const ServerConfig &config)
{
    const std::lock_guard<std::mutex> control(d->control);
    std::unique_lock<std::mutex> lock(d->mutex);
    const bool stays = isSameShare(d->config, config);
    d->config = config;
    d->guard.setDelay(config.wrongPasskeyTime);
    if (!stays)
        d->dropClients(lock);
}

ServerConfig Server::config() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    return d->config;
}

ServerStatus Server::status() const
{
    const std::lock_guard<std::mutex> lock(d->mutex);
    ServerStatus status;
    status.running = d->running;
    status.received = d->received;
    status.sent = d->sent;
    for (const auto &client : d->clients) {
        if (!client->isConnected)
            continue;
        ++status.clients;
        status.newestPeer = client->peer;
    }
    for (const auto &listener : d->listeners)
        status.listening.push_back(listener->address());
    return status;
}

} // namespace obex
