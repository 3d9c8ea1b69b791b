/** @file What the tests of folders share. */
#ifndef TESTS_FOLDERTEST_H
#define TESTS_FOLDERTEST_H

#include "obex/clientsession.h"
#include "obex/server.h"
#include "scriptedpeer.h"
#include "transport/tcp.h"

#include <QTemporaryDir>
#include <QtTest>

#include <memory>

inline QByteArray listing(const QByteArray &entries)
{
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE folder-listing SYSTEM \"obex-folder-listing.dtd\">\n"
           "<folder-listing version=\"1.0\">" +
           entries + "</folder-listing>";
}

/** Answers every SETPATH as told and every listing with these bytes, in packets of at most 60,000. */
inline ScriptedPeer::Script serving(const QByteArray &document, QVector<obex::ResponseCode> setPathAnswers = {})
{
    return [document, setPathAnswers](PeerEnd &peer) mutable {
        acceptConnect(peer);
        int sent = 0;
        for (QByteArray request = peer.request(); !request.isEmpty(); request = peer.request()) {
            if (static_cast<std::uint8_t>(request.at(0)) == static_cast<std::uint8_t>(obex::Opcode::SetPath)) {
                peer.send(
                    reply::packet(setPathAnswers.isEmpty() ? obex::ResponseCode::Success : setPathAnswers.takeFirst()));
                continue;
            }
            const QByteArray piece = document.mid(sent, 60'000);
            sent += piece.size();
            const bool last = sent == document.size();
            peer.send(reply::body(last ? obex::ResponseCode::Success : obex::ResponseCode::Continue, piece));
            if (last)
                sent = 0;
        }
    };
}

/** A server of ours over loopback. */
class SharedFolder
{
public:
    explicit SharedFolder(const QString &folder)
    {
        obex::ServerConfig config;
        config.folder = folder.toStdString();
        config.access = share::Access::Writable;
        m_server = std::make_unique<obex::Server>(config);
        std::unique_ptr<transport::TcpListener> listener = transport::TcpListener::listen("127.0.0.1", 0);
        m_port = listener->port();
        std::vector<std::unique_ptr<transport::Listener>> listeners;
        listeners.push_back(std::move(listener));
        m_server->start(std::move(listeners));
    }

    std::unique_ptr<transport::Stream> dial() const
    {
        const transport::Wakeup never;
        return transport::TcpConnector("127.0.0.1", m_port)
            .connect(transport::Deadline::after(std::chrono::seconds(10)), never)
            .stream;
    }

private:
    std::unique_ptr<obex::Server> m_server;
    std::uint16_t m_port = 0;
};

inline void write(const QString &path, const QByteArray &bytes)
{
    QVERIFY(QFileInfo(path).dir().mkpath("."));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

/** A test with an empty folder on either side. */
class FolderTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        m_local = std::make_unique<QTemporaryDir>();
        m_remote = std::make_unique<QTemporaryDir>();
        QVERIFY(m_local->isValid() && m_remote->isValid());
    }

protected:
    QString local(const QString &name = {}) const { return name.isEmpty() ? m_local->path() : m_local->filePath(name); }
    QString remote(const QString &name = {}) const
    {
        return name.isEmpty() ? m_remote->path() : m_remote->filePath(name);
    }

private:
    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_remote;
};

#endif
