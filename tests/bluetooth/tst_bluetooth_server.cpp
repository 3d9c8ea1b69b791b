#include "peer.h"
#include "world.h"

#include <QTemporaryDir>
#include <QtTest>

#include <atomic>

namespace {

constexpr int patience = 60000; // the two machines share an emulated, slow processor
constexpr qint64 mega = 1 << 20;

/** Stands in for the user of this computer. */
struct User
{
    static std::atomic<int> answer;
    static std::atomic<int> asked;

    static int decide(const char *, const char *address, void *)
    {
        ++asked;
        return world::theirs() == QString::fromUtf8(address) ? answer.load() : int(BTSDK_AUTHORIZE_REFUSE);
    }
};

std::atomic<int> User::answer{BTSDK_AUTHORIZE_REFUSE};
std::atomic<int> User::asked{0};

} // namespace

/** The SDK as the server of Debian's obexd and of obexftp, over emulated Bluetooth. */
class TestBluetoothServer : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void record_besideObexd_bothAreThere();
    void record_serverStopped_isGone();
    void record_bluezRestarted_isBack();
    void obexd_startedAfterUs_keepsItsChannel();
    void obexdClient_browsesGetsAndPuts_data() { links(); }
    void obexdClient_browsesGetsAndPuts();
    void obexdClient_readOnly_isRefused();
    void obexftp_getsAndPuts();
    void secure_userRefuses_nobodyComesIn();
    void secure_userAllowsOnce_isAskedAgain();
    void secure_userAllowsAlways_isNotAskedAgain();
    void secure_userSaysNever_isNotAskedAgain();
    void secure_trustedByBluez_isNotAsked();
    void secure_nobodyToAsk_refuses();

private:
    static void links()
    {
        QTest::addColumn<bool>("overL2cap");
        QTest::newRow("over L2CAP") << true;
        QTest::newRow("over RFCOMM") << false;
    }

    void start(unsigned short access, bool secure = false);
    unsigned int channel(const char *word = "channel ") const;
    /** A session of the other end's obexd with us. @return exit code */
    int client(const QStringList &steps, QByteArray *output = nullptr, bool overL2cap = false) const;
    void tryEnter(int answer, bool expected, int timesAsked);
    QString shared(const char *name) const { return m_shared->filePath(QString::fromUtf8(name)); }
    static QString searched();

    std::unique_ptr<QTemporaryDir> m_shared;
    std::unique_ptr<QTemporaryDir> m_theirs;
    unsigned int m_server = 0;
};

void TestBluetoothServer::initTestCase()
{
    QTRY_VERIFY_WITH_TIMEOUT(world::theirDevice() != 0, patience);
}

void TestBluetoothServer::init()
{
    m_shared = std::make_unique<QTemporaryDir>();
    m_theirs = std::make_unique<QTemporaryDir>();
    User::asked = 0;
}

void TestBluetoothServer::cleanup()
{
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_SECURITY;
    (void)Btsdk_UpdateServerAttributes(m_server, &record);
    (void)Btsdk_StopServer(m_server);
    (void)Btsdk_HostSetAuthorizeCallback(nullptr, nullptr);
    world::set("FTPSERVER", ("Allow " + world::theirs().toUtf8()).constData(), "");
}

void TestBluetoothServer::cleanupTestCase()
{
    Btsdk_HostShutdown();
}

void TestBluetoothServer::start(unsigned short access, bool secure)
{
    m_server = Btsdk_RegisterFTPService(access, QFile::encodeName(m_shared->path()).constData());
    QVERIFY(m_server != 0);
    BtSdkServerAttributes record{};
    record.mask = BTSDK_ATTRIBUTE_SECURITY;
    record.security = secure ? BTSDK_SECURE_CONNECTION : 0;
    QCOMPARE(Btsdk_UpdateServerAttributes(m_server, &record), 0U);
    QCOMPARE(Btsdk_StartServer(m_server), 0U);
    QVERIFY(channel() != 0);
    QTRY_VERIFY_WITH_TIMEOUT(searched().contains(QStringLiteral("Channel: %1\n").arg(channel())), patience);
}

unsigned int TestBluetoothServer::channel(const char *word) const
{
    BtSdkServerInfo info{};
    (void)Btsdk_HostGetServer(m_server, &info);
    const QString listening = QString::fromUtf8(info.listening);
    const int at = listening.indexOf(QLatin1String(word));
    return at < 0 ? 0 : listening.mid(at + int(qstrlen(word))).section(u',', 0, 0).toUInt();
}

QString TestBluetoothServer::searched()
{
    QByteArray output;
    (void)world::runThere({"sdptool", "search", "--bdaddr", world::ours(), "FTP"}, &output);
    return QString::fromUtf8(output);
}

int TestBluetoothServer::client(const QStringList &steps, QByteArray *output, bool overL2cap) const
{
    QStringList words = {"obex", world::theirs(), world::ours()};
    if (!overL2cap)
        words << QStringLiteral("channel=%1").arg(channel());
    return world::bluezThere(words + steps, output);
}

void TestBluetoothServer::record_besideObexd_bothAreThere()
{
    start(BTSDK_ACCESS_WRITABLE);
    const QString found = searched();
    QVERIFY2(found.contains("Channel: 10\n"), qPrintable(found)); // obexd's
    QVERIFY(channel() != 10);
    QVERIFY(channel("PSM ") >= 0x1001);
}

void TestBluetoothServer::record_serverStopped_isGone()
{
    start(BTSDK_ACCESS_WRITABLE);
    const QString ours = QStringLiteral("Channel: %1\n").arg(channel());
    QCOMPARE(Btsdk_StopServer(m_server), 0U);
    QTRY_VERIFY_WITH_TIMEOUT(!searched().contains(ours), patience);
}

void TestBluetoothServer::record_bluezRestarted_isBack()
{
    start(BTSDK_ACCESS_WRITABLE);
    const QString ours = QStringLiteral("Channel: %1\n").arg(channel());
    QCOMPARE(world::run({"stop_bluez"}), 0);
    QCOMPARE(world::run({"restart_bluez"}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(searched().contains(ours), patience);
    QVERIFY(writeFile(shared("after"), 10));
    QTRY_COMPARE_WITH_TIMEOUT(client({"get", "after", m_theirs->filePath("after")}), 0, patience);
}

void TestBluetoothServer::obexd_startedAfterUs_keepsItsChannel()
{
    QCOMPARE(world::run({"stop_obexd"}), 0);
    start(BTSDK_ACCESS_WRITABLE);
    QVERIFY(!searched().contains("Channel: 10\n"));
    QCOMPARE(world::run({"start_obexd"}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(searched().contains("Channel: 10\n"), patience);
    QVERIFY(searched().contains(QStringLiteral("Channel: %1\n").arg(channel())));
    QCOMPARE(client({"list"}), 0);
}

void TestBluetoothServer::obexdClient_browsesGetsAndPuts()
{
    QFETCH(bool, overL2cap);
    if (overL2cap) { // it takes the first record it finds, which here would be its own
        QCOMPARE(world::run({"stop_obexd"}), 0);
        QCOMPARE(world::run({"start_obexd", "-P", "ftp,pcsuite"}), 0);
    }
    start(BTSDK_ACCESS_WRITABLE);
    QVERIFY(QDir(m_shared->path()).mkpath("folder"));
    QVERIFY(writeFile(shared("mega"), mega, 3));
    QVERIFY(writeFile(m_theirs->filePath("out"), mega, 4));
    QByteArray output;
    const int code = client({"list", "get", "mega", m_theirs->filePath("in"), "put", m_theirs->filePath("out"), "sent",
                             "cd", "folder", "mkdir", "made", "cd", "..", "list", "rm", "made", "list"},
                            &output, overL2cap);
    QVERIFY2(code == 0, output.constData());
    QVERIFY2(output.contains("folder folder") && output.contains("file mega") && output.contains("folder made"),
             output.constData());
    QVERIFY(readFile(m_theirs->filePath("in")) == readFile(shared("mega")));
    QVERIFY(readFile(shared("sent")) == readFile(m_theirs->filePath("out")));
    QVERIFY(!QFile::exists(shared("folder/made")));
    if (overL2cap) {
        QCOMPARE(world::run({"stop_obexd"}), 0);
        QCOMPARE(world::run({"start_obexd"}), 0);
    }
}

void TestBluetoothServer::obexdClient_readOnly_isRefused()
{
    start(BTSDK_ACCESS_READ_ONLY);
    QVERIFY(writeFile(shared("kept"), 1000, 5));
    QVERIFY(writeFile(m_theirs->filePath("out"), 1000));
    QCOMPARE(client({"list", "get", "kept", m_theirs->filePath("in")}), 0);
    QVERIFY(client({"put", m_theirs->filePath("out"), "sent"}) != 0);
    QVERIFY(client({"rm", "kept"}) != 0);
    QVERIFY(client({"mkdir", "made"}) != 0);
    QCOMPARE(QDir(m_shared->path()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList("kept"));
    QVERIFY(readFile(m_theirs->filePath("in")) == readFile(shared("kept")));
}

void TestBluetoothServer::obexftp_getsAndPuts()
{
    start(BTSDK_ACCESS_WRITABLE);
    QVERIFY(writeFile(shared("mega"), mega, 6));
    QVERIFY(writeFile(m_theirs->filePath("out"), mega, 7));
    const QString at = QString::number(channel());
    // Its exit code says nothing, so the files have to.
    const auto obexftp = [&](const QString &arguments) {
        (void)world::runThere({"sh", "-c",
                               QStringLiteral("cd %1 && timeout 100 obexftp -b %2 -B %3 %4 2>&1; true")
                                   .arg(m_theirs->path(), world::ours(), at, arguments)});
    };
    obexftp("-g mega");
    QVERIFY(readFile(m_theirs->filePath("mega")) == readFile(shared("mega")));
    obexftp("-p out");
    QVERIFY(readFile(shared("out")) == readFile(m_theirs->filePath("out")));
}

void TestBluetoothServer::tryEnter(int answer, bool expected, int timesAsked)
{
    User::answer = answer;
    User::asked = 0;
    QByteArray output;
    QVERIFY2((client({"list"}, &output) == 0) == expected, output.constData());
    QCOMPARE(User::asked.load(), timesAsked);
}

void TestBluetoothServer::secure_userRefuses_nobodyComesIn()
{
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(User::decide, nullptr), 0U);
    start(BTSDK_ACCESS_WRITABLE, true);
    tryEnter(BTSDK_AUTHORIZE_REFUSE, false, 1);
}

void TestBluetoothServer::secure_userAllowsOnce_isAskedAgain()
{
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(User::decide, nullptr), 0U);
    start(BTSDK_ACCESS_WRITABLE, true);
    tryEnter(BTSDK_AUTHORIZE_ONCE, true, 1);
    tryEnter(BTSDK_AUTHORIZE_REFUSE, false, 1);
}

void TestBluetoothServer::secure_userAllowsAlways_isNotAskedAgain()
{
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(User::decide, nullptr), 0U);
    start(BTSDK_ACCESS_WRITABLE, true);
    tryEnter(BTSDK_AUTHORIZE_ALWAYS, true, 1);
    tryEnter(BTSDK_AUTHORIZE_REFUSE, true, 0);
}

void TestBluetoothServer::secure_userSaysNever_isNotAskedAgain()
{
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(User::decide, nullptr), 0U);
    start(BTSDK_ACCESS_WRITABLE, true);
    tryEnter(BTSDK_AUTHORIZE_NEVER, false, 1);
    tryEnter(BTSDK_AUTHORIZE_ALWAYS, false, 0);
}

void TestBluetoothServer::secure_trustedByBluez_isNotAsked()
{
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(User::decide, nullptr), 0U);
    start(BTSDK_ACCESS_WRITABLE, true);
    QCOMPARE(world::bluez({"trust", world::ours(), world::theirs(), "yes"}), 0);
    tryEnter(BTSDK_AUTHORIZE_REFUSE, true, 0);
    QCOMPARE(world::bluez({"trust", world::ours(), world::theirs(), "no"}), 0);
    tryEnter(BTSDK_AUTHORIZE_REFUSE, false, 1);
}

void TestBluetoothServer::secure_nobodyToAsk_refuses()
{
    start(BTSDK_ACCESS_WRITABLE, true);
    tryEnter(BTSDK_AUTHORIZE_ALWAYS, false, 0);
}

QTEST_GUILESS_MAIN(TestBluetoothServer)
#include "tst_bluetooth_server.moc"
