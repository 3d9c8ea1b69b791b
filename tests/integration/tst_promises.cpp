#include "peer.h"

#include <QtTest>

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

/** What the library promises to those who move files with it; the device is a process of its own. */
class TestPromises : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void connectEx_success_shortcutIsConnectedBefore();
    void connectEx_nothingListens_outputUntouched();
    void connectEx_silentPeer_endsInTime();
    void connectEx_wrongArguments_data();
    void connectEx_wrongArguments();
    void connectEx_networkOff_noTransport();
    void request_silentPeer_endsInTime();
    void transfer_silentPeer_cancelEndsInTime();
    void browse_entries_onTheCallingThread();
    void setRmtDir_missing_staysWhereItWas();
    void createDir_currentFolder_stays();
    void get_reports_firstAndLastOnSdkThread();
    void get_emptyFile_reportsFirstAndLast();
    void put_reports_firstAndLast();
    void get_existingFolder_merges();
    void get_fileOverFolder_localFile();
    void get_folderOverFile_localFile();
    void get_missing_oldFileStays();
    void put_readOnly_1729();
    void put_missingLocalFile_localFile();
    void name_tooLong_isToldApart();
    void times_goBothWays();
    void deleteDir_withContent_all();
    void counters_bytesMoved();
    void linkLost_idle_noticedAtOnce();
    void linkLost_calls_notConnected();
    void secure_rightPasskey_connects();
    void secure_wrongOrNone_authentication_data();
    void secure_wrongOrNone_authentication();
    void callbacks_unsetAfterTheShutdown_startNothing();
    void passkeyCallback_unsetWhileItRuns_waitsForItsEnd();
    void passkeyCallback_setFromWithinItself_saysSo();

private:
    QString local(const char *name) const { return m_local->filePath(QString::fromUtf8(name)); }
    QString shared(const char *name) const { return m_shared->filePath(QString::fromUtf8(name)); }
    QByteArray localBytes(const char *name) const { return QFile::encodeName(local(name)); }
    void begin(const QStringList &options = {});

    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_shared;
    std::unique_ptr<DeviceProcess> m_device;
    std::unique_ptr<Client> m_client;
};

void TestPromises::init()
{
    m_local = std::make_unique<QTemporaryDir>();
    m_shared = std::make_unique<QTemporaryDir>();
    m_device = std::make_unique<DeviceProcess>();
    StatusLog::clear();
}

void TestPromises::cleanup()
{
    StatusLog::during = nullptr;
    m_client.reset();
    m_device.reset();
    (void)Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
    Btsdk_HostShutdown();
}

void TestPromises::begin(const QStringList &options)
{
    QVERIFY(m_device->start(m_shared->path(), options));
    m_client = std::make_unique<Client>(m_device->port());
    QCOMPARE(m_client->connect(), 0u);
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, &StatusLog::callback), 0u);
}

void TestPromises::connectEx_success_shortcutIsConnectedBefore()
{
    QVERIFY(m_device->start(m_shared->path()));
    Client client(m_device->port());
    QCOMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
    QCOMPARE(client.connect(), 0u);
    QVERIFY(client.connection != 0);
    QVERIFY(Btsdk_HostIsShortcutConnected(client.shortcut) != 0);
    BtSdkShortcutInfo info{};
    QCOMPARE(Btsdk_HostGetShortcut(client.shortcut, &info), 0u);
    QCOMPARE(info.state, std::uint32_t(BTSDK_SHORTCUT_CONNECTED));
    QCOMPARE(info.connection, client.connection);
    QVERIFY(info.connectedSince > 0);
    QCOMPARE(Btsdk_Disconnect(client.connection), 0u);
    QCOMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
    QCOMPARE(Btsdk_Disconnect(client.connection), unsigned(BTSDK_ER_NOT_CONNECTED));
}

void TestPromises::connectEx_nothingListens_outputUntouched()
{
    unsigned int port = 0;
    {
        const SilentPeer gone;
        port = gone.port();
    }
    Client client(port);
    client.connection = 77;
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_CONNECT_FAILED));
    QCOMPARE(client.connection, 77u);
    BtSdkShortcutInfo info{};
    QCOMPARE(Btsdk_HostGetShortcut(client.shortcut, &info), 0u);
    QCOMPARE(info.state, std::uint32_t(BTSDK_SHORTCUT_IDLE));
    QCOMPARE(info.lastResult, std::uint32_t(BTSDK_ER_CONNECT_FAILED));
}

void TestPromises::connectEx_silentPeer_endsInTime()
{
    const ObexSetting setting("ConnectTimeout", 300);
    const SilentPeer peer;
    Client client(peer.port());
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_TIMED_OUT));
    QVERIFY2(timer.elapsed() >= 290 && timer.elapsed() < 3000, qPrintable(QString::number(timer.elapsed())));
}

void TestPromises::connectEx_wrongArguments_data()
{
    QTest::addColumn<bool>("known");
    QTest::addColumn<int>("serviceClass");
    QTest::addColumn<int>("result");
    QTest::newRow("unknown device") << false << int(BTSDK_CLS_OBEX_FILE_TRANS) << int(BTSDK_ER_INVALID_HANDLE);
    QTest::newRow("another service class") << true << 0x1105 << int(BTSDK_ER_NOT_SUPPORTED);
}

void TestPromises::connectEx_wrongArguments()
{
    QFETCH(bool, known);
    QFETCH(int, serviceClass);
    QFETCH(int, result);
    Client client(9);
    unsigned int connection = 5;
    QCOMPARE(
        Btsdk_ConnectEx(known ? client.device : 0x1FFFFFFF, static_cast<unsigned short>(serviceClass), 0, &connection),
        unsigned(result));
    QCOMPARE(connection, 5u);
    QCOMPARE(Btsdk_ConnectEx(client.device, BTSDK_CLS_OBEX_FILE_TRANS, 0, nullptr),
             unsigned(BTSDK_ER_INVALID_PARAMETER));
}

void TestPromises::connectEx_networkOff_noTransport()
{
    const QByteArray file = qgetenv("VELMARO_SETTINGS");
    QCOMPARE(int(Btsdk_IsBluetoothReady()), 1);
    QCOMPARE(Btsdk_WritePrivateProfileInt("NETWORK", "Enabled", 0, file.constData()), 0u);
    Client client(9);
    QCOMPARE(int(Btsdk_IsBluetoothReady()), 0);
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_NO_TRANSPORT));
    QCOMPARE(Btsdk_WritePrivateProfileInt("NETWORK", "Enabled", 1, file.constData()), 0u);
    QCOMPARE(int(Btsdk_IsBluetoothReady()), 1);
}

void TestPromises::request_silentPeer_endsInTime()
{
    const ObexSetting setting("RequestTimeout", 300);
    begin();
    QVERIFY(m_device->freeze());
    QElapsedTimer timer;
    timer.start();
    const unsigned int result = Btsdk_FTPCreateDir(m_client->connection, "new");
    const qint64 elapsed = timer.elapsed();
    m_device->thaw();
    QCOMPARE(result, unsigned(BTSDK_ER_TIMED_OUT));
    QVERIFY2(elapsed >= 290 && elapsed < 3000, qPrintable(QString::number(elapsed)));
    QCOMPARE(Btsdk_HostIsShortcutConnected(m_client->shortcut), 0);
}

void TestPromises::transfer_silentPeer_cancelEndsInTime()
{
    QVERIFY(writeFile(shared("big"), 200'000'000));
    begin();
    const pid_t device = static_cast<pid_t>(m_device->processId());
    std::atomic<bool> stopped{false};
    StatusLog::during = [&](const StatusLog::Report &report) {
        if (report.done > 1'000'000 && !stopped.exchange(true))
            ::kill(device, SIGSTOP);
    };
    unsigned int result = 0;
    std::thread transfer(
        [&] { result = Btsdk_FTPGetFile(m_client->connection, "big", localBytes("big").constData()); });
    const bool came = QTest::qWaitFor([&] { return stopped.load(); }, 10000);
    QElapsedTimer timer;
    timer.start();
    (void)Btsdk_FTPCancelTransfer(m_client->connection);
    transfer.join();
    const qint64 elapsed = timer.elapsed();
    ::kill(device, SIGCONT);
    QVERIFY(came);
    QVERIFY(result != 0);
    QVERIFY2(elapsed < 2500, qPrintable(QString::number(elapsed)));
    QVERIFY(!QFile::exists(local("big")));
    QVERIFY(QDir(m_local->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

void TestPromises::browse_entries_onTheCallingThread()
{
    QVERIFY(writeFile(shared("file.txt"), 0));
    QVERIFY(QDir(m_shared->path()).mkdir(QStringLiteral("Ordner ä")));
    begin();
    static std::thread::id seen;
    QCOMPARE(Btsdk_FTPBrowseFolder(
                 m_client->connection, "/", [](unsigned char *) { seen = std::this_thread::get_id(); }, 0),
             0u);
    QVERIFY(seen == std::this_thread::get_id());
    const std::vector<Listed> entries = listed(m_client->connection);
    QCOMPARE(entries.size(), std::size_t(2));
    QCOMPARE(entries[0].name, QByteArray("Ordner ä"));
    QVERIFY(entries[0].folder);
    QCOMPARE(entries[1].size, 0u);
    QCOMPARE(entries[1].modified.size(), 16);
}

void TestPromises::setRmtDir_missing_staysWhereItWas()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("a/b")));
    QVERIFY(writeFile(shared("a/b/here"), 1));
    begin();
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/a/b"), 0u);
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/a/none"), 0x06C4u);
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "a"), unsigned(BTSDK_ER_INVALID_PARAMETER));
    const std::vector<Listed> entries = listed(m_client->connection);
    QCOMPARE(entries.size(), std::size_t(1));
    QCOMPARE(entries[0].name, QByteArray("here"));
}

void TestPromises::createDir_currentFolder_stays()
{
    begin();
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "one"), 0u);
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "two"), 0u);
    QVERIFY(QFileInfo(shared("one")).isDir());
    QVERIFY(QFileInfo(shared("two")).isDir());
}

void TestPromises::get_reports_firstAndLastOnSdkThread()
{
    QVERIFY(writeFile(shared("file"), 30'000'000));
    begin();
    StatusLog::during = [](const StatusLog::Report &) { QTest::qSleep(2); };
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
    const std::vector<StatusLog::Report> reports = StatusLog::reports();
    QVERIFY(reports.size() >= 2);
    QVERIFY(reports.front().first);
    QVERIFY(reports.back().last);
    QCOMPARE(reports.back().done, 30'000'000ul);
    unsigned long before = 0;
    for (const StatusLog::Report &report : reports) {
        QCOMPARE(report.name, QByteArray("file"));
        QVERIFY(report.thread != std::this_thread::get_id());
        QVERIFY(report.done >= before);
        QVERIFY(report.first == (&report == &reports.front()));
        QVERIFY(report.last == (&report == &reports.back()));
        before = report.done;
    }
    const std::size_t count = reports.size();
    QTest::qWait(50); // none may follow
    QCOMPARE(StatusLog::reports().size(), count);
    QCOMPARE(readFile(local("file")), readFile(shared("file")));
}

void TestPromises::get_emptyFile_reportsFirstAndLast()
{
    QVERIFY(writeFile(shared("empty"), 0));
    begin();
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "empty", localBytes("empty").constData()), 0u);
    const std::vector<StatusLog::Report> reports = StatusLog::reports();
    QVERIFY(!reports.empty());
    QVERIFY(reports.front().first);
    QVERIFY(reports.back().last);
    QCOMPARE(QFileInfo(local("empty")).size(), qint64(0));
}

void TestPromises::put_reports_firstAndLast()
{
    QVERIFY(QDir(m_local->path()).mkpath(QStringLiteral("folder/deeper")));
    QVERIFY(writeFile(local("folder/a"), 100));
    QVERIFY(writeFile(local("folder/deeper/b"), 300'000));
    begin();
    QCOMPARE(Btsdk_FTPPutDir(m_client->connection, localBytes("folder").constData(), "sent"), 0u);
    int firsts = 0;
    int lasts = 0;
    for (const StatusLog::Report &report : StatusLog::reports()) {
        firsts += report.first;
        lasts += report.last;
    }
    QCOMPARE(firsts, 2);
    QCOMPARE(lasts, 2);
    QCOMPARE(readFile(shared("sent/deeper/b")), readFile(local("folder/deeper/b")));
    QCOMPARE(listed(m_client->connection).size(), std::size_t(1)); // still at the top
}

void TestPromises::get_existingFolder_merges()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("folder/sub")));
    QVERIFY(writeFile(shared("folder/new"), 10));
    QVERIFY(writeFile(shared("folder/sub/same"), 20, 2));
    QVERIFY(QDir(m_local->path()).mkpath(QStringLiteral("folder/sub")));
    QVERIFY(writeFile(local("folder/mine"), 30));
    QVERIFY(writeFile(local("folder/sub/same"), 40));
    begin();
    QCOMPARE(Btsdk_FTPGetDir(m_client->connection, "folder", localBytes("folder").constData()), 0u);
    QCOMPARE(QFileInfo(local("folder/mine")).size(), qint64(30));
    QCOMPARE(readFile(local("folder/new")), readFile(shared("folder/new")));
    QCOMPARE(readFile(local("folder/sub/same")), readFile(shared("folder/sub/same")));
}

void TestPromises::get_fileOverFolder_localFile()
{
    QVERIFY(writeFile(shared("name"), 10));
    QVERIFY(QDir(m_local->path()).mkpath(QStringLiteral("name/inside")));
    begin();
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "name", localBytes("name").constData()),
             unsigned(BTSDK_ER_LOCAL_FILE));
    QVERIFY(QFileInfo(local("name/inside")).isDir());
}

void TestPromises::get_folderOverFile_localFile()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("name/inside")));
    QVERIFY(writeFile(local("name"), 10));
    begin();
    QCOMPARE(Btsdk_FTPGetDir(m_client->connection, "name", localBytes("name").constData()),
             unsigned(BTSDK_ER_LOCAL_FILE));
    QCOMPARE(QFileInfo(local("name")).size(), qint64(10));
}

void TestPromises::get_missing_oldFileStays()
{
    QVERIFY(writeFile(local("name"), 10));
    const QByteArray before = readFile(local("name"));
    begin();
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "name", localBytes("name").constData()), 0x06C4u);
    QCOMPARE(readFile(local("name")), before);
    QCOMPARE(QDir(m_local->path()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot).size(), 1);
}

void TestPromises::put_readOnly_1729()
{
    QVERIFY(writeFile(local("file"), 10));
    begin({QStringLiteral("--read-only")});
    QCOMPARE(Btsdk_FTPPutFile(m_client->connection, localBytes("file").constData(), "file"), 1729u);
    QCOMPARE(Btsdk_FTPDeleteFile(m_client->connection, "file"), 0x06C1u);
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "new"), 0x06C1u);
    QVERIFY(QDir(m_shared->path()).isEmpty());
}

void TestPromises::put_missingLocalFile_localFile()
{
    begin();
    QCOMPARE(Btsdk_FTPPutFile(m_client->connection, localBytes("none").constData(), "none"),
             unsigned(BTSDK_ER_LOCAL_FILE));
    QVERIFY(QDir(m_shared->path()).isEmpty());
    QVERIFY(Btsdk_HostIsShortcutConnected(m_client->shortcut) != 0);
}

void TestPromises::name_tooLong_isToldApart()
{
    begin();
    const QByteArray tooLong(70000, 'x');
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, tooLong.constData()), unsigned(BTSDK_ER_NAME_TOO_LONG));
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, ".."), unsigned(BTSDK_ER_INVALID_PARAMETER));
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "a/b"), unsigned(BTSDK_ER_INVALID_PARAMETER));
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "fine"), 0u);
}

void TestPromises::times_goBothWays()
{
    QVERIFY(writeFile(local("up"), 5));
    QVERIFY(writeFile(shared("down"), 5));
    const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, localBytes("up").constData(), times, 0), 0);
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(shared("down")).constData(), times, 0), 0);
    begin();
    QCOMPARE(Btsdk_FTPPutFile(m_client->connection, localBytes("up").constData(), "up"), 0u);
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "down", localBytes("down").constData()), 0u);
    QCOMPARE(QFileInfo(shared("up")).lastModified().toSecsSinceEpoch(), qint64(1'000'000'000));
    QCOMPARE(QFileInfo(local("down")).lastModified().toSecsSinceEpoch(), qint64(1'000'000'000));
    for (const Listed &entry : listed(m_client->connection))
        QCOMPARE(entry.modified, QByteArray("20010909T014640Z"));
}

void TestPromises::deleteDir_withContent_all()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("folder/a/b/c")));
    QVERIFY(writeFile(shared("folder/a/file"), 5));
    QVERIFY(writeFile(shared("stays"), 5));
    begin();
    QCOMPARE(Btsdk_FTPDeleteDir(m_client->connection, "folder"), 0u);
    QVERIFY(!QFile::exists(shared("folder")));
    QVERIFY(QFile::exists(shared("stays")));
}

void TestPromises::counters_bytesMoved()
{
    QVERIFY(writeFile(shared("down"), 70'000));
    QVERIFY(writeFile(local("up"), 30'000));
    begin();
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "down", localBytes("down").constData()), 0u);
    QCOMPARE(Btsdk_FTPPutFile(m_client->connection, localBytes("up").constData(), "up"), 0u);
    BtSdkShortcutInfo info{};
    QCOMPARE(Btsdk_HostGetShortcut(m_client->shortcut, &info), 0u);
    QCOMPARE(info.bytesReceived, std::uint64_t(70'000));
    QCOMPARE(info.bytesSent, std::uint64_t(30'000));
    BtSdkConnectionProperty property{};
    QCOMPARE(Btsdk_GetConnectionProperty(m_client->connection, &property), 0u);
    const std::uint64_t received = property.received;
    QCOMPARE(received, std::uint64_t(70'000));
    QCOMPARE(int(property.serviceClass), int(BTSDK_CLS_OBEX_FILE_TRANS));
}

void TestPromises::linkLost_idle_noticedAtOnce()
{
    begin();
    QVERIFY(Btsdk_HostIsShortcutConnected(m_client->shortcut) != 0);
    ::kill(static_cast<pid_t>(m_device->processId()), SIGKILL);
    QElapsedTimer timer;
    timer.start();
    while (Btsdk_HostIsShortcutConnected(m_client->shortcut) != 0 && timer.elapsed() < 5000)
        ::usleep(100);
    const qint64 elapsed = timer.nsecsElapsed();
    qInfo("a killed peer was noticed after %.2f ms", static_cast<double>(elapsed) / 1e6);
    QVERIFY(elapsed < 2'000'000'000);
}

void TestPromises::linkLost_calls_notConnected()
{
    EventLog log;
    begin();
    m_device->kill();
    QTRY_VERIFY(log.has(BTSDK_EVENT_DISCONNECTED, m_client->shortcut));
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/"), unsigned(BTSDK_ER_NOT_CONNECTED));
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "x", "/tmp/none"), unsigned(BTSDK_ER_NOT_CONNECTED));
    unsigned int handles[4];
    QCOMPARE(Btsdk_GetAllOutgoingConnections(handles, 4), 0u);
    BtSdkShortcutInfo info{};
    QCOMPARE(Btsdk_HostGetShortcut(m_client->shortcut, &info), 0u);
    QCOMPARE(info.lastResult, std::uint32_t(BTSDK_ER_LINK_LOST));
}

namespace {

int givePasskey(unsigned int, char *buffer, unsigned int size, void *context)
{
    const auto *text = static_cast<const QByteArray *>(context);
    if (text->isNull())
        return 0;
    qstrncpy(buffer, text->constData(), size);
    return 1;
}

} // namespace

void TestPromises::secure_rightPasskey_connects()
{
    QByteArray passkey("493827");
    (void)Btsdk_HostSetPasskeyCallback(givePasskey, &passkey);
    begin({QStringLiteral("--secure"), QStringLiteral("493827")});
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "in"), 0u);
}

void TestPromises::secure_wrongOrNone_authentication_data()
{
    QTest::addColumn<bool>("callback");
    QTest::addColumn<QByteArray>("passkey");
    QTest::newRow("wrong passkey") << true << QByteArray("000000");
    QTest::newRow("the user declines") << true << QByteArray();
    QTest::newRow("nobody to ask") << false << QByteArray();
}

void TestPromises::secure_wrongOrNone_authentication()
{
    QFETCH(bool, callback);
    QFETCH(QByteArray, passkey);
    QVERIFY(m_device->start(m_shared->path(), {QStringLiteral("--secure"), QStringLiteral("493827")}));
    if (callback)
        (void)Btsdk_HostSetPasskeyCallback(givePasskey, &passkey);
    Client client(m_device->port());
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_AUTHENTICATION));
    QCOMPARE(Btsdk_HostIsShortcutConnected(client.shortcut), 0);
}

namespace {

/** A question that stays open until it is let go. */
struct OpenQuestion
{
    static int ask(unsigned int, char *, unsigned int, void *context)
    {
        auto *const self = static_cast<OpenQuestion *>(context);
        self->asked = true;
        while (!self->released)
            QTest::qSleep(1);
        self->ended = true;
        return 0;
    }

    std::atomic<bool> asked{false};
    std::atomic<bool> released{false};
    std::atomic<bool> ended{false};
};

} // namespace

void TestPromises::callbacks_unsetAfterTheShutdown_startNothing()
{
    const QDir threads(QStringLiteral("/proc/self/task"));
    const auto running = [&threads] { return threads.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size(); };
    Btsdk_HostShutdown();
    const int before = running();
    QCOMPARE(Btsdk_HostSetEventCallback(nullptr, nullptr), 0u);
    QCOMPARE(Btsdk_HostSetPasskeyCallback(nullptr, nullptr), 0u);
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(nullptr, nullptr), 0u);
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(nullptr), 0u);
    QVERIFY2(running() <= before, qPrintable(QString::number(running() - before)));
}

void TestPromises::passkeyCallback_unsetWhileItRuns_waitsForItsEnd()
{
    QVERIFY(m_device->start(m_shared->path(), {QStringLiteral("--secure"), QStringLiteral("493827")}));
    OpenQuestion question;
    QCOMPARE(Btsdk_HostSetPasskeyCallback(OpenQuestion::ask, &question), 0u);
    Client client(m_device->port());
    std::thread connecting([&] { (void)client.connect(); });
    const bool asked = QTest::qWaitFor([&] { return question.asked.load(); }, 20000);
    std::atomic<bool> unset{false};
    bool endedBefore = false;
    std::thread unsetting([&] {
        (void)Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
        endedBefore = question.ended;
        unset = true;
    });
    QTest::qWait(100); // long enough for an unset that does not wait
    const bool waits = !unset;
    question.released = true;
    unsetting.join();
    connecting.join();
    QVERIFY(asked);
    QVERIFY(waits);
    QVERIFY(endedBefore);
}

void TestPromises::passkeyCallback_setFromWithinItself_saysSo()
{
    QVERIFY(m_device->start(m_shared->path(), {QStringLiteral("--secure"), QStringLiteral("493827")}));
    unsigned int result = BTSDK_OK;
    const auto unsetItself = [](unsigned int, char *, unsigned int, void *context) {
        *static_cast<unsigned int *>(context) = Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
        return 0;
    };
    QCOMPARE(Btsdk_HostSetPasskeyCallback(unsetItself, &result), 0u);
    Client client(m_device->port());
    QCOMPARE(client.connect(), unsigned(BTSDK_ER_AUTHENTICATION));
    QCOMPARE(result, unsigned(BTSDK_ER_CALLBACK));
}

QTEST_GUILESS_MAIN(TestPromises)
#include "tst_promises.moc"
