#include "testmain.h"
#include "transfertest.h"

#include <QDialog>
#include <QElapsedTimer>
#include <QThread>

#include <chrono>
#include <thread>

Q_DECLARE_METATYPE(Report)

namespace {

const char *const shown = "ComProgressDlg::slotProcTransStatus";
const char *const cancelCall = "Btsdk_FTPCancelTransfer";

} // namespace

/** Status reports on their way to the progress dialog, and the cancel on its way back. */
class TestTransferProgress : public TransferTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void report_reachesTheDialog_asItIs_data();
    void report_reachesTheDialog_asItIs();
    void report_allZero_isDropped();
    void report_ofATransfer_isShownInOrder();
    void report_firstWithoutASize_takesTheRemoteRows_data();
    void report_firstWithoutASize_takesTheRemoteRows();
    void report_withoutADialog_isConsumed();
    void report_afterTheTransfersEnd_isDropped();
    void report_ofAnotherWindowsTransfer_goesToThatWindow();
    void dialog_isWiredAndNeverModal();
    void dialog_ofASecondRequest_replacesTheFirst();

    void cancel_runningTransfer_endsItOnASecondWorker_data();
    void cancel_runningTransfer_endsItOnASecondWorker();
    void cancel_pressedTwice_startsOne();
    void cancel_withoutATransfer_doesNothing_data();
    void cancel_withoutATransfer_doesNothing();
    void cancel_otherActions_areIgnored();
    void cancel_thatFails_isNotShownAndTheTransferGoesOn();
    void cancel_ofTheNextTransfer_worksToo();
    void cancel_whileAnEarlierCancelStillEnds_reusesItsWorker();
    void close_duringATransfer_cancelsAndWaits_data();
    void close_duringATransfer_cancelsAndWaits();
    void close_duringACancel_waitsForBoth();

private:
    QDialog *dialog() const { return window->findChild<QDialog *>(); }
    /** A get or put that waits for its end. */
    void start(const QByteArray &kind)
    {
        script().setTransfersHang(true);
        const int waiting = script().hangingTransfers();
        if (kind == "upload") {
            makeFile(QStringLiteral("mine.txt"));
            listLocal();
            QVERIFY(windows::select(local, {"mine.txt"}));
            QVERIFY(windows::call(window, "actionUpload", Q_ARG(bool, false)));
        } else {
            QVERIFY(windows::select(remote, {"hello.txt"}));
            QVERIFY(windows::call(window, "actionDownload", Q_ARG(bool, false)));
        }
        QTRY_COMPARE(script().hangingTransfers(), waiting + 1);
        QVERIFY(dialog());
        QTRY_VERIFY(script().count(shown) >= 2); // the reports of the beginning
        script().clearCalls();
    }
    void finish()
    {
        script().releaseTransfers();
        QTRY_VERIFY(!dialog());
    }
    void pressCancel() { QMetaObject::invokeMethod(dialog(), "reject"); }
    void userAction(quint8 action) { QVERIFY(windows::call(window, "procUserAction", Q_ARG(quint8, action))); }
    static void kinds()
    {
        QTest::addColumn<QByteArray>("kind");
        QTest::newRow("download") << QByteArray("download");
        QTest::newRow("upload") << QByteArray("upload");
    }
};

void TestTransferProgress::report_reachesTheDialog_asItIs_data()
{
    QTest::addColumn<Report>("report");
    QTest::newRow("begun") << Report{1, 0, "file.txt", 1000, 0};
    QTest::newRow("under way") << Report{0, 0, "file.txt", 1000, 500};
    QTest::newRow("ended") << Report{0, 1, "file.txt", 1000, 1000};
    QTest::newRow("other flags than 1") << Report{7, 255, "file.txt", 1000, 1000};
    QTest::newRow("largest sizes") << Report{1, 0, "file.txt", 0xFFFFFFFF, 0xFFFFFFFE};
    QTest::newRow("a name beyond ASCII") << Report{1, 0, "\xC3\xA4 \xF0\x9F\x98\x80", 10, 0};
    QTest::newRow("no name") << Report{1, 0, "", 10, 0};
    QTest::newRow("a size alone") << Report{0, 0, "file.txt", 10, 0};
    QTest::newRow("bytes alone") << Report{0, 0, "file.txt", 0, 10};
    QTest::newRow("last alone") << Report{0, 1, "file.txt", 0, 0};
}

void TestTransferProgress::report_reachesTheDialog_asItIs()
{
    QFETCH(Report, report);
    openConnected();
    start("download");
    script().report(report);
    QTRY_COMPARE(script().count(shown), 1);
    const Call call = script().last(shown);
    QCOMPARE(call.number(0), uint(report.first));
    QCOMPARE(call.number(1), uint(report.last));
    QCOMPARE(call.argument(2).isValid(), !report.name.isEmpty()); // an empty name arrives as null
    QCOMPARE(call.text(2), report.name);
    QCOMPARE(call.number(3), report.size);
    QCOMPARE(call.number(4), report.done);
    finish();
}

void TestTransferProgress::report_allZero_isDropped()
{
    openConnected();
    start("download");
    script().report({0, 0, "file.txt", 0, 0});
    script().report({0, 0, "after it", 1, 1});
    QTRY_COMPARE(script().count(shown), 1);
    QCOMPARE(script().last(shown).text(2), QByteArray("after it"));
    finish();
}

void TestTransferProgress::report_ofATransfer_isShownInOrder()
{
    openConnected();
    QList<Report> reports;
    for (quint32 done = 0; done <= 100; ++done)
        reports.append({quint8(done == 0), quint8(done == 100), "hello.txt", 100, done});
    script().setReports(reports);
    QVERIFY(windows::select(remote, {"hello.txt"}));
    QVERIFY(windows::call(window, "actionDownload", Q_ARG(bool, false)));
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    const QList<Call> calls = script().calls(shown);
    QCOMPARE(calls.size(), 101);
    for (int i = 0; i < calls.size(); ++i)
        QCOMPARE(calls.at(i).number(4), uint(i));
}

void TestTransferProgress::report_firstWithoutASize_takesTheRemoteRows_data()
{
    QTest::addColumn<Report>("report");
    QTest::addColumn<uint>("size");
    QTest::newRow("a file that the pane shows") << Report{1, 0, "archive.tar.gz", 0, 0} << 123456u;
    QTest::newRow("a size that is known") << Report{1, 0, "archive.tar.gz", 7, 0} << 7u;
    QTest::newRow("not the first report") << Report{0, 1, "archive.tar.gz", 0, 0} << 0u;
    QTest::newRow("a file that the pane does not show") << Report{1, 0, "new.txt", 0, 0} << 0u;
    QTest::newRow("another case") << Report{1, 0, "Archive.tar.gz", 0, 0} << 0u;
    QTest::newRow("a part of the name") << Report{1, 0, "archive", 0, 0} << 0u;
    QTest::newRow("no name") << Report{1, 0, "", 0, 0} << 0u;
    QTest::newRow("a row without an entry") << Report{1, 0, "placeholder", 0, 0} << 0u;
}

void TestTransferProgress::report_firstWithoutASize_takesTheRemoteRows()
{
    QFETCH(Report, report);
    QFETCH(uint, size);
    openConnected();
    start("download");
    addRow(remote, QStringLiteral("placeholder"));
    script().report(report);
    QTRY_COMPARE(script().count(shown), 1);
    QCOMPARE(script().last(shown).number(3), size);
    finish();
}

void TestTransferProgress::report_withoutADialog_isConsumed()
{
    openConnected();
    start("download");
    finish();
    script().clearCalls();
    // As a report arrives that was under way when the dialog closed; the leak checker looks after its name.
    auto *const name = new quint8[2]{'a', 0};
    QVERIFY(windows::call(window, "procFtpStatusCallback", Q_ARG(quint8, 1), Q_ARG(quint8, 0), Q_ARG(quint8 *, name),
                          Q_ARG(quint32, 0), Q_ARG(quint32, 0)));
    QVERIFY(windows::call(window, "procFtpStatusCallback", Q_ARG(quint8, 1), Q_ARG(quint8, 0), Q_ARG(quint8 *, nullptr),
                          Q_ARG(quint32, 0), Q_ARG(quint32, 0)));
    QCOMPARE(script().count(shown), 0);
}

void TestTransferProgress::report_afterTheTransfersEnd_isDropped()
{
    openConnected();
    start("download");
    finish();
    script().clearCalls();
    script().report({0, 1, "hello.txt", 100, 100});
    QTest::qWait(20);
    QCOMPARE(script().count(shown), 0);
}

void TestTransferProgress::report_ofAnotherWindowsTransfer_goesToThatWindow()
{
    openConnected();
    QWidget *const second = plugin().openConnectedWindow(shortcut + 1);
    QVERIFY(second);
    start("download");
    script().report({1, 0, "hello.txt", 5, 0});
    QTRY_COMPARE(script().count(shown), 1);
    QVERIFY(!second->findChild<QDialog *>());
    // A delete of the other window takes the reports over, as every request does; without a dialog they are consumed.
    QTRY_COMPARE(windows::statusText(second), QStringLiteral("Connected."));
    QVERIFY(windows::select(windows::remoteTree(second), {"Docs"}));
    QUrl url;
    url.setPath(QStringLiteral("/Docs"));
    QVERIFY(windows::call(second, "DeleteRmtRequest", Q_ARG(QList<QUrl>, QList<QUrl>{url})));
    QTRY_COMPARE(windows::statusText(second), QStringLiteral("Delete succeeded."));
    script().clearCalls();
    script().report({0, 0, "hello.txt", 5, 3});
    QTest::qWait(20);
    QCOMPARE(script().count(shown), 0);
    finish();
}

void TestTransferProgress::dialog_isWiredAndNeverModal()
{
    openConnected();
    start("download");
    QVERIFY(dialog()->isVisible());
    QVERIFY(!dialog()->isModal());
    QVERIFY(!dialog()->windowIcon().isNull());
    QCOMPARE(dialog()->parentWidget(), window.data());
    QCOMPARE(connectionsOf(dialog(), SIGNAL(userActionInd(quint8))), 1);
    QCOMPARE(connectionsOf(window, SIGNAL(sgnTransStatus(quint8, quint8, quint8 *, quint32, quint32))), 1);
    QCOMPARE(connectionsOf(window, SIGNAL(UserCancelTrasfer())), 0);
    finish();
    QCOMPARE(connectionsOf(window, SIGNAL(sgnTransStatus(quint8, quint8, quint8 *, quint32, quint32))), 0);
}

void TestTransferProgress::dialog_ofASecondRequest_replacesTheFirst()
{
    openConnected();
    start("download");
    QPointer<QDialog> first = dialog();
    QVERIFY(windows::select(remote, {"archive.tar.gz"}));
    QVERIFY(windows::call(window, "actionDownload", Q_ARG(bool, false)));
    QVERIFY(!first);
    QCOMPARE(window->findChildren<QDialog *>().size(), 1);
    finish();
    QTRY_COMPARE(status(), QStringLiteral("Download succeeded."));
    QCOMPARE(script().count("Btsdk_FTPGetFile"), 0); // the second request was not run, as the worker was busy
}

void TestTransferProgress::cancel_runningTransfer_endsItOnASecondWorker_data()
{
    kinds();
}

void TestTransferProgress::cancel_runningTransfer_endsItOnASecondWorker()
{
    QFETCH(QByteArray, kind);
    openConnected();
    start(kind);
    pressCancel();
    QTRY_VERIFY(!dialog());
    QCOMPARE(status(), kind == "download" ? QStringLiteral("Download was not successful.")
                                          : QStringLiteral("Upload was not successful."));
    QCOMPARE(script().count(cancelCall), 1);
    const Call cancel = script().last(cancelCall);
    QCOMPARE(cancel.number(0), Double::firstConnection);
    QVERIFY2(cancel.thread != reinterpret_cast<quintptr>(QThread::currentThreadId()), "not on the GUI thread");
}

void TestTransferProgress::cancel_pressedTwice_startsOne()
{
    openConnected();
    start("download");
    script().hold(cancelCall);
    userAction(1);
    userAction(1);
    QTRY_COMPARE(script().held(cancelCall), 1);
    userAction(1);
    QTest::qWait(20);
    script().release(cancelCall);
    QTRY_VERIFY(!dialog());
    QCOMPARE(script().count(cancelCall), 1);
}

void TestTransferProgress::cancel_withoutATransfer_doesNothing_data()
{
    QTest::addColumn<QByteArray>("state");
    QTest::newRow("idle") << QByteArray("idle");
    QTest::newRow("connecting") << QByteArray("connecting");
    QTest::newRow("deleting") << QByteArray("deleting");
}

void TestTransferProgress::cancel_withoutATransfer_doesNothing()
{
    QFETCH(QByteArray, state);
    if (state == "connecting") {
        script().play(Scenario::Hangs);
        window = qobject_cast<QMainWindow *>(plugin().openWindow(shortcut));
        QTRY_COMPARE(script().held("Btsdk_ConnectEx"), 1);
    } else {
        openConnected();
    }
    if (state == "deleting") {
        script().hold("Btsdk_FTPDeleteFile");
        QVERIFY(windows::select(remote, {"hello.txt"}));
        QUrl url;
        url.setPath(QStringLiteral("/hello.txt"));
        QVERIFY(windows::call(window, "DeleteRmtRequest", Q_ARG(QList<QUrl>, QList<QUrl>{url})));
        QTRY_COMPARE(script().held("Btsdk_FTPDeleteFile"), 1);
    }
    userAction(1);
    QTest::qWait(20);
    QCOMPARE(script().count(cancelCall), 0);
    script().release("Btsdk_ConnectEx");
    script().release("Btsdk_FTPDeleteFile");
    QTRY_VERIFY(status() == QLatin1String(state == "deleting" ? "Delete succeeded." : "Connected."));
}

void TestTransferProgress::cancel_otherActions_areIgnored()
{
    openConnected();
    start("download");
    for (const int action : {0, 2, 3, 255})
        userAction(quint8(action));
    QTest::qWait(20);
    QCOMPARE(script().count(cancelCall), 0);
    QVERIFY(dialog());
    finish();
}

void TestTransferProgress::cancel_thatFails_isNotShownAndTheTransferGoesOn()
{
    openConnected();
    start("download");
    script().setResult(cancelCall, BTSDK_ER_INVALID_HANDLE);
    userAction(1);
    QTRY_COMPARE(script().count(cancelCall), 1);
    QTest::qWait(20);
    QCOMPARE(status(), QStringLiteral("Downloading ..."));
    QVERIFY(dialog());
    finish();
    QCOMPARE(status(), QStringLiteral("Download succeeded."));
}

void TestTransferProgress::cancel_ofTheNextTransfer_worksToo()
{
    openConnected();
    for (int round = 0; round < 5; ++round) {
        QFile::remove(path(QStringLiteral("hello.txt")));
        start("download");
        pressCancel();
        QTRY_VERIFY(!dialog());
        QCOMPARE(script().count(cancelCall), 1);
        script().clearCalls();
    }
}

void TestTransferProgress::cancel_whileAnEarlierCancelStillEnds_reusesItsWorker()
{
    openConnected();
    start("download");
    // The first cancel has done its work and its call has not returned; the transfer is over and a new one runs.
    script().hold(cancelCall);
    userAction(1);
    QTRY_COMPARE(script().held(cancelCall), 1);
    finish();
    start("upload");
    script().release(cancelCall); // which ends the new transfer, too: the library has one cancel for a connection
    QTRY_VERIFY(!dialog());
    start("upload");
    userAction(1);
    QTRY_VERIFY(!dialog());
    QCOMPARE(status(), QStringLiteral("Upload was not successful."));
}

void TestTransferProgress::close_duringATransfer_cancelsAndWaits_data()
{
    kinds();
}

void TestTransferProgress::close_duringATransfer_cancelsAndWaits()
{
    QFETCH(QByteArray, kind);
    openConnected();
    start(kind);
    QElapsedTimer timer;
    timer.start();
    window->close();
    QTRY_VERIFY(!window);
    QVERIFY2(timer.elapsed() < 2500, qPrintable(QString::number(timer.elapsed())));
    QCOMPARE(script().count(cancelCall), 1);
    QCOMPARE(script().last(cancelCall).thread, reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QCOMPARE(script().hangingTransfers(), 0);
    QCOMPARE(script().orderOf({cancelCall, "Btsdk_DisconnectShortCut"}),
             (QStringList{cancelCall, "Btsdk_DisconnectShortCut"}));
}

void TestTransferProgress::close_duringACancel_waitsForBoth()
{
    openConnected();
    start("download");
    script().hold(cancelCall);
    userAction(1);
    QTRY_COMPARE(script().held(cancelCall), 1);
    // The window waits in its destructor; the cancel that it waits for is let go from beside.
    std::thread helper([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(200));
        Double::instance().release(cancelCall);
    });
    window->close();
    QTRY_VERIFY(!window);
    helper.join();
    QCOMPARE(script().count(cancelCall), 1); // the operation was a cancel by then: no second one
    QCOMPARE(script().hangingTransfers(), 0);
}

BTFTP_TEST_MAIN(TestTransferProgress)
#include "tst_transfer_progress.moc"
