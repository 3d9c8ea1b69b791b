#include "peer.h"

#include <QtTest>

#include <atomic>
#include <csignal>
#include <random>

/** Several threads at one connection, at one device, at the whole library. */
class TestConcurrency : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void secondCall_busyAtOnce();
    void cancel_fullSpeed_get_noLitter();
    void cancel_fullSpeed_put_noLitter();
    void cancel_nothingRuns_success();
    void cancel_beforeTheTransfer_endsItAtOnce_data();
    void cancel_beforeTheTransfer_endsItAtOnce();
    void cancel_registeredAnew_isForgotten();
    void disconnect_duringTransfer_bothEnd();
    void disconnectShortcut_whileDialling_endsIt();
    void removeDevice_connectionsEnd();
    void shutdown_duringTransfer_callEnds();
    void disconnect_fromStatusCallback_isRefused();
    void disconnect_fromBrowseCallback_isRefused();
    void statusCallback_unregister_waits();
    void statusCallback_unregisterFromWithin_isRefused();
    void statusCallback_slow_transferWaitsForIt();
    void events_ofOneConnection_inOrder();
    void events_unregister_waits();
    void events_setFromWithin_isRefused();
    void manyConnections_inTheOrderOfTheirMaking();
    void tooManyConnections_localFull();
    void everything_atOnce_noHarm();

private:
    QString local(const char *name) const { return m_local->filePath(QString::fromUtf8(name)); }
    QByteArray localBytes(const char *name) const { return QFile::encodeName(local(name)); }
    bool localIsEmpty() const
    {
        return QDir(m_local->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }
    void begin();
    template <class Interrupt>
    void interruptGet(Interrupt interrupt);

    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_shared;
    std::unique_ptr<DeviceProcess> m_device;
    std::unique_ptr<Client> m_client;
    unsigned int m_transferResult = 0;
};

void TestConcurrency::init()
{
    m_local = std::make_unique<QTemporaryDir>();
    m_shared = std::make_unique<QTemporaryDir>();
    m_device = std::make_unique<DeviceProcess>();
    StatusLog::clear();
}

void TestConcurrency::cleanup()
{
    StatusLog::during = nullptr;
    m_client.reset();
    m_device.reset();
    Btsdk_HostShutdown();
}

void TestConcurrency::begin()
{
    QVERIFY(m_device->start(m_shared->path()));
    m_client = std::make_unique<Client>(m_device->port());
    QCOMPARE(m_client->connect(), 0u);
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, &StatusLog::callback), 0u);
}

// Gets a file that is far larger than what is moved before interrupt is called on this thread.
template <class Interrupt>
void TestConcurrency::interruptGet(Interrupt interrupt)
{
    QFile big(m_shared->filePath(QStringLiteral("big")));
    QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(20'000'000'000));
    begin();
    std::thread transfer(
        [this] { m_transferResult = Btsdk_FTPGetFile(m_client->connection, "big", localBytes("big").constData()); });
    const bool started = QTest::qWaitFor(
        [] {
            const std::vector<StatusLog::Report> reports = StatusLog::reports();
            return !reports.empty() && reports.back().done > 0;
        },
        10000);
    interrupt();
    transfer.join();
    QVERIFY(started);
    QVERIFY(m_transferResult != 0);
    QVERIFY(localIsEmpty());
}

void TestConcurrency::secondCall_busyAtOnce()
{
    interruptGet([this] {
        QElapsedTimer timer;
        timer.start();
        unsigned int result = 0;
        (void)listed(m_client->connection, &result);
        QCOMPARE(result, unsigned(BTSDK_ER_BUSY));
        QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "x"), unsigned(BTSDK_ER_BUSY));
        QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/"), unsigned(BTSDK_ER_BUSY));
        QCOMPARE(Btsdk_FTPPutFile(m_client->connection, "/etc/hostname", "x"), unsigned(BTSDK_ER_BUSY));
        QVERIFY2(timer.elapsed() < 2000, qPrintable(QString::number(timer.elapsed())));
        QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    });
    QCOMPARE(m_transferResult, unsigned(BTSDK_ER_CANCELLED));
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "x"), 0u);
}

void TestConcurrency::cancel_fullSpeed_get_noLitter()
{
    QElapsedTimer timer;
    interruptGet([&] {
        timer.start();
        QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    });
    qInfo("cancelling a get at full speed took %lld ms", static_cast<long long>(timer.elapsed()));
    QVERIFY(timer.elapsed() < 2500);
    QCOMPARE(m_transferResult, unsigned(BTSDK_ER_CANCELLED));
    QVERIFY(Btsdk_HostIsShortcutConnected(m_client->shortcut) != 0);
}

void TestConcurrency::cancel_fullSpeed_put_noLitter()
{
    QFile big(local("big"));
    QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(20'000'000'000));
    begin();
    std::thread transfer(
        [this] { m_transferResult = Btsdk_FTPPutFile(m_client->connection, localBytes("big").constData(), "big"); });
    const bool started = QTest::qWaitFor(
        [] {
            const std::vector<StatusLog::Report> reports = StatusLog::reports();
            return !reports.empty() && reports.back().done > 0;
        },
        10000);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    transfer.join();
    QVERIFY(timer.elapsed() < 2500);
    QVERIFY(started);
    QCOMPARE(m_transferResult, unsigned(BTSDK_ER_CANCELLED));
    QTRY_VERIFY(QDir(m_shared->path()).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
}

void TestConcurrency::cancel_nothingRuns_success()
{
    begin();
    QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    QCOMPARE(Btsdk_FTPCreateDir(m_client->connection, "after"), 0u);
    QCOMPARE(Btsdk_FTPCancelTransfer(0), unsigned(BTSDK_ER_INVALID_HANDLE));
}

void TestConcurrency::cancel_beforeTheTransfer_endsItAtOnce_data()
{
    QTest::addColumn<bool>("put");
    QTest::addColumn<bool>("folder");
    QTest::newRow("get a file") << false << false;
    QTest::newRow("get a folder") << false << true;
    QTest::newRow("put a file") << true << false;
    QTest::newRow("put a folder") << true << true;
}

void TestConcurrency::cancel_beforeTheTransfer_endsItAtOnce()
{
    QFETCH(bool, put);
    QFETCH(bool, folder);
    const QString source = (put ? m_local : m_shared)->filePath(QStringLiteral("name"));
    QVERIFY(folder ? QDir().mkdir(source) : writeFile(source, 1000));
    begin();
    const QByteArray path = localBytes("name");
    const auto transfer = [&] {
        const unsigned int connection = m_client->connection;
        if (put)
            return folder ? Btsdk_FTPPutDir(connection, path.constData(), "name")
                          : Btsdk_FTPPutFile(connection, path.constData(), "name");
        return folder ? Btsdk_FTPGetDir(connection, "name", path.constData())
                      : Btsdk_FTPGetFile(connection, "name", path.constData());
    };
    QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    QCOMPARE(Btsdk_FTPSetRmtDir(m_client->connection, "/"), 0u); // it is no transfer
    QCOMPARE(transfer(), unsigned(BTSDK_ER_CANCELLED));
    QVERIFY(StatusLog::reports().empty());
    QVERIFY(QDir((put ? m_shared : m_local)->path()).isEmpty());
    QCOMPARE(transfer(), 0u);
}

void TestConcurrency::cancel_registeredAnew_isForgotten()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    for (const BtsdkStatusCallback callback : {BtsdkStatusCallback(&StatusLog::callback), BtsdkStatusCallback()}) {
        QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
        QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, callback), 0u);
        QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
        QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, &StatusLog::callback), 0u);
    }
    // Without a callback nobody is about to begin one.
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, nullptr), 0u);
    QCOMPARE(Btsdk_FTPCancelTransfer(m_client->connection), 0u);
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
}

void TestConcurrency::disconnect_duringTransfer_bothEnd()
{
    interruptGet([this] {
        QCOMPARE(Btsdk_Disconnect(m_client->connection), 0u);
        QCOMPARE(Btsdk_HostIsShortcutConnected(m_client->shortcut), 0);
    });
}

void TestConcurrency::disconnectShortcut_whileDialling_endsIt()
{
    const SilentPeer peer;
    Client client(peer.port());
    unsigned int result = 0;
    std::thread dialler([&] { result = client.connect(); });
    BtSdkShortcutInfo info{};
    const bool dialling = QTest::qWaitFor(
        [&] { return Btsdk_HostGetShortcut(client.shortcut, &info) == 0 && info.state == BTSDK_SHORTCUT_CONNECTING; });
    QTest::qWait(20);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(Btsdk_DisconnectShortCut(client.shortcut), 0u);
    dialler.join();
    QVERIFY(dialling);
    QVERIFY(timer.elapsed() < 5000);
    QCOMPARE(result, unsigned(BTSDK_ER_CANCELLED));
    QCOMPARE(Btsdk_DisconnectShortCut(0), 0u);
    QCOMPARE(Btsdk_DisconnectShortCut(0xFFFFFFFF), unsigned(BTSDK_ER_INVALID_HANDLE));
}

void TestConcurrency::removeDevice_connectionsEnd()
{
    EventLog log;
    begin();
    const unsigned int device = m_client->device;
    QCOMPARE(Btsdk_HostRemoveDevice(device), 0u);
    QCOMPARE(Btsdk_HostIsShortcutConnected(m_client->shortcut), 0);
    QCOMPARE(Btsdk_HostRemoveDevice(device), unsigned(BTSDK_ER_INVALID_HANDLE));
    QTRY_VERIFY(log.has(BTSDK_EVENT_DEVICES_CHANGED, 0));
    QTRY_VERIFY(log.has(BTSDK_EVENT_DISCONNECTED, m_client->shortcut));
}

void TestConcurrency::shutdown_duringTransfer_callEnds()
{
    QElapsedTimer timer;
    interruptGet([&] {
        timer.start();
        Btsdk_HostShutdown();
    });
    QVERIFY(timer.elapsed() < 5000);
}

void TestConcurrency::disconnect_fromStatusCallback_isRefused()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    std::atomic<unsigned int> result{0};
    std::atomic<unsigned int> other{0};
    StatusLog::during = [&](const StatusLog::Report &) {
        result = Btsdk_Disconnect(m_client->connection);
        other = Btsdk_FTPCreateDir(m_client->connection, "x");
        (void)Btsdk_DisconnectShortCut(m_client->shortcut);
    };
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
    QCOMPARE(result.load(), unsigned(BTSDK_ER_CALLBACK));
    QCOMPARE(other.load(), unsigned(BTSDK_ER_BUSY));
    QVERIFY(Btsdk_HostIsShortcutConnected(m_client->shortcut) != 0);
}

void TestConcurrency::disconnect_fromBrowseCallback_isRefused()
{
    static unsigned int connection = 0;
    static unsigned int result = 0;
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    connection = m_client->connection;
    QCOMPARE(Btsdk_FTPBrowseFolder(
                 connection, "/", [](unsigned char *) { result = Btsdk_Disconnect(connection); }, 0),
             0u);
    QCOMPARE(result, unsigned(BTSDK_ER_CALLBACK));
}

void TestConcurrency::statusCallback_unregister_waits()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    std::atomic<bool> entered{false};
    std::atomic<bool> inside{false};
    StatusLog::during = [&](const StatusLog::Report &) {
        inside = true;
        entered = true;
        QTest::qSleep(200);
        inside = false;
    };
    std::thread transfer(
        [this] { m_transferResult = Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()); });
    const bool called = QTest::qWaitFor([&] { return entered.load(); });
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, nullptr), 0u);
    const bool stillInside = inside;
    const std::size_t count = StatusLog::reports().size();
    transfer.join();
    QVERIFY(called);
    QVERIFY(!stillInside);
    QCOMPARE(m_transferResult, 0u);
    QCOMPARE(StatusLog::reports().size(), count);
}

void TestConcurrency::statusCallback_unregisterFromWithin_isRefused()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    std::atomic<unsigned int> result{0};
    StatusLog::during = [&](const StatusLog::Report &) {
        result = Btsdk_FTPRegisterStatusCallback(m_client->connection, nullptr);
    };
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
    QCOMPARE(result.load(), unsigned(BTSDK_ER_CALLBACK));
}

void TestConcurrency::statusCallback_slow_transferWaitsForIt()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 100));
    begin();
    std::atomic<int> ended{0};
    StatusLog::during = [&](const StatusLog::Report &) {
        QTest::qSleep(100);
        ++ended;
    };
    QCOMPARE(Btsdk_FTPGetFile(m_client->connection, "file", localBytes("file").constData()), 0u);
    const int atReturn = ended;
    QCOMPARE(atReturn, int(StatusLog::reports().size()));
    QVERIFY(atReturn >= 1);
}

void TestConcurrency::events_ofOneConnection_inOrder()
{
    EventLog log;
    begin();
    QCOMPARE(Btsdk_Disconnect(m_client->connection), 0u);
    const auto seen = [&] {
        std::vector<unsigned int> values;
        for (const EventLog::Event &event : log.events()) {
            if (event.handle == m_client->shortcut)
                values.push_back(event.event);
        }
        return values;
    };
    QTRY_COMPARE(seen(),
                 (std::vector<unsigned int>{BTSDK_EVENT_CONNECTING, BTSDK_EVENT_CONNECTED, BTSDK_EVENT_DISCONNECTED}));
    QCOMPARE(log.events().back().value, 0u);
    QCOMPARE(log.events().back().other, m_client->connection);

    log.clear();
    m_device->kill();
    QVERIFY(m_client->connect() != 0);
    QTRY_COMPARE(seen(), (std::vector<unsigned int>{BTSDK_EVENT_CONNECTING, BTSDK_EVENT_CONNECT_FAILED}));
    QCOMPARE(log.events().back().value, unsigned(BTSDK_ER_CONNECT_FAILED));
}

namespace {

std::atomic<bool> enteredEvent{false};
std::atomic<bool> insideEvent{false};
std::atomic<unsigned int> eventResult{0};

void slowEvent(const BtSdkEventInfo *, void *)
{
    insideEvent = true;
    enteredEvent = true;
    QTest::qSleep(200);
    insideEvent = false;
}

void meddlingEvent(const BtSdkEventInfo *, void *)
{
    eventResult = Btsdk_HostSetEventCallback(nullptr, nullptr);
    Btsdk_HostShutdown(); // does nothing from here
    (void)Btsdk_HostListDevices(nullptr, 0);
}

} // namespace

void TestConcurrency::events_unregister_waits()
{
    QCOMPARE(Btsdk_HostSetEventCallback(slowEvent, nullptr), 0u);
    Client client(9);
    QVERIFY(client.connect() != 0);
    QTRY_VERIFY(enteredEvent);
    QCOMPARE(Btsdk_HostSetEventCallback(nullptr, nullptr), 0u);
    QVERIFY(!insideEvent);
}

void TestConcurrency::events_setFromWithin_isRefused()
{
    QCOMPARE(Btsdk_HostSetEventCallback(meddlingEvent, nullptr), 0u);
    Client client(9);
    QVERIFY(client.connect() != 0);
    QTRY_COMPARE(eventResult.load(), unsigned(BTSDK_ER_CALLBACK));
}

void TestConcurrency::manyConnections_inTheOrderOfTheirMaking()
{
    begin();
    std::vector<unsigned int> made{m_client->connection};
    for (int count = 0; count < 4; ++count) {
        QCOMPARE(m_client->connect(), 0u);
        made.push_back(m_client->connection);
    }
    std::vector<unsigned int> handles(8);
    QCOMPARE(Btsdk_GetAllOutgoingConnections(handles.data(), 8), 5u);
    handles.resize(5);
    QCOMPARE(handles, made);
    QCOMPARE(Btsdk_GetAllOutgoingConnections(handles.data(), 2), 2u);
    QCOMPARE(Btsdk_GetAllOutgoingConnections(nullptr, 2), 0u);
    QCOMPARE(Btsdk_DisconnectShortCut(m_client->shortcut), 0u);
    QCOMPARE(Btsdk_GetAllOutgoingConnections(handles.data(), 2), 0u);
}

void TestConcurrency::tooManyConnections_localFull()
{
    begin();
    unsigned int result = 0;
    int count = 1;
    while (result == 0 && count < 100) {
        result = m_client->connect();
        count += result == 0;
    }
    QCOMPARE(count, 64);
    // The device has as many places as this side has; whoever says no first, it is said in words.
    QVERIFY(result != 0);
    QVERIFY(Btsdk_DisconnectShortCut(m_client->shortcut) == 0u);
    QCOMPARE(m_client->connect(), 0u);
}

void TestConcurrency::everything_atOnce_noHarm()
{
    QVERIFY(writeFile(m_shared->filePath(QStringLiteral("file")), 200'000));
    begin();
    std::atomic<bool> stop{false};
    std::atomic<int> gets{0};
    std::atomic<unsigned int> shared{m_client->connection};
    const auto mover = [&](int number) {
        const QByteArray path = localBytes(QByteArray::number(number).constData());
        while (!stop)
            gets += Btsdk_FTPGetFile(shared, "file", path.constData()) == 0;
    };
    const auto meddler = [&] {
        std::mt19937 random(7);
        while (!stop) {
            switch (random() % 6) {
            case 0:
                (void)Btsdk_FTPCancelTransfer(shared);
                break;
            case 1: {
                unsigned int fresh = 0;
                const unsigned int old = shared;
                if (Btsdk_ConnectEx(m_client->device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &fresh) == 0) {
                    shared = fresh;
                    (void)Btsdk_Disconnect(old);
                }
                break;
            }
            case 2:
                (void)Btsdk_FTPRegisterStatusCallback(shared, random() % 2 ? &StatusLog::callback : nullptr);
                break;
            case 3:
                (void)Btsdk_HostIsShortcutConnected(m_client->shortcut);
                break;
            case 4: {
                BtSdkShortcutInfo info{};
                (void)Btsdk_HostListShortcuts(0, &info, 1);
                break;
            }
            default:
                QTest::qSleep(3);
            }
        }
    };
    EventLog log;
    std::vector<std::thread> threads;
    for (int number = 0; number < 2; ++number)
        threads.emplace_back(mover, number);
    threads.emplace_back(meddler);
    const bool enough = QTest::qWaitFor([&] { return gets > 200; }, 20000);
    stop = true;
    for (std::thread &thread : threads)
        thread.join();
    QVERIFY(enough);
}

QTEST_GUILESS_MAIN(TestConcurrency)
#include "tst_concurrency.moc"
