#include "BtFtp.h"
#include "LocalFtppropertyDlg.h"
#include "btftpclient.h"
#include "double.h"
#include "modals.h"
#include "testmain.h"
#include "windows.h"

#include <QDir>
#include <QFile>
#include <QPointer>
#include <QTemporaryDir>

#include <memory>
#include <type_traits>

/** The profile object's members, which nothing outside may see. */
struct BtFtpPeer
{
    BtFtp &profile;

    quint32 service() const { return profile.m_hService; }
    quint32 server() const { return profile.m_hServer; }
    quint32 shortcut() const { return profile.m_hShortcut; }
    quint32 connection() const { return profile.m_hConnection; }
    quint32 secondServer() const { return profile.m_hSecondServer; }
    quint32 ftpService() const { return profile.m_hFtpService; }
    QByteArray shareFolder() const { return profile.m_szShareFolder; }
    QByteArray receivedFile() const { return profile.m_szReceivedFile; }
    QList<QWidget *> &clientWindows() const { return profile.m_clientWindows; }
    bool hasActions() const { return profile.m_pActOpen != nullptr; }
    bool hasCallback() const { return profile.m_pInvokeVm.load() != nullptr; }
    QObject *finished() const { return profile.m_pFinished; }
    qint32 windowOnIndication() const { return profile.m_nWindowOnIndication; }

    void setFinished(QObject *object) { profile.m_pFinished = object; }
    void setWindowOnIndication(qint32 flag) { profile.m_nWindowOnIndication = flag; }

    static_assert(sizeof(BtFtp::m_szShareFolder) == 260 && sizeof(BtFtp::m_szReceivedFile) == 260);
    static_assert(std::is_same_v<decltype(BtFtp::m_clientWindows), QList<QWidget *>>);
    static_assert(sizeof(BtFtp::m_hServer) == 4 && sizeof(BtFtp::m_nWindowOnIndication) == 4);

    /** Where the members stand, in the order of their table. */
    QList<const void *> places() const
    {
        return {&profile.m_pParent,        &profile.m_pActOpen,          &profile.m_pActDisconnect,
                &profile.m_pActProperties, &profile.m_pActStatus,        &profile.m_pSeparator1,
                &profile.m_pSeparator2,    &profile.m_pActOpenShare,     &profile.m_pActSvrEnable,
                &profile.m_pActSvrStatus,  &profile.m_pActSvrProperties, &profile.m_hService,
                &profile.m_hServer,        &profile.m_hShortcut,         &profile.m_hConnection,
                &profile.m_hSecondServer,  &profile.m_pFinished,         &profile.m_nWindowOnIndication,
                &profile.m_clientWindows,  &profile.m_pInvokeVm,         &profile.m_hFtpService,
                &profile.m_szShareFolder,  &profile.m_szReceivedFile};
    }
};

/** The property dialog's members. */
struct FtppropertyPeer
{
    FtppropertyClass &dialog;

    QString shown(const QString &folder, const QString &path)
    {
        dialog.m_strFolder = folder;
        return dialog.FullStrToShowStr(path);
    }
    QByteArray workingDir() const { return dialog.m_szWorkingDir; }
    QByteArray settingsFile() const { return dialog.m_szSettingsFile; }

    static_assert(sizeof(FtppropertyClass::m_szShareFolder) == 260 &&
                  sizeof(FtppropertyClass::m_szSettingsFile) == 260);
    static_assert(sizeof(FtppropertyClass::m_szWorkingDir) == 256 && sizeof(FtppropertyClass::m_attributes) == 96);
    static_assert(std::is_same_v<decltype(FtppropertyClass::ui), Ui_FtpPropertyDlg>);

    QList<const void *> places() const
    {
        return {&dialog.ui,          &dialog.m_hServer,       &dialog.m_nServiceClass,  &dialog.m_nSecurity,
                &dialog.m_nAccess,   &dialog.m_szShareFolder, &dialog.m_szSettingsFile, &dialog.m_szWorkingDir,
                &dialog.m_strFolder, &dialog.m_attributes};
    }
};

/** Profile object and property dialog from within: handles, members, and what the host cannot bring about. */
class TestProfile : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void cleanup();

    void members_always_standInTheirOrder();
    void construction_always_beginsEmpty();
    void setShortcut_afterAServer_clearsTheServer();
    void setSecondServer_thenAShortcut_keepsTheSecondServer();
    void setters_each_clearTheOthersFirst();
    void finish_withAnObject_deletesItAndKeepsThePointer();
    void finish_withoutAnObject_doesNothing();
    void indication_byFlagAndResult_opensAWindow_data();
    void indication_byFlagAndResult_opensAWindow();
    void indicationWindow_closed_staysInTheListHarmlessly();
    void indicationWindow_whoseAddressAnotherWidgetHas_isNoWindow();
    void menus_withTwoWindowsOfTheShortcut_disconnectTwice();
    void menus_withTheDeleteQuestionInOneOfTwoWindows_disconnectOnce();
    void closeClient_withTwoWindowsOfTheShortcut_closesTheFirst();
    void start_always_keepsServiceAndFolder();
    void receivedFile_handled_isKept();
    void folderCheck_nullPath_isFalse();
    void folderCheck_pathIsReadAsLatin1();
    void folderCheck_repaired_clearsTheWholeBuffer();

    void form_setUp_hasItsSizeTabAndTexts();
    void dialog_constructed_readsItsPaths();
    void shownPath_ofAFolder_beginsWithItsLastComponent_data();
    void shownPath_ofAFolder_beginsWithItsLastComponent();

private:
    static QStringList texts(const QList<QAction *> &actions);
    /** Opens connected windows of these shortcuts, several of one if need be, and leaves the first one's handle set. */
    void openWindows(const QList<unsigned int> &shortcuts);

    std::unique_ptr<BtFtp> m_profile;
};

void TestProfile::init()
{
    Double::instance().reset();
    m_profile = std::make_unique<BtFtp>(nullptr);
}

void TestProfile::cleanup()
{
    Double::instance().Recorder::reset();
    for (QWidget *window : windows::all("BtFtpClient"))
        window->close();
    QTRY_VERIFY(windows::all("BtFtpClient").isEmpty());
    m_profile.reset();
    s_pThis = nullptr;
}

QStringList TestProfile::texts(const QList<QAction *> &actions)
{
    QStringList found;
    for (const QAction *action : actions)
        found.append(action->text());
    return found;
}

void TestProfile::members_always_standInTheirOrder()
{
    const QList<const void *> places = BtFtpPeer{*m_profile}.places();
    QVERIFY(std::is_sorted(places.begin(), places.end()));
    QCOMPARE(places.size(), 23);
    QCOMPARE(places.first(),
             static_cast<const void *>(reinterpret_cast<const char *>(m_profile.get()) + sizeof(QObject)));
    FtppropertyClass dialog(0, nullptr, 0);
    const QList<const void *> dialogPlaces = FtppropertyPeer{dialog}.places();
    QVERIFY(std::is_sorted(dialogPlaces.begin(), dialogPlaces.end()));
}

void TestProfile::construction_always_beginsEmpty()
{
    const BtFtpPeer peer{*m_profile};
    QCOMPARE(s_pThis.load(), m_profile.get());
    QVERIFY(!peer.hasActions());
    QVERIFY(!peer.hasCallback());
    QVERIFY(peer.clientWindows().isEmpty());
    QCOMPARE(peer.finished(), nullptr);
    QCOMPARE(peer.windowOnIndication(), 0);
    QCOMPARE(Double::instance().order(), QStringList());
}

void TestProfile::setShortcut_afterAServer_clearsTheServer()
{
    m_profile->SetSeviceHandle(3, 4);
    const BtFtpPeer peer{*m_profile};
    QCOMPARE(peer.server(), 4u);
    m_profile->SetShortcutHanlde(5);
    QCOMPARE(peer.server(), 0u);
    QCOMPARE(peer.shortcut(), 5u);
}

void TestProfile::setSecondServer_thenAShortcut_keepsTheSecondServer()
{
    m_profile->SetSvrHandle(7);
    m_profile->SetShortcutHanlde(5);
    QCOMPARE(BtFtpPeer{*m_profile}.secondServer(), 7u);
}

void TestProfile::setters_each_clearTheOthersFirst()
{
    const BtFtpPeer peer{*m_profile};
    const auto handles = [&] {
        return QList<quint32>{peer.service(), peer.server(), peer.shortcut(), peer.connection(), peer.secondServer()};
    };
    m_profile->SetSeviceHandle(1, 2);
    QCOMPARE(handles(), (QList<quint32>{1, 2, 0, 0, 0}));
    m_profile->SetConnectionHandle(3);
    QCOMPARE(handles(), (QList<quint32>{0, 0, 0, 3, 0}));
    m_profile->SetShortcutHanlde(4);
    QCOMPARE(handles(), (QList<quint32>{0, 0, 4, 0, 0}));
    m_profile->SetSvrHandle(5);
    QCOMPARE(handles(), (QList<quint32>{0, 0, 0, 0, 5}));
    m_profile->SetSeviceHandle(6, 7);
    QCOMPARE(handles(), (QList<quint32>{6, 7, 0, 0, 5}));
    m_profile->resetHandles();
    QCOMPARE(handles(), (QList<quint32>{0, 0, 0, 0, 5}));
}

void TestProfile::finish_withAnObject_deletesItAndKeepsThePointer()
{
    BtFtpPeer peer{*m_profile};
    const QPointer<QObject> object = new QObject;
    QObject *const address = object;
    peer.setFinished(object);
    QVERIFY(windows::call(m_profile.get(), "onfinish"));
    QVERIFY(!object);
    QVERIFY(peer.finished() == address);
}

void TestProfile::finish_withoutAnObject_doesNothing()
{
    QVERIFY(windows::call(m_profile.get(), "onfinish"));
    QCOMPARE(BtFtpPeer{*m_profile}.finished(), nullptr);
}

void TestProfile::indication_byFlagAndResult_opensAWindow_data()
{
    QTest::addColumn<int>("flag");
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<quint32>("result");
    QTest::addColumn<int>("opened");
    QTest::newRow("flag set, success") << 1 << 0u << 1u << 1;
    QTest::newRow("flag set, success of another operation") << 1 << 6u << 1u << 1;
    QTest::newRow("flag set, failure") << 1 << 0u << 2u << 0;
    QTest::newRow("flag unset, success") << 0 << 0u << 1u << 0;
    QTest::newRow("flag unset, failure") << 0 << 0u << 2u << 0;
    QTest::newRow("another flag, success") << 2 << 0u << 1u << 0;
}

void TestProfile::indication_byFlagAndResult_opensAWindow()
{
    QFETCH(int, flag);
    QFETCH(quint32, operation);
    QFETCH(quint32, result);
    Double &script = Double::instance();
    BtFtpPeer peer{*m_profile};
    peer.setWindowOnIndication(flag);
    m_profile->SetShortcutHanlde(5);
    // Connected already: the window lists with the handle that the indication brought.
    script.setShortcutConnected(5, true);
    QVERIFY(windows::call(m_profile.get(), "OperationInd", Q_ARG(quint32, operation), Q_ARG(quint32, result),
                          Q_ARG(quint32, 9)));
    QTEST(windows::all("BtFtpClient").size(), "opened");
    QTEST(peer.clientWindows().size(), "opened");
    if (QWidget *const window = windows::first("BtFtpClient")) {
        QVERIFY(window->isVisible());
        QVERIFY(window->testAttribute(Qt::WA_DeleteOnClose));
        QCOMPARE(script.last("Btsdk_FTPBrowseFolder").number(0), 9u);
    }
}

void TestProfile::indicationWindow_closed_staysInTheListHarmlessly()
{
    BtFtpPeer peer{*m_profile};
    peer.setWindowOnIndication(1);
    m_profile->SetShortcutHanlde(5);
    Double::instance().setShortcutConnected(5, true);
    QVERIFY(windows::call(m_profile.get(), "OperationInd", Q_ARG(quint32, 0), Q_ARG(quint32, 1), Q_ARG(quint32, 9)));
    QPointer<QWidget> window = windows::first("BtFtpClient");
    window->close();
    QTRY_VERIFY(!window);
    QCOMPARE(peer.clientWindows().size(), 1);
    Double::instance().setShortcutConnected(5, true);
    QCOMPARE(m_profile->GetRemoteActionList(), QList<QAction *>());
    m_profile->closeClientDlg();
}

void TestProfile::indicationWindow_whoseAddressAnotherWidgetHas_isNoWindow()
{
    BtFtpPeer peer{*m_profile};
    QWidget stranger;
    stranger.show();
    peer.clientWindows().append(&stranger);
    Double::instance().setShortcutConnected(0, true);
    QCOMPARE(m_profile->GetRemoteActionList(), QList<QAction *>());
    m_profile->closeClientDlg();
    QVERIFY(stranger.isVisible());
}

void TestProfile::openWindows(const QList<unsigned int> &shortcuts)
{
    BtFtpPeer{*m_profile}.setWindowOnIndication(1);
    for (unsigned int shortcut : shortcuts) {
        Double::instance().setShortcutConnected(shortcut, true);
        m_profile->SetShortcutHanlde(shortcut);
        QVERIFY(
            windows::call(m_profile.get(), "OperationInd", Q_ARG(quint32, 1), Q_ARG(quint32, 1), Q_ARG(quint32, 9)));
    }
    m_profile->SetShortcutHanlde(shortcuts.first());
}

void TestProfile::menus_withTwoWindowsOfTheShortcut_disconnectTwice()
{
    openWindows({5, 6, 5});
    QCOMPARE(texts(m_profile->GetActionList()), (QStringList{"&Disconnect", "&Disconnect", "&Status", "&Properties"}));
    QCOMPARE(texts(m_profile->GetRemoteActionList()),
             (QStringList{"&Disconnect Bluetooth File Transfer", "&Disconnect Bluetooth File Transfer"}));
}

void TestProfile::menus_withTheDeleteQuestionInOneOfTwoWindows_disconnectOnce()
{
    openWindows({5, 6, 5});
    QWidget *const first = BtFtpPeer{*m_profile}.clientWindows().first();
    QTreeWidget *const tree = windows::remoteTree(first);
    QVERIFY(windows::giveFocus(tree));
    QVERIFY(windows::select(tree, {"hello.txt"}));
    QStringList full;
    QStringList remote;
    Modals modals;
    modals.handle([&](QWidget *box) {
        full = texts(m_profile->GetActionList());
        remote = texts(m_profile->GetRemoteActionList());
        box->close();
    });
    QVERIFY(windows::call(first, "actionDelete", Q_ARG(bool, true)));
    QCOMPARE(full, (QStringList{"&Disconnect", "&Status", "&Properties"}));
    QCOMPARE(remote, QStringList{"&Disconnect Bluetooth File Transfer"});
}

void TestProfile::closeClient_withTwoWindowsOfTheShortcut_closesTheFirst()
{
    openWindows({5, 5});
    const BtFtpPeer peer{*m_profile};
    QPointer<QWidget> first = peer.clientWindows().at(0);
    QPointer<QWidget> second = peer.clientWindows().at(1);
    m_profile->closeClientDlg();
    QTRY_VERIFY(!first);
    QVERIFY(second && second->isVisible());
}

void TestProfile::start_always_keepsServiceAndFolder()
{
    Double::instance().setSetting("FTPSERVER", "SHAREFOLDER", "/tmp");
    m_profile->StartProfileServer();
    const BtFtpPeer peer{*m_profile};
    QCOMPARE(peer.ftpService(), Double::serverHandle);
    QCOMPARE(peer.shareFolder(), QByteArray("/tmp"));
    // The registered service is not the server that the menu's entries act on.
    QCOMPARE(peer.server(), 0u);
}

void TestProfile::receivedFile_handled_isKept()
{
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "SHAREFOLDER", "/tmp");
    m_profile->SetInvokeVmFunction([](unsigned int, unsigned int, unsigned int, unsigned char *) { return 0u; });
    m_profile->StartProfileServer();
    script.setSetting("FTPSERVER", "SHAREFOLDER", "/srv");
    script.receiveFile(BTSDK_EVENT_FILE_RECEIVED, QByteArray(300, 'n'));
    const BtFtpPeer peer{*m_profile};
    QCOMPARE(peer.shareFolder(), QByteArray("/srv"));
    QCOMPARE(peer.receivedFile(), QByteArray(259, 'n'));
    script.receiveFile(BTSDK_EVENT_FILE_RECEIVED, "short");
    QCOMPARE(peer.receivedFile(), QByteArray("short"));
}

void TestProfile::folderCheck_nullPath_isFalse()
{
    QVERIFY(!m_profile->checkFtpShareFolder(nullptr));
}

void TestProfile::folderCheck_pathIsReadAsLatin1()
{
    const QTemporaryDir folder;
    QVERIFY(QDir::setCurrent(folder.path()));
    char path[260] = "f\xFCr";
    QVERIFY(!m_profile->checkFtpShareFolder(path));
    QVERIFY(QDir(folder.filePath(QString::fromLatin1("f\xFCr"))).exists());
    QDir::setCurrent(QStringLiteral("/"));
}

void TestProfile::folderCheck_repaired_clearsTheWholeBuffer()
{
    const QTemporaryDir folder;
    QVERIFY(QDir::setCurrent(folder.path()));
    QFile obstacle(folder.filePath(QStringLiteral("user")));
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
    qputenv("USERNAME", "x");
    QByteArray path(260, '#');
    qstrcpy(path.data(), "user/Share");
    QVERIFY(m_profile->checkFtpShareFolder(path.data()));
    QCOMPARE(path, QByteArray("x/Share") + QByteArray(253, '\0'));
    qunsetenv("USERNAME");
    QDir::setCurrent(QStringLiteral("/"));
}

void TestProfile::form_setUp_hasItsSizeTabAndTexts()
{
    QDialog dialog;
    Ui_FtpPropertyDlg form;
    form.setupUi(&dialog);
    QCOMPARE(dialog.size(), QSize(360, 394));
    QCOMPARE(form.tabWidget->currentWidget(), form.tab_FTP);
    QCOMPARE(form.label_ProfileName->text(), QStringLiteral("Bluetooth File Transfer"));
    QCOMPARE(form.textBrowser->toPlainText(),
             QStringLiteral("Allow other Bluetooth devices to browse and access files or folders on this computer."));
    QCOMPARE(form.textBrowser_2->toPlainText(),
             QStringLiteral("If a Secure Connection is selected, a passkey is required when the remote devices connect "
                            "to this service."));
    QCOMPARE(form.label_ProfileIcon->text(), QString());
}

void TestProfile::dialog_constructed_readsItsPaths()
{
    FtppropertyClass dialog(Double::serverHandle, nullptr, 0);
    const FtppropertyPeer peer{dialog};
    QCOMPARE(peer.workingDir(), QByteArray("/double/working"));
    QCOMPARE(peer.settingsFile(), QByteArray("/double/settings.ini"));
}

void TestProfile::shownPath_ofAFolder_beginsWithItsLastComponent_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("shown");
    QTest::newRow("below the folder") << "/home/ann/Share"
                                      << "/home/ann/Share/docs"
                                      << "/Share/docs";
    QTest::newRow("two below") << "/home/ann/Share"
                               << "/home/ann/Share/a/b"
                               << "/Share/a/b";
    QTest::newRow("the folder itself") << "/home/ann/Share"
                                       << "/home/ann/Share"
                                       << "/Share/";
    QTest::newRow("folder with a slash") << "/home/ann/Share/"
                                         << "/home/ann/Share/docs"
                                         << "/Share/docs";
    QTest::newRow("folder at the root") << "/Share"
                                        << "/Share/docs"
                                        << "/Share/docs";
    QTest::newRow("the root") << "/"
                              << "/docs"
                              << "/docs";
    QTest::newRow("path shorter than the folder") << "/home/ann/Share"
                                                  << "/home"
                                                  << "/Share/";
    QTest::newRow("no folder") << ""
                               << "/docs"
                               << "/docs";
}

void TestProfile::shownPath_ofAFolder_beginsWithItsLastComponent()
{
    QFETCH(QString, folder);
    QFETCH(QString, path);
    FtppropertyClass dialog(0, nullptr, 0);
    QTEST((FtppropertyPeer{dialog}.shown(folder, path)), "shown");
}

BTFTP_TEST_MAIN(TestProfile)
#include "tst_profile.moc"
