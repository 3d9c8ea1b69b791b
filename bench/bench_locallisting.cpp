// Rows of the local pane beside QDir::entryInfoList alone, with the same filter and order, in the same run.

#include <QAction>
#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QMainWindow>
#include <QTemporaryDir>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <dlfcn.h>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace {

constexpr int runs = 7;

double medianMilliseconds(const std::function<void()> &work)
{
    std::vector<qint64> times;
    for (int i = 0; i < runs; ++i) {
        QElapsedTimer timer;
        timer.start();
        work();
        times.push_back(timer.nsecsElapsed());
    }
    std::sort(times.begin(), times.end());
    return double(times[runs / 2]) / 1e6;
}

void makeFiles(const QString &folder, int count)
{
    const int handle = ::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY);
    for (int i = 0; i < count; ++i) {
        // In no order, and every hundredth a folder, as folders are.
        const QByteArray name = "File " + QByteArray::number((i * 7919LL) % count) + ".txt";
        if (i % 100 == 0)
            (void)::mkdirat(handle, name.constData(), 0755);
        else
            ::close(::openat(handle, name.constData(), O_CREAT | O_WRONLY, 0644));
    }
    ::close(handle);
}

void *symbol(void *library, const char *name)
{
    void *const found = ::dlsym(library, name);
    if (!found)
        qFatal("no %s", name);
    return found;
}

QMainWindow *openWindow()
{
    void *const library = ::dlopen(BTFTP_PLUGIN, RTLD_NOW | RTLD_GLOBAL);
    if (!library)
        qFatal("%s", ::dlerror());
    reinterpret_cast<void (*)(QWidget *)>(symbol(library, "InitProfile"))(nullptr);
    // A shortcut that there is not: the window opens and connects to nothing.
    const auto actions =
        reinterpret_cast<QList<QAction *> (*)(unsigned int)>(symbol(library, "GetActionListByShortcut"));
    QMetaObject::invokeMethod(actions(1).first()->parent(), "actionExploer");
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (auto *window = qobject_cast<QMainWindow *>(widget))
            return window;
    qFatal("no window");
}

} // namespace

int main(int argc, char *argv[])
{
    QTemporaryDir home;
    qputenv("HOME", QFile::encodeName(home.path()));
    qputenv("VELMARO_SETTINGS", QFile::encodeName(home.filePath(QStringLiteral("settings.ini"))));
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QMainWindow *const window = openWindow();
    auto *const tree = window->findChild<QTreeWidget *>(QStringLiteral("m_pLocalTree"));

    std::printf("local listing, medians of %d\n", runs);
    for (const int count : {10000, 100000}) {
        const QTemporaryDir folder;
        makeFiles(folder.path(), count);
        int found = 0;
        const auto bare = [&] {
            found =
                QDir(folder.path())
                    .entryInfoList(QDir::Dirs | QDir::Files | QDir::Drives | QDir::Hidden, QDir::Name | QDir::DirsFirst)
                    .size();
        };
        const auto pane = [&] { QMetaObject::invokeMethod(window, "UpdateLocTree", Q_ARG(QString, folder.path())); };
        bare(); // warm
        const double bareTime = medianMilliseconds(bare);
        const double paneTime = medianMilliseconds(pane);
        if (tree->topLevelItemCount() != found - 2)
            qFatal("%d rows for %d entries", tree->topLevelItemCount(), found);
        std::printf("  %6d entries: pane %8.1f ms   entryInfoList alone %8.1f ms   %.2f times   goal 2   %s\n", count,
                    paneTime, bareTime, paneTime / bareTime, paneTime <= 2 * bareTime ? "met" : "missed");
        std::fflush(stdout);
    }
    return 0;
}
