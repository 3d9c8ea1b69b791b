#include "peer.h"

#include <QTcpSocket>
#include <QtTest>

#include <atomic>
#include <cstring>

namespace {

std::mutex receivedMutex;
std::vector<QByteArray> received;
std::atomic<int> calls{0};
std::atomic<int> running{0};
std::atomic<bool> overlapped{false};
std::atomic<int> delay{0};
std::atomic<unsigned int> eventCode{0};

unsigned int takeFile(_BtSdkFileTransferReqStru *request)
{
    if (running++ != 0)
        overlapped = true;
    ++calls;
    if (delay > 0)
        QTest::qSleep(delay);
    eventCode = request->event;
    {
        const std::lock_guard<std::mutex> lock(receivedMutex);
        received.emplace_back(request->fileName);
    }
    --running;
    return 0;
}

std::size_t receivedCount()
{
    const std::lock_guard<std::mutex> lock(receivedMutex);
    return received.size();
}

int givePasskey(unsigned int, char *buffer, unsigned int size, void *context)
{
    qstrncpy(buffer, static_cast<const QByteArray *>(context)->constData(), size);
    return 1;
}

} // namespace

/** The server, its client in the same process. */
class TestServer : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void register_badFolder_data();
    void register_badFolder();
    void register_again_sameHandleOtherFolder();
    void start_missingFolder_localFile();
    void start_portTaken_noTransport();
    void start_networkOff_noTransport();
    void status_wholeLife();
    void status_unknownServer();
    void stop_clientsDropped();
    void attributes_maskDecides();
    void update_folderAndAccess_clientsDropped();
    void update_badFolder_nothingChanges_data();
    void update_badFolder_nothingChanges();
    void update_secure_asksForPasskey();
    void update_secure_survivesRestart();
    void access_valuesOtherThanOne_readOnly();
    void received_callbackAndEvent();
    void received_manyAtOnce_neverTwiceAtTheSameTime();
    void received_unregister_waits();
    void received_unregisterFromWithin_isRefused();
    void info_isFilled();
    void stopServer_fromReceiveCallback_returns();
    void shutdown_everythingAnew();

private:
    unsigned int port() const;
    QString shared(const char *name) const { return m_shared->filePath(QString::fromUtf8(name)); }
    QByteArray sharedPath() const { return QFile::encodeName(m_shared->path()); }
    void begin(unsigned short access = BTSDK_ACCESS_WRITABLE);
    unsigned int put(const Client &client, const char *name, qint64 size = 10);

    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_shared;
    unsigned int m_server = 0;
};

void TestServer::init()
{
    m_local = std::make_unique<QTemporaryDir>();
    m_shared = std::make_unique<QTemporaryDir>();
    received.clear();
    overlapped = false;
    calls = 0;
    delay = 0;
    m_server = 0;
}

void TestServer::cleanup()
{
    Btsdk_HostShutdown();
    QFile::remove(qEnvironmentVariable("VELMARO_SETTINGS"));
}

unsigned int TestServer::port() const
{
    BtSdkServerInfo info{};
    if (Btsdk_HostGetServer(m_server, &info) != BTSDK_OK)
        return 0;
    const QByteArray address(info.listening);
    return address.mid(address.lastIndexOf(':') + 1).toUInt();
}

void TestServer::begin(unsigned short access)
{
    m_server = Btsdk_RegisterFTPService(access, sharedPath().constData());
    QVERIFY(m_server != 0);
    QCOMPARE(Btsdk_StartServer(m_server), 0u);
    QVERIFY(port() != 0);
}

unsigned int TestServer::put(const Client &client, const char *name, qint64 size)
{
    const QString path = m_local->filePath(QStringLiteral("file"));
    if (!writeFile(path, size))
        return BTSDK_ER_INTERNAL;
    return Btsdk_FTPPutFile(client.connection, QFile::encodeName(path).constData(), name);
}

void TestServer::register_badFolder_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::newRow("null") << QByteArray();
    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("relative") << QByteArray("tmp");
    QTest::newRow("over 255 bytes") << QByteArray("/" + QByteArray(255, 'x'));
}

void TestServer::register_badFolder()
{
    QFETCH(QByteArray, folder);
    QCOMPARE(Btsdk_RegisterFTPService(1, folder.isNull() ? nullptr : folder.constData()), 0u);
    QCOMPARE(Btsdk_HostListServers(nullptr, 0), 0u);
}

void TestServer::register_again_sameHandleOtherFolder()
{
    begin(BTSDK_ACCESS_READ_ONLY);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    const QTemporaryDir other;
    QVERIFY(writeFile(other.filePath(QStringLiteral("there")), 3));
    QCOMPARE(Btsdk_RegisterFTPService(1, QFile::encodeName(other.path()).constData()), m_server);
    QTRY_COMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
    QCOMPARE(client.connect(), 0u);
    const std::vector<Listed> entries = listed(client.connection);
    QCOMPARE(entries.size(), std::size_t(1));
    QCOMPARE(entries[0].name, QByteArray("there"));
    QCOMPARE(put(client, "written"), 0u);
    // A folder that is not there leaves the running server as it was.
    QCOMPARE(Btsdk_RegisterFTPService(1, "/none/at/all"), 0u);
    QCOMPARE(listed(client.connection).size(), std::size_t(2));
}

void TestServer::start_missingFolder_localFile()
{
    m_server = Btsdk_RegisterFTPService(1, "/none/at/all");
    QVERIFY(m_server != 0);
    QCOMPARE(Btsdk_StartServer(m_server), unsigned(BTSDK_ER_LOCAL_FILE));
    unsigned short status = 0;
    QCOMPARE(Btsdk_GetServerStatus(m_server, &status), 0u);
    QCOMPARE(int(status), int(BTSDK_SERVER_STOPPED));
}

void TestServer::start_portTaken_noTransport()
{
    const SilentPeer other;
    const ObexSetting setting("ServerPort", static_cast<int>(other.port()));
    m_server = Btsdk_RegisterFTPService(1, sharedPath().constData());
    QCOMPARE(Btsdk_StartServer(m_server), unsigned(BTSDK_ER_NO_TRANSPORT));
}

void TestServer::start_networkOff_noTransport()
{
    const QByteArray file = qgetenv("VELMARO_SETTINGS");
    QCOMPARE(Btsdk_WritePrivateProfileInt("NETWORK", "Enabled", 0, file.constData()), 0u);
    m_server = Btsdk_RegisterFTPService(1, sharedPath().constData());
    QCOMPARE(Btsdk_StartServer(m_server), unsigned(BTSDK_ER_NO_TRANSPORT));
}

void TestServer::status_wholeLife()
{
    EventLog log;
    unsigned short status = 0;
    m_server = Btsdk_RegisterFTPService(1, sharedPath().constData());
    QCOMPARE(Btsdk_GetServerStatus(m_server, &status), 0u);
    QCOMPARE(int(status), 2);
    QCOMPARE(Btsdk_StartServer(m_server), 0u);
    QCOMPARE(Btsdk_StartServer(m_server), 0u);
    QCOMPARE(Btsdk_GetServerStatus(m_server, &status), 0u);
    QCOMPARE(int(status), 1);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    const auto now = [&] { return Btsdk_GetServerStatus(m_server, &status) == 0 ? int(status) : -1; };
    QTRY_COMPARE(now(), 3);
    QCOMPARE(Btsdk_Disconnect(client.connection), 0u);
    QTRY_COMPARE(now(), 1);
    QCOMPARE(Btsdk_StopServer(m_server), 0u);
    QCOMPARE(now(), 2);
    QCOMPARE(Btsdk_StopServer(m_server), 0u);

    const auto seen = [&] {
        std::vector<unsigned int> values;
        for (const EventLog::Event &event : log.events()) {
            if (event.event == BTSDK_EVENT_SERVER_STATUS && event.handle == m_server)
                values.push_back(event.value);
        }
        return values;
    };
    QTRY_COMPARE(seen(), (std::vector<unsigned int>{1, 3, 1, 2}));
}

void TestServer::status_unknownServer()
{
    unsigned short status = 7;
    BtSdkServerAttributes record{};
    for (const unsigned int handle : {0u, 1u, 0x40000000u, 0xFFFFFFFFu}) {
        QCOMPARE(Btsdk_GetServerStatus(handle, &status), unsigned(BTSDK_ER_INVALID_HANDLE));
        QCOMPARE(Btsdk_StartServer(handle), unsigned(BTSDK_ER_INVALID_HANDLE));
        QCOMPARE(Btsdk_StopServer(handle), unsigned(BTSDK_ER_INVALID_HANDLE));
        QCOMPARE(Btsdk_GetServerAttributes(handle, &record), unsigned(BTSDK_ER_INVALID_HANDLE));
        QCOMPARE(Btsdk_UpdateServerAttributes(handle, &record), unsigned(BTSDK_ER_INVALID_HANDLE));
    }
    QCOMPARE(int(status), 7);
}

void TestServer::stop_clientsDropped()
{
    begin();
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(Btsdk_StopServer(m_server), 0u);
    QTRY_COMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
    QVERIFY(client.connect() != 0u);
    QCOMPARE(Btsdk_StartServer(m_server), 0u);
}

void TestServer::attributes_maskDecides()
{
    begin(BTSDK_ACCESS_READ_ONLY);
    BtSdkFtpServerParameters application;
    std::memset(&application, 0xEE, sizeof application);
    BtSdkServerAttributes record;
    std::memset(&record, 0xEE, sizeof record);
    record.mask = BTSDK_ATTRIBUTE_SECURITY;
    record.application = &application;
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(int(record.serviceClass), 4358);
    QCOMPARE(int(record.security), 0);
    QCOMPARE(application.size, 0xEEEEEEEE);

    record.mask = BTSDK_ATTRIBUTE_APPLICATION;
    record.security = 99;
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(int(record.security), 99);
    QCOMPARE(application.size, 264u);
    QCOMPARE(int(application.mask), 3);
    QCOMPARE(int(application.access), 2);
    QCOMPARE(QByteArray(application.folder), sharedPath());

    record.application = nullptr;
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), unsigned(BTSDK_ER_INVALID_PARAMETER));
}

void TestServer::update_folderAndAccess_clientsDropped()
{
    begin(BTSDK_ACCESS_WRITABLE);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "one"), 0u);
    BtSdkFtpServerParameters application{};
    application.size = sizeof application;
    application.mask = 3;
    application.access = BTSDK_ACCESS_READ_ONLY;
    qstrncpy(application.folder, sharedPath().constData(), sizeof application.folder);
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_APPLICATION;
    record.application = &application;
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), 0u);
    QTRY_COMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "two"), 1729u);
}

void TestServer::update_badFolder_nothingChanges_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<int>("result");
    QTest::newRow("empty") << QByteArray() << int(BTSDK_ER_INVALID_PARAMETER);
    QTest::newRow("relative") << QByteArray("tmp") << int(BTSDK_ER_INVALID_PARAMETER);
    QTest::newRow("not there") << QByteArray("/none/at/all") << int(BTSDK_ER_LOCAL_FILE);
    QTest::newRow("without an end") << QByteArray(256, '/') << int(BTSDK_ER_INVALID_PARAMETER);
}

void TestServer::update_badFolder_nothingChanges()
{
    QFETCH(QByteArray, folder);
    QFETCH(int, result);
    begin();
    BtSdkFtpServerParameters application{};
    application.access = BTSDK_ACCESS_READ_ONLY;
    std::memcpy(application.folder, folder.constData(), static_cast<std::size_t>(folder.size()));
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_SECURITY | BTSDK_ATTRIBUTE_APPLICATION;
    record.security = BTSDK_SECURE_CONNECTION;
    record.application = &application;
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), unsigned(result));
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(int(record.security), 0);
    QVERIFY(!readFile(QFile::decodeName(qgetenv("VELMARO_SETTINGS"))).contains("Security"));
    QCOMPARE(int(application.access), 1);
    QCOMPARE(QByteArray(application.folder), sharedPath());
}

void TestServer::update_secure_asksForPasskey()
{
    begin();
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_SECURITY;
    record.security = BTSDK_SECURE_CONNECTION;
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), 0u);
    record.security = 0;
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(int(record.security), 7);

    Client client(port());
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_AUTHENTICATION));
    char buffer[16] = "";
    QCOMPARE(Btsdk_HostGetPasskey(buffer, 6), unsigned(BTSDK_ER_BUFFER_TOO_SMALL));
    QCOMPARE(Btsdk_HostGetPasskey(buffer, sizeof buffer), 0u);
    QByteArray passkey(buffer);
    QVERIFY(QRegularExpression(QStringLiteral("^[0-9]{6}$")).match(QString::fromLatin1(passkey)).hasMatch());
    (void)Btsdk_HostSetPasskeyCallback(givePasskey, &passkey);
    QCOMPARE(client.connect(), 0u);
}

void TestServer::update_secure_survivesRestart()
{
    begin();
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_SECURITY;
    record.security = BTSDK_SECURE_CONNECTION;
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), 0u);
    QCOMPARE(Btsdk_WritePrivateProfileString("FTPSERVER", "Passkey", "my own", qgetenv("VELMARO_SETTINGS").constData()),
             0u);
    Btsdk_HostShutdown();
    begin();
    record.security = 0;
    QCOMPARE(Btsdk_GetServerAttributes(m_server, &record), 0u);
    QCOMPARE(int(record.security), 7);
    char buffer[16] = "";
    QCOMPARE(Btsdk_HostGetPasskey(buffer, sizeof buffer), 0u);
    QCOMPARE(QByteArray(buffer), QByteArray("my own"));
}

void TestServer::access_valuesOtherThanOne_readOnly()
{
    for (const unsigned short access : std::initializer_list<unsigned short>{0, 2, 3, 65535}) {
        m_server = Btsdk_RegisterFTPService(access, sharedPath().constData());
        BtSdkServerInfo info{};
        QCOMPARE(Btsdk_HostGetServer(m_server, &info), 0u);
        QCOMPARE(info.access, std::uint32_t(BTSDK_ACCESS_READ_ONLY));
    }
}

void TestServer::received_callbackAndEvent()
{
    EventLog log;
    QVERIFY(QDir(m_shared->path()).mkdir(QStringLiteral("sub")));
    begin();
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(&takeFile), 0u);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "Bild ä.png"), 0u);
    QTRY_COMPARE(receivedCount(), std::size_t(1));
    QCOMPARE(received[0], QByteArray("Bild ä.png"));
    QCOMPARE(eventCode.load(), 0x06A00300u);
    QCOMPARE(Btsdk_FTPSetRmtDir(client.connection, "/sub"), 0u);
    QCOMPARE(put(client, "inside"), 0u);
    QTRY_COMPARE(receivedCount(), std::size_t(2));
    QCOMPARE(received[1], QByteArray("sub/inside"));
    QTRY_VERIFY(log.has(BTSDK_EVENT_RECEIVED, m_server));
    for (const EventLog::Event &event : log.events()) {
        if (event.event == BTSDK_EVENT_RECEIVED) {
            QCOMPARE(event.text, QByteArray("Bild ä.png"));
            break;
        }
    }
}

void TestServer::received_manyAtOnce_neverTwiceAtTheSameTime()
{
    begin();
    delay = 2;
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(&takeFile), 0u);
    QVERIFY(writeFile(m_local->filePath(QStringLiteral("file")), 10));
    const QByteArray path = QFile::encodeName(m_local->filePath(QStringLiteral("file")));
    std::vector<std::thread> threads;
    std::atomic<int> failures{0};
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            Client client(port(), QByteArray::number(thread).constData());
            // All four are the same device to the library, so only the connection is this thread's own.
            failures += client.connect() != 0;
            for (int file = 0; file < 10; ++file)
                failures += Btsdk_FTPPutFile(client.connection, path.constData(),
                                             QByteArray::number(thread * 100 + file).constData()) != 0;
            client.device = 0;
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QCOMPARE(failures.load(), 0);
    QTRY_COMPARE(receivedCount(), std::size_t(40));
    QVERIFY(!overlapped);
}

void TestServer::received_unregister_waits()
{
    begin();
    delay = 200;
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(&takeFile), 0u);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "slow"), 0u);
    QTRY_COMPARE(calls.load(), 1);
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(nullptr), 0u);
    QCOMPARE(running.load(), 0);
    QCOMPARE(receivedCount(), std::size_t(1));
    QCOMPARE(put(client, "unseen"), 0u);
    QTest::qWait(50); // none may follow
    QCOMPARE(receivedCount(), std::size_t(1));
}

void TestServer::received_unregisterFromWithin_isRefused()
{
    static std::atomic<unsigned int> result{0xFFFFFFFF};
    begin();
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB([](_BtSdkFileTransferReqStru *) {
                 result = Btsdk_FTPRegisterDealReceiveFileCB(nullptr);
                 return 0u;
             }),
             0u);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "file"), 0u);
    QTRY_COMPARE(result.load(), unsigned(BTSDK_ER_CALLBACK));
}

void TestServer::info_isFilled()
{
    begin();
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(put(client, "file", 5000), 0u);
    BtSdkServerInfo info{};
    QCOMPARE(Btsdk_HostListServers(&info, 1), 1u);
    QCOMPARE(info.server, m_server);
    QCOMPARE(int(info.serviceClass), 4358);
    QCOMPARE(int(info.status), 3);
    QCOMPARE(info.access, 1u);
    QCOMPARE(info.clients, 1u);
    QVERIFY(info.startedSince > 0);
    QCOMPARE(info.bytesReceived, std::uint64_t(5000));
    QCOMPARE(QByteArray(info.folder), sharedPath());
    QVERIFY(QByteArray(info.listening).startsWith("127.0.0.1:"));
    QVERIFY(QByteArray(info.client).startsWith("127.0.0.1:"));
    QCOMPARE(Btsdk_StopServer(m_server), 0u);
    QCOMPARE(Btsdk_HostGetServer(m_server, &info), 0u);
    QCOMPARE(QByteArray(info.listening), QByteArray());
    QCOMPARE(QByteArray(info.client), QByteArray());
    QCOMPARE(info.clients, 0u);
    QVERIFY(info.startedSince == 0);
}

void TestServer::stopServer_fromReceiveCallback_returns()
{
    static std::atomic<unsigned int> server{0};
    static std::atomic<unsigned int> result{0xFFFFFFFF};
    begin();
    server = m_server;
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB([](_BtSdkFileTransferReqStru *) {
                 result = Btsdk_StopServer(server);
                 Btsdk_HostShutdown(); // does nothing from here
                 return 0u;
             }),
             0u);
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    (void)put(client, "file");
    QTRY_COMPARE(result.load(), 0u);
    unsigned short status = 0;
    QCOMPARE(Btsdk_GetServerStatus(m_server, &status), 0u);
    QCOMPARE(int(status), 2);
}

void TestServer::shutdown_everythingAnew()
{
    begin();
    Client client(port());
    QCOMPARE(client.connect(), 0u);
    const unsigned int old = m_server;
    Btsdk_HostShutdown();
    Btsdk_HostShutdown();
    unsigned short status = 0;
    QCOMPARE(Btsdk_GetServerStatus(old, &status), unsigned(BTSDK_ER_INVALID_HANDLE));
    QCOMPARE(Btsdk_Disconnect(client.connection), unsigned(BTSDK_ER_NOT_CONNECTED));
    QCOMPARE(Btsdk_HostListServers(nullptr, 0), 0u);
    begin();
    QVERIFY(m_server != old);
    Client again(port());
    QCOMPARE(again.connect(), 0u);
}

QTEST_GUILESS_MAIN(TestServer)
#include "tst_server.moc"
