#include "peer.h"
#include "vmcommon.h"

#include <QtTest>

#include <pthread.h>

namespace {

constexpr std::size_t stackSize = 64 * 1024;

// Runs the body on a thread with no more stack than the plug-in's workers have.
bool onSmallStack(const std::function<void()> &body)
{
    pthread_attr_t attributes;
    pthread_t thread;
    if (::pthread_attr_init(&attributes) != 0 || ::pthread_attr_setstacksize(&attributes, stackSize) != 0)
        return false;
    const auto entry = [](void *argument) -> void * {
        (*static_cast<const std::function<void()> *>(argument))();
        return nullptr;
    };
    const bool started = ::pthread_create(&thread, &attributes, entry, const_cast<std::function<void()> *>(&body)) == 0;
    (void)::pthread_attr_destroy(&attributes);
    return started && ::pthread_join(thread, nullptr) == 0;
}

/** The calls that came to another result than they should, by name. */
class Expectations
{
public:
    void expect(const char *call, unsigned int result, unsigned int expected = BTSDK_OK)
    {
        ++m_count;
        if (result != expected)
            m_failures += QStringLiteral("%1: %2\n").arg(QLatin1String(call)).arg(result);
    }
    QString failures() const { return m_failures; }
    int count() const { return m_count; }

private:
    QString m_failures;
    int m_count = 0;
};

unsigned int closedPort()
{
    const SilentPeer gone;
    return gone.port();
}

} // namespace

/** Every call on a stack of 64 KiB. */
class TestStack : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void connecting_smallStack_works();
    void foldersAndFiles_smallStack_work();
    void trees_smallStack_work();
    void failures_smallStack_areTold();
    void server_smallStack_works();
    void facts_smallStack_areGiven();

private:
    QString local(const char *name) const { return m_local->filePath(QString::fromUtf8(name)); }
    QString shared(const char *name) const { return m_shared->filePath(QString::fromUtf8(name)); }
    QByteArray localBytes(const char *name) const { return QFile::encodeName(local(name)); }
    void verifyOnSmallStack(const std::function<void(Expectations &)> &calls);
    void begin();

    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_shared;
    std::unique_ptr<DeviceProcess> m_device;
    std::unique_ptr<Client> m_client;
};

void TestStack::init()
{
    m_local = std::make_unique<QTemporaryDir>();
    m_shared = std::make_unique<QTemporaryDir>();
    m_device = std::make_unique<DeviceProcess>();
    StatusLog::clear();
}

void TestStack::cleanup()
{
    m_client.reset();
    m_device.reset();
    (void)Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
    Btsdk_HostShutdown();
}

void TestStack::verifyOnSmallStack(const std::function<void(Expectations &)> &calls)
{
    if (QTest::currentTestFailed())
        return;
    Expectations expectations;
    QVERIFY(onSmallStack([&] { calls(expectations); }));
    QVERIFY(expectations.count() > 0);
    QVERIFY2(expectations.failures().isEmpty(), qPrintable(expectations.failures()));
}

void TestStack::begin()
{
    QVERIFY(m_device->start(m_shared->path()));
    m_client = std::make_unique<Client>(m_device->port());
    QCOMPARE(m_client->connect(), 0u);
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(m_client->connection, &StatusLog::callback), 0u);
}

void TestStack::connecting_smallStack_works()
{
    QVERIFY(m_device->start(m_shared->path(), {QStringLiteral("--secure"), QStringLiteral("1234")}));
    const auto passkey = [](unsigned int, char *buffer, unsigned int size, void *) {
        qstrncpy(buffer, "1234", size);
        return 1;
    };
    verifyOnSmallStack([&](Expectations &calls) {
        unsigned int device = 0;
        calls.expect("add", Btsdk_HostAddNetworkDevice("By name", "localhost", m_device->port(), &device));
        calls.expect("passkey", Btsdk_HostSetPasskeyCallback(passkey, nullptr));
        calls.expect("stop search", Btsdk_StopDeviceDiscovery());
        unsigned int connection = 0;
        calls.expect("connect", Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection));
        BtSdkShortcutInfo info{};
        calls.expect("shortcuts", Btsdk_HostListShortcuts(device, &info, 1), 1);
        calls.expect("disconnect", Btsdk_Disconnect(connection));
        calls.expect("connect again", Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection));
        calls.expect("disconnect shortcut", Btsdk_DisconnectShortCut(info.shortcut));
        calls.expect("remove", Btsdk_HostRemoveDevice(device));
        Btsdk_HostShutdown();
    });
}

void TestStack::foldersAndFiles_smallStack_work()
{
    for (int number = 0; number < 500; ++number)
        QVERIFY(writeFile(m_shared->filePath(QStringLiteral("entry %1").arg(number)), 1));
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("deep/1/2/3/4/5/6/7/8/9/10")));
    QVERIFY(writeFile(shared("file"), 3'000'000));
    begin();
    std::size_t entries = 0;
    verifyOnSmallStack([&](Expectations &calls) {
        const unsigned int connection = m_client->connection;
        unsigned int result = 0;
        entries = listed(connection, &result).size();
        calls.expect("browse", result);
        calls.expect("get", Btsdk_FTPGetFile(connection, "file", localBytes("file").constData()));
        calls.expect("put", Btsdk_FTPPutFile(connection, localBytes("file").constData(), "copy"));
        calls.expect("create", Btsdk_FTPCreateDir(connection, "new"));
        calls.expect("delete folder", Btsdk_FTPDeleteDir(connection, "new"));
        calls.expect("delete file", Btsdk_FTPDeleteFile(connection, "entry 1"));
        calls.expect("enter", Btsdk_FTPSetRmtDir(connection, "/deep/1/2/3/4/5/6/7/8/9/10"));
        calls.expect("unregister", Btsdk_FTPRegisterStatusCallback(connection, nullptr));
        calls.expect("cancel", Btsdk_FTPCancelTransfer(connection));
    });
    QCOMPARE(entries, std::size_t(502));
    QCOMPARE(readFile(shared("copy")), readFile(shared("file")));
}

void TestStack::trees_smallStack_work()
{
    const QString last = QStringLiteral("deep/1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17/18/19/20");
    QVERIFY(QDir(m_shared->path()).mkpath(last));
    QVERIFY(writeFile(m_shared->filePath(last + QStringLiteral("/file")), 300'000));
    begin();
    verifyOnSmallStack([&](Expectations &calls) {
        const unsigned int connection = m_client->connection;
        calls.expect("get", Btsdk_FTPGetDir(connection, "deep", localBytes("deep").constData()));
        calls.expect("put", Btsdk_FTPPutDir(connection, localBytes("deep").constData(), "again"));
        calls.expect("delete", Btsdk_FTPDeleteDir(connection, "deep"));
    });
    QCOMPARE(readFile(m_local->filePath(last + QStringLiteral("/file"))).size(), 300'000);
    QVERIFY(QFileInfo(shared("again/1/2/3/4/5/6/7/8/9/10/11/12/13/14/15/16/17/18/19/20/file")).isFile());
    QVERIFY(!QFileInfo::exists(shared("deep")));
}

void TestStack::failures_smallStack_areTold()
{
    const unsigned int unused = closedPort();
    begin();
    verifyOnSmallStack([&](Expectations &calls) {
        const unsigned int connection = m_client->connection;
        const QByteArray longName(70'000, 'x');
        calls.expect("get what is missing", Btsdk_FTPGetFile(connection, "none", localBytes("none").constData()),
                     0x06C4u);
        calls.expect("put what is missing", Btsdk_FTPPutFile(connection, localBytes("none").constData(), "none"),
                     BTSDK_ER_LOCAL_FILE);
        calls.expect("a long name", Btsdk_FTPCreateDir(connection, longName.constData()), BTSDK_ER_NAME_TOO_LONG);
        calls.expect("a missing folder", Btsdk_FTPSetRmtDir(connection, "/none"), 0x06C4u);
        m_device->kill();
        unsigned int result = 0;
        (void)listed(connection, &result);
        calls.expect("a dead peer", result != BTSDK_OK, 1);
        Client nobody(unused, "Nobody");
        calls.expect("nobody there", nobody.connect(), BTSDK_ER_CONNECT_FAILED);
    });
}

void TestStack::server_smallStack_works()
{
    const QByteArray folder = QFile::encodeName(m_shared->path());
    verifyOnSmallStack([&](Expectations &calls) {
        const unsigned int server = Btsdk_RegisterFTPService(BTSDK_ACCESS_WRITABLE, folder.constData());
        calls.expect("callback", Btsdk_FTPRegisterDealReceiveFileCB([](_BtSdkFileTransferReqStru *) { return 0u; }));
        calls.expect("start", Btsdk_StartServer(server));
        BtSdkFtpServerParameters parameters{};
        BtSdkServerAttributes record{};
        record.mask = BTSDK_ATTRIBUTE_SECURITY | BTSDK_ATTRIBUTE_APPLICATION;
        record.application = &parameters;
        calls.expect("attributes", Btsdk_GetServerAttributes(server, &record));
        calls.expect("update", Btsdk_UpdateServerAttributes(server, &record));
        unsigned short status = 0;
        calls.expect("status", Btsdk_GetServerStatus(server, &status));
        BtSdkServerInfo info{};
        calls.expect("servers", Btsdk_HostListServers(&info, 1), 1);
        calls.expect("stop", Btsdk_StopServer(server));
        calls.expect("no callback", Btsdk_FTPRegisterDealReceiveFileCB(nullptr));
        Btsdk_HostShutdown();
    });
}

void TestStack::facts_smallStack_areGiven()
{
    begin();
    const QByteArray file = localBytes("some.ini");
    verifyOnSmallStack([&](Expectations &calls) {
        calls.expect("ready", Btsdk_IsBluetoothReady(), 1);
        unsigned char name[64];
        unsigned short length = sizeof name;
        calls.expect("local name", Btsdk_GetLocalName(name, &length));
        unsigned int handle = 0;
        calls.expect("connections", Btsdk_GetAllOutgoingConnections(&handle, 1), 1);
        BtSdkConnectionProperty connection{};
        calls.expect("connection", Btsdk_GetConnectionProperty(handle, &connection));
        BtSdkShortCutProperty shortcut{};
        shortcut.shortcut = m_client->shortcut;
        calls.expect("shortcut", Btsdk_GetShortCutProperty(&shortcut));
        calls.expect("write a text", Btsdk_WritePrivateProfileString("A", "B", "C", file.constData()));
        calls.expect("write a number", Btsdk_WritePrivateProfileInt("A", "D", 4, file.constData()));
        char value[16];
        calls.expect("read a text", GetPrivateProfileString("A", "B", "", value, sizeof value, file.constData()), 1);
        calls.expect("read a number", static_cast<unsigned int>(GetPrivateProfileInt("A", "D", 0, file.constData())),
                     4);
        calls.expect("is connected", VmCm_IsShortcutConnected(m_client->shortcut) != 0, 1);
    });
}

QTEST_GUILESS_MAIN(TestStack)
#include "tst_stack.moc"
