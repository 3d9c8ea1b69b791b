#include "Catalogue.h"
#include "HostSettings.h"
#include "desk.h"
#include "hand.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QProcess>
#include <QPushButton>
#include <QTest>
#include <QTreeView>
#include <QUrl>

#include <csignal>

using namespace manager;

/** A morning with the manager, by mouse and keys alone. Each step starts where the one before it ended. */
class Desktop : public Desk
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanup();
    void cleanupTestCase();

    void start_withNothingKnown_bringsUpTheDemoDevice();
    void doubleClick_onAService_opensItsWindow();
    void doubleClick_onARemoteFolder_entersIt();
    void click_onTheUpButton_leavesTheFolder();
    void doubleClick_onARemoteFile_downloadsIt();
    void drag_fromTheLocalPane_uploads();
    void deleteKey_andYes_deletesOnTheDevice();
    void escape_duringADownload_cancelsItAndLeavesNothing();
    void toolTip_ofARow_saysWhatADoubleClickDoes();
    void menu_ofAConnectedDevice_isTheShorterOne();
    void menu_disconnect_closesTheWindow();
    void menu_ofAnIdleDevice_isTheShorterOne();
    void enter_onTheService_opensItAgain();
    void menu_ofTheStoppedLocalService_hasEnableInBold();
    void menu_ofTheLocalService_enablesIt();
    void menu_ofTheStartedLocalService_hasTheSharedFolderInBold();
    void doubleClick_onTheStartedLocalService_opensTheSharedFolder();
    void file_sentByAnotherDevice_isToldAndListed();
    void buttons_ofTheNews_openTheFileAndItsFolder();
    void program_received_isNotOpened();
    void list_ofARestartedManager_isWhatItWas();
    void buttons_ofTheList_openTheFileAndItsFolder();
    void deleteKey_inTheList_forgetsTheFile();
    void dialog_byKeysAlone_addsADevice();
    void twoDevices_haveAWindowEach();
    void menu_removeDevice_andYes_forgetsIt();
    void device_killed_isSaidInASentenceAndItsWindowCloses();
    void manager_closedWithWindowsOpen_endsWithoutAMurmur();

private:
    QString served() const;
    QString sharedUrl(const char *path) const
    {
        return QString::fromLatin1(QUrl::fromLocalFile(home("shared") + QString::fromLatin1(path)).toEncoded());
    }
};

namespace {

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("no such file");
}

} // namespace

void Desktop::initTestCase()
{
    QVERIFY(setUp(QStringLiteral("morning")));
    QVERIFY(recordOpenedFiles());
    QVERIFY(startManager());
}

void Desktop::cleanup()
{
    forgetOpenedFiles();
    QTest::qWait(120); // what changed is drawn
    takePicture(QString::fromLatin1(QTest::currentTestFunction()));
}

void Desktop::cleanupTestCase()
{
    QCOMPARE(endManager(), QStringList());
}

QString Desktop::served() const
{
    const QDir device(home("device"));
    return device.filePath(device.entryList({QStringLiteral("velmaro-demo-*")}, QDir::Dirs).value(0)) +
           QStringLiteral("/Shared");
}

void Desktop::start_withNothingKnown_bringsUpTheDemoDevice()
{
    QTRY_VERIFY_WITH_TIMEOUT(m_manager->demoDevice() != 0, 30000);
    QTRY_VERIFY(row(RowTarget::Shortcut, 0));
    QCOMPARE(row(RowTarget::Device, 0)->text(0), QStringLiteral("Demo device"));
    QCOMPARE(row(RowTarget::Server, 0)->text(1), QStringLiteral("Stopped"));
}

void Desktop::doubleClick_onAService_opensItsWindow()
{
    QVERIFY(hand::doubleClick(hand::rowOf(tree(), row(RowTarget::Shortcut, 0))));
    QVERIFY(takeClient());
    QTRY_VERIFY(remoteRow("Welcome.txt"));
    QTRY_VERIFY(row(RowTarget::Shortcut, 0)->text(1).startsWith(QStringLiteral("Connected")));
    QVERIFY(hand::raise(m_client));
}

void Desktop::doubleClick_onARemoteFolder_entersIt()
{
    QVERIFY(hand::doubleClick(hand::rowOf(pane("m_pRemoteTree"), remoteRow("Pictures"))));
    QTRY_VERIFY(remoteRow("Picture 1.png"));
    QCOMPARE(m_client->findChild<QComboBox *>(QStringLiteral("m_pRemoteCombo"))->currentText(),
             QStringLiteral("/Pictures"));
}

void Desktop::click_onTheUpButton_leavesTheFolder()
{
    QVERIFY(hand::click(hand::centre(m_client->findChild<QWidget *>(QStringLiteral("m_pRemoteUpButton")))));
    QTRY_VERIFY(remoteRow("Welcome.txt"));
}

void Desktop::doubleClick_onARemoteFile_downloadsIt()
{
    QVERIFY(hand::doubleClick(hand::rowOf(pane("m_pRemoteTree"), remoteRow("Welcome.txt"))));
    const QByteArray original = contents(served() + QStringLiteral("/Welcome.txt"));
    QVERIFY(original.size() > 20);
    QTRY_COMPARE(contents(home("local/Welcome.txt")), original);
    QTRY_COMPARE(pane("m_pLocalTree")->topLevelItemCount(), 1);
}

void Desktop::drag_fromTheLocalPane_uploads()
{
    QVERIFY(QFile::rename(home("local/Welcome.txt"), home("local/Sent 50%.txt")));
    QVERIFY(hand::click(hand::centre(m_client->findChild<QWidget *>(QStringLiteral("m_pLocalUpButton")))));
    QTRY_VERIFY(pane("m_pLocalTree")->findItems(QStringLiteral("local"), Qt::MatchExactly, 0).value(0));
    QVERIFY(hand::doubleClick(hand::rowOf(
        pane("m_pLocalTree"), pane("m_pLocalTree")->findItems(QStringLiteral("local"), Qt::MatchExactly, 0).value(0))));
    QTRY_VERIFY(pane("m_pLocalTree")->findItems(QStringLiteral("Sent 50%.txt"), Qt::MatchExactly, 0).value(0));
    const QPoint from = hand::rowOf(pane("m_pLocalTree"), pane("m_pLocalTree")->topLevelItem(0));
    const QPoint to = pane("m_pRemoteTree")
                          ->viewport()
                          ->mapToGlobal(pane("m_pRemoteTree")->viewport()->rect().bottomRight() - QPoint(40, 20));
    QVERIFY(hand::drag(from, to));
    QTRY_COMPARE(contents(served() + QStringLiteral("/Sent 50%.txt")), contents(home("local/Sent 50%.txt")));
    QTRY_VERIFY(remoteRow("Sent 50%.txt"));
}

void Desktop::deleteKey_andYes_deletesOnTheDevice()
{
    QVERIFY(hand::click(hand::rowOf(pane("m_pRemoteTree"), remoteRow("Sent 50%.txt"))));
    answerBoxWith(QStringLiteral("alt+y"));
    QVERIFY(hand::key(QStringLiteral("Delete")));
    QTRY_VERIFY(!QFile::exists(served() + QStringLiteral("/Sent 50%.txt")));
    QTRY_VERIFY(!remoteRow("Sent 50%.txt"));
}

void Desktop::escape_duringADownload_cancelsItAndLeavesNothing()
{
    QFile huge(served() + QStringLiteral("/Huge.bin"));
    QVERIFY(huge.open(QIODevice::WriteOnly) && huge.resize(qint64(16) << 30)); // a hole: it takes no room
    QVERIFY(hand::click(hand::centre(m_client->findChild<QWidget *>(QStringLiteral("m_pRefreshButton")))));
    QTRY_VERIFY(remoteRow("Huge.bin"));
    QVERIFY(hand::doubleClick(hand::rowOf(pane("m_pRemoteTree"), remoteRow("Huge.bin"))));
    const auto progress = [] {
        const QWidgetList all = QApplication::topLevelWidgets();
        return std::find_if(all.begin(), all.end(), [](QWidget *widget) {
                   return qstrcmp(widget->metaObject()->className(), "ComProgressDlg") == 0 && widget->isActiveWindow();
               }) != all.end();
    };
    QTRY_VERIFY(progress());
    QTest::qWait(700); // there is something to see
    takePicture(QStringLiteral("progress"));
    QVERIFY(hand::key(QStringLiteral("Escape")));
    QTRY_VERIFY(!progress());
    QTRY_COMPARE(QDir(home("local")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
                 QStringList(QStringLiteral("Sent 50%.txt")));
    huge.remove();
}

void Desktop::toolTip_ofARow_saysWhatADoubleClickDoes()
{
    QCOMPARE(readTip(row(RowTarget::Shortcut, 0)), QStringLiteral("Double-click to show service's status.\n"
                                                                  "Right-click to get more options."));
    QCOMPARE(readTip(row(RowTarget::Server, 0)), QStringLiteral("Double-click to view the shared folder.\n"
                                                                "Right-click to get more options."));
}

void Desktop::menu_ofAConnectedDevice_isTheShorterOne()
{
    QCOMPARE(readMenu(row(RowTarget::Device, 0)),
             (QStringList{"&Disconnect Bluetooth File Transfer", "-", "&Remove Device..."}));
}

void Desktop::menu_disconnect_closesTheWindow()
{
    QVERIFY(chooseFromMenu(row(RowTarget::Shortcut, 0), QStringLiteral("&Disconnect")));
    QTRY_VERIFY(m_client.isNull());
    QTRY_COMPARE(row(RowTarget::Shortcut, 0)->text(1), QStringLiteral("Not connected"));
}

void Desktop::menu_ofAnIdleDevice_isTheShorterOne()
{
    QCOMPARE(readMenu(row(RowTarget::Device, 0)), (QStringList{"&Open File Explorer", "-", "&Remove Device..."}));
}

void Desktop::enter_onTheService_opensItAgain()
{
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::click(hand::rowOf(tree(), row(RowTarget::Shortcut, 0))));
    QVERIFY(hand::key(QStringLiteral("Return")));
    QVERIFY(takeClient());
    QTRY_VERIFY(remoteRow("Welcome.txt"));
}

void Desktop::menu_ofTheStoppedLocalService_hasEnableInBold()
{
    QCOMPARE(readMenu(row(RowTarget::Server, 0)),
             (QStringList{"&Open shared folder", "-", "&Enable (bold)", "&Status", "-", "&Properties"}));
}

void Desktop::menu_ofTheLocalService_enablesIt()
{
    QVERIFY(chooseFromMenu(row(RowTarget::Server, 0), QStringLiteral("&Enable")));
    QTRY_VERIFY(row(RowTarget::Server, 0)->text(1).startsWith(QStringLiteral("Started")));
    QVERIFY(settings::serverWanted());
}

void Desktop::menu_ofTheStartedLocalService_hasTheSharedFolderInBold()
{
    QCOMPARE(readMenu(row(RowTarget::Server, 0)),
             (QStringList{"&Open shared folder (bold)", "-", "&Disable", "&Status", "-", "&Properties"}));
}

void Desktop::doubleClick_onTheStartedLocalService_opensTheSharedFolder()
{
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::doubleClick(hand::rowOf(tree(), row(RowTarget::Server, 0))));
    QTRY_COMPARE(openedFiles(), QStringList(sharedUrl("")));
}

void Desktop::file_sentByAnotherDevice_isToldAndListed()
{
    sendToLocalService(home("local/Sent 50%.txt"));
    QTRY_COMPARE(m_manager->received().rowCount(), 1);
    QCOMPARE(m_manager->received().at(0).name, QStringLiteral("Sent 50%.txt"));
    QCOMPARE(sentences(), QStringLiteral("Received Sent 50%.txt."));
    QCOMPARE(contents(home("shared/Sent 50%.txt")), contents(home("local/Sent 50%.txt")));
}

void Desktop::buttons_ofTheNews_openTheFileAndItsFolder()
{
    const QList<QPushButton *> buttons = window().notices()->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 2);
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::click(hand::centre(buttons[0])));
    QTRY_COMPARE(openedFiles(), QStringList(sharedUrl("/Sent 50%.txt")));
    forgetOpenedFiles();
    QVERIFY(hand::click(hand::centre(buttons[1])));
    QTRY_COMPARE(openedFiles(), QStringList(sharedUrl("")));
}

void Desktop::program_received_isNotOpened()
{
    QFile program(home("local/Surprise.desktop"));
    QVERIFY(program.open(QIODevice::WriteOnly));
    program.write("[Desktop Entry]\nType=Application\nName=Surprise\nExec=touch surprise\n");
    program.close();
    sendToLocalService(program.fileName());
    QTRY_COMPARE(m_manager->received().rowCount(), 2);
    QVERIFY(program.remove());
    const QList<QPushButton *> buttons = window().notices()->findChildren<QPushButton *>();
    QCOMPARE(buttons.size(), 4);
    QCoreApplication::sendPostedEvents(nullptr, QEvent::LayoutRequest);
    QTRY_COMPARE(QApplication::widgetAt(hand::centre(buttons[2])), buttons[2]);
    QVERIFY(hand::click(hand::centre(buttons[2])));
    QTRY_VERIFY(sentences().contains(QStringLiteral("Surprise.desktop is a program")));
    QCOMPARE(openedFiles(), QStringList());
}

/** The manager is closed and started again: its settings, its list and its service are as they were. */
void Desktop::list_ofARestartedManager_isWhatItWas()
{
    QCOMPARE(endManager(), QStringList());
    QVERIFY(m_client.isNull());
    QVERIFY(startManager());
    QCOMPARE(m_manager->received().rowCount(), 2);
    QCOMPARE(m_manager->received().at(1).name, QStringLiteral("Sent 50%.txt"));
    QTRY_VERIFY(row(RowTarget::Server, 0));
    QVERIFY(row(RowTarget::Server, 0)->text(1).startsWith(QStringLiteral("Started")));
    QTRY_VERIFY_WITH_TIMEOUT(row(RowTarget::Shortcut, 0), 30000);
    QVERIFY(hand::doubleClick(hand::rowOf(tree(), row(RowTarget::Shortcut, 0))));
    QVERIFY(takeClient());
    QTRY_VERIFY(remoteRow("Welcome.txt"));
}

void Desktop::buttons_ofTheList_openTheFileAndItsFolder()
{
    auto *list = window().findChild<QTreeView *>(QStringLiteral("received"));
    const QPoint second = list->visualRect(list->model()->index(1, 0)).center();
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::doubleClick(list->viewport()->mapToGlobal(second)));
    QTRY_COMPARE(openedFiles(), QStringList(sharedUrl("/Sent 50%.txt")));
    forgetOpenedFiles();
    QVERIFY(QFile::remove(home("shared/Sent 50%.txt")));
    QVERIFY(hand::key(QStringLiteral("alt+o"))); // Open
    QTRY_COMPARE(sentences(), QStringLiteral("Sent 50%.txt is no longer in the shared folder."));
    QVERIFY(hand::key(QStringLiteral("alt+l"))); // Show in Folder
    QTRY_COMPARE(openedFiles(), QStringList(sharedUrl("")));
}

void Desktop::deleteKey_inTheList_forgetsTheFile()
{
    auto *list = window().findChild<QTreeView *>(QStringLiteral("received"));
    QVERIFY(hand::click(list->viewport()->mapToGlobal(list->visualRect(list->model()->index(0, 0)).center())));
    QVERIFY(hand::key(QStringLiteral("Delete")));
    QTRY_COMPARE(m_manager->received().rowCount(), 1);
    QVERIFY(QFile::exists(home("shared/Surprise.desktop")));
    QVERIFY(hand::key(QStringLiteral("alt+c"))); // Clear List
    QTRY_VERIFY(m_manager->received().isEmpty());
}

void Desktop::dialog_byKeysAlone_addsADevice()
{
    const QString port = listening().section(u':', -1);
    QVERIFY(addDevice(QStringLiteral("Desk"), port, QStringLiteral("99999")));
    const auto devices = Catalogue::read().devices;
    QVERIFY(std::any_of(devices.begin(), devices.end(), [&](const BtSdkDeviceInfo &device) {
        return qstrcmp(device.name, "Desk") == 0 && device.port == port.toUInt();
    }));
}

void Desktop::twoDevices_haveAWindowEach()
{
    QTreeWidgetItem *desk = deviceRow(QStringLiteral("Desk"));
    QVERIFY(desk && desk->childCount() == 1);
    QVERIFY(hand::raise(&window()));
    QVERIFY(hand::doubleClick(hand::rowOf(tree(), desk->child(0))));
    QTRY_COMPARE(clients().size(), 2);
    QTRY_COMPARE(desk->child(0)->text(1).left(9), QStringLiteral("Connected"));
    QVERIFY(m_client);
}

void Desktop::menu_removeDevice_andYes_forgetsIt()
{
    QTreeWidgetItem *desk = deviceRow(QStringLiteral("Desk"));
    QVERIFY(chooseFromMenu(desk->child(0), QStringLiteral("&Disconnect")));
    QTRY_COMPARE(clients().size(), 1);
    answerBoxWith(QStringLiteral("alt+r"));
    QVERIFY(chooseFromMenu(desk, QStringLiteral("&Remove Device...")));
    QTRY_VERIFY(!deviceRow(QStringLiteral("Desk")));
    QVERIFY(m_client);
}

void Desktop::device_killed_isSaidInASentenceAndItsWindowCloses()
{
    const unsigned int demo = m_manager->demoDevice();
    const auto shortcut = Catalogue::read().shortcutsOf(demo).at(0)->shortcut;
    QVERIFY(isInUse(shortcut));
    QCOMPARE(kill(static_cast<pid_t>(m_manager->demo().processId()), SIGKILL), 0);
    QTRY_VERIFY(sentences().contains(QStringLiteral("The connection to Demo device was lost.")));
    QTRY_COMPARE(clients().size(), 0);
    QTRY_VERIFY(!isInUse(shortcut));
}

void Desktop::manager_closedWithWindowsOpen_endsWithoutAMurmur()
{
    window().hide();
    QProcess other;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("VELMARO_SETTINGS"), home("other.ini"));
    other.setProcessEnvironment(environment);
    other.start(built("bin/velmaro-manager"), QStringList());
    const QString pid = QString::number(other.processId());
    QTRY_COMPARE(other.state(), QProcess::Running);
    const auto windows = [] {
        QProcess list;
        list.start(QStringLiteral("wmctrl"), {QStringLiteral("-l")});
        list.waitForFinished();
        return QString::fromUtf8(list.readAllStandardOutput());
    };
    QTRY_VERIFY_WITH_TIMEOUT(windows().contains(QStringLiteral("Velmaro Manager")), 15000);
    // The demo device comes up and is chosen at some time, and nothing outside that process tells when.
    const auto opens = [&windows] {
        const auto isOpen = [&windows] { return windows().contains(QStringLiteral("Bluetooth File Transfer")); };
        return hand::key(QStringLiteral("Return")) && QTest::qWaitFor(isOpen, 3000);
    };
    QVERIFY(QTest::qWaitFor(opens, 30000));
    takePicture(QStringLiteral("other-manager"));
    QCOMPARE(QProcess::execute(QStringLiteral("wmctrl"), {QStringLiteral("-c"), QStringLiteral("Velmaro Manager")}), 0);
    QTRY_VERIFY_WITH_TIMEOUT(other.state() == QProcess::NotRunning, 15000);
    QCOMPARE(other.exitStatus(), QProcess::NormalExit);
    QCOMPARE(other.exitCode(), 0);
    QCOMPARE(QString::fromUtf8(other.readAllStandardError()), QString());
}

QTEST_MAIN(Desktop)
#include "tst_desktop.moc"
