#include "ProfileStatusClass.h"
#include "RmtProfilePropertyClass.h"
#include "btsdk_host.h"

#include <QFile>
#include <QLabel>
#include <QTemporaryDir>
#include <QtTest>

/** The library as it is installed, over the real SDK: a client and a server in one process. */
class LiveTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase() { Btsdk_HostShutdown(); }
    void dialogs_overARealTransfer_followIt();

private:
    static QString value(const QWidget &dialog, const char *label);

    QTemporaryDir m_folder;
    unsigned int m_server = 0;
    unsigned int m_device = 0;
    unsigned int m_shortcut = 0;
};

QString LiveTest::value(const QWidget &dialog, const char *label)
{
    const auto labels = dialog.findChildren<QLabel *>();
    for (const QLabel *candidate : labels) {
        if (candidate->isVisible() && candidate->accessibleDescription() == QLatin1String(label))
            return candidate->text();
    }
    return QString();
}

void LiveTest::initTestCase()
{
    QLocale::setDefault(QLocale::c());
    m_server = Btsdk_RegisterFTPService(BTSDK_ACCESS_WRITABLE, QFile::encodeName(m_folder.path()).constData());
    QVERIFY(m_server != 0);
    QCOMPARE(Btsdk_StartServer(m_server), unsigned(BTSDK_OK));
    BtSdkServerInfo server = {};
    QCOMPARE(Btsdk_HostGetServer(m_server, &server), unsigned(BTSDK_OK));
    const unsigned int port = QByteArray(server.listening).split(':').last().toUInt();
    QCOMPARE(Btsdk_HostAddTransientDevice("Mirror", "127.0.0.1", port, &m_device), unsigned(BTSDK_OK));
    BtSdkShortcutInfo shortcut = {};
    QCOMPARE(Btsdk_HostListShortcuts(m_device, &shortcut, 1), 1u);
    m_shortcut = shortcut.shortcut;
}

void LiveTest::dialogs_overARealTransfer_followIt()
{
    ProfileStatusClass client(m_shortcut, true, nullptr);
    ProfileStatusClass server(m_server, nullptr);
    RmtProfilePropertyClass property(m_shortcut, nullptr);
    for (QDialog *dialog : std::initializer_list<QDialog *>{&client, &server, &property})
        dialog->show();
    QCOMPARE(value(client, "State:"), QStringLiteral("Not connected"));
    QCOMPARE(value(client, "Device:"), QStringLiteral("Mirror"));
    QCOMPARE(value(server, "State:"), QStringLiteral("Running, no device is connected"));
    QCOMPARE(value(server, "Shared folder:"), m_folder.path());
    QCOMPARE(value(property, "Service:"), QStringLiteral("Bluetooth File Transfer"));
    QVERIFY(value(property, "Address:").startsWith(QLatin1String("127.0.0.1:")));

    unsigned int connection = 0;
    QCOMPARE(Btsdk_ConnectEx(m_device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection), unsigned(BTSDK_OK));
    QTRY_COMPARE(value(client, "State:"), QStringLiteral("Connected"));
    QTRY_COMPARE(value(property, "State:"), QStringLiteral("Connected"));
    QTRY_COMPARE(value(server, "State:"), QStringLiteral("Running, in use"));

    QTemporaryDir local;
    QFile file(local.filePath(QStringLiteral("up.bin")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(QByteArray(3 << 20, 'u')), qint64(3) << 20);
    file.close();
    QCOMPARE(Btsdk_FTPPutFile(connection, QFile::encodeName(file.fileName()).constData(), "up.bin"),
             unsigned(BTSDK_OK));
    QTRY_COMPARE(value(client, "Sent:"), QStringLiteral("3.0 MB"));
    QTRY_COMPARE(value(server, "Received:"), QStringLiteral("3.0 MB"));

    QVERIFY(Btsdk_FTPGetFile(connection, "no such file",
                             QFile::encodeName(local.filePath(QStringLiteral("x"))).constData()) != 0);
    QCOMPARE(Btsdk_StopServer(m_server), unsigned(BTSDK_OK));
    QTRY_COMPARE(value(client, "State:"), QStringLiteral("Not connected"));
    QTRY_COMPARE(value(server, "State:"), QStringLiteral("Stopped"));
    QCOMPARE(Btsdk_HostRemoveDevice(m_device), unsigned(BTSDK_OK));
    QTRY_COMPARE(value(client, "State:"), QStringLiteral("This service is no longer known."));
}

QTEST_MAIN(LiveTest)
#include "live_test.moc"
