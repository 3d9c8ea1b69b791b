#include "btftpclient.h"
#include "double.h"
#include "modals.h"
#include "testmain.h"
#include "windows.h"

/** The members that completion and browsing write and nothing outside may see. */
struct BtFtpClientPeer
{
    BtFtpClient &window;

    quint32 &connection() const { return window.m_hConnection; }
    quint32 &operation() const { return window.m_nCurOperation; }
    quint32 &lastResult() const { return window.m_nOpResult; }
    QTreeWidgetItem *&currentItem() const { return window.m_pCurItem; }
    bool workerRuns() const { return window.m_workThread.isRunning(); }

    static void setTransfering(BtFtpClient *client) { BtFtpClient::m_pTransferingClient = client; }
    static BtFtpClient *transfering() { return BtFtpClient::m_pTransferingClient; }
    static BtFtpClient *browsing() { return BtFtpClient::m_pBrowsingClient; }

    bool isFolder(const QTreeWidgetItem *item) const { return window.remoteItemIsFolder(item); }
    static QString size(unsigned int bytes) { return BtFtpClient::GetSizeString(bytes); }
    static QString shown(const QString &path) { return BtFtpClient::FullStrToShowStr(path); }
    static QString full(const QString &path) { return BtFtpClient::ShowStrToFullStr(path); }
};

class ClientStateTest : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void report_eachOperation_leavesTheStateOfTheTable_data();
    void report_eachOperation_leavesTheStateOfTheTable();
    void connect_started_isTheCurrentOperation();
    void connect_propertyNotToBeHad_leavesNoOperation();
    void connect_failed_leavesTheHandle();
    void update_shortcutNotConnected_forgetsTheHandle();
    void update_connectedWithoutAHandle_connects();
    void browse_lastWindow_staysNamedEvenWhenItIsGone();
    void browse_entryAfterTheWindow_isDropped();
    void press_overARowAndBeside_isTheCurrentItem();
    void currentItem_relisted_isForgotten();
    void itemIsFolder_anyRow_isToldByItsEntry();
    void size_and_paths_areThePureFunctions();
    void shortcutHandle_neverSet_disconnectsNone();
    void leaving_reportsInTheQueue_changeNothing();

private:
    void connectAndList()
    {
        m_window->setShortcutHandle(7);
        QTRY_COMPARE(windows::statusText(m_window.get()), QStringLiteral("Connected."));
    }
    // By name: panes of a window that was never shown have no places yet.
    QTreeWidget *tree() const { return m_window->findChild<QTreeWidget *>(QStringLiteral("m_pRemoteTree")); }

    std::unique_ptr<BtFtpClient> m_window;
    std::unique_ptr<BtFtpClientPeer> m_peer;
};

void ClientStateTest::init()
{
    Double::instance().reset();
    m_window = std::make_unique<BtFtpClient>(0, nullptr);
    m_peer = std::make_unique<BtFtpClientPeer>(BtFtpClientPeer{*m_window});
}

void ClientStateTest::cleanup()
{
    Double::instance().Recorder::reset();
    m_window.reset();
    BtFtpClientPeer::setTransfering(nullptr);
}

void ClientStateTest::report_eachOperation_leavesTheStateOfTheTable_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("result");
    QTest::addColumn<quint32>("parameter");
    QTest::addColumn<bool>("box");
    QTest::addColumn<quint32>("operationAfter");
    QTest::addColumn<quint32>("lastResultAfter");
    QTest::addColumn<bool>("transferCleared");
    const auto row = [](const char *what, quint32 operation, quint32 result, quint32 parameter, bool box,
                        quint32 operationAfter, quint32 lastResultAfter, bool cleared) {
        QTest::newRow(what) << operation << result << parameter << box << operationAfter << lastResultAfter << cleared;
    };
    // The state before is that of operation 9 with last result 2, and the transfer is this window's.
    row("connected", 1, 1, 501, false, 0, 2, false);
    row("connect failed", 1, 2, 9, false, 0, 2, false);
    row("connect returned", 1, 3, 0, false, 9, 2, false);
    row("connect starting", 1, 4, 0, false, 9, 2, false);
    row("connect, unknown result", 1, 5, 0, false, 0, 2, false);
    row("connect, result 0", 1, 0, 0, false, 0, 2, false);
    row("get succeeded", 2, 1, 0, false, 0, 1, true);
    row("get failed", 2, 2, 0, false, 0, 2, true);
    row("put succeeded", 3, 1, 0, false, 0, 1, true);
    row("put failed", 3, 2, 10, false, 0, 2, true);
    row("put refused as read-only", 3, 2, 1729, true, 0, 2, true);
    row("disconnect succeeded", 4, 1, 0, false, 9, 2, false);
    row("disconnect failed", 4, 2, 0, false, 9, 2, false);
    row("cancel succeeded", 5, 1, 2, false, 0, 1, true);
    row("cancel failed", 5, 2, 2, false, 0, 2, true);
    row("delete succeeded", 6, 1, 0, false, 9, 2, false);
    row("delete failed", 6, 2, 0, true, 9, 2, false);
    row("operation 0", 0, 1, 0, false, 9, 2, false);
    row("operation 7", 7, 1, 0, false, 9, 2, false);
    row("operation 7 failed", 7, 2, 1729, false, 9, 2, false);
}

void ClientStateTest::report_eachOperation_leavesTheStateOfTheTable()
{
    QFETCH(quint32, operation);
    QFETCH(quint32, result);
    QFETCH(quint32, parameter);
    QFETCH(bool, box);
    QFETCH(bool, transferCleared);
    connectAndList();
    m_peer->operation() = 9;
    m_peer->lastResult() = 2;
    BtFtpClientPeer::setTransfering(m_window.get());
    Modals modals;
    if (box)
        modals.press(QMessageBox::Ok);
    QVERIFY(windows::call(m_window.get(), "OperationInd", Q_ARG(quint32, operation), Q_ARG(quint32, result),
                          Q_ARG(quint32, parameter)));
    QTEST(m_peer->operation(), "operationAfter");
    QTEST(m_peer->lastResult(), "lastResultAfter");
    QCOMPARE(BtFtpClientPeer::transfering(), transferCleared ? nullptr : m_window.get());
    QCOMPARE(m_peer->connection(), Double::firstConnection);
}

void ClientStateTest::connect_started_isTheCurrentOperation()
{
    Double::instance().hold("Btsdk_ConnectEx");
    m_window->setShortcutHandle(7);
    QCOMPARE(m_peer->operation(), quint32(OPERATION_CONNECT));
    QVERIFY(m_peer->workerRuns());
    Double::instance().release("Btsdk_ConnectEx");
    QTRY_COMPARE(m_peer->operation(), quint32(OPERATION_NONE));
    QCOMPARE(m_peer->connection(), Double::firstConnection);
}

void ClientStateTest::connect_propertyNotToBeHad_leavesNoOperation()
{
    Double::instance().setResult("Btsdk_GetShortCutProperty", BTSDK_ER_INVALID_HANDLE);
    m_peer->operation() = 9;
    m_window->setShortcutHandle(7);
    QCOMPARE(m_peer->operation(), quint32(OPERATION_NONE));
    QVERIFY(!m_peer->workerRuns());
}

void ClientStateTest::connect_failed_leavesTheHandle()
{
    Double::instance().play(Scenario::Refuses);
    m_window->setShortcutHandle(7);
    QTRY_COMPARE(windows::statusText(m_window.get()), QStringLiteral("Cannot connect to the FTP service."));
    QCOMPARE(m_peer->connection(), 0U);
}

void ClientStateTest::update_shortcutNotConnected_forgetsTheHandle()
{
    connectAndList();
    Double::instance().setShortcutConnected(7, false);
    Double::instance().setResult("Btsdk_GetShortCutProperty", BTSDK_ER_INVALID_HANDLE);
    QVERIFY(windows::call(m_window.get(), "refreshRemote"));
    QCOMPARE(m_peer->connection(), 0U);
}

void ClientStateTest::update_connectedWithoutAHandle_connects()
{
    connectAndList();
    m_peer->connection() = 0;
    Double::instance().clearCalls();
    QVERIFY(windows::call(m_window.get(), "refreshRemote"));
    QTRY_COMPARE(m_peer->connection(), Double::firstConnection + 1);
    QCOMPARE(Double::instance().count("Btsdk_ConnectEx"), 1);
}

void ClientStateTest::browse_lastWindow_staysNamedEvenWhenItIsGone()
{
    connectAndList();
    const BtFtpClient *const gone = m_window.get();
    QCOMPARE(BtFtpClientPeer::browsing(), gone);
    m_window.reset();
    QCOMPARE(BtFtpClientPeer::browsing(), gone);
}

void ClientStateTest::browse_entryAfterTheWindow_isDropped()
{
    FTP_FIND_DATA entry{};
    connectAndList();
    m_window.reset();
    BtFtpClient::BTSDK_FTP_UIShowBrowseFile(reinterpret_cast<unsigned char *>(&entry));
    BtFtpClient::BTSDK_FTP_UIShowBrowseFile(nullptr);
    m_window = std::make_unique<BtFtpClient>(0, nullptr);
    QCOMPARE(tree()->topLevelItemCount(), 0);
}

void ClientStateTest::press_overARowAndBeside_isTheCurrentItem()
{
    connectAndList();
    windows::activate(m_window.get());
    QTreeWidgetItem *const row = windows::item(tree(), QStringLiteral("hello.txt"));
    windows::click(tree(), row);
    QCOMPARE(m_peer->currentItem(), row);
    windows::click(tree(), nullptr);
    QCOMPARE(m_peer->currentItem(), static_cast<QTreeWidgetItem *>(nullptr));
}

void ClientStateTest::currentItem_relisted_isForgotten()
{
    connectAndList();
    windows::activate(m_window.get());
    windows::click(tree(), windows::item(tree(), QStringLiteral("hello.txt")));
    QVERIFY(m_peer->currentItem());
    QVERIFY(windows::call(m_window.get(), "refreshRemote"));
    QCOMPARE(m_peer->currentItem(), static_cast<QTreeWidgetItem *>(nullptr));
}

void ClientStateTest::itemIsFolder_anyRow_isToldByItsEntry()
{
    connectAndList();
    QVERIFY(m_peer->isFolder(windows::item(tree(), QStringLiteral("Docs"))));
    QVERIFY(!m_peer->isFolder(windows::item(tree(), QStringLiteral("hello.txt"))));
    const QTreeWidgetItem plain;
    QVERIFY(!m_peer->isFolder(&plain));
    QVERIFY(!m_peer->isFolder(nullptr));
}

void ClientStateTest::size_and_paths_areThePureFunctions()
{
    QCOMPARE(BtFtpClientPeer::size(1048576), QStringLiteral("1024.0 KB"));
    QCOMPARE(BtFtpClientPeer::shown(QStringLiteral("/a/b")), QStringLiteral("/a/b"));
    QCOMPARE(BtFtpClientPeer::full(QStringLiteral("/a/b")), QStringLiteral("/a/b"));
}

void ClientStateTest::shortcutHandle_neverSet_disconnectsNone()
{
    m_window.reset();
    QCOMPARE(Double::instance().count("Btsdk_DisconnectShortCut"), 1);
    QCOMPARE(Double::instance().last("Btsdk_DisconnectShortCut").number(0), 0U);
}

void ClientStateTest::leaving_reportsInTheQueue_changeNothing()
{
    // The worker has reported, and nobody has read it when the window goes: no listing, no box.
    connectAndList();
    Double::instance().clearCalls();
    Modals modals;
    QVERIFY(QMetaObject::invokeMethod(m_window.get(), "OperationInd", Qt::QueuedConnection, Q_ARG(quint32, 6U),
                                      Q_ARG(quint32, 2U), Q_ARG(quint32, 0U)));
    m_window.reset();
    QCOMPARE(Double::instance().count("Btsdk_FTPBrowseFolder"), 0);
    QVERIFY(modals.seen().isEmpty());
}

BTFTP_TEST_MAIN(ClientStateTest)
#include "tst_clientstate.moc"
