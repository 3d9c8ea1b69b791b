#include "transferdesk.h"

#include <QElapsedTimer>
#include <QRandomGenerator>

#include <cerrno>
#include <csignal>
#include <cstring>
#include <memory>
#include <sys/mount.h>

namespace {

constexpr int defaultRounds = 40;
constexpr int fileSize = 24 << 20;

int environmentNumber(const char *name, int otherwise)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : otherwise;
}

/** A small disk of its own. */
class SmallDisk
{
public:
    explicit SmallDisk(const char *size) : m_path(QFile::encodeName(m_folder.path()))
    {
        m_mounted = ::mount("tmpfs", m_path.constData(), "tmpfs", 0, (QByteArray("size=") + size).constData()) == 0;
        m_error = m_mounted ? QByteArray() : QByteArray(std::strerror(errno));
    }
    ~SmallDisk()
    {
        if (m_mounted)
            ::umount2(m_path.constData(), MNT_DETACH);
    }
    bool isMounted() const { return m_mounted; }
    const char *error() const { return m_error.constData(); }
    QString path() const { return m_folder.path(); }

private:
    QTemporaryDir m_folder;
    QByteArray m_path;
    QByteArray m_error;
    bool m_mounted = false;
};

} // namespace

/**
 * What stood there before a transfer stands there after it, byte for byte, unless the transfer succeeded.
 *
 * BTFTP_ROUNDS and BTFTP_SEED in the environment choose how many random rounds there are and which.
 */
class TestNothingLost : public TransferDesk
{
    Q_OBJECT

private slots:
    void initTestCase() { load(); }
    void cleanup()
    {
        close();
        emptyFolders();
    }
    void cleanupTestCase() { Btsdk_HostShutdown(); }

    void transfer_brokenAtARandomMoment_leavesTheOldFileOrTheNewOne();
    void transfer_ontoAFullDisk_leavesTheOldFile_data();
    void transfer_ontoAFullDisk_leavesTheOldFile();
    void upload_refusedByAReadOnlyDevice_leavesTheOldFile();

private:
    enum Trouble { Cancelled, DeviceKilled, WindowClosed, troubles };
    /** One transfer that meets its trouble once that many bytes have moved. */
    void round(bool upload, Trouble trouble, int bytes, quint32 seed);

    int m_broken = 0;
    int m_finished = 0;
    const QByteArray m_old = contentFor(1, 300000);
};

void TestNothingLost::round(bool upload, Trouble trouble, int bytes, quint32 seed)
{
    const QString name = QStringLiteral("target.bin");
    const QString source = upload ? localPath(name) : remotePath(name);
    const QString target = upload ? remotePath(name) : localPath(name);
    const QByteArray fresh = contentFor(seed, fileSize);
    writeFile(source, fresh);
    writeFile(target, m_old);
    listBoth();
    const quint64 before = bytesMoved();
    if (upload)
        startUpload(name, true);
    else
        startDownload(name, true);
    while (progress() && bytesMoved() - before < quint64(bytes))
        QCoreApplication::processEvents();
    if (trouble == DeviceKilled)
        device.kill();
    else if (trouble == WindowClosed)
        closeWindow();
    else if (progress())
        QMetaObject::invokeMethod(progress(), "reject");

    QTRY_VERIFY_WITH_TIMEOUT(!progress(), patience);
    // A device that is told of the end a moment later needs that moment to put its things away.
    const auto folderOf = [](const QString &path) { return QFileInfo(path).path(); };
    QTRY_COMPARE_WITH_TIMEOUT(entriesOf(folderOf(target)), QStringList(name), 5000);
    QCOMPARE(entriesOf(folderOf(source)), QStringList(name));
    const QByteArray now = contentOf(target);
    QVERIFY2(now == m_old || now == fresh, qPrintable(QStringLiteral("%1 bytes of neither").arg(now.size())));
    QVERIFY(contentOf(source) == fresh);
    if (window) {
        const QString kind = upload ? QStringLiteral("Upload") : QStringLiteral("Download");
        // A device that died may have made the refresh connect anew by now; else the text is the transfer's.
        const QString failed = kind + QStringLiteral(" was not successful.");
        const QString succeeded = kind + QStringLiteral(" succeeded.");
        if (trouble != DeviceKilled)
            QVERIFY2(status() == (now == fresh ? succeeded : failed) || (upload && status() == failed),
                     qPrintable(status()));
        if (status() == succeeded)
            QVERIFY2(now == fresh, "told of a success that was none");
    }
    (now == fresh ? m_finished : m_broken)++;
    if (trouble == DeviceKilled)
        revive();
    else if (trouble == WindowClosed)
        openWindow();
}

void TestNothingLost::transfer_brokenAtARandomMoment_leavesTheOldFileOrTheNewOne()
{
    const quint32 seed = quint32(environmentNumber("BTFTP_SEED", int(QRandomGenerator::global()->bounded(1000000))));
    const int rounds = environmentNumber("BTFTP_ROUNDS", defaultRounds);
    QRandomGenerator random(seed);
    open();
    qInfo("BTFTP_SEED=%u BTFTP_ROUNDS=%d", seed, rounds);
    for (int i = 0; i < rounds; ++i) {
        const bool upload = random.bounded(2);
        const auto trouble = static_cast<Trouble>(random.bounded(int(troubles)));
        const int bytes = random.bounded(fileSize + 1);
        round(upload, trouble, bytes, random.generate());
        if (QTest::currentTestFailed()) {
            qInfo("round %d: upload %d, trouble %d after %d bytes", i, upload, trouble, bytes);
            return;
        }
    }
    qInfo("%d transfers broken off, %d finished before", m_broken, m_finished);
    QVERIFY2(m_broken * 4 > rounds, "too few were hit in the middle to say anything");
}

void TestNothingLost::transfer_ontoAFullDisk_leavesTheOldFile_data()
{
    QTest::addColumn<bool>("upload");
    QTest::newRow("download") << false;
    QTest::newRow("upload") << true;
}

void TestNothingLost::transfer_ontoAFullDisk_leavesTheOldFile()
{
    QFETCH(bool, upload);
    const SmallDisk disk("1m");
    if (upload)
        open(QString(), disk.path());
    else
        open(disk.path());
    if (!disk.isMounted())
        QSKIP(disk.error()); // mounting takes root
    const QString name = QStringLiteral("target.bin");
    writeFile(disk.path() + QLatin1Char('/') + name, m_old);
    writeFile(upload ? localPath(name) : remotePath(name), contentFor(2, 4 << 20));
    listBoth();
    if (upload)
        startUpload(name, true);
    else
        startDownload(name, true);
    finish(upload ? QStringLiteral("Upload was not successful.") : QStringLiteral("Download was not successful."));
    QVERIFY(contentOf(disk.path() + QLatin1Char('/') + name) == m_old);
    QTRY_COMPARE(entriesOf(disk.path()), QStringList(name));
    // And there is room again for what fits.
    writeFile(upload ? localPath(QStringLiteral("small")) : remotePath(QStringLiteral("small")), "small");
    listBoth();
    if (upload)
        startUpload(QStringLiteral("small"));
    else
        startDownload(QStringLiteral("small"));
    finish(upload ? QStringLiteral("Upload succeeded.") : QStringLiteral("Download succeeded."));
}

void TestNothingLost::upload_refusedByAReadOnlyDevice_leavesTheOldFile()
{
    open();
    device.kill();
    const QString name = QStringLiteral("target.bin");
    writeFile(remotePath(name), m_old);
    writeFile(localPath(name), contentFor(3, 4 << 20));
    const unsigned int port = device.port();
    QVERIFY(device.start(QFileInfo(remotePath(name)).path(),
                         {QStringLiteral("--read-only"), QStringLiteral("--port"), QString::number(port)}));
    for (int i = 0; i < 10 && (!windows::call(window, "refreshRemote") || !isConnected()); ++i)
        QTest::qWait(50);
    listBoth();
    Modals modals;
    modals.press(QMessageBox::Yes).press(QMessageBox::Ok);
    QVERIFY(windows::select(local, {name}));
    QVERIFY(windows::call(window, "actionUpload", Q_ARG(bool, false)));
    QTRY_VERIFY_WITH_TIMEOUT(modals.allAnswered() && !progress(), patience);
    QCOMPARE(modals.last().text,
             QStringLiteral("\tUpload failed!\nRemote device may have set its FTP service Read Only."));
    QCOMPARE(status(), QStringLiteral("Upload was not successful."));
    QVERIFY(contentOf(remotePath(name)) == m_old);
    QCOMPARE(entriesOf(QFileInfo(remotePath(name)).path()), QStringList(name));
}

BTFTP_TEST_MAIN(TestNothingLost)
#include "tst_nothing_lost.moc"
