#include "Catalogue.h"
#include "desk.h"
#include "hand.h"

#include <QApplication>
#include <QLabel>
#include <QMenu>
#include <QProcess>
#include <QTest>
#include <QToolButton>

#include <csignal>

using namespace manager;

/** What others bring to the desktop: profiles that are broken, devices that ask and die, a tray. */
class Guests : public Desk
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void profile_thatDoesNotLoad_isNamedInALine();
    void profile_withEmptyLists_opensNoMenu();
    void profile_withEmptyLists_saysSoInTheMenuBar();
    void manager_withStrangeProfiles_endsCleanly();
    void tray_whereTheDesktopHasOne_showsTheIcon();
    void tray_clicked_hidesAndShowsTheWindow();
    void tray_aFileIsReceived_tellsSo();
    void tray_newsClicked_bringsTheWindowBack();
    void tray_menuShow_bringsTheWindowBack();
    void passkey_declined_saysThatTheDeviceDidNotGetIt();
    void passkey_wrong_saysSoAndAsksAgainNextTime();
    void passkey_right_opensTheDevice();
    void status_ofAConnection_showsDeviceAndState();
    void device_killedInUse_isSaidInASentenceAndInItsRow();
    void status_afterALostConnection_showsTheLastProblem();
    void device_thatIsGone_isSaidWithWhatToDo();
    void tray_menuQuit_endsTheManager();

private:
    QTreeWidgetItem *vault() { return deviceRow(QStringLiteral("Vault"))->child(0); }
    bool openVault();
    bool refresh();
    void closeSentences();
    QStringList statusLines();

    QProcess m_tray;
    QProcess m_vault;
};

namespace {

const QString noPasskey = QStringLiteral("Connecting to Vault failed. The device did not get the right passkey. "
                                         "Connect again and type the passkey that the device shows.");

QStringList labelsOf(const QWidget *box)
{
    QStringList texts;
    const QList<QLabel *> labels = box->findChildren<QLabel *>();
    for (const QLabel *label : labels) {
        if (label->isVisible() && !label->text().isEmpty())
            texts << label->text();
    }
    return texts;
}

/** What stands beside the tray's icon with news, or null. */
QWidget *balloon()
{
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        if (widget->isVisible() && qstrcmp(widget->metaObject()->className(), "QBalloonTip") == 0)
            return widget;
    }
    return nullptr;
}

} // namespace

void Guests::initTestCase()
{
    QVERIFY(setUp(QStringLiteral("guests")));
    m_tray.start(QStringLiteral("trayer"),
                 {QStringLiteral("--edge"), QStringLiteral("bottom"), QStringLiteral("--align"),
                  QStringLiteral("right"), QStringLiteral("--widthtype"), QStringLiteral("request"),
                  QStringLiteral("--height"), QStringLiteral("28")});
    QTRY_VERIFY_WITH_TIMEOUT(QSystemTrayIcon::isSystemTrayAvailable(), 15000);
}

void Guests::cleanup()
{
    QTest::qWait(150); // what changed is drawn
    takePicture(QString::fromLatin1(QTest::currentTestFunction()));
}

void Guests::cleanupTestCase()
{
    if (m_manager)
        QCOMPARE(endManager(), QStringList());
    for (QProcess *process : {&m_vault, &m_tray}) {
        process->terminate();
        QVERIFY(process->state() == QProcess::NotRunning || process->waitForFinished());
    }
}

void Guests::profile_thatDoesNotLoad_isNamedInALine()
{
    QVERIFY(m_home.mkpath(QStringLiteral("profiles")));
    QFile broken(home("profiles/libBroken.so"));
    QVERIFY(broken.open(QIODevice::WriteOnly));
    broken.write("this is no library");
    broken.close();
    QVERIFY(QFile::link(built("tests/profiles/whole/libfakeprofile_whole.so"), home("profiles/libEmpty.so")));
    qputenv("FAKE_EMPTY_LISTS", "1");
    QVERIFY(startManager(home("profiles")));
    QTRY_VERIFY_WITH_TIMEOUT(row(RowTarget::Shortcut, 0), 30000);
    QCOMPARE(sentences(), QStringLiteral("The profile libBroken.so could not be loaded. "
                                         "The system says: file too short."));
}

void Guests::profile_withEmptyLists_opensNoMenu()
{
    QVERIFY(hand::click(hand::rowOf(tree(), row(RowTarget::Shortcut, 0)), 3));
    QTest::qWait(300); // nothing is to come
    QVERIFY(!QApplication::activePopupWidget());
    QVERIFY(!m_manager->profiles().menuIsOpen());
}

void Guests::profile_withEmptyLists_saysSoInTheMenuBar()
{
    QVERIFY(hand::key(QStringLiteral("alt+s")));
    QTRY_VERIFY(QApplication::activePopupWidget());
    const QList<QAction *> entries = QApplication::activePopupWidget()->actions();
    takePicture(QStringLiteral("menu"));
    QCOMPARE(entries.size(), 1);
    QCOMPARE(entries[0]->text(), QStringLiteral("Nothing can be done here"));
    QVERIFY(!entries[0]->isEnabled());
    QVERIFY(hand::key(QStringLiteral("Escape")));
    QTRY_VERIFY(!m_manager->profiles().menuIsOpen());
}

void Guests::manager_withStrangeProfiles_endsCleanly()
{
    QCOMPARE(endManager(), QStringList());
    qunsetenv("FAKE_EMPTY_LISTS");
}

void Guests::tray_whereTheDesktopHasOne_showsTheIcon()
{
    QVERIFY(startManager());
    QVERIFY(m_manager->tray());
    QTRY_VERIFY(m_manager->tray()->isVisible() && m_manager->tray()->geometry().width() > 8);
    QTRY_VERIFY_WITH_TIMEOUT(row(RowTarget::Shortcut, 0), 30000);
}

void Guests::tray_clicked_hidesAndShowsTheWindow()
{
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::click(m_manager->tray()->geometry().center()));
    QTRY_VERIFY(!window().isVisible());
    QTest::qWait(QApplication::doubleClickInterval() + 100); // two clicks, not a double-click
    QVERIFY(hand::click(m_manager->tray()->geometry().center()));
    QTRY_VERIFY(window().isVisible() && window().isActiveWindow());
}

void Guests::tray_aFileIsReceived_tellsSo()
{
    QVERIFY(chooseFromMenu(row(RowTarget::Server, 0), QStringLiteral("&Enable")));
    QTRY_VERIFY(row(RowTarget::Server, 0)->text(1).startsWith(QStringLiteral("Started")));
    QFile letter(home("local/<b>A letter.txt"));
    QVERIFY(letter.open(QIODevice::WriteOnly));
    letter.write("Dear reader,\n");
    letter.close();
    QVERIFY(hand::click(m_manager->tray()->geometry().center()));
    QTRY_VERIFY(!window().isVisible());
    sendToLocalService(letter.fileName());
    QTRY_VERIFY(balloon());
    QVERIFY(labelsOf(balloon()).join(u'\n').contains(QStringLiteral("A letter.txt.")));
    QCOMPARE(sentences(), QStringLiteral("Received <b>A letter.txt."));
}

void Guests::tray_newsClicked_bringsTheWindowBack()
{
    QVERIFY(hand::click(hand::centre(balloon())));
    QTRY_VERIFY(window().isVisible() && window().isActiveWindow());
    QVERIFY(!balloon());
}

void Guests::tray_menuShow_bringsTheWindowBack()
{
    QVERIFY(hand::click(m_manager->tray()->geometry().center()));
    QTRY_VERIFY(!window().isVisible());
    QVERIFY(hand::click(m_manager->tray()->geometry().center(), 3));
    QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    takePicture(QStringLiteral("menu"));
    QVERIFY(hand::click(hand::entryOf(menu, menu->actions().first())));
    QTRY_VERIFY(window().isVisible() && window().isActiveWindow());
}

void Guests::closeSentences()
{
    const QList<QToolButton *> buttons = window().notices()->findChildren<QToolButton *>();
    for (QToolButton *button : buttons)
        button->click();
}

/** With a window whose device is not connected, this connects. */
bool Guests::refresh()
{
    return hand::raise(m_client) &&
           hand::click(hand::centre(m_client->findChild<QWidget *>(QStringLiteral("m_pRefreshButton"))));
}

bool Guests::openVault()
{
    return hand::raise(&window()) && hand::doubleClick(hand::rowOf(tree(), vault()));
}

void Guests::passkey_declined_saysThatTheDeviceDidNotGetIt()
{
    const QString port = startDevice(&m_vault, {QStringLiteral("--secure"), QStringLiteral("2468")});
    QVERIFY(!port.isEmpty());
    QVERIFY(addDevice(QStringLiteral("Vault"), port));
    QString question;
    answerBoxWith(QStringLiteral("Escape"), [&](QWidget *box) { question = labelsOf(box).join(u'\n'); });
    QVERIFY(openVault());
    QTRY_COMPARE(question, QStringLiteral("Vault asks for its passkey. It is shown on that device."));
    QTRY_VERIFY(sentences().contains(noPasskey));
    QVERIFY(takeClient());
    QVERIFY(hand::raise(m_client));
}

void Guests::passkey_wrong_saysSoAndAsksAgainNextTime()
{
    closeSentences();
    answerBoxWith(QStringLiteral("1 2 3 4 Return"));
    QVERIFY(refresh());
    QTRY_VERIFY(sentences().contains(noPasskey));
    QVERIFY(pane("m_pRemoteTree")->topLevelItemCount() == 0);
}

void Guests::passkey_right_opensTheDevice()
{
    answerBoxWith(QStringLiteral("2 4 6 8 Return"));
    QVERIFY(refresh());
    QTRY_VERIFY(remoteRow("Welcome.txt"));
    QTRY_VERIFY(!sentences().contains(noPasskey));
}

QStringList Guests::statusLines()
{
    QStringList lines;
    answerBoxWith(QStringLiteral("Escape"), [&lines](QWidget *box) { lines = labelsOf(box); });
    return chooseFromMenu(vault(), QStringLiteral("&Status")) ? lines : QStringList();
}

void Guests::status_ofAConnection_showsDeviceAndState()
{
    const QStringList lines = statusLines();
    QVERIFY2(lines.contains(QStringLiteral("Vault")), qPrintable(lines.join(u'|')));
    QVERIFY2(lines.contains(QStringLiteral("Connected")), qPrintable(lines.join(u'|')));
}

void Guests::device_killedInUse_isSaidInASentenceAndInItsRow()
{
    QCOMPARE(kill(static_cast<pid_t>(m_vault.processId()), SIGKILL), 0);
    QTRY_VERIFY(sentences().contains(QStringLiteral("The connection to Vault was lost. ")));
    QTRY_COMPARE(clients().size(), 0);
    QTRY_VERIFY2(vault()->text(1).startsWith(QStringLiteral("Not connected. ")), qPrintable(vault()->text(1)));
}

void Guests::status_afterALostConnection_showsTheLastProblem()
{
    const QStringList lines = statusLines();
    QVERIFY2(lines.contains(QStringLiteral("Not connected")), qPrintable(lines.join(u'|')));
    QVERIFY2(lines.join(u'|').contains(QStringLiteral("Last problem: The connection to the device broke.")),
             qPrintable(lines.join(u'|')));
}

void Guests::device_thatIsGone_isSaidWithWhatToDo()
{
    QVERIFY(openVault());
    QTRY_VERIFY_WITH_TIMEOUT(sentences().contains(QString::fromUtf8(Btsdk_HostResultAdvice(BTSDK_ER_CONNECT_FAILED))),
                             15000);
}

void Guests::tray_menuQuit_endsTheManager()
{
    bool quit = false;
    QVERIFY(connect(&window(), &MainWindow::closing, this, [&quit] { quit = true; }));
    QVERIFY(hand::click(m_manager->tray()->geometry().center(), 3));
    QTRY_VERIFY(qobject_cast<QMenu *>(QApplication::activePopupWidget()));
    auto *menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    QVERIFY(hand::click(hand::entryOf(menu, menu->actions().last())));
    QTRY_VERIFY(quit);
    QCOMPARE(endManager(), QStringList());
}

QTEST_MAIN(Guests)
#include "tst_desktop_guests.moc"
