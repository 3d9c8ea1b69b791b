#include "peer.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"
#include "world.h"

#include <QDir>
#include <QTemporaryDir>

namespace {

constexpr int patience = 60000;

} // namespace

/** The plug-in's window on a Bluetooth device. */
class TestBluetoothWindow : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void cleanupTestCase();
    void window_bluetoothDevice_connectsListsAndDownloads();

private:
    QWidget *m_window = nullptr;
};

void TestBluetoothWindow::initTestCase()
{
    Plugin::load(Platform::Real);
    world::set("FtpClient", "DefaultLocalFolder", QFile::encodeName(QDir::homePath()).constData());
    Plugin::load().InitProfile(nullptr);
    QTRY_VERIFY_WITH_TIMEOUT(world::theirShortcut() != 0, patience);
    // Something to look at.
    unsigned int connection = 0;
    QCOMPARE(Btsdk_ConnectEx(world::theirDevice(), BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection), 0U);
    const QTemporaryDir folder;
    QVERIFY(writeFile(folder.filePath("report.pdf"), 300000, 8));
    const QByteArray report = QFile::encodeName(folder.filePath("report.pdf"));
    for (const char *name : {"Pictures", "Music", "Notes"})
        (void)Btsdk_FTPCreateDir(connection, name);
    QCOMPARE(Btsdk_FTPPutFile(connection, report.constData(), "report.pdf"), 0U);
    QCOMPARE(Btsdk_Disconnect(connection), 0U);
}

void TestBluetoothWindow::cleanupTestCase()
{
    for (QWidget *window : windows::all("BtFtpClient"))
        window->close();
    QTRY_VERIFY_WITH_TIMEOUT(windows::all("BtFtpClient").isEmpty(), patience);
    Plugin::load().UninitProfile();
    Btsdk_HostShutdown();
}

void TestBluetoothWindow::window_bluetoothDevice_connectsListsAndDownloads()
{
    Plugin::load().performDefaultActionByShortcut(world::theirShortcut());
    m_window = windows::first("BtFtpClient");
    QVERIFY(m_window);
    QVERIFY(windows::activate(m_window));
    QTRY_COMPARE_WITH_TIMEOUT(windows::statusText(m_window), QStringLiteral("Connected."), patience);
    QTreeWidget *const tree = windows::remoteTree(m_window);
    QTRY_VERIFY_WITH_TIMEOUT(windows::names(tree).contains("report.pdf"), patience);
    QVERIFY(windows::names(tree).contains("Pictures"));
    m_window->resize(1000, 600);
    QVERIFY(m_window->grab().save("/shared/kept/window.png"));

    tree->setCurrentItem(windows::item(tree, "report.pdf"));
    windows::item(tree, "report.pdf")->setSelected(true);
    windows::action(m_window, "actionDownload")->trigger();
    const QDir target(windows::localCombo(m_window)->currentText());
    QTRY_VERIFY2_WITH_TIMEOUT(QFileInfo(target.filePath("report.pdf")).size() == 300000,
                              qPrintable(target.path() + ": " + windows::statusText(m_window)), patience);
    QVERIFY(m_window->grab().save("/shared/kept/window-after.png"));
}

BTFTP_TEST_MAIN(TestBluetoothWindow)
#include "tst_bluetooth_window.moc"
