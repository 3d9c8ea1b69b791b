#include "btsdk_host.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStorageInfo>
#include <QTemporaryDir>
#include <QtTest>

#include <arpa/inet.h>
#include <csignal>
#include <memory>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

struct Entry
{
    quint32 size;
    bool folder;
};
QMap<QString, Entry> s_listing;

void takeEntry(unsigned char *data)
{
    const auto *found = reinterpret_cast<const FTP_FIND_DATA *>(data);
    s_listing[QString::fromUtf8(found->name)] = {found->size, (found->attributes & BTSDK_FTP_FOLDER) != 0};
}

int givePasskey(unsigned int, char *buffer, unsigned int size, void *passkey)
{
    qstrncpy(buffer, static_cast<const char *>(passkey), size);
    return 1;
}

/** @return 0, or the errno of a TCP connection to a port of the loopback address */
int dial(quint16 port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    const int result = ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) == 0 ? 0 : errno;
    ::close(fd);
    return result;
}

} // namespace

class DemoDeviceTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();
    void commandLine_thatMakesNoSense_isRefused_data();
    void commandLine_thatMakesNoSense_isRefused();
    void help_isGiven();
    void largeFile_withoutRoomForIt_isRefused();
    void sample_overTheWire_holdsWhatItShould();
    void sample_deepAndOdd_canBeWalked();
    void change_isMadeInTheScratchCopyOnly();
    void folder_givenByTheUser_isServedItself();
    void readOnly_refusesChanges();
    void secure_asksForThePasskey();
    void entries_fillAFolder();
    void delayConnect_answersLate();
    void deny_refusesOneFolderAlone();
    void refuse_refusesConnections();
    void port_asked_isTaken();
    void end_ofAnyKind_removesTheScratch_data();
    void end_ofAnyKind_removesTheScratch();
    void killed_leavesAScratchThatTheNextOneRemoves();

private:
    /** Starts the program and waits until it says where it listens; m_port is 0 when it does not. */
    void start(const QStringList &arguments);
    unsigned int connectTo(unsigned int *connection);
    QStringList scratches() const;
    bool put(unsigned int connection, const char *name);

    std::unique_ptr<QTemporaryDir> m_home;
    std::unique_ptr<QProcess> m_demo;
    quint16 m_port = 0;
};

void DemoDeviceTest::init()
{
    m_home = std::make_unique<QTemporaryDir>();
    m_demo = std::make_unique<QProcess>();
    m_port = 0;
    s_listing.clear();
}

void DemoDeviceTest::cleanup()
{
    Btsdk_HostSetPasskeyCallback(nullptr, nullptr);
    Btsdk_HostShutdown();
    if (m_demo->state() != QProcess::NotRunning) {
        m_demo->terminate();
        QVERIFY(m_demo->waitForFinished());
        QCOMPARE(m_demo->exitCode(), 0);
        QCOMPARE(m_demo->readAllStandardError(), QByteArray());
    }
    QCOMPARE(scratches(), QStringList());
}

void DemoDeviceTest::start(const QStringList &arguments)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), m_home->path());
    m_demo->setProcessEnvironment(environment);
    m_demo->start(QStringLiteral(DEMO_DEVICE), arguments);
    QVERIFY(m_demo->waitForStarted());
    QElapsedTimer clock;
    clock.start();
    while (!m_demo->canReadLine() && clock.elapsed() < 30000 && m_demo->waitForReadyRead(30000)) {
    }
    const QString line = QString::fromLatin1(m_demo->readLine()).trimmed();
    QVERIFY2(line.startsWith(QLatin1String("listening 127.0.0.1:")),
             (line.toUtf8() + m_demo->readAllStandardError()).constData());
    m_port = line.section(QLatin1Char(':'), 1).toUShort();
    QVERIFY(m_port != 0);
}

unsigned int DemoDeviceTest::connectTo(unsigned int *connection)
{
    unsigned int device = 0;
    const unsigned int added = Btsdk_HostAddTransientDevice("demo", "127.0.0.1", m_port, &device);
    return added != BTSDK_OK ? added : Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, connection);
}

QStringList DemoDeviceTest::scratches() const
{
    return QDir(m_home->path()).entryList({QStringLiteral("velmaro-demo-*")}, QDir::Dirs);
}

bool DemoDeviceTest::put(unsigned int connection, const char *name)
{
    const QString path = m_home->filePath(QStringLiteral("upload"));
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write("hello") == 5 && file.flush() &&
           Btsdk_FTPPutFile(connection, QFile::encodeName(path).constData(), name) == BTSDK_OK;
}

void DemoDeviceTest::commandLine_thatMakesNoSense_isRefused_data()
{
    QTest::addColumn<QStringList>("arguments");
    QTest::addColumn<int>("exitCode");
    QTest::newRow("an option that is none") << QStringList{"--nonsense"} << 2;
    QTest::newRow("a word") << QStringList{"please"} << 2;
    QTest::newRow("a port that is no number") << QStringList{"--port", "http"} << 2;
    QTest::newRow("a port too high") << QStringList{"--port", "65536"} << 2;
    QTest::newRow("a negative size") << QStringList{"--large", "-1"} << 2;
    QTest::newRow("a size beyond reason") << QStringList{"--large", "99999999G"} << 2;
    QTest::newRow("an empty size") << QStringList{"--large", ""} << 2;
    QTest::newRow("an empty passkey") << QStringList{"--secure", ""} << 2;
    QTest::newRow("a passkey of two lines") << QStringList{"--secure", "12\n34"} << 2;
    QTest::newRow("a folder that is not there") << QStringList{"--folder", "/no/such/folder"} << 1;
}

void DemoDeviceTest::commandLine_thatMakesNoSense_isRefused()
{
    QFETCH(QStringList, arguments);
    m_demo->start(QStringLiteral(DEMO_DEVICE), arguments);
    QVERIFY(m_demo->waitForFinished());
    QTEST(m_demo->exitCode(), "exitCode");
    QVERIFY(m_demo->readAllStandardError().startsWith("velmaro-demo-device: "));
    QCOMPARE(m_demo->readAllStandardOutput(), QByteArray());
}

void DemoDeviceTest::help_isGiven()
{
    m_demo->start(QStringLiteral(DEMO_DEVICE), {QStringLiteral("--help")});
    QVERIFY(m_demo->waitForFinished());
    QCOMPARE(m_demo->exitCode(), 0);
    QVERIFY(m_demo->readAllStandardOutput().contains("--follow-stdin"));
}

void DemoDeviceTest::largeFile_withoutRoomForIt_isRefused()
{
    if (QStorageInfo(m_home->path()).bytesAvailable() > qint64(1) << 40)
        QSKIP("this disk has room for the largest file");
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("TMPDIR"), m_home->path());
    m_demo->setProcessEnvironment(environment);
    m_demo->start(QStringLiteral(DEMO_DEVICE), {QStringLiteral("--large"), QStringLiteral("1024G")});
    QVERIFY(m_demo->waitForFinished());
    QCOMPARE(m_demo->exitCode(), 1);
    QVERIFY(m_demo->readAllStandardError().contains("no room"));
    QCOMPARE(scratches(), QStringList());
}

void DemoDeviceTest::sample_overTheWire_holdsWhatItShould()
{
    start({QStringLiteral("--large"), QStringLiteral("3M")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, "/"), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "/", takeEntry, 0), unsigned(BTSDK_OK));
    for (const char *name : {"Pictures", "Documents", "Odd names", "Deep", "Empty folder"})
        QVERIFY2(s_listing.value(QString::fromLatin1(name)).folder, name);
    QVERIFY(!s_listing.value(QStringLiteral("Welcome.txt")).folder);
    QVERIFY(s_listing.value(QStringLiteral("Welcome.txt")).size > 0);
    QCOMPARE(s_listing.value(QStringLiteral("Large file.bin")).size, quint32(3) << 20);
    QVERIFY(s_listing.contains(QStringLiteral("empty file.txt")));
    QCOMPARE(s_listing.value(QStringLiteral("empty file.txt")).size, quint32(0));
}

void DemoDeviceTest::sample_deepAndOdd_canBeWalked()
{
    start({QStringLiteral("--large"), QStringLiteral("0")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QByteArray path = "/Deep";
    for (int level = 1; level <= 10; ++level)
        path += "/level " + QByteArray::number(level);
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, path.constData()), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "level 10", takeEntry, 0), unsigned(BTSDK_OK));
    QCOMPARE(s_listing.keys(), QStringList{QStringLiteral("level 10.txt")});

    s_listing.clear();
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, "/Odd names"), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "Odd names", takeEntry, 0), unsigned(BTSDK_OK));
    for (const QString &name : {QStringLiteral("100%25.txt"), QStringLiteral("hash #1.txt"),
                                QStringLiteral("Tom & Ann.txt"), QStringLiteral("caf\u00E9.txt")})
        QVERIFY2(s_listing.contains(name), qPrintable(name));
}

void DemoDeviceTest::change_isMadeInTheScratchCopyOnly()
{
    start({QStringLiteral("--large"), QStringLiteral("1K")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QVERIFY(put(connection, "new.txt"));
    QCOMPARE(Btsdk_FTPDeleteFile(connection, "Welcome.txt"), unsigned(BTSDK_OK));
    QCOMPARE(scratches().size(), 1);
    const QString shared = m_home->filePath(scratches().constFirst() + QStringLiteral("/Shared/"));
    QVERIFY(QFile::exists(shared + QStringLiteral("new.txt")));
    QVERIFY(!QFile::exists(shared + QStringLiteral("Welcome.txt")));
}

void DemoDeviceTest::folder_givenByTheUser_isServedItself()
{
    const QString mine = m_home->filePath(QStringLiteral("mine"));
    QVERIFY(QDir().mkpath(mine));
    start({QStringLiteral("--folder"), mine});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QVERIFY(put(connection, "new.txt"));
    QVERIFY(QFile::exists(mine + QStringLiteral("/new.txt")));
    m_demo->terminate();
    QVERIFY(m_demo->waitForFinished());
    QVERIFY2(QFile::exists(mine + QStringLiteral("/new.txt")), "the user's own folder must outlive the program");
}

void DemoDeviceTest::readOnly_refusesChanges()
{
    start({QStringLiteral("--read-only"), QStringLiteral("--large"), QStringLiteral("0")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QVERIFY(!put(connection, "new.txt"));
    QVERIFY(Btsdk_FTPDeleteFile(connection, "Welcome.txt") >= BTSDK_OBEX_BASE);
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "/", takeEntry, 0), unsigned(BTSDK_OK));
    QVERIFY(s_listing.contains(QStringLiteral("Welcome.txt")));
}

void DemoDeviceTest::secure_asksForThePasskey()
{
    start({QStringLiteral("--secure"), QStringLiteral("314159"), QStringLiteral("--large"), QStringLiteral("0")});
    unsigned int connection = 0;
    char wrong[] = "000000";
    Btsdk_HostSetPasskeyCallback(givePasskey, wrong);
    QVERIFY(connectTo(&connection) != BTSDK_OK);
    char right[] = "314159";
    Btsdk_HostSetPasskeyCallback(givePasskey, right);
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "/", takeEntry, 0), unsigned(BTSDK_OK));
}

void DemoDeviceTest::entries_fillAFolder()
{
    start({QStringLiteral("--entries"), QStringLiteral("500"), QStringLiteral("--large"), QStringLiteral("0")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, "/Many entries"), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "Many entries", takeEntry, 0), unsigned(BTSDK_OK));
    QCOMPARE(s_listing.size(), 500);
}

void DemoDeviceTest::delayConnect_answersLate()
{
    start({QStringLiteral("--delay-connect"), QStringLiteral("700"), QStringLiteral("--large"), QStringLiteral("0")});
    QElapsedTimer clock;
    clock.start();
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QVERIFY(clock.elapsed() >= 700);
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "/", takeEntry, 0), unsigned(BTSDK_OK));
    QVERIFY(s_listing.contains(QStringLiteral("Welcome.txt")));
}

void DemoDeviceTest::deny_refusesOneFolderAlone()
{
    start({QStringLiteral("--deny"), QStringLiteral("Documents"), QStringLiteral("--large"), QStringLiteral("0")});
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, "/Documents"), unsigned(BTSDK_OBEX_BASE + 0xC3));
    QCOMPARE(Btsdk_FTPSetRmtDir(connection, "/Pictures"), unsigned(BTSDK_OK));
    QCOMPARE(Btsdk_FTPBrowseFolder(connection, "Pictures", takeEntry, 0), unsigned(BTSDK_OK));
    QVERIFY(s_listing.contains(QStringLiteral("Summer")));
}

void DemoDeviceTest::refuse_refusesConnections()
{
    start({QStringLiteral("--refuse")});
    QCOMPARE(dial(m_port), ECONNREFUSED);
    unsigned int connection = 0;
    QCOMPARE(connectTo(&connection), unsigned(BTSDK_ER_CONNECT_FAILED));
}

void DemoDeviceTest::port_asked_isTaken()
{
    start({QStringLiteral("--refuse")});
    const quint16 free = m_port;
    m_demo->terminate();
    QVERIFY(m_demo->waitForFinished());
    start({QStringLiteral("--port"), QString::number(free), QStringLiteral("--large"), QStringLiteral("0")});
    QCOMPARE(m_port, free);
    QCOMPARE(dial(m_port), 0);
}

void DemoDeviceTest::end_ofAnyKind_removesTheScratch_data()
{
    QTest::addColumn<QString>("way");
    QTest::newRow("SIGTERM") << "term";
    QTest::newRow("SIGINT") << "int";
    QTest::newRow("the end of the standard input") << "stdin";
    QTest::newRow("the death of its parent") << "parent";
}

void DemoDeviceTest::end_ofAnyKind_removesTheScratch()
{
    QFETCH(QString, way);
    if (way == QLatin1String("parent")) {
        // A shell stands between: it is killed, and the program must notice by itself.
        QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
        environment.insert(QStringLiteral("TMPDIR"), m_home->path());
        m_demo->setProcessEnvironment(environment);
        m_demo->start(QStringLiteral("/bin/sh"),
                      {QStringLiteral("-c"), QStringLiteral("\"$0\" --large 0; exit $?"), QStringLiteral(DEMO_DEVICE)});
        QVERIFY(m_demo->waitForReadyRead());
        m_port = QString::fromLatin1(m_demo->readLine()).trimmed().section(QLatin1Char(':'), 1).toUShort();
    } else {
        start({QStringLiteral("--follow-stdin"), QStringLiteral("--large"), QStringLiteral("1K")});
    }
    QCOMPARE(scratches().size(), 1);
    QCOMPARE(dial(m_port), 0);
    if (way == QLatin1String("stdin"))
        m_demo->closeWriteChannel();
    else if (way == QLatin1String("parent"))
        m_demo->kill();
    else
        QCOMPARE(::kill(static_cast<pid_t>(m_demo->processId()), way == QLatin1String("int") ? SIGINT : SIGTERM), 0);
    QVERIFY(m_demo->waitForFinished());
    if (way != QLatin1String("parent"))
        QCOMPARE(m_demo->exitCode(), 0);
    QTRY_COMPARE(scratches(), QStringList());
    QTRY_COMPARE(dial(m_port), ECONNREFUSED);
}

void DemoDeviceTest::killed_leavesAScratchThatTheNextOneRemoves()
{
    start({QStringLiteral("--large"), QStringLiteral("1K")});
    const QStringList left = scratches();
    m_demo->kill();
    QVERIFY(m_demo->waitForFinished());
    QCOMPARE(scratches(), left);
    m_demo = std::make_unique<QProcess>();
    start({QStringLiteral("--large"), QStringLiteral("0")});
    QCOMPARE(scratches().size(), 1);
    QVERIFY(scratches() != left);
}

QTEST_GUILESS_MAIN(DemoDeviceTest)
#include "demodevice_test.moc"
