#include "browsing.h"
#include "modals.h"
#include "testmain.h"

#include <QSignalSpy>

/** The way from an opened window to a listed root, and what becomes of it when the link goes. */
class ConnectingTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { m_browsing.start(); }
    void cleanup() { m_browsing.stop(); }

    void open_notConnected_connectsOnTheWorkerAndListsTheRoot();
    void open_whileTheConnectBlocks_waitsWithTheWindowAlive();
    void open_connected_showsTheStepsInOrder();
    void open_connectedElsewhere_connectsAllTheSame();
    void open_deviceRefuses_saysSoInTheStatusBarAlone();
    void open_deviceAnswersLate_isListedInTheEnd();
    void open_propertyNotToBeHad_doesNothing();
    void refresh_afterARefusal_triesAgain();
    void refresh_linkGone_connectsAnewAndListsTheRoot();
    void refresh_linkGoneAndDeviceGone_keepsTheRowsAndSaysSo();
    void refresh_whileConnecting_startsNothingMore();
    void download_linkBreaks_connectsAnew();
    void close_whileConnecting_waitsForTheWorker();
    void quit_whileTheConnectBlocks_isDisabled();
    void listing_newFolder_disablesUploadAndDeleteAndNotDownload();
    void twoWindows_listTheirOwnFolders();

private:
    Browsing m_browsing;
};

void ConnectingTest::open_notConnected_connectsOnTheWorkerAndListsTheRoot()
{
    m_browsing.window = m_browsing.plugin.openConnectedWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.names(), QStringList({"Docs", "Photos", "hello.txt", "archive.tar.gz"}));
    const QStringList steps{"Btsdk_GetShortCutProperty", "Btsdk_StopDeviceDiscovery", "Btsdk_ConnectEx",
                            "Btsdk_FTPSetRmtDir", "Btsdk_FTPBrowseFolder"};
    QCOMPARE(m_browsing.script.orderOf(steps), steps);
    QCOMPARE(m_browsing.script.last("Btsdk_GetShortCutProperty").number(0), Browsing::shortcut);
    const Call connect = m_browsing.script.last("Btsdk_ConnectEx");
    QCOMPARE(connect.number(0), Browsing::shortcut + Double::deviceOffset);
    QCOMPARE(connect.number(1), 4358U);
    QCOMPARE(connect.number(2), 0U);
    const auto guiThread = reinterpret_cast<quintptr>(QThread::currentThreadId());
    QVERIFY(connect.thread != guiThread);
    const Call list = m_browsing.script.last("Btsdk_FTPBrowseFolder");
    QCOMPARE(list.thread, guiThread);
    QCOMPARE(list.number(0), Double::firstConnection);
    QCOMPARE(list.text(1), QByteArray("/"));
    QVERIFY(list.argument(2).toULongLong() != 0);
    QCOMPARE(list.number(3), 0U);
    QCOMPARE(m_browsing.script.last("Btsdk_FTPSetRmtDir").text(1), QByteArray("/"));
}

void ConnectingTest::open_whileTheConnectBlocks_waitsWithTheWindowAlive()
{
    m_browsing.script.play(Scenario::Hangs);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QCOMPARE(m_browsing.status(), QStringLiteral("Connecting..."));
    QCOMPARE(m_browsing.window->cursor().shape(), Qt::WaitCursor);
    QTRY_COMPARE(m_browsing.script.held("Btsdk_ConnectEx"), 1);
    QVERIFY(windows::giveFocus(windows::localTree(m_browsing.window)));
    QVERIFY(m_browsing.call("actionDetailView"));
    QCOMPARE(windows::localTree(m_browsing.window)->columnCount(), 4);
    QVERIFY(!m_browsing.window->grab().isNull());
    QCOMPARE(m_browsing.script.count("Btsdk_FTPBrowseFolder"), 0);
    m_browsing.script.release("Btsdk_ConnectEx");
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.window->cursor().shape(), Qt::ArrowCursor);
}

void ConnectingTest::open_connected_showsTheStepsInOrder()
{
    m_browsing.script.play(Scenario::Hangs);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QStringList texts{m_browsing.status()};
    connect(qobject_cast<QMainWindow *>(m_browsing.window)->statusBar(), &QStatusBar::messageChanged, this,
            [&texts](const QString &text) { texts.append(text); });
    QTRY_COMPARE(m_browsing.script.held("Btsdk_ConnectEx"), 1);
    QString whileListing;
    m_browsing.script.onCall("Btsdk_FTPBrowseFolder", [&](const Call &) { whileListing = m_browsing.status(); });
    m_browsing.script.release("Btsdk_ConnectEx");
    QTRY_COMPARE(m_browsing.script.count("Btsdk_FTPBrowseFolder"), 1);
    QCOMPARE(whileListing, QStringLiteral("Connected."));
    QCOMPARE(texts, QStringList({"Connecting...", "Connected."}));
}

void ConnectingTest::open_connectedElsewhere_connectsAllTheSame()
{
    m_browsing.script.setShortcutConnected(Browsing::shortcut, true);
    m_browsing.window = m_browsing.plugin.openConnectedWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.script.count("Btsdk_ConnectEx"), 1);
}

void ConnectingTest::open_deviceRefuses_saysSoInTheStatusBarAlone()
{
    m_browsing.script.play(Scenario::Refuses);
    Modals modals; // fails the test when a box comes up
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Cannot connect to the FTP service."));
    QVERIFY(m_browsing.window->cursor().shape() == Qt::ArrowCursor);
    QCOMPARE(m_browsing.names(), QStringList());
    QCOMPARE(m_browsing.script.count("Btsdk_FTPBrowseFolder"), 0);
    QTest::qWait(50);
    QVERIFY(modals.seen().isEmpty());
    // The handle is still none: a listing connects first.
    m_browsing.script.clearCalls();
    m_browsing.script.setShortcutConnected(Browsing::shortcut, true);
    QVERIFY(m_browsing.call("refreshRemote"));
    QCOMPARE(m_browsing.script.count("Btsdk_GetShortCutProperty"), 1);
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
}

void ConnectingTest::open_deviceAnswersLate_isListedInTheEnd()
{
    m_browsing.script.play(Scenario::ConnectsLate);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QCOMPARE(m_browsing.status(), QStringLiteral("Connecting..."));
    QTRY_COMPARE(m_browsing.names().size(), 4);
    QCOMPARE(m_browsing.status(), QStringLiteral("Connected."));
}

void ConnectingTest::open_propertyNotToBeHad_doesNothing()
{
    m_browsing.script.setResult("Btsdk_GetShortCutProperty", BTSDK_ER_INVALID_HANDLE);
    Modals modals;
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QCOMPARE(m_browsing.status(), QString());
    QVERIFY(m_browsing.window->cursor().shape() == Qt::ArrowCursor);
    QTest::qWait(50);
    QCOMPARE(m_browsing.script.count("Btsdk_ConnectEx"), 0);
    QVERIFY(modals.seen().isEmpty());
}

void ConnectingTest::refresh_afterARefusal_triesAgain()
{
    m_browsing.script.queueResult("Btsdk_ConnectEx", BTSDK_ER_CONNECT_FAILED);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Cannot connect to the FTP service."));
    m_browsing.action("action_Refresh")->trigger();
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.names().size(), 4);
}

void ConnectingTest::refresh_linkGone_connectsAnewAndListsTheRoot()
{
    m_browsing.open();
    QVERIFY(m_browsing.update("UpdateRmtCombox", QStringLiteral("/Photos")));
    m_browsing.script.clearCalls();
    m_browsing.script.setShortcutConnected(Browsing::shortcut, false);
    m_browsing.action("action_Refresh")->trigger();
    QCOMPARE(m_browsing.status(), QStringLiteral("Connecting..."));
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.remoteCalls(), QStringList({"dir /", "list /"}));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").number(0), Double::firstConnection + 1);
    QCOMPARE(m_browsing.currentFolder(), QStringLiteral("/Photos"));
}

void ConnectingTest::refresh_linkGoneAndDeviceGone_keepsTheRowsAndSaysSo()
{
    m_browsing.open();
    const QStringList before = m_browsing.names();
    m_browsing.script.setShortcutConnected(Browsing::shortcut, false);
    m_browsing.script.play(Scenario::Refuses);
    m_browsing.action("action_Refresh")->trigger();
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Cannot connect to the FTP service."));
    QCOMPARE(m_browsing.names(), before);
    QCOMPARE(m_browsing.remoteCalls(), QStringList());
}

void ConnectingTest::refresh_whileConnecting_startsNothingMore()
{
    m_browsing.script.play(Scenario::Hangs);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.script.held("Btsdk_ConnectEx"), 1);
    for (int i = 0; i < 3; ++i)
        QVERIFY(m_browsing.call("refreshRemote"));
    m_browsing.script.release("Btsdk_ConnectEx");
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(m_browsing.script.count("Btsdk_ConnectEx"), 1);
    QCOMPARE(m_browsing.names().size(), 4);
}

void ConnectingTest::download_linkBreaks_connectsAnew()
{
    m_browsing.script.play(Scenario::DropsTheLink);
    m_browsing.open();
    windows::select(m_browsing.tree(), {"hello.txt"});
    QStringList texts;
    connect(qobject_cast<QMainWindow *>(m_browsing.window)->statusBar(), &QStatusBar::messageChanged, this,
            [&texts](const QString &text) { texts.append(text); });
    m_browsing.action("actionDownload")->setEnabled(true);
    m_browsing.action("actionDownload")->trigger();
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Connected."));
    QCOMPARE(texts, QStringList({"Downloading ...", "Connecting...", "Download was not successful.", "Connected."}));
    QCOMPARE(m_browsing.script.count("Btsdk_ConnectEx"), 1);
    QVERIFY(m_browsing.window->cursor().shape() == Qt::ArrowCursor);
    QVERIFY(!m_browsing.window->findChild<QDialog *>());
}

void ConnectingTest::close_whileConnecting_waitsForTheWorker()
{
    m_browsing.script.play(Scenario::ConnectsLate);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QTRY_COMPARE(m_browsing.script.count("Btsdk_ConnectEx"), 1);
    m_browsing.window->close();
    QTRY_VERIFY(windows::all("BtFtpClient").isEmpty());
    const QStringList steps{"Btsdk_ConnectEx", "Btsdk_DisconnectShortCut"};
    QCOMPARE(m_browsing.script.orderOf(steps), steps);
    QVERIFY(!m_browsing.script.isShortcutConnected(Browsing::shortcut));
    QCOMPARE(m_browsing.script.count("Btsdk_FTPCancelTransfer"), 0);
    QCOMPARE(m_browsing.script.count("Btsdk_FTPBrowseFolder"), 0);
}

void ConnectingTest::quit_whileTheConnectBlocks_isDisabled()
{
    m_browsing.script.play(Scenario::Hangs);
    m_browsing.window = m_browsing.plugin.openWindow(Browsing::shortcut);
    QAction *const quit = m_browsing.action("action_Quit");
    QTRY_VERIFY(!quit->isEnabled());
    m_browsing.script.release("Btsdk_ConnectEx");
    QTRY_VERIFY(quit->isEnabled());

    m_browsing.script.setShortcutConnected(Browsing::shortcut, false);
    m_browsing.script.play(Scenario::Refuses);
    m_browsing.action("action_Refresh")->trigger();
    QTRY_COMPARE(m_browsing.status(), QStringLiteral("Cannot connect to the FTP service."));
    QVERIFY(quit->isEnabled());
}

void ConnectingTest::listing_newFolder_disablesUploadAndDeleteAndNotDownload()
{
    m_browsing.open();
    for (const char *name : {"actionUpload", "action_Delete", "actionDownload"})
        m_browsing.action(name)->setEnabled(true);
    QVERIFY(m_browsing.call("refreshRemote"));
    QVERIFY(!m_browsing.action("actionUpload")->isEnabled());
    QVERIFY(!m_browsing.action("action_Delete")->isEnabled());
    QVERIFY(m_browsing.action("actionDownload")->isEnabled());
}

void ConnectingTest::twoWindows_listTheirOwnFolders()
{
    m_browsing.open();
    QWidget *const first = m_browsing.window;
    QWidget *const second = m_browsing.plugin.openConnectedWindow(Browsing::shortcut + 1);
    QTRY_COMPARE(windows::statusText(second), QStringLiteral("Connected."));
    QVERIFY(windows::call(first, "UpdateRmtCombox", Q_ARG(QString, QStringLiteral("/Docs"))));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").number(0), Double::firstConnection);
    QVERIFY(windows::call(second, "UpdateRmtCombox", Q_ARG(QString, QStringLiteral("/Photos"))));
    QCOMPARE(m_browsing.script.last("Btsdk_FTPBrowseFolder").number(0), Double::firstConnection + 1);
    QCOMPARE(windows::names(windows::remoteTree(first)), QStringList("a.txt"));
    QCOMPARE(windows::names(windows::remoteTree(second)), QStringList({"2008", "cat.jpg"}));
    // The window that listed last may go, and the other one still lists.
    second->close();
    QTRY_COMPARE(windows::all("BtFtpClient").size(), 1);
    QVERIFY(windows::call(first, "refreshRemote"));
    QCOMPARE(windows::names(windows::remoteTree(first)), QStringList("a.txt"));
}

BTFTP_TEST_MAIN(ConnectingTest)
#include "tst_connecting.moc"
