#include "double.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"

#include <QFile>
#include <QProcess>

/** The library as the host meets it: what it exports, and what the entry points do without a profile object. */
class TestFrontEntryPoints : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();

    void dynamicSymbols_ofTheLibrary_areTheEntryPointsAlone();
    void soname_ofTheLibrary_isItsFirstVersion();
    void platformLibraries_ofThisTest_areTheDoubles();

    void profileClass_always_isFileTransfer();
    void supportedClass_asked_onlyFileTransferIs_data();
    void supportedClass_asked_onlyFileTransferIs();

    void entryPoints_beforeInit_areNeutralAndTouchNothing();
    void entryPoints_afterUninit_areNeutralAndTouchNothing();
    void initProfile_calledTwice_keepsTheFirstObjectAndParent();
    void uninitProfile_calledTwice_isHarmless();
    void uninitProfile_withAnOpenWindow_leavesItOpen();
    void initProfile_afterUninit_beginsWithoutActionsAndWindows();
    void profileObject_constructed_hasNoParentAndNoSignals();
    void metaObject_ofTheProfile_hasItsSlotsInOrder();
    void hostCallback_setThroughTheEntryPoint_isTheOneCalled();
    void shortcutList_afterTheServerList_losesTheServerHandle();

private:
    void verifyNeutral();

    Plugin *m_plugin = nullptr;
};

namespace {

QByteArray output(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    process.waitForFinished();
    return process.readAllStandardOutput();
}

int callbackCalls = 0;

unsigned int countingCallback(unsigned int, unsigned int, unsigned int, unsigned char *)
{
    ++callbackCalls;
    return 42;
}

} // namespace

void TestFrontEntryPoints::initTestCase()
{
    m_plugin = &Plugin::load();
}

void TestFrontEntryPoints::cleanup()
{
    m_plugin->stop();
    Double::instance().reset();
}

void TestFrontEntryPoints::dynamicSymbols_ofTheLibrary_areTheEntryPointsAlone()
{
    QStringList exported;
    const QList<QByteArray> lines =
        output(QStringLiteral("nm"), {QStringLiteral("-D"), QStringLiteral("--defined-only"), m_plugin->path()})
            .split('\n');
    for (const QByteArray &line : lines)
        if (!line.isEmpty())
            exported.append(QString::fromLatin1(line.mid(line.lastIndexOf(' ') + 1)));
    exported.sort();
    QStringList expected = {"InitProfile",
                            "UninitProfile",
                            "GetPlugProfileCls",
                            "IsSupportedServiceClass",
                            "setVmCommFunc",
                            "StartProfileServer",
                            "StopProfileServer",
                            "ShowSvrPropertyDlg",
                            "PerformPostDisc",
                            "GetLocalSvrActionList",
                            "GetActionListByShortcut",
                            "GetRemoteActionListByShortcut",
                            "getProfileTipByShortcut",
                            "performDefaultActionByShortcut",
                            "performLocalSvrDefaultAction"};
    expected.sort();
    QCOMPARE(exported, expected);
}

void TestFrontEntryPoints::soname_ofTheLibrary_isItsFirstVersion()
{
    const QByteArray dynamic = output(QStringLiteral("readelf"), {QStringLiteral("-dW"), m_plugin->path()});
    QVERIFY2(dynamic.contains("soname: [libBtFtp.so.1]"), dynamic.constData());
}

void TestFrontEntryPoints::platformLibraries_ofThisTest_areTheDoubles()
{
    QFile maps(QStringLiteral("/proc/self/maps"));
    QVERIFY(maps.open(QIODevice::ReadOnly));
    const QByteArray text = maps.readAll();
    for (const QByteArray library : {"libVmrlClient.so.1", "libVmCommon.so.1", "libProfileComm.so.1"}) {
        QVERIFY(text.contains("/doubles/" + library));
        QVERIFY(!text.contains("/lib/" + library));
    }
}

void TestFrontEntryPoints::profileClass_always_isFileTransfer()
{
    QCOMPARE(m_plugin->GetPlugProfileCls(), 4358u);
}

void TestFrontEntryPoints::supportedClass_asked_onlyFileTransferIs_data()
{
    QTest::addColumn<quint16>("serviceClass");
    QTest::addColumn<int>("supported");
    QTest::newRow("file transfer") << quint16(0x1106) << 1;
    QTest::newRow("none") << quint16(0) << 0;
    QTest::newRow("object push") << quint16(0x1105) << 0;
    QTest::newRow("the next one") << quint16(0x1107) << 0;
    QTest::newRow("bytes swapped") << quint16(0x0611) << 0;
    QTest::newRow("the last one") << quint16(0xFFFF) << 0;
}

void TestFrontEntryPoints::supportedClass_asked_onlyFileTransferIs()
{
    QFETCH(quint16, serviceClass);
    QTEST(m_plugin->IsSupportedServiceClass(serviceClass), "supported");
}

void TestFrontEntryPoints::verifyNeutral()
{
    Double &script = Double::instance();
    script.clearCalls();
    const int topLevels = QApplication::topLevelWidgets().size();
    m_plugin->setVmCommFunc(countingCallback);
    m_plugin->StartProfileServer();
    m_plugin->StopProfileServer();
    m_plugin->PerformPostDisc();
    m_plugin->performDefaultActionByShortcut(5);
    QVERIFY(m_plugin->GetActionListByShortcut(5).isEmpty());
    QVERIFY(m_plugin->GetRemoteActionListByShortcut(5).isEmpty());
    QVERIFY(m_plugin->GetLocalSvrActionList(Double::serverHandle).isEmpty());
    QVERIFY(m_plugin->getProfileTipByShortcut(5, Double::serverHandle).isEmpty());
    QCOMPARE(m_plugin->performLocalSvrDefaultAction(Double::serverHandle), 0);
    QCOMPARE(script.order(), QStringList());
    QCOMPARE(QApplication::topLevelWidgets().size(), topLevels);
}

void TestFrontEntryPoints::entryPoints_beforeInit_areNeutralAndTouchNothing()
{
    verifyNeutral();
}

void TestFrontEntryPoints::entryPoints_afterUninit_areNeutralAndTouchNothing()
{
    m_plugin->startAfresh();
    QVERIFY(m_plugin->profile(5));
    m_plugin->UninitProfile();
    verifyNeutral();
}

void TestFrontEntryPoints::initProfile_calledTwice_keepsTheFirstObjectAndParent()
{
    QWidget first;
    QWidget second;
    m_plugin->startAfresh(&first);
    QObject *const profile = m_plugin->profile(5);
    m_plugin->InitProfile(&second);
    QCOMPARE(m_plugin->profile(5), profile);
    QWidget *const window = m_plugin->openWindow(5);
    QVERIFY(window);
    QCOMPARE(window->parentWidget(), &first);
    m_plugin->stop();
}

void TestFrontEntryPoints::uninitProfile_calledTwice_isHarmless()
{
    m_plugin->startAfresh();
    QPointer<QObject> profile = m_plugin->profile(5);
    m_plugin->UninitProfile();
    QVERIFY(!profile);
    m_plugin->UninitProfile();
    verifyNeutral();
}

void TestFrontEntryPoints::uninitProfile_withAnOpenWindow_leavesItOpen()
{
    m_plugin->startAfresh();
    QPointer<QWidget> window = m_plugin->openWindow(5);
    QVERIFY(window);
    m_plugin->UninitProfile();
    QTest::qWait(0);
    QVERIFY(window);
    QVERIFY(window->isVisible());
    window->close();
    QTRY_VERIFY(!window);
}

void TestFrontEntryPoints::initProfile_afterUninit_beginsWithoutActionsAndWindows()
{
    m_plugin->startAfresh();
    QPointer<QWidget> window = m_plugin->openWindow(5);
    m_plugin->UninitProfile();
    m_plugin->InitProfile(nullptr);
    Double::instance().setShortcutConnected(5, true);
    QCOMPARE(m_plugin->GetRemoteActionListByShortcut(5), QList<QAction *>());
    QVERIFY(window);
}

void TestFrontEntryPoints::profileObject_constructed_hasNoParentAndNoSignals()
{
    QWidget host;
    m_plugin->startAfresh(&host);
    const QObject *const profile = m_plugin->profile(5);
    QCOMPARE(profile->parent(), nullptr);
    QCOMPARE(QByteArray(profile->metaObject()->className()), QByteArray("BtFtp"));
    QCOMPARE(QByteArray(profile->metaObject()->superClass()->className()), QByteArray("QObject"));
    QCOMPARE(windows::signalSignatures(profile), QStringList());
    QCOMPARE(profile->metaObject()->propertyCount(), profile->metaObject()->propertyOffset());
}

void TestFrontEntryPoints::metaObject_ofTheProfile_hasItsSlotsInOrder()
{
    m_plugin->startAfresh();
    const QObject *const profile = m_plugin->profile(5);
    const QStringList expected = {"actionExploer()",
                                  "actionProfileProperty()",
                                  "actionProfileStatus()",
                                  "actionDisconnect()",
                                  "onfinish()",
                                  "OperationInd(quint32,quint32,quint32)",
                                  "handleMainWndClose(QWidget*)",
                                  "actionOpenShare()",
                                  "actionSvrEnable()",
                                  "actionSvrStatus()",
                                  "actionSvrProperty()"};
    for (int i = 0; i < expected.size(); ++i)
        QCOMPARE(windows::slotIndex(profile, expected.at(i)), i);
    QCOMPARE(windows::slotSignatures(profile).size(), expected.size());
    QCOMPARE(windows::parameterNames(profile, "handleMainWndClose(QWidget*)"), QStringList{"pWnd"});
    const QMetaObject *const meta = profile->metaObject();
    for (int i = meta->methodOffset(); i < meta->methodCount(); ++i)
        QCOMPARE(meta->method(i).access(), QMetaMethod::Private);
}

void TestFrontEntryPoints::hostCallback_setThroughTheEntryPoint_isTheOneCalled()
{
    m_plugin->startAfresh();
    m_plugin->StartProfileServer();
    callbackCalls = 0;
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), 0u);
    m_plugin->setVmCommFunc(countingCallback);
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), 42u);
    QCOMPARE(callbackCalls, 1);
    m_plugin->setVmCommFunc(nullptr);
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), 0u);
    QCOMPARE(callbackCalls, 1);
}

void TestFrontEntryPoints::shortcutList_afterTheServerList_losesTheServerHandle()
{
    m_plugin->startAfresh();
    const QList<QAction *> menu = m_plugin->GetLocalSvrActionList(Double::serverHandle);
    (void)m_plugin->GetActionListByShortcut(5);
    Double::instance().clearCalls();
    menu.at(2)->trigger();
    QCOMPARE(Double::instance().last("Btsdk_GetServerStatus").number(0), 0u);
}

BTFTP_TEST_MAIN(TestFrontEntryPoints)
#include "tst_front_entrypoints.moc"
