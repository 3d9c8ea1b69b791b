#ifndef TRANSFERDESK_H
#define TRANSFERDESK_H

#include "modals.h"
#include "peer.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"

#include <QDialog>
#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>
#include <QTest>

/**
 * The client window on the real libraries with a folder on this side and, on the other, a device in a process of its
 * own that serves a folder of this disk, so that both sides can be looked at.
 */
class TransferDesk : public QObject
{
    Q_OBJECT

protected:
    static constexpr int patience = 20000;

    /** Loads the plug-in; once per process. */
    static void load() { Plugin::load(Platform::Real); }

    /** Folders, device and window; connected. An empty folder stands for one of the desk's own. */
    void open(const QString &localFolder = QString(), const QString &remoteFolder = QString())
    {
        m_local = localFolder.isEmpty() ? m_ownLocal.path() : localFolder;
        m_remote = remoteFolder.isEmpty() ? m_ownRemote.path() : remoteFolder;
        QCOMPARE(Btsdk_WritePrivateProfileString("FtpClient", "DefaultLocalFolder",
                                                 QFile::encodeName(m_local).constData(),
                                                 qgetenv("VELMARO_SETTINGS").constData()),
                 0U);
        QVERIFY(device.start(m_remote));
        QCOMPARE(Btsdk_HostAddTransientDevice("Device", "127.0.0.1", device.port(), &m_handle), 0U);
        Plugin::load().InitProfile(nullptr);
        openWindow();
    }

    void openWindow()
    {
        BtSdkShortcutInfo shortcut{};
        QCOMPARE(Btsdk_HostListShortcuts(m_handle, &shortcut, 1), 1U);
        Plugin::load().performDefaultActionByShortcut(shortcut.shortcut);
        window = windows::first("BtFtpClient");
        QVERIFY(window);
        QVERIFY(windows::activate(window));
        QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Connected."), patience);
        local = windows::localTree(window);
        remote = windows::remoteTree(window);
    }

    void closeWindow()
    {
        window->close();
        QTRY_VERIFY_WITH_TIMEOUT(!window, patience);
    }

    void close()
    {
        for (QWidget *open : windows::all("BtFtpClient"))
            open->close();
        QTRY_VERIFY_WITH_TIMEOUT(windows::all("BtFtpClient").isEmpty(), patience);
        Plugin::load().UninitProfile();
        Btsdk_HostRemoveDevice(m_handle);
        device.kill();
    }

    /** Takes everything out of the desk's own folders. */
    void emptyFolders()
    {
        for (const QString &folder : {m_ownLocal.path(), m_ownRemote.path()})
            for (const QString &entry : entriesOf(folder)) {
                const QFileInfo info(folder + QLatin1Char('/') + entry);
                QVERIFY(info.isDir() ? QDir(info.filePath()).removeRecursively() : QFile::remove(info.filePath()));
            }
    }

    /** The killed device is back, and the window connected to it. */
    void revive()
    {
        const unsigned int port = device.port();
        QVERIFY(device.start(m_remote, {QStringLiteral("--port"), QString::number(port)}));
        QElapsedTimer elapsed;
        elapsed.start();
        // The first refresh may find the dead link, the next one connects.
        while (!windows::call(window, "refreshRemote") || !isConnected())
            QVERIFY(elapsed.elapsed() < patience);
    }

    bool isConnected()
    {
        return QTest::qWaitFor([this] { return status() == QLatin1String("Connected."); }, 500);
    }

    QString localPath(const QString &name) const { return m_local + QLatin1Char('/') + name; }
    QString remotePath(const QString &name) const { return m_remote + QLatin1Char('/') + name; }

    static void writeFile(const QString &path, const QByteArray &content)
    {
        QFile file(path);
        QVERIFY2(file.open(QIODevice::WriteOnly) && file.write(content) == content.size(), qPrintable(path));
    }
    static QByteArray contentOf(const QString &path)
    {
        QFile file(path);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
    }
    /** Everything in a folder, hidden files too. */
    static QStringList entriesOf(const QString &folder)
    {
        return QDir(folder).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    }
    /** Bytes that differ from those of another seed, and from themselves moved about. */
    static QByteArray contentFor(quint32 seed, int size)
    {
        QByteArray bytes(size, Qt::Uninitialized);
        quint32 state = seed * 2654435761U + 1;
        for (char &byte : bytes) {
            state = state * 1664525U + 1013904223U;
            byte = char(state >> 24);
        }
        return bytes;
    }

    QString status() const { return windows::statusText(window); }
    QDialog *progress() const { return window ? window->findChild<QDialog *>() : nullptr; }

    /** File bytes that went either way since the window connected. */
    quint64 bytesMoved() const
    {
        BtSdkShortcutInfo shortcut{};
        return Btsdk_HostListShortcuts(m_handle, &shortcut, 1) == 1 ? shortcut.bytesReceived + shortcut.bytesSent : 0;
    }

    void listBoth()
    {
        QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, m_local)));
        QVERIFY(windows::call(window, "refreshRemote"));
    }

    /** Selects the name in its pane and starts the transfer; answers the replace question, should it come up. */
    void startDownload(const QString &name, bool replaces = false) { start(remote, name, "actionDownload", replaces); }
    void startUpload(const QString &name, bool replaces = false) { start(local, name, "actionUpload", replaces); }
    /** Waits for the transfer's end. */
    void finish(const QString &text)
    {
        QTRY_VERIFY_WITH_TIMEOUT(!progress(), patience);
        QCOMPARE(status(), text);
    }

    DeviceProcess device;
    QPointer<QWidget> window;
    QTreeWidget *local = nullptr;
    QTreeWidget *remote = nullptr;

private:
    void start(QTreeWidget *tree, const QString &name, const char *slot, bool replaces)
    {
        QVERIFY2(windows::select(tree, {name}), qPrintable(name));
        Modals modals;
        if (replaces)
            modals.press(QMessageBox::Yes);
        QVERIFY(windows::call(window, slot, Q_ARG(bool, false)));
        QCOMPARE(modals.seen().size(), int(replaces));
    }

    QTemporaryDir m_ownLocal;
    QTemporaryDir m_ownRemote;
    QString m_local;
    QString m_remote;
    unsigned int m_handle = 0;
};

#endif
