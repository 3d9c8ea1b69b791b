#include "double.h"
#include "modals.h"
#include "openedurls.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"

#include <QAbstractButton>

/** Menus, tips and double-clicks of the profile, in every state of a shortcut and of the server. */
class TestFrontMenus : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void firstRequest_ofAnyList_createsTheTenActionsOnce_data();
    void firstRequest_ofAnyList_createsTheTenActionsOnce();
    void actions_created_haveTheirTextsOrderAndNothingElse();
    void actions_triggered_reachTheirSlots();

    void shortcutMenu_notConnected_opensFirst();
    void shortcutMenu_connectedWithoutWindow_hasNoDisconnect();
    void shortcutMenu_connectedWithWindow_disconnectsFirst();
    void shortcutMenu_connectedWithAnothersWindow_hasNoDisconnect();
    void shortcutMenu_withTheDeleteQuestionOpen_hasNoDisconnect();
    void remoteMenu_notConnected_isOpenFileExplorerAlone();
    void remoteMenu_connectedWithoutWindow_isEmpty();
    void remoteMenu_connectedWithWindow_isDisconnectWithTheServiceName();
    void remoteMenu_withTheDeleteQuestionOpen_isEmpty();
    void remoteMenu_nameWithPlaceholders_isShownLiterally();
    void labels_askedForInTurns_areThoseOfTheLastRequest();

    void serverMenu_inAnyState_hasItsOrder_data();
    void serverMenu_inAnyState_hasItsOrder();
    void serverMenu_stopped_enableIsBold();
    void serverMenu_started_sharedFolderIsBold();
    void serverMenu_inOtherStates_keepsTheLastLabels_data();
    void serverMenu_inOtherStates_keepsTheLastLabels();
    void serverMenu_statusQuery_startsFromZeroAndStoresTheHandle();
    void serverMenu_asked_keepsTheShortcut();

    void tip_forEachHandleAndState_saysWhatADoubleClickDoes_data();
    void tip_forEachHandleAndState_saysWhatADoubleClickDoes();
    void tip_withBothHandles_asksNothingOfTheServer();
    void tip_forAServerAlone_keepsTheShortcut();

    void doubleClick_onAConnectedShortcut_showsItsStatus();
    void doubleClick_onAnIdleShortcut_opensItsWindow();
    void serverDoubleClick_stopped_startsEvenWithoutTransport();
    void serverDoubleClick_started_opensTheSharedFolder_data();
    void serverDoubleClick_started_opensTheSharedFolder();
    void serverDoubleClick_clientConnected_showsTheServersStatus();
    void serverDoubleClick_inAnotherState_doesNothing_data();
    void serverDoubleClick_inAnotherState_doesNothing();
    void serverDoubleClick_handle_isNotStored();

private:
    static QStringList texts(const QList<QAction *> &actions);
    /** Lists of both kinds while the question of a remote delete stands open. */
    void askWhileDeleting(QStringList *full, QStringList *remote);

    Plugin *m_plugin = nullptr;
    OpenedUrls m_opened;
};

namespace {

constexpr unsigned int shortcut = 5;
constexpr unsigned int otherShortcut = 6;

} // namespace

void TestFrontMenus::initTestCase()
{
    m_plugin = &Plugin::load();
}

void TestFrontMenus::init()
{
    m_opened.urls.clear();
    m_plugin->startAfresh();
}

void TestFrontMenus::cleanup()
{
    m_plugin->stop();
}

QStringList TestFrontMenus::texts(const QList<QAction *> &actions)
{
    QStringList found;
    for (const QAction *action : actions)
        found.append(action->isSeparator() ? QStringLiteral("-") : action->text());
    return found;
}

void TestFrontMenus::firstRequest_ofAnyList_createsTheTenActionsOnce_data()
{
    QTest::addColumn<int>("kind");
    QTest::newRow("shortcut list first") << 0;
    QTest::newRow("remote list first") << 1;
    QTest::newRow("server list first") << 2;
}

void TestFrontMenus::firstRequest_ofAnyList_createsTheTenActionsOnce()
{
    QFETCH(int, kind);
    const auto ask = [this](int which) {
        return which == 0   ? m_plugin->GetActionListByShortcut(shortcut)
               : which == 1 ? m_plugin->GetRemoteActionListByShortcut(shortcut)
                            : m_plugin->GetLocalSvrActionList(Double::serverHandle);
    };
    const QObject *const profile = ask(kind).first()->parent();
    const auto first = profile->findChildren<QAction *>();
    QCOMPARE(first.size(), 10);
    for (int which : {0, 1, 2, kind})
        (void)ask(which);
    QCOMPARE(profile->findChildren<QAction *>(), first);
    QCOMPARE(profile->children().size(), 10);
}

void TestFrontMenus::actions_created_haveTheirTextsOrderAndNothingElse()
{
    // An unknown state leaves the labels of the creation.
    Double::instance().setServerStatus(0);
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    const QList<QAction *> actions = m_plugin->profile(shortcut)->findChildren<QAction *>();
    QCOMPARE(texts(actions), (QStringList{"&Open", "&Properties", "&Status", "&Disconnect", "&Open shared folder",
                                          "&Disable", "&Status", "&Properties", "-", "-"}));
    for (const QAction *action : actions) {
        QVERIFY(action->icon().isNull());
        QVERIFY(action->shortcut().isEmpty());
        QVERIFY(!action->isCheckable());
        QVERIFY(action->isEnabled());
        QVERIFY(action->isVisible());
    }
}

void TestFrontMenus::actions_triggered_reachTheirSlots()
{
    const QObject *const profile = m_plugin->profile(shortcut);
    const QList<QAction *> actions = profile->findChildren<QAction *>();
    Double &script = Double::instance();

    Modals modals;
    modals.reject().reject().reject().reject();
    actions.at(1)->trigger();
    QCOMPARE(script.last("RmtProfilePropertyClass::RmtProfilePropertyClass").number(0), shortcut);
    actions.at(2)->trigger();
    QCOMPARE(script.last("ProfileStatusClass::ProfileStatusClass").arguments.mid(0, 2), (QVariantList{shortcut, true}));
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    actions.at(6)->trigger();
    QCOMPARE(script.last("ProfileStatusClass::ProfileStatusClass").number(0), Double::serverHandle);
    actions.at(7)->trigger();
    QCOMPARE(modals.last().className, QStringLiteral("FtppropertyClass"));
    QVERIFY(modals.allAnswered());

    (void)m_plugin->GetActionListByShortcut(shortcut);
    actions.at(0)->trigger();
    QPointer<QWidget> window = windows::first("BtFtpClient");
    QVERIFY(window);
    actions.at(3)->trigger();
    QTRY_VERIFY(!window);
    actions.at(4)->trigger();
    QCOMPARE(m_opened.urls.size(), 1);
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    actions.at(5)->trigger();
    QCOMPARE(script.count("Btsdk_StartServer"), 1);
}

void TestFrontMenus::shortcutMenu_notConnected_opensFirst()
{
    QCOMPARE(texts(m_plugin->GetActionListByShortcut(shortcut)), (QStringList{"&Open", "&Status", "&Properties"}));
    QCOMPARE(Double::instance().last("VmCm_IsShortcutConnected").number(0), shortcut);
}

void TestFrontMenus::shortcutMenu_connectedWithoutWindow_hasNoDisconnect()
{
    Double::instance().setShortcutConnected(shortcut, true);
    QCOMPARE(texts(m_plugin->GetActionListByShortcut(shortcut)), (QStringList{"&Status", "&Properties"}));
}

void TestFrontMenus::shortcutMenu_connectedWithWindow_disconnectsFirst()
{
    QVERIFY(m_plugin->openWindow(shortcut));
    Double::instance().setShortcutConnected(shortcut, true);
    QCOMPARE(texts(m_plugin->GetActionListByShortcut(shortcut)),
             (QStringList{"&Disconnect", "&Status", "&Properties"}));
}

void TestFrontMenus::shortcutMenu_connectedWithAnothersWindow_hasNoDisconnect()
{
    QVERIFY(m_plugin->openWindow(otherShortcut));
    Double::instance().setShortcutConnected(shortcut, true);
    QCOMPARE(texts(m_plugin->GetActionListByShortcut(shortcut)), (QStringList{"&Status", "&Properties"}));
}

void TestFrontMenus::askWhileDeleting(QStringList *full, QStringList *remote)
{
    QWidget *const window = m_plugin->openConnectedWindow(shortcut);
    QVERIFY(window);
    QTreeWidget *const tree = windows::remoteTree(window);
    QTRY_VERIFY(windows::item(tree, QStringLiteral("hello.txt")));
    QVERIFY(windows::giveFocus(tree));
    windows::click(tree, windows::item(tree, QStringLiteral("hello.txt")));
    Modals modals;
    modals.handle([&](QWidget *box) {
        *full = texts(m_plugin->GetActionListByShortcut(shortcut));
        *remote = texts(m_plugin->GetRemoteActionListByShortcut(shortcut));
        qobject_cast<QMessageBox *>(box)->button(QMessageBox::No)->click();
    });
    QVERIFY(windows::call(window, "actionDelete", Q_ARG(bool, true)));
    QVERIFY(modals.allAnswered());
}

void TestFrontMenus::shortcutMenu_withTheDeleteQuestionOpen_hasNoDisconnect()
{
    QStringList full;
    QStringList remote;
    askWhileDeleting(&full, &remote);
    QCOMPARE(full, (QStringList{"&Status", "&Properties"}));
    // Answered, the entry is back.
    QCOMPARE(texts(m_plugin->GetActionListByShortcut(shortcut)),
             (QStringList{"&Disconnect", "&Status", "&Properties"}));
}

void TestFrontMenus::remoteMenu_notConnected_isOpenFileExplorerAlone()
{
    QCOMPARE(texts(m_plugin->GetRemoteActionListByShortcut(shortcut)), QStringList{"&Open File Explorer"});
}

void TestFrontMenus::remoteMenu_connectedWithoutWindow_isEmpty()
{
    Double::instance().setShortcutConnected(shortcut, true);
    QVERIFY(m_plugin->GetRemoteActionListByShortcut(shortcut).isEmpty());
}

void TestFrontMenus::remoteMenu_connectedWithWindow_isDisconnectWithTheServiceName()
{
    QVERIFY(m_plugin->openWindow(otherShortcut));
    QVERIFY(m_plugin->openWindow(shortcut));
    Double::instance().setShortcutConnected(shortcut, true);
    Double::instance().setDisplayName(4358, QStringLiteral("Files"));
    QCOMPARE(texts(m_plugin->GetRemoteActionListByShortcut(shortcut)), QStringList{"&Disconnect Files"});
    QCOMPARE(Double::instance().last("VmCm_GetSvcDisplayName").number(0), 4358u);
}

void TestFrontMenus::remoteMenu_withTheDeleteQuestionOpen_isEmpty()
{
    QStringList full;
    QStringList remote{"not asked"};
    askWhileDeleting(&full, &remote);
    QCOMPARE(remote, QStringList());
}

void TestFrontMenus::remoteMenu_nameWithPlaceholders_isShownLiterally()
{
    QVERIFY(m_plugin->openWindow(shortcut));
    Double::instance().setShortcutConnected(shortcut, true);
    Double::instance().setDisplayName(4358, QStringLiteral("50% %1 of %2"));
    QCOMPARE(texts(m_plugin->GetRemoteActionListByShortcut(shortcut)), QStringList{"&Disconnect 50% %1 of %2"});
}

void TestFrontMenus::labels_askedForInTurns_areThoseOfTheLastRequest()
{
    QAction *const open = m_plugin->GetActionListByShortcut(shortcut).first();
    QCOMPARE(m_plugin->GetRemoteActionListByShortcut(shortcut).first(), open);
    QCOMPARE(open->text(), QStringLiteral("&Open File Explorer"));
    (void)m_plugin->GetActionListByShortcut(shortcut);
    QCOMPARE(open->text(), QStringLiteral("&Open"));

    QVERIFY(m_plugin->openWindow(shortcut));
    Double::instance().setShortcutConnected(shortcut, true);
    QAction *const disconnect = m_plugin->GetActionListByShortcut(shortcut).first();
    QCOMPARE(disconnect->text(), QStringLiteral("&Disconnect"));
    QCOMPARE(m_plugin->GetRemoteActionListByShortcut(shortcut).first(), disconnect);
    QCOMPARE(disconnect->text(), QStringLiteral("&Disconnect Bluetooth File Transfer"));
    (void)m_plugin->GetActionListByShortcut(shortcut);
    QCOMPARE(disconnect->text(), QStringLiteral("&Disconnect"));
}

void TestFrontMenus::serverMenu_inAnyState_hasItsOrder_data()
{
    QTest::addColumn<quint16>("status");
    for (quint16 status : std::initializer_list<quint16>{0, 1, 2, 3, 4, 0xFFFF})
        QTest::addRow("status %u", unsigned(status)) << status;
}

void TestFrontMenus::serverMenu_inAnyState_hasItsOrder()
{
    QFETCH(quint16, status);
    Double::instance().setServerStatus(status);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    const QList<QAction *> all = menu.first()->parent()->findChildren<QAction *>();
    QCOMPARE(menu, (QList<QAction *>{all.at(4), all.at(8), all.at(5), all.at(6), all.at(9), all.at(7)}));
    QVERIFY(menu.at(1)->isSeparator() && menu.at(4)->isSeparator());
}

void TestFrontMenus::serverMenu_stopped_enableIsBold()
{
    Double::instance().setServerStatus(2);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    QCOMPARE(menu.at(2)->text(), QStringLiteral("&Enable"));
    QCOMPARE(menu.at(2)->font().weight(), 75);
    QCOMPARE(menu.at(0)->font().weight(), 50);
}

void TestFrontMenus::serverMenu_started_sharedFolderIsBold()
{
    Double::instance().setServerStatus(1);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    QCOMPARE(menu.at(2)->text(), QStringLiteral("&Disable"));
    QCOMPARE(menu.at(2)->font().weight(), 50);
    QCOMPARE(menu.at(0)->font().weight(), 75);
}

void TestFrontMenus::serverMenu_inOtherStates_keepsTheLastLabels_data()
{
    QTest::addColumn<quint16>("before");
    QTest::addColumn<quint16>("status");
    QTest::addColumn<QString>("text");
    QTest::addColumn<int>("enableWeight");
    QTest::addColumn<int>("folderWeight");
    for (quint16 status : std::initializer_list<quint16>{0, 3, 4, 255}) {
        QTest::addRow("%u after stopped", unsigned(status)) << quint16(2) << status << "&Enable" << 75 << 50;
        QTest::addRow("%u after started", unsigned(status)) << quint16(1) << status << "&Disable" << 50 << 75;
    }
}

void TestFrontMenus::serverMenu_inOtherStates_keepsTheLastLabels()
{
    QFETCH(quint16, before);
    QFETCH(quint16, status);
    Double::instance().setServerStatus(before);
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    Double::instance().setServerStatus(status);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    QTEST(menu.at(2)->text(), "text");
    QTEST(menu.at(2)->font().weight(), "enableWeight");
    QTEST(menu.at(0)->font().weight(), "folderWeight");
}

void TestFrontMenus::serverMenu_statusQuery_startsFromZeroAndStoresTheHandle()
{
    Double &script = Double::instance();
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(123);
    QCOMPARE(script.last("Btsdk_GetServerStatus").arguments, (QVariantList{123u, 0u}));
    script.setServerStatus(1);
    menu.at(2)->trigger();
    QCOMPARE(script.last("Btsdk_StopServer").number(0), 123u);
}

void TestFrontMenus::serverMenu_asked_keepsTheShortcut()
{
    const QList<QAction *> menu = m_plugin->GetActionListByShortcut(shortcut);
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    Modals modals;
    modals.reject();
    menu.at(1)->trigger();
    QCOMPARE(Double::instance().last("ProfileStatusClass::ProfileStatusClass").number(0), shortcut);
}

void TestFrontMenus::tip_forEachHandleAndState_saysWhatADoubleClickDoes_data()
{
    QTest::addColumn<uint>("shortcutHandle");
    QTest::addColumn<uint>("serverHandle");
    QTest::addColumn<bool>("connected");
    QTest::addColumn<quint16>("status");
    QTest::addColumn<uint>("result");
    QTest::addColumn<QString>("tip");
    const QString last = QStringLiteral("Right-click to get more options.");
    const QString status = QStringLiteral("Double-click to show service's status.\n") + last;
    const QString explorer = QStringLiteral("Double-click to open the file explorer.\n") + last;
    const QString folder = QStringLiteral("Double-click to view the shared folder.\n") + last;
    QTest::newRow("idle shortcut") << shortcut << 0u << false << quint16(0) << 0u << explorer;
    QTest::newRow("connected shortcut") << shortcut << 0u << true << quint16(0) << 0u << status;
    QTest::newRow("idle shortcut and busy server") << shortcut << 77u << false << quint16(3) << 0u << explorer;
    QTest::newRow("connected shortcut and stopped server") << shortcut << 77u << true << quint16(2) << 0u << status;
    QTest::newRow("unknown server state") << 0u << 77u << true << quint16(0) << 0u << folder;
    QTest::newRow("started server") << 0u << 77u << true << quint16(1) << 0u << folder;
    QTest::newRow("stopped server") << 0u << 77u << true << quint16(2) << 0u << folder;
    QTest::newRow("server with a client") << 0u << 77u << false << quint16(3) << 0u << status;
    QTest::newRow("server whose query fails") << 0u << 77u << false << quint16(3) << 1u << folder;
    QTest::newRow("neither") << 0u << 0u << true << quint16(3) << 0u << last;
}

void TestFrontMenus::tip_forEachHandleAndState_saysWhatADoubleClickDoes()
{
    QFETCH(uint, shortcutHandle);
    QFETCH(uint, serverHandle);
    QFETCH(bool, connected);
    QFETCH(quint16, status);
    QFETCH(uint, result);
    Double::instance().setShortcutConnected(shortcut, connected);
    Double::instance().setServerStatus(status);
    if (result)
        Double::instance().setResult("Btsdk_GetServerStatus", result);
    QTEST(m_plugin->getProfileTipByShortcut(shortcutHandle, serverHandle), "tip");
}

void TestFrontMenus::tip_withBothHandles_asksNothingOfTheServer()
{
    (void)m_plugin->getProfileTipByShortcut(shortcut, Double::serverHandle);
    QCOMPARE(Double::instance().order(), QStringList{"VmCm_IsShortcutConnected"});
}

void TestFrontMenus::tip_forAServerAlone_keepsTheShortcut()
{
    const QList<QAction *> menu = m_plugin->GetActionListByShortcut(shortcut);
    (void)m_plugin->getProfileTipByShortcut(0, Double::serverHandle);
    Modals modals;
    modals.reject();
    menu.at(1)->trigger();
    QCOMPARE(Double::instance().last("ProfileStatusClass::ProfileStatusClass").number(0), shortcut);
}

void TestFrontMenus::doubleClick_onAConnectedShortcut_showsItsStatus()
{
    Double &script = Double::instance();
    script.setShortcutConnected(shortcut, true);
    Modals modals;
    modals.reject();
    m_plugin->performDefaultActionByShortcut(shortcut);
    QCOMPARE(script.last("ProfileStatusClass::ProfileStatusClass").arguments,
             (QVariantList{shortcut, true, QVariant::fromValue(qulonglong(0))}));
    QCOMPARE(script.count("ProfileStatusClass::shown modally"), 1);
    QCOMPARE(script.count("ProfileStatusClass::destroyed"), 1);
    QVERIFY(!windows::first("BtFtpClient"));
}

void TestFrontMenus::doubleClick_onAnIdleShortcut_opensItsWindow()
{
    m_plugin->performDefaultActionByShortcut(shortcut);
    QCOMPARE(windows::all("BtFtpClient").size(), 1);
    QCOMPARE(Double::instance().count("ProfileStatusClass::ProfileStatusClass"), 0);
}

void TestFrontMenus::serverDoubleClick_stopped_startsEvenWithoutTransport()
{
    Double &script = Double::instance();
    script.setServerStatus(2);
    script.setBluetoothReady(false);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    menu.at(2)->trigger();
    QCOMPARE(script.count("Btsdk_StartServer"), 0);
    script.clearCalls();
    QCOMPARE(m_plugin->performLocalSvrDefaultAction(Double::serverHandle), 0);
    QCOMPARE(script.order(), (QStringList{"Btsdk_GetServerStatus", "Btsdk_StartServer"}));
    QCOMPARE(script.last("Btsdk_StartServer").number(0), Double::serverHandle);
    QVERIFY(!script.hasSetting("FTPSERVER", "status"));
}

void TestFrontMenus::serverDoubleClick_started_opensTheSharedFolder_data()
{
    QTest::addColumn<bool>("set");
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QString>("opened");
    QTest::newRow("a folder") << true << QByteArray("/srv/share") << "/srv/share";
    QTest::newRow("none in the settings") << false << QByteArray() << "/";
    QTest::newRow("letters of other alphabets")
        << true << QByteArray("/srv/\xC3\x9C b%20c#d") << QString::fromUtf8("/srv/Ü b%20c#d");
}

void TestFrontMenus::serverDoubleClick_started_opensTheSharedFolder()
{
    QFETCH(bool, set);
    QFETCH(QByteArray, folder);
    QFETCH(QString, opened);
    Double &script = Double::instance();
    script.setServerStatus(1);
    if (set)
        script.setSetting("FTPSERVER", "SHAREFOLDER", folder);
    QCOMPARE(m_plugin->performLocalSvrDefaultAction(Double::serverHandle), 0);
    QCOMPARE(m_opened.urls, QList<QUrl>{QUrl::fromLocalFile(opened)});
    QCOMPARE(script.last("GetPrivateProfileString").arguments,
             (QVariantList{QByteArray("FTPSERVER"), QByteArray("SHAREFOLDER"), QByteArray("/"), 260u,
                           QByteArray("/double/settings.ini")}));
}

void TestFrontMenus::serverDoubleClick_clientConnected_showsTheServersStatus()
{
    Double &script = Double::instance();
    script.setServerStatus(3);
    Modals modals;
    modals.reject();
    QCOMPARE(m_plugin->performLocalSvrDefaultAction(Double::serverHandle), 0);
    QCOMPARE(script.last("ProfileStatusClass::ProfileStatusClass").arguments,
             (QVariantList{Double::serverHandle, QVariant::fromValue(qulonglong(0))}));
    QCOMPARE(script.count("ProfileStatusClass::shown modally"), 1);
    QCOMPARE(script.count("ProfileStatusClass::destroyed"), 1);
}

void TestFrontMenus::serverDoubleClick_inAnotherState_doesNothing_data()
{
    QTest::addColumn<quint16>("status");
    QTest::newRow("unknown") << quint16(0);
    QTest::newRow("four") << quint16(4);
    QTest::newRow("largest") << quint16(0xFFFF);
}

void TestFrontMenus::serverDoubleClick_inAnotherState_doesNothing()
{
    QFETCH(quint16, status);
    Double &script = Double::instance();
    script.setServerStatus(status);
    QCOMPARE(m_plugin->performLocalSvrDefaultAction(Double::serverHandle), 0);
    QCOMPARE(script.order(), QStringList{"Btsdk_GetServerStatus"});
    QCOMPARE(script.last("Btsdk_GetServerStatus").number(1), 0u);
    QVERIFY(m_opened.urls.isEmpty());
}

void TestFrontMenus::serverDoubleClick_handle_isNotStored()
{
    Double &script = Double::instance();
    script.setServerStatus(0);
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(11);
    (void)m_plugin->performLocalSvrDefaultAction(22);
    menu.at(2)->trigger();
    QCOMPARE(script.last("Btsdk_GetServerStatus").number(0), 11u);
}

BTFTP_TEST_MAIN(TestFrontMenus)
#include "tst_front_menus.moc"
