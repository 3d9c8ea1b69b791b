#include "obex/clientsession.h"

#include "obex/foldersession.h"
#include "obex/requests.h"

#include <condition_variable>
#include <mutex>
#include <utility>

namespace obex {

class ClientSession::Private
{
public:
    Private(std::unique_ptr<transport::Stream> s, ClientOptions o)
        : stream(std::move(s)),
          options(std::move(o)),
          requests(*stream, options, cancelled),
          folders(requests, options, cancelled)
    {
    }

    enum class Kind { Request, Transfer };

    /** Runs one call, alone. */
    template <typename Call>
    Outcome perform(Call call, Kind kind = Kind::Request)
    {
        const Error refused = begin(kind);
        if (refused != Error::None)
            return refused;
        const Outcome outcome = call();
        end();
        return outcome;
    }

    template <typename Call>
    Outcome transfer(Call call)
    {
        return perform(call, Kind::Transfer);
    }

    Error begin(Kind kind);
    void end();
    void cancel();
    void expectTransfer(bool expected);
    void disconnect();
    void close();

    const std::unique_ptr<transport::Stream> stream;
    const ClientOptions options;
    std::atomic<bool> cancelled{false};
    Requests requests;
    FolderSession folders;
    std::atomic<bool> connected{false};

private:
    std::mutex m_mutex;
    std::condition_variable m_ended;
    bool m_running = false;
    bool m_closing = false;
    bool m_transferRuns = false;
    bool m_transferExpected = false;
    bool m_cancelExpected = false; // the expected transfer is not to be
};

Error ClientSession::Private::begin(Kind kind)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_running)
        return Error::Busy;
    if (m_closing || !requests.isOpen())
        return Error::NotConnected;
    if (kind == Kind::Transfer) {
        m_transferExpected = false;
        if (std::exchange(m_cancelExpected, false))
            return Error::Cancelled;
    }
    m_transferRuns = kind == Kind::Transfer;
    m_running = true;
    cancelled = false;
    stream->clearWake();
    return Error::None;
}

void ClientSession::Private::end()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_running = false;
    m_transferRuns = false;
    m_ended.notify_all();
}

void ClientSession::Private::cancel()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_transferExpected && !m_transferRuns)
        m_cancelExpected = true;
    if (!m_running)
        return;
    cancelled = true;
    stream->wake();
}

void ClientSession::Private::expectTransfer(bool expected)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_transferExpected = expected;
    m_cancelExpected = false;
}

void ClientSession::Private::disconnect()
{
    cancel();
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_closing = true;
        m_ended.wait(lock, [this] { return !m_running; });
        m_running = true;
        cancelled = false;
        stream->clearWake();
    }
    if (connected.exchange(false))
        requests.disconnect();
    else
        stream->close();
    end();
}

void ClientSession::Private::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_closing = true;
    connected = false;
    stream->close();
}

ClientSession::ClientSession(std::unique_ptr<transport::Stream> stream, ClientOptions options)
    : d(std::make_unique<Private>(std::move(stream), std::move(options)))
{
}

ClientSession::~ClientSession() = default;

Outcome ClientSession::connect()
{
    return d->perform([this] {
        const Outcome outcome = d->requests.connect();
        d->connected = outcome.ok();
        return outcome;
    });
}

void ClientSession::disconnect()
{
    d->disconnect();
}

void ClientSession::close()
{
    d->close();
}

void ClientSession::cancel()
{
    d->cancel();
}

void ClientSession::expectTransfer(bool expected)
{
    d->expectTransfer(expected);
}

bool ClientSession::isConnected() const
{
    return d->connected && d->requests.isOpen();
}

const transport::Stream &ClientSession::stream() const
{
    return *d->stream;
}

Outcome ClientSession::setPath(const QByteArray &path)
{
    return d->perform([&] { return d->folders.setPath(path); });
}

Outcome ClientSession::list(const std::function<void(const ListingEntry &)> &entry)
{
    return d->perform([&] { return d->folders.list(entry); });
}

Outcome ClientSession::getFile(const QByteArray &name, const QByteArray &localPath)
{
    return d->transfer([&] { return d->folders.getFile(name, localPath); });
}

Outcome ClientSession::getFolder(const QByteArray &name, const QByteArray &localPath)
{
    return d->transfer([&] { return d->folders.getFolder(name, localPath); });
}

Outcome ClientSession::putFile(const QByteArray &localPath, const QByteArray &name)
{
    return d->transfer([&] { return d->folders.putFile(localPath, name); });
}

Outcome ClientSession::putFolder(const QByteArray &localPath, const QByteArray &name)
{
    return d->transfer([&] { return d->folders.putFolder(localPath, name); });
}

Outcome ClientSession::deleteFile(const QByteArray &name)
{
    return d->perform([&] { return d->folders.deleteFile(name); });
}

Outcome ClientSession::deleteFolder(const QByteArray &name)
{
    return d->perform([&] { return d->folders.deleteFolder(name); });
}

Outcome ClientSession::createFolder(const QByteArray &name)
{
    return d->perform([&] { return d->folders.createFolder(name); });
}

quint64 ClientSession::bytesReceived() const
{
    return d->folders.bytesReceived();
}

quint64 ClientSession::bytesSent() const
{
    return d->folders.bytesSent();
}

quint64 ClientSession::roundTrips() const
{
    return d->requests.roundTrips();
}

} // namespace obex
