/**
 * @file
 * A running server over a temporary folder, with what its observer has heard.
 */
#ifndef SERVEDFOLDER_H
#define SERVEDFOLDER_H

#include "obex/server.h"
#include "rawclient.h"
#include "sharetree.h"
#include "transport/tcp.h"

#include <QRegularExpression>
#include <QtTest>

#include <mutex>
#include <unistd.h>

/** Notes what it is told; finds out when it is told two things at once. */
class NotingObserver : public obex::ServerObserver
{
public:
    void clientConnected(std::uint32_t client, const std::string &) override
    {
        note(QStringLiteral("connected %1").arg(client));
    }
    void clientLeft(std::uint32_t client) override { note(QStringLiteral("left %1").arg(client)); }
    void fileReceived(std::uint32_t, const std::string &folder, const std::string &name) override
    {
        const QString path = QString::fromStdString(folder.empty() ? name : folder + '/' + name);
        note(QStringLiteral("file ") + path);
    }

    QStringList notes() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        QStringList copies;
        for (const std::string &note : m_notes)
            copies.append(QString::fromStdString(note));
        return copies;
    }
    QStringList files() const { return notes().filter(QRegularExpression(QStringLiteral("^file "))); }
    int count(const char *kind) const
    {
        return notes().filter(QRegularExpression(QLatin1Char('^') + QLatin1String(kind))).size();
    }
    bool overlapped() const { return m_overlapped; }

private:
    void note(const QString &text)
    {
        if (m_busy.exchange(true))
            m_overlapped = true;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_notes.push_back(text.toStdString());
        }
        m_busy = false;
    }

    mutable std::mutex m_mutex;
    std::vector<std::string> m_notes; // Qt's shared data would look like a race to ThreadSanitizer
    std::atomic<bool> m_busy{false};
    std::atomic<bool> m_overlapped{false};
};

/** Serves share/ of its tree on a free port of the loopback address. */
class ServedFolder : public ShareTree
{
public:
    using Change = std::function<void(obex::ServerConfig &)>;

    explicit ServedFolder(const Change &change = {}) : m_server({}, &observer)
    {
        config.folder = path("share").toStdString();
        config.access = share::Access::Writable;
        if (change)
            change(config);
        m_server.configure(config);
        start();
    }

    void start()
    {
        auto listener = transport::TcpListener::listen("127.0.0.1", 0);
        QVERIFY(listener);
        port = listener->port();
        std::vector<std::unique_ptr<transport::Listener>> listeners;
        listeners.push_back(std::move(listener));
        m_server.start(std::move(listeners));
    }

    obex::Server &server() { return m_server; }

    /** A client that is let in. */
    RawClient client()
    {
        RawClient connected(port);
        connected.connect();
        return connected;
    }

    quint16 port = 0;
    obex::ServerConfig config;
    NotingObserver observer;

private:
    obex::Server m_server;
};

/** Shows response codes as such when they differ. */
#define COMPARE_REPLY(reply, expected)                                                                                 \
    QCOMPARE(QByteArray::number((reply).code, 16), QByteArray::number(static_cast<int>(expected), 16))

#endif
