#include "double.h"
#include "modals.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"

#include <QMetaObject>

/** Client windows as the profile object opens, raises and closes them. */
class TestFrontWindows : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void open_firstTime_showsAWindowOfTheHost();
    void open_sameShortcutTwice_raisesTheOneWindow();
    void open_twoShortcuts_makesTwoWindowsEachWithItsOwn();
    void open_afterTheUserClosed_makesANewWindow();
    void open_afterTheHostDeletedTheWindow_makesANewWindow();
    void close_withoutAWindow_doesNothing();
    void disconnect_withTwoShortcutsOpen_closesItsOwnAlone();
    void postDisconnect_withOutgoingConnections_closesOnlyWithoutFileTransfer_data();
    void postDisconnect_withOutgoingConnections_closesOnlyWithoutFileTransfer();
    void postDisconnect_anyConnections_queriesEveryHandleOfOneRecord();
    void postDisconnect_withTwoWindows_closesThatOfTheLastShortcut();
    void indication_whileTheFlagIsUnset_opensNothing();
    void properties_ofAShortcut_areShownModallyWithoutParent();

private:
    Plugin *m_plugin = nullptr;
};

namespace {

/** Notes the events of one kind. */
class EventCounter : public QObject
{
public:
    EventCounter(QObject *watched, QEvent::Type type) : m_type(type) { watched->installEventFilter(this); }
    int count = 0;

private:
    bool eventFilter(QObject *, QEvent *event) override
    {
        count += event->type() == m_type;
        return false;
    }

    const QEvent::Type m_type;
};

} // namespace

void TestFrontWindows::initTestCase()
{
    m_plugin = &Plugin::load();
}

void TestFrontWindows::init()
{
    m_plugin->startAfresh();
}

void TestFrontWindows::cleanup()
{
    m_plugin->stop();
}

void TestFrontWindows::open_firstTime_showsAWindowOfTheHost()
{
    QWidget host;
    m_plugin->startAfresh(&host);
    QWidget *const window = m_plugin->openWindow(5);
    QVERIFY(window);
    QCOMPARE(window->parentWidget(), &host);
    QVERIFY(window->isWindow());
    QVERIFY(window->isVisible());
    QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
    QTRY_COMPARE(Double::instance().count("Btsdk_ConnectEx"), 1);
    QCOMPARE(Double::instance().last("Btsdk_ConnectEx").number(0), 5 + Double::deviceOffset);
    m_plugin->stop();
}

void TestFrontWindows::open_sameShortcutTwice_raisesTheOneWindow()
{
    QWidget *const first = m_plugin->openWindow(5);
    QWidget *const other = m_plugin->openWindow(6);
    QVERIFY(windows::activate(other));
    const EventCounter raised(first, QEvent::ZOrderChange);
    (void)m_plugin->profile(5);
    QVERIFY(QMetaObject::invokeMethod(m_plugin->profile(5), "actionExploer"));
    QCOMPARE(windows::all("BtFtpClient").size(), 2);
    QCOMPARE(raised.count, 1);
    QTRY_COMPARE(QApplication::activeWindow(), first);
}

void TestFrontWindows::open_twoShortcuts_makesTwoWindowsEachWithItsOwn()
{
    QPointer<QWidget> first = m_plugin->openWindow(5);
    QPointer<QWidget> second = m_plugin->openWindow(6);
    QVERIFY(first && second && first != second);
    QTRY_COMPARE(Double::instance().count("Btsdk_ConnectEx"), 2);
    second->close();
    QTRY_VERIFY(!second);
    QCOMPARE(Double::instance().last("Btsdk_DisconnectShortCut").number(0), 6u);
    first->close();
    QTRY_VERIFY(!first);
    QCOMPARE(Double::instance().last("Btsdk_DisconnectShortCut").number(0), 5u);
}

void TestFrontWindows::open_afterTheUserClosed_makesANewWindow()
{
    QPointer<QWidget> window = m_plugin->openWindow(5);
    window->close();
    Double::instance().setShortcutConnected(5, true);
    QCOMPARE(m_plugin->GetRemoteActionListByShortcut(5), QList<QAction *>());
    QTRY_VERIFY(!window);
    QVERIFY(m_plugin->openWindow(5));
    QCOMPARE(windows::all("BtFtpClient").size(), 1);
}

void TestFrontWindows::open_afterTheHostDeletedTheWindow_makesANewWindow()
{
    // Without a close there is no signal that would take it from the list.
    delete m_plugin->openWindow(5);
    Double::instance().setShortcutConnected(5, true);
    QCOMPARE(m_plugin->GetRemoteActionListByShortcut(5), QList<QAction *>());
    m_plugin->PerformPostDisc();
    Double::instance().setShortcutConnected(5, false);
    QVERIFY(m_plugin->openWindow(5));
}

void TestFrontWindows::close_withoutAWindow_doesNothing()
{
    QWidget *const window = m_plugin->openWindow(6);
    QVERIFY(QMetaObject::invokeMethod(m_plugin->profile(5), "actionDisconnect"));
    QTest::qWait(0);
    QCOMPARE(windows::all("BtFtpClient"), QList<QWidget *>{window});
    QVERIFY(window->isVisible());
}

void TestFrontWindows::disconnect_withTwoShortcutsOpen_closesItsOwnAlone()
{
    QPointer<QWidget> first = m_plugin->openWindow(5);
    QPointer<QWidget> second = m_plugin->openWindow(6);
    QVERIFY(QMetaObject::invokeMethod(m_plugin->profile(5), "actionDisconnect"));
    QTRY_VERIFY(!first);
    QVERIFY(second && second->isVisible());
}

void TestFrontWindows::postDisconnect_withOutgoingConnections_closesOnlyWithoutFileTransfer_data()
{
    using Connections = QList<QPair<uint, quint16>>;
    QTest::addColumn<Connections>("outgoing");
    QTest::addColumn<bool>("closes");
    QTest::newRow("none") << Connections{} << true;
    QTest::newRow("one of another class") << Connections{{1, 0x1105}} << true;
    QTest::newRow("one of file transfer") << Connections{{1, 0x1106}} << false;
    QTest::newRow("file transfer and another") << Connections{{1, 0x1106}, {2, 0x1108}} << false;
    QTest::newRow("another and file transfer") << Connections{{1, 0x1108}, {2, 0x1106}} << false;
    Connections many;
    for (uint i = 1; i <= 40; ++i)
        many.append({i, quint16(0x1200)});
    QTest::newRow("forty of another class") << many << true;
}

void TestFrontWindows::postDisconnect_withOutgoingConnections_closesOnlyWithoutFileTransfer()
{
    using Connections = QList<QPair<uint, quint16>>;
    QFETCH(Connections, outgoing);
    QFETCH(bool, closes);
    Double::instance().setOutgoing(outgoing);
    QPointer<QWidget> window = m_plugin->openWindow(5);
    m_plugin->PerformPostDisc();
    QCOMPARE(Double::instance().last("Btsdk_GetAllOutgoingConnections").number(0), 32u);
    QCOMPARE(Double::instance().count("Btsdk_GetConnectionProperty"), qMin(outgoing.size(), 32));
    if (closes)
        QTRY_VERIFY(!window);
    QTest::qWait(0);
    QCOMPARE(window.isNull(), closes);
}

void TestFrontWindows::postDisconnect_anyConnections_queriesEveryHandleOfOneRecord()
{
    // The record is cleared once: a query that fails leaves the class of the one before.
    Double &script = Double::instance();
    script.setOutgoing({{1, 0x1106}, {2, 0x1105}, {3, 0x1108}});
    m_plugin->PerformPostDisc();
    QList<QVariantList> queries;
    for (const Call &call : script.calls("Btsdk_GetConnectionProperty"))
        queries.append(call.arguments);
    QCOMPARE(queries, (QList<QVariantList>{{1u, 0u}, {2u, 0x1106u}, {3u, 0x1105u}}));
}

void TestFrontWindows::postDisconnect_withTwoWindows_closesThatOfTheLastShortcut()
{
    QPointer<QWidget> first = m_plugin->openWindow(5);
    QPointer<QWidget> second = m_plugin->openWindow(6);
    (void)m_plugin->getProfileTipByShortcut(5, 0);
    m_plugin->PerformPostDisc();
    QTRY_VERIFY(!first);
    QVERIFY(second && second->isVisible());
}

void TestFrontWindows::indication_whileTheFlagIsUnset_opensNothing()
{
    QObject *const profile = m_plugin->profile(5);
    for (quint32 result : {0u, 1u, 2u})
        QVERIFY(QMetaObject::invokeMethod(profile, "OperationInd", Q_ARG(quint32, 0), Q_ARG(quint32, result),
                                          Q_ARG(quint32, 9)));
    QVERIFY(windows::all("BtFtpClient").isEmpty());
}

void TestFrontWindows::properties_ofAShortcut_areShownModallyWithoutParent()
{
    Double &script = Double::instance();
    QObject *const profile = m_plugin->profile(5);
    Modals modals;
    modals.reject();
    QVERIFY(QMetaObject::invokeMethod(profile, "actionProfileProperty"));
    QCOMPARE(script.last("RmtProfilePropertyClass::RmtProfilePropertyClass").arguments,
             (QVariantList{5u, QVariant::fromValue(qulonglong(0))}));
    QCOMPARE(script.count("RmtProfilePropertyClass::shown modally"), 1);
    QCOMPARE(script.count("RmtProfilePropertyClass::destroyed"), 1);
}

BTFTP_TEST_MAIN(TestFrontWindows)
#include "tst_front_windows.moc"
