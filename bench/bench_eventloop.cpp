// How alive the window stays during a transfer of 1 GB: the longest gap in its event loop, and the progress dialog's
// repaints.

#include "btsdk_host.h"

#include <QApplication>
#include <QDialog>
#include <QElapsedTimer>
#include <QFile>
#include <QMainWindow>
#include <QProcess>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTimer>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <functional>

namespace {

constexpr int patience = 120000;

void waitFor(const char *what, const std::function<bool()> &condition)
{
    QElapsedTimer elapsed;
    elapsed.start();
    while (!condition()) {
        if (elapsed.elapsed() > patience)
            qFatal("waited in vain for %s", what);
        QCoreApplication::processEvents(QEventLoop::WaitForMoreEvents | QEventLoop::AllEvents);
    }
}

/** A heart that beats in the window's event loop every 2 ms, while it can. */
class Heart : public QObject
{
public:
    Heart()
    {
        m_timer.setTimerType(Qt::PreciseTimer);
        QObject::connect(&m_timer, &QTimer::timeout, this, [this] { m_longest = std::max(m_longest, beat()); });
    }
    void start()
    {
        m_longest = 0;
        m_since.start();
        m_timer.start(2);
    }
    double longestMilliseconds() const { return double(m_longest) / 1e6; }

private:
    qint64 beat()
    {
        const qint64 gap = m_since.nsecsElapsed();
        m_since.start();
        return gap;
    }

    QTimer m_timer;
    QElapsedTimer m_since;
    qint64 m_longest = 0;
};

/** Counts how often the dialog's window is painted: every pass over its backing store, however many parts it has. */
class Repaints : public QObject
{
public:
    int dialog = 0;
    int busiestChild = 0;

    bool eventFilter(QObject *watched, QEvent *event) override
    {
        if (event->type() == QEvent::UpdateRequest && qobject_cast<QDialog *>(watched))
            ++dialog;
        if (event->type() == QEvent::Paint && watched->isWidgetType() && watched != m_dialog &&
            static_cast<QWidget *>(watched)->window() == m_dialog)
            busiestChild = std::max(busiestChild, ++m_children[watched]);
        return false;
    }
    void watch(QDialog *watched)
    {
        m_dialog = watched;
        m_children.clear();
        dialog = busiestChild = 0;
    }

private:
    QDialog *m_dialog = nullptr;
    QHash<QObject *, int> m_children;
};

template <typename Function>
Function symbol(void *library, const char *name)
{
    void *const found = ::dlsym(library, name);
    if (!found)
        qFatal("no %s", name);
    return reinterpret_cast<Function>(found);
}

void measure(QMainWindow *window, const char *treeName, const char *slot, Repaints &repaints)
{
    auto *const tree = window->findChild<QTreeWidget *>(QLatin1String(treeName));
    const QList<QTreeWidgetItem *> rows = tree->findItems(QStringLiteral("Large.bin"), Qt::MatchExactly);
    if (rows.isEmpty())
        qFatal("no file to move");
    tree->clearSelection();
    rows.first()->setSelected(true);
    Heart heart;
    QElapsedTimer elapsed;
    elapsed.start();
    heart.start();
    QMetaObject::invokeMethod(window, slot, Q_ARG(bool, false));
    repaints.watch(window->findChild<QDialog *>());
    waitFor("the transfer's end",
            [&] { return !window->statusBar()->currentMessage().endsWith(QLatin1String("...")); });
    const double seconds = double(elapsed.nsecsElapsed()) / 1e9;
    const double rate = repaints.dialog / seconds;
    std::printf("  %-14s %5.2f s   longest gap %6.1f ms   goal 50   %-6s   dialog %5.1f repaints/s, its busiest part "
                "%5.1f   goal 25   %s   \"%s\"\n",
                slot, seconds, heart.longestMilliseconds(), heart.longestMilliseconds() < 50 ? "met" : "missed", rate,
                repaints.busiestChild / seconds, rate <= 25 ? "met" : "missed",
                qPrintable(window->statusBar()->currentMessage()));
}

} // namespace

int main(int argc, char *argv[])
{
    QTemporaryDir home;
    QTemporaryDir local;
    QTemporaryDir shared;
    const QByteArray settings = QFile::encodeName(home.filePath(QStringLiteral("settings.ini")));
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("VELMARO_SETTINGS", settings);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    application.setQuitOnLastWindowClosed(false);
    Btsdk_WritePrivateProfileString("FtpClient", "DefaultLocalFolder", QFile::encodeName(local.path()).constData(),
                                    settings.constData());
    QFile file(shared.filePath(QStringLiteral("Large.bin")));
    if (!file.open(QIODevice::WriteOnly) || !file.resize(1LL << 30))
        qFatal("no file of 1 GB");

    QProcess device;
    device.start(QStringLiteral(BTFTP_DEVICE), {QStringLiteral("--folder"), shared.path()});
    QByteArray line;
    while (!line.endsWith('\n') && device.waitForReadyRead(10000))
        line += device.readLine();
    unsigned int handle = 0;
    Btsdk_HostAddTransientDevice("Device", "127.0.0.1", line.mid(line.lastIndexOf(':') + 1).trimmed().toUInt(),
                                 &handle);
    BtSdkShortcutInfo shortcut{};
    Btsdk_HostListShortcuts(handle, &shortcut, 1);

    void *const library = ::dlopen(BTFTP_PLUGIN, RTLD_NOW | RTLD_GLOBAL);
    if (!library)
        qFatal("%s", ::dlerror());
    symbol<void (*)(QWidget *)>(library, "InitProfile")(nullptr);
    symbol<void (*)(unsigned int)>(library, "performDefaultActionByShortcut")(shortcut.shortcut);
    QMainWindow *window = nullptr;
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (!window)
            window = qobject_cast<QMainWindow *>(widget);
    if (!window)
        qFatal("no window");
    waitFor("the connection", [&] { return window->statusBar()->currentMessage() == QLatin1String("Connected."); });

    Repaints repaints;
    application.installEventFilter(&repaints);
    std::printf("the window during a transfer of 1 GB\n");
    for (int run = 0; run < 3; ++run) {
        measure(window, "m_pRemoteTree", "actionDownload", repaints);
        QFile::remove(file.fileName());
        QMetaObject::invokeMethod(window, "refreshRemote");
        measure(window, "m_pLocalTree", "actionUpload", repaints);
        QFile::remove(local.filePath(QStringLiteral("Large.bin")));
    }
    delete window;
    Btsdk_HostShutdown();
    device.kill();
    device.waitForFinished();
    return 0;
}
