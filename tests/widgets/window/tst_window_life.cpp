#include "modals.h"
#include "testmain.h"
#include "windowtest.h"

#include <QDir>
#include <QLineEdit>
#include <QPushButton>
#include <QSignalSpy>

#include <atomic>
#include <chrono>
#include <thread>

/** Birth, closing and end of the window, as the libraries and the host see them. */
class TestWindowLife : public WindowTest
{
    Q_OBJECT

private slots:
    void init() { prepare(); }
    void cleanup() { plugin().stop(); }

    void construction_asksTheHostInOrder();
    void construction_withoutTheSetting_usesTheDefaultFolder();
    void construction_withALongFolder_takes255Bytes();
    void construction_neitherConnectsNorListsTheRemoteSide();
    void construction_rootInTheRemoteBox_startsNoListing();
    void construction_localHistory_isRootHomeAndDefault();
    void construction_localTree_hasTheFocusOnceTheWindowIsActive();
    void setShortcutHandle_asConnected_listsTheRoot();
    void setShortcutHandle_notConnected_connectsFirst();

    void quit_closesTheWindow();
    void close_tellsTheHostWithTheWindowItself();
    void destruction_idle_disconnectsTheShortcutAlone();
    void destruction_withoutAShortcut_disconnectsZero();
    void destruction_whileConnecting_waitsAndThenDisconnects();
    void destruction_duringATransfer_cancelsWaitsDisconnects_data();
    void destruction_duringATransfer_cancelsWaitsDisconnects();
    void destruction_whileCancelling_waitsForBothWorkers();
    void destruction_duringADelete_waitsWithoutCancelling();
    void destruction_ofOneWindow_leavesTheTransferOfAnother();
    void destruction_whileReportsStream_losesNone();
    void destruction_underABox_isSafe_data();
    void destruction_underABox_isSafe();
    void destruction_withFocusElsewhere_survivesFocusChanges();
    void destruction_beforeAQueuedListing_startsNothing();

    void cycles_inEveryState_leaveNothingBehind_data();
    void cycles_inEveryState_leaveNothingBehind();

private:
    void startTransfer(const QByteArray &kind);
    static QStringList endCalls();
    void closeAndWait();
};

void TestWindowLife::closeAndWait()
{
    window->close();
    QTRY_VERIFY_WITH_TIMEOUT(!window, 20000);
}

/** The calls that a window's end may make, in the order in which they came. */
QStringList TestWindowLife::endCalls()
{
    return script().orderOf({"ComProgressDlg::destroyed", "Btsdk_FTPCancelTransfer", "Btsdk_Disconnect",
                             "Btsdk_DisconnectShortCut", "Btsdk_FTPRegisterStatusCallback"});
}

void TestWindowLife::startTransfer(const QByteArray &kind)
{
    const QByteArray function = kind == "download" ? "Btsdk_FTPGetFile" : "Btsdk_FTPPutFile";
    if (kind == "download") {
        QVERIFY(windows::select(remote, {"hello.txt"}));
        QVERIFY(windows::call(window, "actionDownload", Q_ARG(bool, false)));
    } else {
        QFile file(localFolder() + QStringLiteral("/mine.txt"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        QVERIFY(windows::call(window, "UpdateLocTree", Q_ARG(QString, localFolder())));
        QVERIFY(windows::select(local, {"mine.txt"}));
        QVERIFY(windows::call(window, "actionUpload", Q_ARG(bool, false)));
    }
    QTRY_COMPARE(script().count(function.constData()), 1);
}

void TestWindowLife::construction_asksTheHostInOrder()
{
    openIdle();
    const QStringList order = script().orderOf({"VmCm_GetSvcDisplayName", "VmCm_GetCommonSettingFilePath",
                                                "GetPrivateProfileString", "Btsdk_GetShortCutProperty"});
    QCOMPARE(order, (QStringList{"VmCm_GetSvcDisplayName", "VmCm_GetCommonSettingFilePath", "GetPrivateProfileString",
                                 "Btsdk_GetShortCutProperty"}));
    QCOMPARE(script().last("VmCm_GetCommonSettingFilePath").number(0), 256u);
    const Call read = script().last("GetPrivateProfileString");
    QCOMPARE(read.text(0), QByteArray("FtpClient"));
    QCOMPARE(read.text(1), QByteArray("DefaultLocalFolder"));
    QCOMPARE(read.text(2), QByteArray("/home/user/My Documents"));
    QCOMPARE(read.number(3), 256u);
    QCOMPARE(read.text(4), QByteArray("/double/settings.ini"));
}

void TestWindowLife::construction_withoutTheSetting_usesTheDefaultFolder()
{
    script().reset();
    openIdle();
    QCOMPARE(localBox->currentText(), QStringLiteral("/home/user/My Documents"));
}

void TestWindowLife::construction_withALongFolder_takes255Bytes()
{
    const QByteArray folder = '/' + QByteArray(300, 'x');
    script().setSetting("FtpClient", "DefaultLocalFolder", folder);
    openIdle();
    QCOMPARE(localBox->currentText(), QString::fromLatin1(folder.left(255)));
}

void TestWindowLife::construction_neitherConnectsNorListsTheRemoteSide()
{
    openIdle();
    for (const char *function : {"Btsdk_ConnectEx", "Btsdk_FTPSetRmtDir", "Btsdk_FTPBrowseFolder"})
        QCOMPARE(script().count(function), 0);
}

void TestWindowLife::construction_rootInTheRemoteBox_startsNoListing()
{
    // One look at the shortcut's state since the settings were read, from taking its handle; the box's first entry
    // would have made another.
    openIdle();
    const QStringList order = script().orderOf({"GetPrivateProfileString", "VmCm_IsShortcutConnected"});
    QCOMPARE(order.mid(order.indexOf(QStringLiteral("GetPrivateProfileString")) + 1),
             QStringList{"VmCm_IsShortcutConnected"});
    QCOMPARE(remoteBox->count(), 1);
    QCOMPARE(remoteBox->currentText(), QStringLiteral("/"));
}

void TestWindowLife::construction_localHistory_isRootHomeAndDefault()
{
    openIdle();
    QStringList history;
    for (int i = 0; i < localBox->count(); ++i)
        history.append(localBox->itemText(i));
    QCOMPARE(history, (QStringList{QDir::rootPath(), QDir::homePath(), localFolder()}));
    QCOMPARE(localBox->currentText(), localFolder());
}

void TestWindowLife::construction_localTree_hasTheFocusOnceTheWindowIsActive()
{
    openIdle();
    QCOMPARE(window->focusWidget(), local);
    QVERIFY(windows::activate(window));
    QVERIFY(local->hasFocus());
    QVERIFY(isChecked("actionInfoList"));
}

void TestWindowLife::setShortcutHandle_asConnected_listsTheRoot()
{
    openConnected();
    QCOMPARE(windows::names(remote), (QStringList{"Docs", "Photos", "hello.txt", "archive.tar.gz"}));
}

void TestWindowLife::setShortcutHandle_notConnected_connectsFirst()
{
    openConnected();
    QCOMPARE(script().orderOf({"Btsdk_GetShortCutProperty", "Btsdk_StopDeviceDiscovery", "Btsdk_ConnectEx",
                               "Btsdk_FTPSetRmtDir", "Btsdk_FTPBrowseFolder"}),
             (QStringList{"Btsdk_GetShortCutProperty", "Btsdk_StopDeviceDiscovery", "Btsdk_ConnectEx",
                          "Btsdk_FTPSetRmtDir", "Btsdk_FTPBrowseFolder"}));
}

void TestWindowLife::quit_closesTheWindow()
{
    openIdle();
    action("action_Quit")->trigger();
    QTRY_VERIFY(!window);
}

void TestWindowLife::close_tellsTheHostWithTheWindowItself()
{
    openIdle();
    const QSignalSpy spy(window, SIGNAL(hideBtFtpClient(QWidget *)));
    const QWidget *const address = window;
    window->close();
    QCOMPARE(spy.size(), 1);
    QCOMPARE(spy.constFirst().constFirst().value<QWidget *>(), address);
    QTRY_VERIFY(!window);
    QVERIFY2(plugin().openWindow(shortcut), "the host opens a new window and does not raise the old one");
}

void TestWindowLife::destruction_idle_disconnectsTheShortcutAlone()
{
    openConnected();
    script().clearCalls();
    closeAndWait();
    QCOMPARE(script().order(), QStringList{"Btsdk_DisconnectShortCut"});
    QCOMPARE(script().last("Btsdk_DisconnectShortCut").number(0), shortcut);
}

void TestWindowLife::destruction_withoutAShortcut_disconnectsZero()
{
    script().setResult("Btsdk_GetShortCutProperty", BTSDK_ER_INVALID_HANDLE);
    window = qobject_cast<QMainWindow *>(plugin().openWindow(0));
    QVERIFY(window);
    closeAndWait();
    QCOMPARE(script().count("Btsdk_DisconnectShortCut"), 1);
    QCOMPARE(script().last("Btsdk_DisconnectShortCut").number(0), 0u);
}

void TestWindowLife::destruction_whileConnecting_waitsAndThenDisconnects()
{
    script().play(Scenario::ConnectsLate);
    window = qobject_cast<QMainWindow *>(plugin().openWindow(shortcut));
    QTRY_COMPARE(script().count("Btsdk_ConnectEx"), 1);
    closeAndWait();
    // The connect had returned by then; otherwise the link would stay behind.
    QCOMPARE(endCalls(), QStringList{"Btsdk_DisconnectShortCut"});
    QVERIFY(!script().isShortcutConnected(shortcut));
    QCOMPARE(script().count("Btsdk_FTPBrowseFolder"), 0);
}

void TestWindowLife::destruction_duringATransfer_cancelsWaitsDisconnects_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("download") << QByteArray("download");
    QTest::newRow("upload") << QByteArray("upload");
}

void TestWindowLife::destruction_duringATransfer_cancelsWaitsDisconnects()
{
    QFETCH(QByteArray, kind);
    script().play(Scenario::TransfersHang);
    openConnected();
    startTransfer(kind);
    QTRY_COMPARE(script().hangingTransfers(), 1);
    script().clearCalls();
    closeAndWait();
    QCOMPARE(endCalls(),
             (QStringList{"ComProgressDlg::destroyed", "Btsdk_FTPCancelTransfer", "Btsdk_DisconnectShortCut"}));
    QCOMPARE(script().last("Btsdk_FTPCancelTransfer").number(0), Double::firstConnection);
    QCOMPARE(script().hangingTransfers(), 0);
}

void TestWindowLife::destruction_whileCancelling_waitsForBothWorkers()
{
    script().play(Scenario::TransfersHang);
    openConnected();
    startTransfer("download");
    QTRY_COMPARE(script().hangingTransfers(), 1);
    script().clearCalls();
    QVERIFY(windows::call(window, "procUserAction", Q_ARG(quint8, 1)));
    closeAndWait();
    const QStringList calls = endCalls();
    QCOMPARE(calls.size(), 3);
    QCOMPARE(calls.last(), QStringLiteral("Btsdk_DisconnectShortCut"));
    QCOMPARE(script().count("Btsdk_FTPCancelTransfer"), 1);
    QCOMPARE(script().hangingTransfers(), 0);
}

void TestWindowLife::destruction_duringADelete_waitsWithoutCancelling()
{
    openConnected();
    script().hold("Btsdk_FTPDeleteFile");
    QVERIFY(windows::giveFocus(remote));
    QVERIFY(windows::select(remote, {"hello.txt"}));
    Modals modals;
    modals.press(QMessageBox::Yes);
    action("action_Delete")->trigger();
    QTRY_COMPARE(script().held("Btsdk_FTPDeleteFile"), 1);
    script().clearCalls();
    window->close();
    std::thread releaser([] {
        std::this_thread::sleep_for(std::chrono::milliseconds(100));
        script().release("Btsdk_FTPDeleteFile");
    });
    QTRY_VERIFY_WITH_TIMEOUT(!window, 20000);
    releaser.join();
    QCOMPARE(endCalls(), QStringList{"Btsdk_DisconnectShortCut"});
}

void TestWindowLife::destruction_ofOneWindow_leavesTheTransferOfAnother()
{
    script().play(Scenario::TransfersHang);
    openConnected();
    const QPointer<QWidget> other = plugin().openConnectedWindow(shortcut + 1);
    QVERIFY(other);
    QTRY_COMPARE(windows::statusText(other), QStringLiteral("Connected."));
    QVERIFY(windows::select(windows::remoteTree(other), {"hello.txt"}));
    QVERIFY(windows::call(other.data(), "actionDownload", Q_ARG(bool, false)));
    QTRY_COMPARE(script().hangingTransfers(), 1);
    closeAndWait();
    script().clearCalls();
    script().report({0, 0, "hello.txt", 100, 50});
    QTRY_COMPARE(script().count("ComProgressDlg::slotProcTransStatus"), 1);
}

void TestWindowLife::destruction_whileReportsStream_losesNone()
{
    // The reports wait in the window's queue when it goes; what they carry is freed, which the leak checker sees.
    script().play(Scenario::TransfersHang);
    openConnected();
    startTransfer("download");
    QTRY_COMPARE(script().hangingTransfers(), 1);
    std::atomic<bool> stop{false};
    std::thread reporter([&stop] {
        while (!stop)
            script().report({0, 0, "hello.txt", 100, 50});
    });
    closeAndWait();
    stop = true;
    reporter.join();
    QCOMPARE(endCalls().last(), QStringLiteral("Btsdk_DisconnectShortCut"));
}

void TestWindowLife::destruction_underABox_isSafe_data()
{
    QTest::addColumn<QByteArray>("box");
    for (const char *box : {"local delete", "remote delete", "local menu", "remote menu", "replace"})
        QTest::newRow(box) << QByteArray(box);
}

void TestWindowLife::destruction_underABox_isSafe()
{
    QFETCH(QByteArray, box);
    QFile file(localFolder() + QStringLiteral("/hello.txt"));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.close();
    openConnected();
    const bool onRemote = box == "remote delete" || box == "remote menu";
    QTreeWidget *const tree = onRemote ? remote : local;
    QVERIFY(windows::giveFocus(tree));
    QVERIFY(windows::select(tree, {"hello.txt"}));
    Modals modals;
    modals.handle([this, box](QWidget *open) {
        plugin().PerformPostDisc();
        QTRY_VERIFY(!window);
        // The replace question has no parent; it outlives the window and is answered afterwards.
        if (box == "replace")
            qobject_cast<QMessageBox *>(open)->button(QMessageBox::Yes)->click();
    });
    if (box.endsWith("menu"))
        // The press alone: by the time of the release there is no tree any more.
        QTest::mousePress(tree->viewport(), Qt::RightButton, Qt::NoModifier,
                          tree->visualItemRect(tree->topLevelItem(0)).center());
    else if (box == "replace")
        QVERIFY(windows::call(window, "actionUpload", Q_ARG(bool, false)));
    else
        QTest::keyClick(tree, Qt::Key_Delete);
    QTRY_VERIFY(!window);
    QCOMPARE(script().count("Btsdk_FTPPutFile") + script().count("Btsdk_FTPDeleteFile"), 0);
    QVERIFY(file.exists());
}

void TestWindowLife::destruction_withFocusElsewhere_survivesFocusChanges()
{
    openConnected();
    QVERIFY(windows::giveFocus(remote));
    QLineEdit other;
    other.show();
    closeAndWait();
    QVERIFY(windows::giveFocus(&other));
}

void TestWindowLife::destruction_beforeAQueuedListing_startsNothing()
{
    openConnected();
    script().setShortcutConnected(shortcut, false); // the listing would connect anew
    const int connects = script().count("Btsdk_ConnectEx");
    QVERIFY(QMetaObject::invokeMethod(window, "UpdateRmtTree", Qt::QueuedConnection, Q_ARG(QString, "/")));
    delete window.data();
    QCOMPARE(script().count("Btsdk_ConnectEx"), connects);
}

void TestWindowLife::cycles_inEveryState_leaveNothingBehind_data()
{
    QTest::addColumn<QByteArray>("state");
    for (const char *state : {"idle", "refused", "connecting, answers at once", "connecting, answers late", "listed",
                              "listed by another thread", "downloading", "cancelling", "question open"})
        QTest::newRow(state) << QByteArray(state);
}

void TestWindowLife::cycles_inEveryState_leaveNothingBehind()
{
    QFETCH(QByteArray, state);
    const int cycles = qEnvironmentVariableIntValue("BTFTP_WINDOW_CYCLES");
    for (int i = 0; i < qMax(cycles, 3); ++i) {
        plugin().startAfresh();
        script().setSetting("FtpClient", "DefaultLocalFolder", localFolder().toUtf8());
        if (state == "refused")
            script().play(Scenario::Refuses);
        else if (state == "connecting, answers late")
            script().play(Scenario::ConnectsLate);
        else if (state == "downloading" || state == "cancelling")
            script().play(Scenario::TransfersHang);
        script().setBrowseOnOwnThread(state == "listed by another thread");

        if (state == "idle") {
            openIdle();
        } else if (state == "refused" || state.startsWith("connecting")) {
            window = qobject_cast<QMainWindow *>(plugin().openWindow(shortcut));
            QVERIFY(window);
            if (state == "refused")
                QTRY_COMPARE(windows::statusText(window), QStringLiteral("Cannot connect to the FTP service."));
        } else {
            openConnected();
        }
        if (state == "downloading" || state == "cancelling")
            startTransfer("download");
        if (state == "cancelling")
            QVERIFY(windows::call(window, "procUserAction", Q_ARG(quint8, 1)));
        if (state == "question open") {
            QVERIFY(windows::giveFocus(remote));
            QVERIFY(windows::select(remote, {"hello.txt"}));
            Modals modals;
            modals.handle([](QWidget *) { plugin().PerformPostDisc(); });
            QTest::keyClick(remote, Qt::Key_Delete);
        } else {
            window->close();
        }
        QTRY_VERIFY_WITH_TIMEOUT(!window, 20000);
        QCOMPARE(script().count("Btsdk_DisconnectShortCut"), 1);
    }
}

BTFTP_TEST_MAIN(TestWindowLife)
#include "tst_window_life.moc"
