#include "btsdk_host.h"
#include "plugin.h"
#include "testmain.h"
#include "windows.h"

#include <QDir>
#include <QElapsedTimer>
#include <QProcess>
#include <QSet>
#include <QTemporaryDir>
#include <QTimer>

#include <memory>

namespace {

constexpr int patience = 20000;

/** The demo device, in a process of its own. */
class Device
{
public:
    ~Device() { switchOff(); }

    bool switchOn(const QStringList &options)
    {
        m_process = std::make_unique<QProcess>();
        m_process->setProcessChannelMode(QProcess::ForwardedErrorChannel);
        m_process->start(qEnvironmentVariable("BTFTP_BUILD_DIR") + QStringLiteral("/bin/velmaro-demo-device"), options);
        QByteArray line;
        while (!line.endsWith('\n') && m_process->waitForReadyRead(patience))
            line += m_process->readLine();
        m_port = line.mid(line.lastIndexOf(':') + 1).trimmed().toUInt();
        return m_port != 0;
    }

    void switchOff()
    {
        if (!m_process)
            return;
        m_process->kill();
        m_process->waitForFinished();
        m_process.reset();
    }

    unsigned int port() const { return m_port; }

private:
    std::unique_ptr<QProcess> m_process;
    unsigned int m_port = 0;
};

} // namespace

/** The client window on the real libraries, against a device in another process. */
class WindowBrowsingTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();
    void cleanupTestCase();

    void walk_tenFoldersDownAndBack_showsEachFolder();
    void connect_deviceRefuses_saysSo();
    void connect_deviceAnswersLate_waitsWithTheWindowAlive();
    void browse_deviceSwitchedOff_isFoundOutAndConnectedAnew();
    void browse_folderRefused_staysEmptyUntilLeft();
    void browse_folderVanished_isFoundOutByRefresh();
    void browse_twentyThousandEntries_areAllShown();

private:
    /** Adds the device to the library and opens its window. */
    void open(const QStringList &options);
    void openConnected(const QStringList &options)
    {
        open(options);
        QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Connected."), patience);
    }
    QString status() const { return windows::statusText(m_window); }
    QTreeWidget *tree() const { return windows::remoteTree(m_window); }
    QComboBox *combo() const { return windows::remoteCombo(m_window); }
    QStringList names() const { return windows::names(tree()); }
    void refresh() { windows::action(m_window, "action_Refresh")->trigger(); }
    void enter(const QString &name)
    {
        QTreeWidgetItem *const row = windows::item(tree(), name);
        QVERIFY2(row, qPrintable(name));
        windows::doubleClick(tree(), row);
    }

    std::unique_ptr<QTemporaryDir> m_shared;
    Device m_device;
    unsigned int m_handle = 0;
    QWidget *m_window = nullptr;
};

void WindowBrowsingTest::initTestCase()
{
    Plugin::load(Platform::Real);
}

void WindowBrowsingTest::init()
{
    m_shared = std::make_unique<QTemporaryDir>();
    Plugin::load().InitProfile(nullptr);
}

void WindowBrowsingTest::cleanup()
{
    for (QWidget *window : windows::all("BtFtpClient"))
        window->close();
    QTRY_VERIFY_WITH_TIMEOUT(windows::all("BtFtpClient").isEmpty(), patience);
    Plugin::load().UninitProfile();
    Btsdk_HostRemoveDevice(m_handle);
    m_device.switchOff();
    m_shared.reset();
}

void WindowBrowsingTest::cleanupTestCase()
{
    Btsdk_HostShutdown();
}

void WindowBrowsingTest::open(const QStringList &options)
{
    QVERIFY(m_device.switchOn(options));
    QCOMPARE(Btsdk_HostAddTransientDevice("Device", "127.0.0.1", m_device.port(), &m_handle), 0U);
    BtSdkShortcutInfo shortcut{};
    QCOMPARE(Btsdk_HostListShortcuts(m_handle, &shortcut, 1), 1U);
    Plugin::load().performDefaultActionByShortcut(shortcut.shortcut);
    m_window = windows::first("BtFtpClient");
    QVERIFY(m_window);
    QVERIFY(windows::activate(m_window));
}

void WindowBrowsingTest::walk_tenFoldersDownAndBack_showsEachFolder()
{
    QString path;
    for (int depth = 1; depth <= 10; ++depth) {
        path += QStringLiteral("/level %1 50%").arg(depth);
        QVERIFY(QDir(m_shared->path()).mkpath(path.mid(1)));
        QFile file(m_shared->path() + path + QStringLiteral("/file at %1.txt").arg(depth));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("x");
    }
    openConnected({QStringLiteral("--folder"), m_shared->path()});
    const auto folder = [](int depth) { return QStringLiteral("level %1 50%").arg(depth); };
    const auto isAt = [&](int depth) {
        QStringList expected;
        if (depth < 10)
            expected.append(folder(depth + 1));
        if (depth > 0)
            expected.append(QStringLiteral("file at %1.txt").arg(depth));
        return names() == expected;
    };
    QVERIFY(isAt(0));
    for (int depth = 1; depth <= 10; ++depth) {
        enter(folder(depth));
        QVERIFY2(isAt(depth), qPrintable(names().join(QLatin1Char('|'))));
        QCOMPARE(combo()->currentText().count(QLatin1Char('/')), depth);
    }
    refresh();
    QVERIFY(isAt(10));
    QVERIFY(windows::giveFocus(tree()));
    for (int depth = 9; depth >= 5; --depth) {
        windows::action(m_window, depth % 2 ? "action_Up" : "m_pRemoteUpAction")->trigger();
        QVERIFY2(isAt(depth), qPrintable(QString::number(depth)));
    }
    combo()->setCurrentIndex(8);
    QVERIFY(isAt(8));
    combo()->setCurrentIndex(2);
    QVERIFY(isAt(2));
    windows::action(m_window, "action_Home")->trigger();
    QVERIFY(isAt(0));
    refresh();
    QVERIFY(isAt(0));
    QCOMPARE(combo()->count(), 11);
}

void WindowBrowsingTest::connect_deviceRefuses_saysSo()
{
    open({QStringLiteral("--refuse")});
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Cannot connect to the FTP service."), patience);
    QCOMPARE(names(), QStringList());
    QCOMPARE(m_window->cursor().shape(), Qt::ArrowCursor);
}

void WindowBrowsingTest::connect_deviceAnswersLate_waitsWithTheWindowAlive()
{
    // A beat of the event loop: as long as it goes on, the window takes clicks and paints itself.
    qint64 longestPause = 0;
    QElapsedTimer sinceBeat;
    QTimer beat;
    connect(&beat, &QTimer::timeout, this, [&] { longestPause = qMax(longestPause, sinceBeat.restart()); });
    open({QStringLiteral("--delay-connect"), QStringLiteral("3000"), QStringLiteral("--folder"), m_shared->path()});
    QElapsedTimer sinceOpened;
    sinceOpened.start();
    sinceBeat.start();
    beat.start(10);
    QCOMPARE(status(), QStringLiteral("Connecting..."));
    QCOMPARE(m_window->cursor().shape(), Qt::WaitCursor);
    QTRY_VERIFY(!windows::action(m_window, "action_Quit")->isEnabled());
    QVERIFY(windows::giveFocus(windows::localTree(m_window)));
    windows::action(m_window, "actionDetailedList")->trigger();
    QCOMPARE(windows::localTree(m_window)->columnCount(), 4);
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Connected."), patience);
    QVERIFY2(sinceOpened.elapsed() > 2000, qPrintable(QString::number(sinceOpened.elapsed())));
    QVERIFY2(longestPause < 1000, qPrintable(QString::number(longestPause)));
    QCOMPARE(m_window->cursor().shape(), Qt::ArrowCursor);
    QVERIFY(windows::action(m_window, "action_Quit")->isEnabled());
}

void WindowBrowsingTest::browse_deviceSwitchedOff_isFoundOutAndConnectedAnew()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("folder/below")));
    const QStringList folder{QStringLiteral("--folder"), m_shared->path()};
    openConnected(folder);
    const unsigned int port = m_device.port();
    enter(QStringLiteral("folder"));
    QCOMPARE(names(), QStringList("below"));
    m_device.switchOff();
    // However soon the link is known to be gone: in the end a refresh connects, and cannot.
    QElapsedTimer elapsed;
    elapsed.start();
    while (status() != QLatin1String("Cannot connect to the FTP service.") && elapsed.elapsed() < patience) {
        if (status() == QLatin1String("Connected."))
            refresh();
        QTest::qWait(20);
    }
    QCOMPARE(status(), QStringLiteral("Cannot connect to the FTP service."));
    QVERIFY(m_window->isVisible());
    QVERIFY(m_device.switchOn(folder + QStringList{QStringLiteral("--port"), QString::number(port)}));
    refresh();
    QTRY_COMPARE_WITH_TIMEOUT(status(), QStringLiteral("Connected."), patience);
    QCOMPARE(names(), QStringList("folder"));
    refresh();
    QCOMPARE(names(), QStringList("below"));
}

void WindowBrowsingTest::browse_folderRefused_staysEmptyUntilLeft()
{
    for (const char *name : {"open", "closed"})
        QVERIFY(QDir(m_shared->path()).mkpath(QLatin1String(name)));
    openConnected({QStringLiteral("--deny"), QStringLiteral("closed"), QStringLiteral("--folder"), m_shared->path()});
    enter(QStringLiteral("closed"));
    QCOMPARE(names(), QStringList());
    QCOMPARE(combo()->currentText(), QStringLiteral("/closed"));
    QCOMPARE(status(), QStringLiteral("Connected."));
    refresh();
    QCOMPARE(names(), QStringList());
    windows::action(m_window, "m_pRemoteUpAction")->trigger();
    QCOMPARE(names().size(), 2);
    enter(QStringLiteral("open"));
    QCOMPARE(combo()->currentText(), QStringLiteral("/open"));
}

void WindowBrowsingTest::browse_folderVanished_isFoundOutByRefresh()
{
    QVERIFY(QDir(m_shared->path()).mkpath(QStringLiteral("folder/below")));
    openConnected({QStringLiteral("--folder"), m_shared->path()});
    enter(QStringLiteral("folder"));
    QCOMPARE(names(), QStringList("below"));
    QVERIFY(QDir(m_shared->filePath(QStringLiteral("folder"))).removeRecursively());
    refresh();
    QCOMPARE(names(), QStringList());
    QCOMPARE(combo()->currentText(), QStringLiteral("/folder"));
    windows::action(m_window, "m_pRemoteUpAction")->trigger();
    QCOMPARE(combo()->currentText(), QStringLiteral("/"));
    QCOMPARE(names(), QStringList());
}

void WindowBrowsingTest::browse_twentyThousandEntries_areAllShown()
{
    openConnected(
        {QStringLiteral("--entries"), QStringLiteral("20000"), QStringLiteral("--large"), QStringLiteral("1K")});
    QElapsedTimer timer;
    timer.start();
    enter(QStringLiteral("Many entries"));
    qInfo("20,000 entries in %lld ms, connection and drawing included", static_cast<long long>(timer.elapsed()));
    QCOMPARE(tree()->topLevelItemCount(), 20000);
    QSet<QString> unique;
    for (const QString &name : names())
        unique.insert(name);
    QCOMPARE(unique.size(), 20000);
    windows::action(m_window, "m_pRemoteUpAction")->trigger();
    QVERIFY(tree()->topLevelItemCount() > 1 && tree()->topLevelItemCount() < 1000);
}

BTFTP_TEST_MAIN(WindowBrowsingTest)
#include "tst_window_browsing.moc"
