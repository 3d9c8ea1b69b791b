#include "transferdesk.h"

#include <QElapsedTimer>

/** How long it takes from pressing Cancel until the dialog is gone, and from closing the window until it is. */
class TestCancel : public TransferDesk
{
    Q_OBJECT

private slots:
    void initTestCase() { load(); }
    void init() { open(); }
    void cleanup()
    {
        device.thaw();
        close();
        emptyFolders();
    }
    void cleanupTestCase() { Btsdk_HostShutdown(); }

    void cancel_atFullSpeed_isQuick_data() { kinds(); }
    void cancel_atFullSpeed_isQuick();
    void cancel_deviceGoneSilent_staysWithinItsBound_data() { kinds(); }
    void cancel_deviceGoneSilent_staysWithinItsBound();
    void cancel_folderOfManyFiles_keepsWholeFilesAlone_data() { kinds(); }
    void cancel_folderOfManyFiles_keepsWholeFilesAlone();
    void close_duringATransfer_staysWithinTheBound_data();
    void close_duringATransfer_staysWithinTheBound();

private:
    static constexpr qint64 silentBound = 2500; // milliseconds, what the library promises
    static void kinds()
    {
        QTest::addColumn<bool>("upload");
        QTest::newRow("download") << false;
        QTest::newRow("upload") << true;
    }
    /** A transfer of a file that is far larger than what goes through meanwhile. */
    void startHuge(bool upload)
    {
        const QString name = QStringLiteral("huge.bin");
        QFile file(upload ? localPath(name) : remotePath(name));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(3LL << 30));
        QFile::remove(upload ? remotePath(name) : localPath(name));
        listBoth();
        const quint64 before = bytesMoved();
        if (upload)
            startUpload(name);
        else
            startDownload(name);
        QTRY_VERIFY_WITH_TIMEOUT(bytesMoved() > before + (1 << 20), patience);
        QVERIFY(progress());
    }
    qint64 cancelAndWait(int presses = 1)
    {
        QElapsedTimer elapsed;
        elapsed.start();
        for (int i = 0; i < presses; ++i)
            QMetaObject::invokeMethod(progress(), "reject");
        if (!QTest::qWaitFor([this] { return !progress(); }, patience))
            return patience;
        return elapsed.elapsed();
    }
};

void TestCancel::cancel_atFullSpeed_isQuick()
{
    QFETCH(bool, upload);
    QList<qint64> times;
    for (int i = 0; i < 5; ++i) {
        startHuge(upload);
        times.append(cancelAndWait(2));
        QCOMPARE(status(), upload ? QStringLiteral("Upload was not successful.")
                                  : QStringLiteral("Download was not successful."));
        QTRY_VERIFY(
            !QFile::exists(upload ? remotePath(QStringLiteral("huge.bin")) : localPath(QStringLiteral("huge.bin"))));
    }
    std::sort(times.begin(), times.end());
    qInfo("cancel at full speed: median %lld ms, longest %lld ms", static_cast<long long>(times.at(2)),
          static_cast<long long>(times.last()));
    QVERIFY2(times.last() < silentBound, qPrintable(QString::number(times.last())));
}

void TestCancel::cancel_deviceGoneSilent_staysWithinItsBound()
{
    QFETCH(bool, upload);
    startHuge(upload);
    QVERIFY(device.freeze());
    const qint64 time = cancelAndWait();
    qInfo("cancel against a silent device: %lld ms", static_cast<long long>(time));
    QVERIFY2(time <= silentBound + 500, qPrintable(QString::number(time))); // listing anew is a part of it
}

void TestCancel::cancel_folderOfManyFiles_keepsWholeFilesAlone()
{
    QFETCH(bool, upload);
    constexpr int count = 500;
    const QByteArray content = contentFor(5, 100000);
    const QString from = upload ? localPath(QStringLiteral("many")) : remotePath(QStringLiteral("many"));
    const QString to = upload ? remotePath(QStringLiteral("many")) : localPath(QStringLiteral("many"));
    QVERIFY(QDir().mkpath(from));
    for (int i = 0; i < count; ++i)
        writeFile(QStringLiteral("%1/%2.bin").arg(from).arg(i, 3, 10, QLatin1Char('0')), content);
    listBoth();
    if (upload)
        startUpload(QStringLiteral("many"));
    else
        startDownload(QStringLiteral("many"));
    QTRY_VERIFY_WITH_TIMEOUT(entriesOf(to).size() > 20, patience);
    const qint64 time = cancelAndWait();
    const QStringList arrived = entriesOf(to);
    qInfo("cancelled after %d of %d files, in %lld ms", arrived.size(), count, static_cast<long long>(time));
    QVERIFY2(arrived.size() < count, "it was over before the cancel came");
    QVERIFY2(time < silentBound, qPrintable(QString::number(time)));
    QTest::qWait(50);
    QCOMPARE(entriesOf(to), arrived); // nothing goes on behind the user's back
    for (const QString &name : arrived)
        QVERIFY2(contentOf(to + QLatin1Char('/') + name) == content, qPrintable(name));
    QCOMPARE(status(),
             upload ? QStringLiteral("Upload was not successful.") : QStringLiteral("Download was not successful."));
}

void TestCancel::close_duringATransfer_staysWithinTheBound_data()
{
    QTest::addColumn<bool>("upload");
    QTest::addColumn<bool>("silent");
    for (const bool upload : {false, true})
        for (const bool silent : {false, true})
            QTest::addRow("%s, %s", upload ? "upload" : "download", silent ? "device silent" : "full speed")
                << upload << silent;
}

void TestCancel::close_duringATransfer_staysWithinTheBound()
{
    QFETCH(bool, upload);
    QFETCH(bool, silent);
    startHuge(upload);
    if (silent)
        QVERIFY(device.freeze());
    QElapsedTimer elapsed;
    elapsed.start();
    closeWindow();
    qInfo("closing the window: %lld ms", static_cast<long long>(elapsed.elapsed()));
    QVERIFY2(elapsed.elapsed() <= silentBound + 500, qPrintable(QString::number(elapsed.elapsed())));
    if (!silent)
        QTRY_VERIFY(
            !QFile::exists(upload ? remotePath(QStringLiteral("huge.bin")) : localPath(QStringLiteral("huge.bin"))));
}

BTFTP_TEST_MAIN(TestCancel)
#include "tst_cancel.moc"
