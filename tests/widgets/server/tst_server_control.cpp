#include "double.h"
#include "modals.h"
#include "openedurls.h"
#include "plugin.h"
#include "testmain.h"

#include <QDir>
#include <QFile>
#include <QTabWidget>
#include <QTemporaryDir>

/** Registering, starting and stopping the local server; the shared folder and its repair. */
class TestServerControl : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void start_always_readsThenRegistersInOrder();
    void start_accessOfTheSettings_isPassedInItsLow16Bits_data();
    void start_accessOfTheSettings_isPassedInItsLow16Bits();
    void start_withoutASharedFolder_registersTheEmptyPath();
    void start_folderThatCanBeCreated_isCreatedAndLeftInTheSettings();
    void start_calledAgain_registersAgain();
    void start_registrationFails_goesOn();
    void folderThatCannotBeCreated_byUserName_isRepairedOrLeft_data();
    void folderThatCannotBeCreated_byUserName_isRepairedOrLeft();
    void repair_ofTheShare_isWrittenBeforeItIsRegistered();
    void stop_startedServer_staysStarted();

    void enableAction_inEachState_startsOrStops_data();
    void enableAction_inEachState_startsOrStops();
    void enableAction_startOrStopFails_remembersTheChoiceAllTheSame_data();
    void enableAction_startOrStopFails_remembersTheChoiceAllTheSame();
    void enableAction_always_asksForThePathInItsOwnSize();
    void statusAction_always_showsTheServersStatusModally();
    void propertyAction_always_showsTheFirstTab();
    void openAction_always_opensTheFolderOfTheSettings_data();
    void openAction_always_opensTheFolderOfTheSettings();

private:
    QObject *profile() { return m_plugin->profile(5); }
    void triggerEnable();

    Plugin *m_plugin = nullptr;
    OpenedUrls m_opened;
    QScopedPointer<QTemporaryDir> m_folder;
};

namespace {

const QByteArray file = "/double/settings.ini";

/** Something that is no folder, so that nothing can be created beneath it, not even by root. */
void putInTheWay(const QString &path)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile obstacle(path);
    QVERIFY(obstacle.open(QIODevice::WriteOnly));
}

} // namespace

void TestServerControl::initTestCase()
{
    m_plugin = &Plugin::load();
}

void TestServerControl::init()
{
    m_opened.urls.clear();
    m_folder.reset(new QTemporaryDir);
    QVERIFY(QDir::setCurrent(m_folder->path()));
    qunsetenv("USERNAME");
    m_plugin->startAfresh();
}

void TestServerControl::cleanup()
{
    m_plugin->stop();
    QDir::setCurrent(QStringLiteral("/"));
}

void TestServerControl::start_always_readsThenRegistersInOrder()
{
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "SHAREFOLDER", m_folder->path().toUtf8());
    script.setSetting("FTPSERVER", "DESIRED_ACCESS", "2");
    script.clearCalls();
    m_plugin->StartProfileServer();
    const QList<Call> calls = script.calls();
    QList<QVariantList> made;
    for (const Call &call : calls)
        made.append(QVariantList{call.function} + call.arguments);
    const QByteArray server = "FTPSERVER";
    const QList<QVariantList> expected = {
        {QByteArray("VmCm_GetCommonSettingFilePath"), 260},
        {QByteArray("GetPrivateProfileString"), server, QByteArray("SHAREFOLDER"), QByteArray(""), 256u, file},
        {QByteArray("GetPrivateProfileInt"), server, QByteArray("DESIRED_ACCESS"), 1, file},
        {QByteArray("GetPrivateProfileString"), QByteArray("FtpClient"), QByteArray("DefaultLocalFolder"),
         QByteArray(""), 256u, file},
        {QByteArray("Btsdk_RegisterFTPService"), 2u, m_folder->path().toUtf8()},
        {QByteArray("Btsdk_FTPRegisterDealReceiveFileCB"), true},
    };
    QCOMPARE(made, expected);
}

void TestServerControl::start_accessOfTheSettings_isPassedInItsLow16Bits_data()
{
    QTest::addColumn<QByteArray>("setting");
    QTest::addColumn<uint>("access");
    QTest::newRow("none") << QByteArray() << 1u;
    QTest::newRow("writable") << QByteArray("1") << 1u;
    QTest::newRow("read-only") << QByteArray("2") << 2u;
    QTest::newRow("another number") << QByteArray("7") << 7u;
    QTest::newRow("17 bits") << QByteArray("65538") << 2u;
    QTest::newRow("negative") << QByteArray("-1") << 65535u;
    QTest::newRow("no number") << QByteArray("yes") << 1u;
}

void TestServerControl::start_accessOfTheSettings_isPassedInItsLow16Bits()
{
    QFETCH(QByteArray, setting);
    if (!setting.isNull())
        Double::instance().setSetting("FTPSERVER", "DESIRED_ACCESS", setting);
    m_plugin->StartProfileServer();
    QTEST(Double::instance().last("Btsdk_RegisterFTPService").number(0), "access");
}

void TestServerControl::start_withoutASharedFolder_registersTheEmptyPath()
{
    Double &script = Double::instance();
    qputenv("USERNAME", "ann");
    m_plugin->StartProfileServer();
    QCOMPARE(script.last("Btsdk_RegisterFTPService").text(1), QByteArray(""));
    QCOMPARE(script.count("Btsdk_WritePrivateProfileString"), 0);
}

void TestServerControl::start_folderThatCanBeCreated_isCreatedAndLeftInTheSettings()
{
    Double &script = Double::instance();
    qputenv("USERNAME", "ann");
    script.setSetting("FTPSERVER", "SHAREFOLDER", "a/user/deep/share");
    script.setSetting("FtpClient", "DefaultLocalFolder", "b/user/docs");
    m_plugin->StartProfileServer();
    QVERIFY(QDir(m_folder->filePath("a/user/deep/share")).exists());
    QVERIFY(QDir(m_folder->filePath("b/user/docs")).exists());
    QCOMPARE(script.count("Btsdk_WritePrivateProfileString"), 0);
    QCOMPARE(script.last("Btsdk_RegisterFTPService").text(1), QByteArray("a/user/deep/share"));
}

void TestServerControl::start_calledAgain_registersAgain()
{
    m_plugin->StartProfileServer();
    m_plugin->StartProfileServer();
    QCOMPARE(Double::instance().count("Btsdk_RegisterFTPService"), 2);
    QCOMPARE(Double::instance().count("Btsdk_StartServer"), 0);
}

void TestServerControl::start_registrationFails_goesOn()
{
    Double::instance().setResult("Btsdk_RegisterFTPService", 0);
    m_plugin->StartProfileServer();
    QVERIFY(Double::instance().hasReceiveCallback());
}

void TestServerControl::folderThatCannotBeCreated_byUserName_isRepairedOrLeft_data()
{
    QTest::addColumn<QByteArray>("path");
    QTest::addColumn<QByteArray>("obstacle");
    QTest::addColumn<QByteArray>("userName"); // null: unset
    QTest::addColumn<QByteArray>("after");
    const QByteArray ann = "ann";
    QTest::newRow("user at the first place")
        << QByteArray("user/x") << QByteArray("user") << ann << QByteArray("ann/x");
    QTest::newRow("user at position 6") << QByteArray("homes/user/Share") << QByteArray("homes/user") << ann
                                        << QByteArray("homes/ann/Share");
    QTest::newRow("user at position 7") << QByteArray("houses/user/Share") << QByteArray("houses/user") << ann
                                        << QByteArray("houses/user/Share");
    QTest::newRow("capital letter") << QByteArray("homes/User/Share") << QByteArray("homes/User") << ann
                                    << QByteArray("homes/User/Share");
    QTest::newRow("no user in it") << QByteArray("homes/bob/Share") << QByteArray("homes/bob") << ann
                                   << QByteArray("homes/bob/Share");
    QTest::newRow("part of a longer name")
        << QByteArray("homes/users/x") << QByteArray("homes/users") << ann << QByteArray("homes/anns/x");
    QTest::newRow("user twice") << QByteArray("a/user/user") << QByteArray("a/user") << ann << QByteArray("a/ann/user");
    QTest::newRow("name unset") << QByteArray("homes/user/Share") << QByteArray("homes/user") << QByteArray()
                                << QByteArray("homes/user/Share");
    QTest::newRow("name empty") << QByteArray("homes/user/Share") << QByteArray("homes/user") << QByteArray("")
                                << QByteArray("homes//Share");
    QTest::newRow("the repaired one cannot be created either")
        << QByteArray("homes/user/Share") << QByteArray("homes") << ann << QByteArray("homes/user/Share");
    QTest::newRow("the repaired one is too long") << QByteArray("homes/user/Share") << QByteArray("homes/user")
                                                  << QByteArray(250, 'x') << QByteArray("homes/user/Share");
    QTest::newRow("letters of other alphabets in the name")
        << QByteArray("homes/user/Share") << QByteArray("homes/user") << QByteArray("J\xC3\xBCrgen")
        << QByteArray("homes/J\xC3\xBCrgen/Share");
}

void TestServerControl::folderThatCannotBeCreated_byUserName_isRepairedOrLeft()
{
    QFETCH(QByteArray, path);
    QFETCH(QByteArray, obstacle);
    QFETCH(QByteArray, userName);
    QFETCH(QByteArray, after);
    putInTheWay(m_folder->filePath(QString::fromUtf8(obstacle)));
    if (!userName.isNull())
        qputenv("USERNAME", userName);
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "SHAREFOLDER", path);
    script.setSetting("FtpClient", "DefaultLocalFolder", path);
    m_plugin->StartProfileServer();

    QCOMPARE(script.setting("FTPSERVER", "SHAREFOLDER"), after);
    QCOMPARE(script.setting("FtpClient", "DefaultLocalFolder"), after);
    QCOMPARE(script.last("Btsdk_RegisterFTPService").text(1), after);
    if (path == after) {
        QCOMPARE(script.count("Btsdk_WritePrivateProfileString"), 0);
    } else {
        QCOMPARE(script.calls("Btsdk_WritePrivateProfileString").value(0).arguments,
                 (QVariantList{QByteArray("FTPSERVER"), QByteArray("SHAREFOLDER"), after, file}));
        QCOMPARE(script.calls("Btsdk_WritePrivateProfileString").value(1).arguments,
                 (QVariantList{QByteArray("FtpClient"), QByteArray("DefaultLocalFolder"), after, file}));
        QVERIFY(QDir(m_folder->filePath(QString::fromUtf8(after))).exists());
    }
}

void TestServerControl::repair_ofTheShare_isWrittenBeforeItIsRegistered()
{
    qputenv("USERNAME", "ann");
    putInTheWay(m_folder->filePath("homes/user"));
    Double &script = Double::instance();
    script.setSetting("FTPSERVER", "SHAREFOLDER", "homes/user/Share");
    m_plugin->StartProfileServer();
    QCOMPARE(script.orderOf(
                 {"Btsdk_WritePrivateProfileString", "Btsdk_RegisterFTPService", "Btsdk_FTPRegisterDealReceiveFileCB"}),
             (QStringList{"Btsdk_WritePrivateProfileString", "Btsdk_RegisterFTPService",
                          "Btsdk_FTPRegisterDealReceiveFileCB"}));
}

void TestServerControl::stop_startedServer_staysStarted()
{
    Double &script = Double::instance();
    m_plugin->StartProfileServer();
    script.setServerStatus(1);
    script.clearCalls();
    m_plugin->StopProfileServer();
    QCOMPARE(script.order(), QStringList());
    QCOMPARE(script.serverStatus(), quint16(1));
}

void TestServerControl::triggerEnable()
{
    QAction *const enable = m_plugin->GetLocalSvrActionList(Double::serverHandle).at(2);
    Double::instance().clearCalls();
    enable->trigger();
}

void TestServerControl::enableAction_inEachState_startsOrStops_data()
{
    QTest::addColumn<quint16>("status");
    QTest::addColumn<bool>("ready");
    QTest::addColumn<QStringList>("calls");
    QTest::addColumn<QByteArray>("setting");
    const QStringList start = {"Btsdk_GetServerStatus", "Btsdk_IsBluetoothReady", "Btsdk_StartServer",
                               "Btsdk_WritePrivateProfileString"};
    const QStringList stop = {"Btsdk_GetServerStatus", "Btsdk_IsBluetoothReady", "Btsdk_StopServer",
                              "Btsdk_WritePrivateProfileString"};
    const QStringList refused = {"Btsdk_GetServerStatus", "Btsdk_IsBluetoothReady"};
    const QStringList ignored = {"Btsdk_GetServerStatus"};
    QTest::newRow("stopped") << quint16(2) << true << start << QByteArray("enable");
    QTest::newRow("started") << quint16(1) << true << stop << QByteArray("disable");
    QTest::newRow("client connected") << quint16(3) << true << stop << QByteArray("disable");
    QTest::newRow("stopped, no transport") << quint16(2) << false << refused << QByteArray();
    QTest::newRow("started, no transport") << quint16(1) << false << refused << QByteArray();
    QTest::newRow("client connected, no transport") << quint16(3) << false << refused << QByteArray();
    QTest::newRow("unknown") << quint16(0) << true << ignored << QByteArray();
    QTest::newRow("four") << quint16(4) << true << ignored << QByteArray();
}

void TestServerControl::enableAction_inEachState_startsOrStops()
{
    QFETCH(quint16, status);
    QFETCH(bool, ready);
    Double &script = Double::instance();
    script.setServerStatus(status);
    script.setBluetoothReady(ready);
    triggerEnable();
    QTEST(script.order({"VmCm_GetCommonSettingFilePath"}), "calls");
    QTEST(script.setting("FTPSERVER", "status"), "setting");
    for (const char *function : {"Btsdk_StartServer", "Btsdk_StopServer"})
        if (script.count(function))
            QCOMPARE(script.last(function).number(0), Double::serverHandle);
}

void TestServerControl::enableAction_startOrStopFails_remembersTheChoiceAllTheSame_data()
{
    QTest::addColumn<quint16>("status");
    QTest::addColumn<QByteArray>("setting");
    QTest::newRow("start") << quint16(2) << QByteArray("enable");
    QTest::newRow("stop") << quint16(1) << QByteArray("disable");
}

void TestServerControl::enableAction_startOrStopFails_remembersTheChoiceAllTheSame()
{
    QFETCH(quint16, status);
    QFETCH(QByteArray, setting);
    Double &script = Double::instance();
    script.setServerStatus(status);
    script.setResult("Btsdk_StartServer", BTSDK_ER_INTERNAL);
    script.setResult("Btsdk_StopServer", BTSDK_ER_INTERNAL);
    triggerEnable();
    QCOMPARE(script.last("Btsdk_WritePrivateProfileString").arguments,
             (QVariantList{QByteArray("FTPSERVER"), QByteArray("status"), setting, file}));
}

void TestServerControl::enableAction_always_asksForThePathInItsOwnSize()
{
    triggerEnable();
    QCOMPARE(Double::instance().calls().first().function, QByteArray("VmCm_GetCommonSettingFilePath"));
    QCOMPARE(Double::instance().last("VmCm_GetCommonSettingFilePath").number(0), 256u);
}

void TestServerControl::statusAction_always_showsTheServersStatusModally()
{
    Double &script = Double::instance();
    (void)profile();
    (void)m_plugin->GetLocalSvrActionList(Double::serverHandle);
    Modals modals;
    modals.reject();
    m_plugin->GetLocalSvrActionList(Double::serverHandle).at(3)->trigger();
    QCOMPARE(script.last("ProfileStatusClass::ProfileStatusClass").arguments,
             (QVariantList{Double::serverHandle, QVariant::fromValue(qulonglong(0))}));
    QCOMPARE(script.count("ProfileStatusClass::shown modally"), 1);
    QCOMPARE(script.count("ProfileStatusClass::destroyed"), 1);
}

void TestServerControl::propertyAction_always_showsTheFirstTab()
{
    int tab = -1;
    QPointer<QWidget> shown;
    Modals modals;
    modals.handle([&](QWidget *dialog) {
        shown = dialog;
        tab = dialog->findChild<QTabWidget *>()->currentIndex();
        QMetaObject::invokeMethod(dialog, "reject");
    });
    m_plugin->GetLocalSvrActionList(Double::serverHandle).at(5)->trigger();
    QCOMPARE(tab, 0);
    QCOMPARE(Double::instance().last("Btsdk_GetServerAttributes").number(0), Double::serverHandle);
    QVERIFY(!shown);
}

void TestServerControl::openAction_always_opensTheFolderOfTheSettings_data()
{
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QString>("opened");
    QTest::newRow("none") << QByteArray() << "/";
    QTest::newRow("one") << QByteArray("/srv/a b") << "/srv/a b";
    QTest::newRow("letters of other alphabets") << QByteArray("/srv/\xE6\x97\xA5") << QString::fromUtf8("/srv/日");
}

void TestServerControl::openAction_always_opensTheFolderOfTheSettings()
{
    QFETCH(QByteArray, folder);
    QFETCH(QString, opened);
    Double &script = Double::instance();
    if (!folder.isNull())
        script.setSetting("FTPSERVER", "SHAREFOLDER", folder);
    QAction *const open = m_plugin->GetLocalSvrActionList(Double::serverHandle).first();
    script.clearCalls();
    open->trigger();
    QCOMPARE(m_opened.urls, QList<QUrl>{QUrl::fromLocalFile(opened)});
    QCOMPARE(script.order(), (QStringList{"VmCm_GetCommonSettingFilePath", "GetPrivateProfileString"}));
    QCOMPARE(script.last("VmCm_GetCommonSettingFilePath").number(0), 260u);
    QCOMPARE(script.last("GetPrivateProfileString").arguments.mid(2, 2), (QVariantList{QByteArray("/"), 260u}));
}

BTFTP_TEST_MAIN(TestServerControl)
#include "tst_server_control.moc"
