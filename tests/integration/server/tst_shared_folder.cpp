#include "btsdk_host.h"
#include "modals.h"
#include "plugin.h"
#include "testmain.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QDialogButtonBox>
#include <QDir>
#include <QFile>
#include <QLabel>
#include <QLineEdit>
#include <QProcess>
#include <QPushButton>
#include <QStandardPaths>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <memory>
#include <mutex>
#include <vector>

/**
 * A user shares a folder through the plug-in, on the real libraries; remote devices are command-line clients in
 * processes of their own.
 */
class TestSharedFolder : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void browseAndFetch_byARemoteDevice_work();
    void put_byARemoteDevice_isAnnouncedByName();
    void put_byAnotherProgram_isAnnouncedByName();
    void put_underAHostileName_isAnnouncedAsStored_data();
    void put_underAHostileName_isAnnouncedAsStored();
    void put_intoAFolder_isAnnouncedWithItsPath();
    void readOnlyShare_refusesPutDeleteAndFolder_withoutATrace();
    void accessSwitchedInTheDialog_clientConnected_noThenYes();
    void serverStopped_inMidTransfer_leavesNoTraceAndStartsAgain();
    void secureConnection_asksForThePasskey_data();
    void secureConnection_asksForThePasskey();
    void thousandFiles_bySixteenDevices_areEachAnnouncedOnce();
    void dialogTabs_onTheRealLibraries_areDrawn();

private:
    struct Result
    {
        int exitCode = -1;
        QByteArray output;
        QByteArray errors;
    };

    quint32 server() const;
    QString address() const;
    void setAccess(const char *access);
    void toggleServer();
    std::unique_ptr<QProcess> start(const QStringList &arguments) const;
    Result run(const QStringList &arguments) const;
    QString localFile(const QString &name, const QByteArray &content) const;
    QStringList shared() const;
    /** Shows the property dialog, lets `action` act in it, then OK; `answer` to the question, if one is expected. */
    void changeProperties(const std::function<void(QWidget *)> &action,
                          QMessageBox::StandardButton answer = QMessageBox::NoButton);

    Plugin *m_plugin = nullptr;
    QScopedPointer<QTemporaryDir> m_folder;
};

namespace {

std::mutex announcedMutex;
std::vector<std::pair<QString, QString>> announced;
bool announcedOnGuiThread = false;

unsigned int host(unsigned int, unsigned int, unsigned int, unsigned char *data)
{
    const auto &list = *reinterpret_cast<const QList<QString> *>(data);
    const std::lock_guard<std::mutex> lock(announcedMutex);
    announced.emplace_back(list.at(0), list.at(1));
    announcedOnGuiThread |= QThread::currentThread() == qApp->thread();
    return 0;
}

QStringList announcedNames()
{
    const std::lock_guard<std::mutex> lock(announcedMutex);
    QStringList names;
    for (const auto &entry : announced)
        names.append(entry.second);
    return names;
}

QByteArray content(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

constexpr char section[] = "FTPSERVER";

QByteArray settingsFile()
{
    return qgetenv("VELMARO_SETTINGS");
}

void write(const char *key, const QByteArray &value)
{
    QCOMPARE(Btsdk_WritePrivateProfileString(section, key, value.constData(), settingsFile().constData()), 0u);
}

template <typename Widget>
Widget *part(QWidget *dialog, const char *name)
{
    return dialog->findChild<Widget *>(QLatin1String(name));
}

} // namespace

void TestSharedFolder::initTestCase()
{
    QVERIFY(!settingsFile().isEmpty());
    m_plugin = &Plugin::load(Platform::Real);
}

void TestSharedFolder::init()
{
    m_folder.reset(new QTemporaryDir);
    for (const char *name : {"share", "other", "local"})
        QVERIFY(QDir(m_folder->path()).mkdir(QLatin1String(name)));
    write("SHAREFOLDER", m_folder->filePath("share").toUtf8());
    write("DESIRED_ACCESS", "1");
    write("Security", "0");
    m_plugin->InitProfile(nullptr);
    m_plugin->setVmCommFunc(host);
    m_plugin->StartProfileServer();
    (void)m_plugin->performLocalSvrDefaultAction(server());
    BtSdkServerInfo info{};
    QCOMPARE(Btsdk_HostGetServer(server(), &info), 0u);
    QCOMPARE(info.status, quint16(BTSDK_SERVER_STARTED));
    announced.clear();
    announcedOnGuiThread = false;
}

void TestSharedFolder::cleanup()
{
    (void)Btsdk_FTPRegisterDealReceiveFileCB(nullptr);
    m_plugin->UninitProfile();
    Btsdk_HostShutdown();
}

void TestSharedFolder::cleanupTestCase()
{
    Btsdk_HostShutdown();
}

quint32 TestSharedFolder::server() const
{
    BtSdkServerInfo info{};
    return Btsdk_HostListServers(&info, 1) == 1 ? info.server : 0;
}

QString TestSharedFolder::address() const
{
    BtSdkServerInfo info{};
    (void)Btsdk_HostGetServer(server(), &info);
    return QString::fromUtf8(info.listening);
}

void TestSharedFolder::setAccess(const char *access)
{
    write("DESIRED_ACCESS", access);
    m_plugin->StartProfileServer();
}

void TestSharedFolder::toggleServer()
{
    m_plugin->GetLocalSvrActionList(server()).at(2)->trigger();
}

std::unique_ptr<QProcess> TestSharedFolder::start(const QStringList &arguments) const
{
    auto client = std::make_unique<QProcess>();
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VELMARO_SETTINGS"), m_folder->filePath(QStringLiteral("client.ini")));
    client->setProcessEnvironment(environment);
    client->start(qEnvironmentVariable("BTFTP_BUILD_DIR") + QStringLiteral("/bin/vmrl-ftp"),
                  QStringList{QStringLiteral("--quiet"), address()} + arguments);
    return client;
}

TestSharedFolder::Result TestSharedFolder::run(const QStringList &arguments) const
{
    const std::unique_ptr<QProcess> client = start(arguments);
    if (!client->waitForFinished(60000) || client->exitStatus() != QProcess::NormalExit)
        return {};
    return {client->exitCode(), client->readAllStandardOutput(), client->readAllStandardError()};
}

QString TestSharedFolder::localFile(const QString &name, const QByteArray &bytes) const
{
    const QString path = m_folder->filePath(QStringLiteral("local/")) + name;
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size())
        qFatal("cannot write %s", qPrintable(path));
    return path;
}

QStringList TestSharedFolder::shared() const
{
    return QDir(m_folder->filePath(QStringLiteral("share")))
        .entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

void TestSharedFolder::changeProperties(const std::function<void(QWidget *)> &action,
                                        QMessageBox::StandardButton answer)
{
    QWidget hostWindow;
    Modals modals;
    modals.handle([&](QWidget *dialog) {
        action(dialog);
        part<QDialogButtonBox>(dialog, "buttonBox")->button(QDialogButtonBox::Ok)->click();
    });
    if (answer != QMessageBox::NoButton)
        modals.press(answer);
    m_plugin->ShowSvrPropertyDlg(server(), &hostWindow, 1);
    QVERIFY(modals.allAnswered());
}

void TestSharedFolder::browseAndFetch_byARemoteDevice_work()
{
    QFile file(m_folder->filePath("share/notes.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("hello") == 5);
    file.close();
    const Result listing = run({"ls"});
    QCOMPARE(listing.exitCode, 0);
    QVERIFY2(listing.output.contains("notes.txt"), listing.output.constData());
    const QString target = m_folder->filePath("local/fetched.txt");
    QCOMPARE(run({"get", "notes.txt", target}).exitCode, 0);
    QCOMPARE(content(target), QByteArray("hello"));
    QCOMPARE(announcedNames(), QStringList());
}

void TestSharedFolder::put_byARemoteDevice_isAnnouncedByName()
{
    const Result result = run({"put", localFile("photo.jpg", "bytes of a photo")});
    QVERIFY2(result.exitCode == 0, result.errors.constData());
    QTRY_COMPARE(announcedNames(), QStringList{"photo.jpg"});
    QCOMPARE(announced.front().first, m_folder->filePath("share"));
    QVERIFY(!announcedOnGuiThread);
    QCOMPARE(content(m_folder->filePath("share/photo.jpg")), QByteArray("bytes of a photo"));
}

void TestSharedFolder::put_byAnotherProgram_isAnnouncedByName()
{
    const QString program = QStandardPaths::findExecutable(QStringLiteral("obexftp"));
    if (program.isEmpty())
        QSKIP("obexftp is not installed");
    const QStringList parts = address().split(':');
    const QStringList connect = {"-n", parts.at(0), "-B", parts.at(1)};
    const QString local = localFile("photo.jpg", QByteArray("bytes of a photo").repeated(10000));
    // Its exit code tells nothing; what arrived does.
    QProcess client;
    client.setWorkingDirectory(m_folder->filePath("local"));
    client.start(program, connect + QStringList{"-p", "photo.jpg"});
    QVERIFY(client.waitForFinished(30000));
    QTRY_COMPARE(announcedNames(), QStringList{"photo.jpg"});
    QCOMPARE(content(m_folder->filePath("share/photo.jpg")), content(local));
    QVERIFY(QFile::remove(local));
    client.start(program, connect + QStringList{"-g", "photo.jpg"});
    QVERIFY(client.waitForFinished(30000));
    QCOMPARE(content(local), content(m_folder->filePath("share/photo.jpg")));
    QCOMPARE(announcedNames().size(), 1);
}

void TestSharedFolder::put_underAHostileName_isAnnouncedAsStored_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("markup") << "<b>bold<b>&lt;";
    QTest::newRow("line break") << "two\nlines";
    QTest::newRow("bidirectional mark") << QString::fromUtf8("\xE2\x80\xAEgpj.exe");
    QTest::newRow("percent signs") << "%1%20%n";
    QTest::newRow("255 bytes") << QString(255, QLatin1Char('n'));
    QTest::newRow("spaces around") << "  x  ";
    QTest::newRow("begins with a dash") << "--quiet";
}

void TestSharedFolder::put_underAHostileName_isAnnouncedAsStored()
{
    QFETCH(QString, name);
    const Result result = run({"put", localFile(name, "x")});
    QVERIFY2(result.exitCode == 0, result.errors.constData());
    QTRY_COMPARE(announcedNames(), QStringList{name});
    QCOMPARE(shared(), QStringList{name});
}

void TestSharedFolder::put_intoAFolder_isAnnouncedWithItsPath()
{
    QCOMPARE(run({"mkdir", "sub"}).exitCode, 0);
    QCOMPARE(run({"put", localFile("a.txt", "a"), "sub/a.txt"}).exitCode, 0);
    QTRY_COMPARE(announcedNames(), QStringList{"sub/a.txt"});
}

void TestSharedFolder::readOnlyShare_refusesPutDeleteAndFolder_withoutATrace()
{
    QFile file(m_folder->filePath("share/kept.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly) && file.write("kept") == 4);
    file.close();
    setAccess("2");
    const QString local = localFile("new.txt", "new");
    const QString kept = localFile("kept.txt", "overwritten");
    for (const QStringList &command :
         {QStringList{"put", local}, {"put", kept}, {"rm", "kept.txt"}, {"mkdir", "sub"}}) {
        const Result result = run(command);
        QVERIFY2(result.exitCode > 0, qPrintable(command.join(' ')));
        QVERIFY(!result.errors.isEmpty());
        QCOMPARE(shared(), QStringList{"kept.txt"});
    }
    QCOMPARE(content(m_folder->filePath("share/kept.txt")), QByteArray("kept"));
    QCOMPARE(announcedNames(), QStringList());
    QCOMPARE(run({"ls"}).exitCode, 0);
}

void TestSharedFolder::accessSwitchedInTheDialog_clientConnected_noThenYes()
{
    const QStringList parts = address().split(':');
    unsigned int device = 0;
    QCOMPARE(Btsdk_HostAddTransientDevice("Client", qPrintable(parts.at(0)), parts.at(1).toUInt(), &device), 0u);
    unsigned int connection = 0;
    QCOMPARE(Btsdk_ConnectEx(device, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection), 0u);
    quint16 status = 0;
    QTRY_VERIFY(Btsdk_GetServerStatus(server(), &status) == 0 && status == BTSDK_SERVER_CONNECTED);

    changeProperties([](QWidget *dialog) { part<QCheckBox>(dialog, "checkBox_FtpWritable")->click(); },
                     QMessageBox::No);
    BtSdkServerInfo info{};
    QCOMPARE(Btsdk_HostGetServer(server(), &info), 0u);
    QCOMPARE(info.access, 1u);
    QCOMPARE(info.clients, 1u);
    QCOMPARE(Btsdk_FTPCreateDir(connection, "still writable"), 0u);
    QCOMPARE(shared(), QStringList{"still writable"});

    // The settings say read-only since then, and the other folder is a change.
    changeProperties(
        [this](QWidget *dialog) {
            QVERIFY(!part<QCheckBox>(dialog, "checkBox_FtpWritable")->isChecked());
            part<QLineEdit>(dialog, "lineEdit_FTPFolder")->setText(m_folder->filePath("other"));
        },
        QMessageBox::Yes);
    QTRY_VERIFY(Btsdk_GetServerStatus(server(), &status) == 0 && status == BTSDK_SERVER_STARTED);
    QCOMPARE(Btsdk_HostGetServer(server(), &info), 0u);
    QCOMPARE(info.access, 2u);
    QCOMPARE(QByteArray(info.folder), m_folder->filePath("other").toUtf8());
    QVERIFY(Btsdk_FTPCreateDir(connection, "too late") != 0);
    (void)Btsdk_Disconnect(connection);

    // Who comes again sees the new folder, and cannot change it.
    QVERIFY(run({"mkdir", "refused"}).exitCode > 0);
    const Result listing = run({"ls"});
    QCOMPARE(listing.exitCode, 0);
    QVERIFY(!listing.output.contains("still writable"));
    QCOMPARE(shared(), QStringList{"still writable"});
}

void TestSharedFolder::serverStopped_inMidTransfer_leavesNoTraceAndStartsAgain()
{
    const QString big = localFile("big.bin", {});
    QVERIFY(QFile::resize(big, qint64(2) << 30));
    const std::unique_ptr<QProcess> client = start({"put", big});
    const auto received = [this] {
        BtSdkServerInfo info{};
        (void)Btsdk_HostGetServer(server(), &info);
        return info.bytesReceived;
    };
    for (int i = 0; i < 20000 && received() == 0; ++i)
        QThread::msleep(1);
    QVERIFY(received() > 0);
    toggleServer();
    QVERIFY(client->waitForFinished(20000));
    QVERIFY(client->exitCode() > 0);
    QTRY_COMPARE(shared(), QStringList());
    QCOMPARE(announcedNames(), QStringList());
    QVERIFY(content(QString::fromLocal8Bit(settingsFile())).contains("disable"));

    toggleServer();
    QVERIFY(content(QString::fromLocal8Bit(settingsFile())).contains("enable"));
    QCOMPARE(run({"put", localFile("small.txt", "s")}).exitCode, 0);
    QTRY_COMPARE(announcedNames(), QStringList{"small.txt"});
}

void TestSharedFolder::secureConnection_asksForThePasskey_data()
{
    QTest::addColumn<bool>("gives");
    QTest::addColumn<bool>("right");
    QTest::newRow("right passkey") << true << true;
    QTest::newRow("wrong passkey") << true << false;
    QTest::newRow("client that does not know of it") << false << false;
}

void TestSharedFolder::secureConnection_asksForThePasskey()
{
    QFETCH(bool, gives);
    QFETCH(bool, right);
    QFile file(m_folder->filePath("share/secret.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    changeProperties([](QWidget *dialog) { part<QCheckBox>(dialog, "checkBox_SecureConnection")->click(); });
    char passkey[16] = {};
    QCOMPARE(Btsdk_HostGetPasskey(passkey, sizeof passkey), 0u);
    QByteArray given(passkey);
    if (!right)
        given[0] = given.at(0) == '0' ? '1' : '0';
    const Result result = run(gives ? QStringList{"--passkey", QString::fromLatin1(given), "ls"} : QStringList{"ls"});
    QCOMPARE(result.exitCode == 0, right);
    QCOMPARE(result.output.contains("secret.txt"), right);
    QCOMPARE(result.errors.isEmpty(), right);
}

void TestSharedFolder::thousandFiles_bySixteenDevices_areEachAnnouncedOnce()
{
    constexpr int devices = 16;
    constexpr int files = 1000;
    QStringList expected;
    for (int i = 0; i < files; ++i) {
        const QString folder = QStringLiteral("device%1").arg(i % devices);
        (void)QDir(m_folder->filePath("local")).mkdir(folder);
        const QString name = folder + QStringLiteral("/file%1").arg(i);
        (void)localFile(name, name.toUtf8().repeated(i));
        expected.append(name);
    }
    std::vector<std::unique_ptr<QProcess>> clients;
    for (int i = 0; i < devices; ++i)
        clients.push_back(start({"put", m_folder->filePath(QStringLiteral("local/device%1").arg(i))}));
    for (const auto &client : clients) {
        QVERIFY(client->waitForFinished(120000));
        QVERIFY2(client->exitCode() == 0, client->readAllStandardError().constData());
    }
    QTRY_COMPARE_WITH_TIMEOUT(announcedNames().size(), files, 20000);
    QStringList heard = announcedNames();
    heard.sort();
    expected.sort();
    QCOMPARE(heard, expected);
    for (const QString &name : qAsConst(expected))
        QVERIFY2(content(m_folder->filePath("share/") + name) == content(m_folder->filePath("local/") + name),
                 qPrintable(name));
}

void TestSharedFolder::dialogTabs_onTheRealLibraries_areDrawn()
{
    const QString folder = qEnvironmentVariable("BTFTP_BUILD_DIR", QDir::tempPath()) + QStringLiteral("/screenshots");
    QVERIFY(QDir().mkpath(folder));
    changeProperties([&](QWidget *dialog) {
        QCOMPARE(dialog->windowTitle(), QStringLiteral("Bluetooth File Transfer Properties"));
        QVERIFY(!part<QLabel>(dialog, "label_ProfileIcon")->pixmap(Qt::ReturnByValue).isNull());
        QVERIFY(!part<QLabel>(dialog, "label_DevName")->text().isEmpty());
        for (int tab : {0, 1}) {
            part<QTabWidget>(dialog, "tabWidget")->setCurrentIndex(tab);
            QVERIFY(dialog->grab().save(QStringLiteral("%1/server-properties-real-%2.png").arg(folder).arg(tab)));
        }
    });
}

BTFTP_TEST_MAIN(TestSharedFolder)
#include "tst_shared_folder.moc"
