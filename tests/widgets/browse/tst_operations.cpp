#include "browsing.h"
#include "modals.h"
#include "testmain.h"

#include <QDialog>

namespace {

enum Operation : quint32 { Connect = 1, Get, Put, Disconnect, Cancel, Delete };
enum Result : quint32 { Success = 1, Failure, Returned, Starting };
constexpr quint32 readOnly = 1729;

const auto connected = QStringLiteral("Connected.");
const auto untouched = QStringLiteral("text from before");

} // namespace

/** What the window does on each report of a worker; the reports are made by hand. */
class OperationsTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_browsing.start(); }
    void cleanup() { m_browsing.stop(); }

    void report_ofATransferOrDelete_followsTheTable_data();
    void report_ofATransferOrDelete_followsTheTable();
    void report_ofAConnect_followsTheTable_data();
    void report_ofAConnect_followsTheTable();
    void report_unknownOrDisconnect_changesNothing_data();
    void report_unknownOrDisconnect_changesNothing();
    void connected_newHandle_isUsedFromThenOn();
    void connectFailed_handle_staysWhatItWas();
    void transferEnded_panes_areRefreshedLocalFirstAndBeforeTheText_data();
    void transferEnded_panes_areRefreshedLocalFirstAndBeforeTheText();
    void putRefusedAsReadOnly_box_comesAfterTextAndDialog();
    void putFailedOtherwise_noBox_comesUp();
    void deleteFailed_box_comesBeforeTheText();
    void deleteEnded_progressDialog_staysOpen();
    void transferEnded_dialog_isEndedAndGone_data();
    void transferEnded_dialog_isEndedAndGone();
    void transferEnded_lateStatusReports_areNotShown();
    void deleteEnded_statusReports_areStillShown();
    void box_windowClosedByTheHost_isSurvived_data();
    void box_windowClosedByTheHost_isSurvived();

private:
    void mark() { statusBar()->showMessage(untouched); }
    QStatusBar *statusBar() const { return qobject_cast<QMainWindow *>(m_browsing.window)->statusBar(); }
    QDialog *progress() const { return m_browsing.window->findChild<QDialog *>(); }
    /** A download that waits for its release, with its progress dialog open. */
    void startDownload()
    {
        m_browsing.script.setTransfersHang(true);
        QVERIFY(windows::select(m_browsing.tree(), {"hello.txt"}));
        m_browsing.action("actionDownload")->setEnabled(true);
        m_browsing.action("actionDownload")->trigger();
        QTRY_COMPARE(m_browsing.script.hangingTransfers(), 1);
        QVERIFY(progress());
        m_browsing.script.clearCalls();
    }

    Browsing m_browsing;
};

void OperationsTest::report_ofATransferOrDelete_followsTheTable_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("result");
    QTest::addColumn<quint32>("parameter");
    QTest::addColumn<QString>("status");
    QTest::addColumn<QString>("boxTitle");
    QTest::addColumn<QString>("boxText");
    QTest::addColumn<bool>("refreshesLocal");
    QTest::addColumn<bool>("closesDialog");
    const auto row = [](const char *what, quint32 operation, quint32 result, quint32 parameter, const char *status,
                        bool local, bool dialog, const char *title = "", const char *text = "") {
        QTest::newRow(what) << operation << result << parameter << QString::fromLatin1(status)
                            << QString::fromLatin1(title) << QString::fromLatin1(text) << local << dialog;
    };
    const char *const failedTitle = "Upload failed";
    const char *const failedText = "\tUpload failed!\nRemote device may have set its FTP service Read Only.";
    row("get succeeds", Get, Success, 0, "Download succeeded.", true, true);
    row("get fails", Get, Failure, 0, "Download was not successful.", true, true);
    row("get with an unknown result", Get, 0, 0, "Download was not successful.", true, true);
    row("get with a high result", Get, 99, 0, "Download was not successful.", true, true);
    row("get with the read-only code", Get, Failure, readOnly, "Download was not successful.", true, true);
    row("put succeeds", Put, Success, 0, "Upload succeeded.", true, true);
    row("put fails", Put, Failure, 10, "Upload was not successful.", true, true);
    row("put fails on a read-only device", Put, Failure, readOnly, "Upload was not successful.", true, true,
        failedTitle, failedText);
    row("put with the code beside the read-only one", Put, Failure, readOnly + 1, "Upload was not successful.", true,
        true);
    row("put with an unknown result", Put, 7, 0, "Upload was not successful.", true, true);
    row("cancel of a download succeeds", Cancel, Success, 2, "Download was not successful.", false, true);
    row("cancel of an upload succeeds", Cancel, Success, 3, "Upload was not successful.", false, true);
    row("cancel of nothing succeeds", Cancel, Success, 0, "text from before", false, true);
    row("cancel of an unknown kind succeeds", Cancel, Success, 9, "text from before", false, true);
    row("cancel of a download fails", Cancel, Failure, 2, "Cancel was not successful.", false, true);
    row("cancel of an upload fails", Cancel, Failure, 3, "Cancel was not successful.", false, true);
    row("cancel with an unknown result", Cancel, 0, 0, "Cancel was not successful.", false, true);
    row("delete succeeds", Delete, Success, 0, "Delete succeeded.", false, false);
    row("delete fails", Delete, Failure, 0, "Delete was not successful.", false, false, "Delete failed",
        "\tDelete failed!\nYou may have not enough permissions to delete.");
    row("delete with an unknown result", Delete, 0, 0, "Delete was not successful.", false, false, "Delete failed",
        "\tDelete failed!\nYou may have not enough permissions to delete.");
}

void OperationsTest::report_ofATransferOrDelete_followsTheTable()
{
    QFETCH(quint32, operation);
    QFETCH(quint32, result);
    QFETCH(quint32, parameter);
    QFETCH(QString, boxTitle);
    QFETCH(QString, boxText);
    QFETCH(bool, refreshesLocal);
    QFETCH(bool, closesDialog);
    m_browsing.open();
    startDownload();
    mark();
    QFile(m_browsing.local->filePath(QStringLiteral("new.txt"))).open(QIODevice::WriteOnly);
    m_browsing.script.setListing("/", {{"fresh"}});

    Modals modals;
    if (!boxTitle.isEmpty())
        modals.press(QMessageBox::Ok);
    QVERIFY(m_browsing.report(operation, result, parameter));
    QTEST(m_browsing.status(), "status");
    QCOMPARE(m_browsing.names(), QStringList("fresh"));
    QCOMPARE(windows::names(windows::localTree(m_browsing.window)).contains(QStringLiteral("new.txt")), refreshesLocal);
    QCOMPARE(progress() == nullptr, closesDialog);
    QCOMPARE(modals.seen().size(), boxTitle.isEmpty() ? 0 : 1);
    if (boxTitle.isEmpty())
        return;
    const ModalSeen box = modals.last();
    QCOMPARE(box.title, boxTitle);
    QCOMPARE(box.text, boxText);
    QCOMPARE(box.icon, QMessageBox::Warning);
    QCOMPARE(box.buttons, QStringList("OK"));
    QCOMPARE(box.parent.data(), m_browsing.window);
}

void OperationsTest::report_ofAConnect_followsTheTable_data()
{
    QTest::addColumn<quint32>("result");
    QTest::addColumn<QString>("status");
    QTest::addColumn<bool>("quitBefore");
    QTest::addColumn<bool>("quitAfter");
    QTest::addColumn<bool>("restoresCursor");
    QTest::addColumn<bool>("lists");
    QTest::newRow("succeeded") << quint32(Success) << connected << true << true << true << true;
    QTest::newRow("failed") << quint32(Failure) << "Cannot connect to the FTP service." << true << true << true
                            << false;
    QTest::newRow("has returned") << quint32(Returned) << untouched << false << true << false << false;
    QTest::newRow("is about to start") << quint32(Starting) << untouched << true << false << false << false;
    QTest::newRow("zero") << 0U << untouched << true << true << true << false;
    QTest::newRow("five") << 5U << untouched << true << true << true << false;
    QTest::newRow("five with Quit disabled") << 5U << untouched << false << false << true << false;
    QTest::newRow("failed with Quit disabled")
        << quint32(Failure) << "Cannot connect to the FTP service." << false << false << true << false;
}

void OperationsTest::report_ofAConnect_followsTheTable()
{
    QFETCH(quint32, result);
    QFETCH(bool, quitBefore);
    QFETCH(bool, lists);
    m_browsing.open();
    mark();
    m_browsing.window->setCursor(Qt::WaitCursor);
    m_browsing.action("action_Quit")->setEnabled(quitBefore);
    Modals modals;
    QVERIFY(m_browsing.report(Connect, result, 4711));
    QTEST(m_browsing.status(), "status");
    QTEST(m_browsing.action("action_Quit")->isEnabled(), "quitAfter");
    QTEST(m_browsing.window->cursor().shape() == Qt::ArrowCursor, "restoresCursor");
    QCOMPARE(m_browsing.remoteCalls(), lists ? QStringList({"dir /", "list /"}) : QStringList());
    QVERIFY(modals.seen().isEmpty());
}

void OperationsTest::report_unknownOrDisconnect_changesNothing_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("result");
    QTest::newRow("disconnect succeeded") << quint32(Disconnect) << quint32(Success);
    QTest::newRow("disconnect failed") << quint32(Disconnect) << quint32(Failure);
    QTest::newRow("operation 0") << 0U << quint32(Success);
    QTest::newRow("operation 7") << 7U << quint32(Success);
    QTest::newRow("operation 7 failed") << 7U << quint32(Failure);
    QTest::newRow("largest operation") << 0xFFFFFFFFU << quint32(Success);
}

void OperationsTest::report_unknownOrDisconnect_changesNothing()
{
    QFETCH(quint32, operation);
    QFETCH(quint32, result);
    m_browsing.open();
    startDownload();
    mark();
    m_browsing.window->setCursor(Qt::WaitCursor);
    QVERIFY(m_browsing.report(operation, result, readOnly));
    QCOMPARE(m_browsing.status(), untouched);
    QVERIFY(m_browsing.window->cursor().shape() == Qt::WaitCursor);
    QVERIFY(progress());
    QCOMPARE(m_browsing.script.order(), QStringList());
}

void OperationsTest::connected_newHandle_isUsedFromThenOn()
{
    m_browsing.open();
    QVERIFY(m_browsing.report(Connect, Success, 4711));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPSetRmtDir").number(0), 4711U);
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").number(0), 4711U);
}

void OperationsTest::connectFailed_handle_staysWhatItWas()
{
    m_browsing.open();
    QVERIFY(m_browsing.report(Connect, Failure, 4711));
    QVERIFY(m_browsing.call("refreshRemote"));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").number(0), Double::firstConnection);
}

void OperationsTest::transferEnded_panes_areRefreshedLocalFirstAndBeforeTheText_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::newRow("get") << quint32(Get);
    QTest::newRow("put") << quint32(Put);
}

void OperationsTest::transferEnded_panes_areRefreshedLocalFirstAndBeforeTheText()
{
    QFETCH(quint32, operation);
    m_browsing.open();
    mark();
    QFile(m_browsing.local->filePath(QStringLiteral("new.txt"))).open(QIODevice::WriteOnly);
    QStringList localThen;
    QString statusThen;
    m_browsing.script.onCall("Btsdk_FTPSetRmtDir", [&](const Call &) {
        localThen = windows::names(windows::localTree(m_browsing.window));
        statusThen = m_browsing.status();
    });
    QVERIFY(m_browsing.report(operation, Success, 0));
    QCOMPARE(localThen, QStringList("new.txt"));
    QCOMPARE(statusThen, untouched);
}

void OperationsTest::putRefusedAsReadOnly_box_comesAfterTextAndDialog()
{
    m_browsing.open();
    startDownload();
    Modals modals;
    QString statusThen;
    bool dialogThen = true;
    modals.handle([&](QWidget *box) {
        statusThen = m_browsing.status();
        dialogThen = m_browsing.window->findChild<QDialog *>(QString(), Qt::FindDirectChildrenOnly) != box;
        static_cast<QDialog *>(box)->accept();
    });
    QVERIFY(m_browsing.report(Put, Failure, readOnly));
    QCOMPARE(statusThen, QStringLiteral("Upload was not successful."));
    QVERIFY(!dialogThen);
    QCOMPARE(m_browsing.status(), QStringLiteral("Upload was not successful."));
}

void OperationsTest::putFailedOtherwise_noBox_comesUp()
{
    m_browsing.open();
    Modals modals;
    for (quint32 code : {1U, 0x06C3U, 0x06C0U, 0xFFFFFFFFU})
        QVERIFY(m_browsing.report(Put, Failure, code));
    QVERIFY(modals.seen().isEmpty());
}

void OperationsTest::deleteFailed_box_comesBeforeTheText()
{
    m_browsing.open();
    mark();
    Modals modals;
    QString statusThen;
    int listingsThen = 0;
    modals.handle([&](QWidget *box) {
        statusThen = m_browsing.status();
        listingsThen = m_browsing.script.count("Btsdk_FTPBrowseFolder");
        static_cast<QDialog *>(box)->accept();
    });
    QVERIFY(m_browsing.report(Delete, Failure, 0));
    QCOMPARE(statusThen, untouched);
    QCOMPARE(listingsThen, 1);
    QCOMPARE(m_browsing.status(), QStringLiteral("Delete was not successful."));
}

void OperationsTest::deleteEnded_progressDialog_staysOpen()
{
    m_browsing.open();
    startDownload();
    m_browsing.window->setCursor(Qt::WaitCursor);
    QVERIFY(m_browsing.report(Delete, Success, 0));
    QVERIFY(progress());
    QVERIFY(m_browsing.window->cursor().shape() == Qt::WaitCursor);
}

void OperationsTest::transferEnded_dialog_isEndedAndGone_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("result");
    QTest::newRow("get succeeded") << quint32(Get) << quint32(Success);
    QTest::newRow("put failed") << quint32(Put) << quint32(Failure);
    QTest::newRow("cancel succeeded") << quint32(Cancel) << quint32(Success);
    QTest::newRow("cancel failed") << quint32(Cancel) << quint32(Failure);
}

void OperationsTest::transferEnded_dialog_isEndedAndGone()
{
    QFETCH(quint32, operation);
    QFETCH(quint32, result);
    m_browsing.open();
    startDownload();
    QVERIFY(m_browsing.report(operation, result, 0));
    const QStringList end{"ComProgressDlg::done", "ComProgressDlg::destroyed"};
    QCOMPARE(m_browsing.script.orderOf(end), end);
    QCOMPARE(m_browsing.script.last("ComProgressDlg::done").number(0), 0U);
    QVERIFY(!progress());
}

void OperationsTest::transferEnded_lateStatusReports_areNotShown()
{
    m_browsing.open();
    for (quint32 operation : {quint32(Get), quint32(Put), quint32(Cancel)}) {
        startDownload();
        QVERIFY(m_browsing.report(operation, Failure, 0));
        m_browsing.script.report({0, 0, "late", 100, 50});
        QCoreApplication::processEvents();
        QCOMPARE(m_browsing.script.count("ComProgressDlg::slotProcTransStatus"), 0);
        m_browsing.script.releaseTransfers();
        QTRY_COMPARE(m_browsing.status(), QStringLiteral("Download succeeded."));
        QFile::remove(m_browsing.local->filePath(QStringLiteral("hello.txt")));
    }
}

void OperationsTest::deleteEnded_statusReports_areStillShown()
{
    m_browsing.open();
    startDownload();
    QVERIFY(m_browsing.report(Delete, Success, 0));
    m_browsing.script.report({0, 0, "going on", 100, 50});
    QTRY_COMPARE(m_browsing.script.last("ComProgressDlg::slotProcTransStatus").text(2), QByteArray("going on"));
}

void OperationsTest::box_windowClosedByTheHost_isSurvived_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<bool>("atOnce");
    QTest::newRow("delete failed, closed") << quint32(Delete) << false;
    QTest::newRow("put refused, closed") << quint32(Put) << false;
    QTest::newRow("delete failed, destroyed") << quint32(Delete) << true;
    QTest::newRow("put refused, destroyed") << quint32(Put) << true;
}

void OperationsTest::box_windowClosedByTheHost_isSurvived()
{
    QFETCH(quint32, operation);
    QFETCH(bool, atOnce);
    m_browsing.open();
    Modals modals;
    modals.handle([&](QWidget *) { atOnce ? delete m_browsing.window : (void)m_browsing.window->close(); });
    // Queued, as a worker's report comes: a slot that is called directly would hold the window's caller.
    QVERIFY(QMetaObject::invokeMethod(m_browsing.window, "OperationInd", Qt::QueuedConnection,
                                      Q_ARG(quint32, operation), Q_ARG(quint32, quint32(Failure)),
                                      Q_ARG(quint32, readOnly)));
    QTRY_VERIFY(windows::all("BtFtpClient").isEmpty());
    QCOMPARE(modals.seen().size(), 1);
}

BTFTP_TEST_MAIN(OperationsTest)
#include "tst_operations.moc"
