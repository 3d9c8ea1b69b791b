#include "PlainText.h"
#include "Profiles.h"

#include <QLibrary>
#include <QMenu>
#include <QTemporaryDir>
#include <QTest>

using namespace manager;

namespace {

QString variant(const char *name)
{
    return QStringLiteral("%1/tests/profiles/%2/libfakeprofile_%2.so")
        .arg(qEnvironmentVariable("BTFTP_BUILD_DIR"), QString::fromLatin1(name));
}

unsigned int nothing(unsigned int, unsigned int, unsigned int, unsigned char *)
{
    return 0;
}

} // namespace

class ManagerPlugins : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void load_aWholeProfile_findsEveryEntryPoint();
    void load_aFileThatIsNoLibrary_saysWhichAndWhy();
    void load_aProfileWithoutSomeEntryPoints_namesThem();
    void load_aLibraryOfAnotherKind_isPassedOverInSilence();
    void load_severalNamesOfOneFile_countOnce();
    void load_aFolderThatIsMissing_isAFailure();
    void start_givesParentThenFunctionThenServer();
    void menu_ofAShortcut_showsTheListOfThatMoment();
    void menu_ofAProfileThatReturnsNothing_isEmpty();
    void requests_ofAnotherServiceClass_askNobody();
    void connectionEnded_setsTheShortcutFirst();
    void connectionEnded_whileConnectingAgain_leavesTheWindow();
    void connectionEnded_whileAMenuIsOpen_waitsUntilItsEntryHasActed();
    void tip_whileAMenuIsOpen_asksForNothing();
    void destroyWindows_thenEnd_leavesNothingOfTheProfiles();
    void everything_afterTheEnd_isNeutral();

private:
    LoadedPlugins whole();
    QStringList &calls() { return *m_calls(); }

    QLibrary m_recorder;
    QStringList *(*m_calls)() = nullptr;
};

/** The library stays loaded through this test's own handle, so that its record outlives an unload. */
void ManagerPlugins::init()
{
    qunsetenv("FAKE_EMPTY_LISTS");
    m_recorder.setFileName(variant("whole"));
    QVERIFY2(m_recorder.load(), qPrintable(m_recorder.errorString()));
    m_calls = reinterpret_cast<QStringList *(*)()>(m_recorder.resolve("fakeCalls"));
    QVERIFY(m_calls);
    calls().clear();
}

LoadedPlugins ManagerPlugins::whole()
{
    return loadPlugins(QFileInfo(variant("whole")).path());
}

void ManagerPlugins::load_aWholeProfile_findsEveryEntryPoint()
{
    const LoadedPlugins loaded = whole();
    QCOMPARE(loaded.failures.size(), 0);
    QCOMPARE(loaded.plugins.size(), size_t(1));
    QCOMPARE(loaded.plugins[0]->api().getPlugProfileCls(), 4358U);
    QVERIFY(loaded.plugins[0]->supports(4358));
    QVERIFY(!loaded.plugins[0]->supports(4357));
}

void ManagerPlugins::load_aFileThatIsNoLibrary_saysWhichAndWhy()
{
    QTemporaryDir dir;
    QFile file(dir.filePath(QStringLiteral("libBroken.so")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("this is no library");
    file.close();
    QVERIFY(QFile::copy(variant("whole"), dir.filePath(QStringLiteral("libWhole.so"))));
    const LoadedPlugins loaded = loadPlugins(dir.path());
    QCOMPARE(loaded.plugins.size(), size_t(1));
    QCOMPARE(loaded.failures.size(), 1);
    QCOMPARE(loaded.failures[0].file, QStringLiteral("libBroken.so"));
    QCOMPARE(loaded.failures[0].reason, QStringLiteral("The system says: file too short."));
}

void ManagerPlugins::load_aProfileWithoutSomeEntryPoints_namesThem()
{
    const LoadedPlugins loaded = loadPlugins(QFileInfo(variant("partial")).path());
    QCOMPARE(loaded.plugins.size(), size_t(0));
    QCOMPARE(loaded.failures.size(), 1);
    QVERIFY2(loaded.failures[0].reason.contains(QStringLiteral("PerformPostDisc")),
             qPrintable(loaded.failures[0].reason));
    QVERIFY(!loaded.failures[0].reason.contains(QStringLiteral("InitProfile")));
}

void ManagerPlugins::load_aLibraryOfAnotherKind_isPassedOverInSilence()
{
    const LoadedPlugins loaded = loadPlugins(QFileInfo(variant("stranger")).path());
    QCOMPARE(loaded.plugins.size(), size_t(0));
    QCOMPARE(loaded.failures.size(), 0);
}

void ManagerPlugins::load_severalNamesOfOneFile_countOnce()
{
    QTemporaryDir dir;
    QVERIFY(QFile::link(variant("whole"), dir.filePath(QStringLiteral("libOne.so"))));
    QVERIFY(QFile::link(variant("whole"), dir.filePath(QStringLiteral("libOne.so.1"))));
    QCOMPARE(loadPlugins(dir.path()).plugins.size(), size_t(1));
}

void ManagerPlugins::load_aFolderThatIsMissing_isAFailure()
{
    const LoadedPlugins loaded = loadPlugins(QStringLiteral("/nowhere/at all"));
    QCOMPARE(loaded.failures.size(), 1);
    QCOMPARE(loaded.failures[0].file, QStringLiteral("/nowhere/at all"));
}

void ManagerPlugins::start_givesParentThenFunctionThenServer()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    QCOMPARE(calls(),
             QStringList({QStringLiteral("init"), QStringLiteral("function"), QStringLiteral("start server")}));
}

void ManagerPlugins::menu_ofAShortcut_showsTheListOfThatMoment()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    QMenu first;
    profiles.addShortcutActions(&first, 5, 4358, Profiles::View::Shortcut);
    QCOMPARE(first.actions().at(0)->text(), QStringLiteral("list 5"));
    QMenu second;
    profiles.addShortcutActions(&second, 6, 4358, Profiles::View::Device);
    QCOMPARE(second.actions().at(0)->text(), QStringLiteral("remote list 6"));
    QMenu third;
    profiles.addServerActions(&third, 7, 4358);
    QCOMPARE(third.actions().at(0)->text(), QStringLiteral("server list 7"));
}

void ManagerPlugins::menu_ofAProfileThatReturnsNothing_isEmpty()
{
    qputenv("FAKE_EMPTY_LISTS", "1");
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    QMenu menu;
    profiles.addShortcutActions(&menu, 5, 4358, Profiles::View::Shortcut);
    QVERIFY(menu.isEmpty());
}

void ManagerPlugins::requests_ofAnotherServiceClass_askNobody()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    calls().clear();
    QMenu menu;
    profiles.addShortcutActions(&menu, 5, 4353, Profiles::View::Shortcut);
    profiles.performShortcutDefault(5, 4353);
    QVERIFY(profiles.tip(5, 0, 4353).isEmpty());
    QVERIFY(calls().isEmpty());
}

void ManagerPlugins::connectionEnded_setsTheShortcutFirst()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    calls().clear();
    profiles.connectionEnded(9, 4358);
    QCOMPARE(calls(), QStringList({QStringLiteral("list 9"), QStringLiteral("post")}));
}

void ManagerPlugins::connectionEnded_whileConnectingAgain_leavesTheWindow()
{
    Profiles profiles(whole(), [](unsigned int shortcut) { return shortcut == 9; });
    QWidget window;
    profiles.start(&window, &nothing);
    calls().clear();
    profiles.connectionEnded(9, 4358);
    QVERIFY(calls().isEmpty());
}

void ManagerPlugins::connectionEnded_whileAMenuIsOpen_waitsUntilItsEntryHasActed()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    QMenu menu;
    profiles.watch(&menu);
    profiles.addShortcutActions(&menu, 5, 4358, Profiles::View::Shortcut);
    calls().clear();
    menu.popup(QPoint(10, 10));
    QVERIFY(profiles.menuIsOpen());

    profiles.connectionEnded(9, 4358);
    QVERIFY(calls().isEmpty());
    QCOMPARE(menu.actions().at(0)->text(), QStringLiteral("list 5"));

    QTest::mouseClick(&menu, Qt::LeftButton, Qt::NoModifier, menu.actionGeometry(menu.actions().at(0)).center());
    QTRY_VERIFY(!profiles.menuIsOpen());
    QCOMPARE(calls(), QStringList({QStringLiteral("triggered"), QStringLiteral("list 9"), QStringLiteral("post")}));
}

void ManagerPlugins::tip_whileAMenuIsOpen_asksForNothing()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    QCOMPARE(profiles.tip(5, 0, 4358), QStringLiteral("tip 5 0"));
    QMenu menu;
    profiles.watch(&menu);
    profiles.addShortcutActions(&menu, 5, 4358, Profiles::View::Shortcut);
    menu.popup(QPoint(10, 10));
    QVERIFY(profiles.tip(5, 0, 4358).isEmpty());
    menu.hide();
    QTRY_COMPARE(profiles.tip(5, 0, 4358), QStringLiteral("tip 5 0"));
}

void ManagerPlugins::destroyWindows_thenEnd_leavesNothingOfTheProfiles()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    window.show();
    profiles.start(&window, &nothing);
    profiles.performShortcutDefault(5, 4358);
    profiles.performShortcutDefault(6, 4358);
    calls().clear();
    profiles.destroyWindows(&window);
    profiles.end();
    profiles.unload();
    QCOMPARE(calls(),
             QStringList({QStringLiteral("window gone"), QStringLiteral("window gone"), QStringLiteral("stop server"),
                          QStringLiteral("no function"), QStringLiteral("uninit")}));
    QVERIFY(window.isVisible());
}

void ManagerPlugins::everything_afterTheEnd_isNeutral()
{
    Profiles profiles(whole(), [](unsigned int) { return false; });
    QWidget window;
    profiles.start(&window, &nothing);
    profiles.end();
    calls().clear();
    QMenu menu;
    profiles.addShortcutActions(&menu, 5, 4358, Profiles::View::Shortcut);
    profiles.performServerDefault(5, 4358);
    profiles.connectionEnded(5, 4358);
    QVERIFY(menu.isEmpty());
    QVERIFY(calls().isEmpty());
}

QTEST_MAIN(ManagerPlugins)
#include "tst_manager_plugins.moc"
