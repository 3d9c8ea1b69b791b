/*
 * How fast a remote listing fills the pane: entries go through the browse callback of the built plug-in, loaded as the
 * host loads it, beside a bare QTreeWidget that is given the same texts.
 *
 *   bench_remoterows [--check]     with --check it fails when a goal is missed
 *
 * The remote device is made of the five functions below: the program exports them, so that they go before those of the
 * platform library of the same name.
 */
#include "btsdk.h"
#include "vmcommon.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QHeaderView>
#include <QMainWindow>
#include <QTreeWidget>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <dlfcn.h>
#include <functional>
#include <vector>

namespace {

constexpr int s_rounds = 5;
constexpr qint64 s_largestTime = 600;  // ms for 100,000 rows
constexpr double s_largestRatio = 1.5; // to the bare widget

std::vector<FTP_FIND_DATA> s_entries;
bool s_connected = false;

} // namespace

unsigned int Btsdk_ConnectEx(unsigned int, unsigned short, unsigned int, unsigned int *connection)
{
    *connection = 1;
    s_connected = true;
    return BTSDK_OK;
}

unsigned int Btsdk_GetShortCutProperty(BtSdkShortCutProperty *record)
{
    record->device = 1;
    return BTSDK_OK;
}

unsigned int Btsdk_FTPSetRmtDir(unsigned int, const char *)
{
    return BTSDK_OK;
}

unsigned int Btsdk_FTPBrowseFolder(unsigned int, const char *, BtsdkBrowseCallback callback, unsigned int)
{
    for (FTP_FIND_DATA &entry : s_entries)
        callback(reinterpret_cast<unsigned char *>(&entry));
    return BTSDK_OK;
}

int VmCm_IsShortcutConnected(unsigned int)
{
    return s_connected;
}

namespace {

/** One folder to nine files, names of about 20 bytes, times over some years. */
void makeEntries(int count)
{
    s_entries.assign(size_t(count), FTP_FIND_DATA{});
    for (int i = 0; i < count; ++i) {
        FTP_FIND_DATA &entry = s_entries[size_t(i)];
        entry.size = quint32(i) * 977;
        entry.attributes = i % 10 == 0 ? BTSDK_FTP_FOLDER : 0;
        std::snprintf(entry.name, sizeof entry.name, "holiday photo %06d.%s", i, i % 2 ? "jpg" : "tiff");
        std::snprintf(entry.modified, sizeof entry.modified, "%04d%02d%02dT%02d%02d%02dZ", 2000 + i % 25, 1 + i % 12,
                      1 + i % 28, i % 24, i % 60, i % 60);
    }
}

QTreeWidget *remoteTree(const QWidget *window)
{
    return window->findChild<QTreeWidget *>(QStringLiteral("m_pRemoteTree"));
}

QWidget *openWindow()
{
    void *const library = dlopen(BTFTP_PLUGIN, RTLD_NOW | RTLD_GLOBAL);
    if (!library)
        qFatal("%s", dlerror());
    reinterpret_cast<void (*)(QWidget *)>(dlsym(library, "InitProfile"))(nullptr);
    reinterpret_cast<void (*)(unsigned int)>(dlsym(library, "performDefaultActionByShortcut"))(1);
    QWidget *found = nullptr;
    for (QWidget *widget : QApplication::topLevelWidgets())
        if (widget->metaObject()->className() == QByteArray("BtFtpClient"))
            found = widget;
    QElapsedTimer patience;
    patience.start();
    while (found && remoteTree(found)->topLevelItemCount() == 0 && patience.elapsed() < 10000)
        QApplication::processEvents(QEventLoop::WaitForMoreEvents, 50);
    if (!found || remoteTree(found)->topLevelItemCount() == 0)
        qFatal("the window does not list");
    return found;
}

/** Milliseconds: until the rows are in, and until they are laid out and painted as well. */
struct Times
{
    double filled;
    double painted;
};

Times median(const std::function<void()> &empty, const std::function<void()> &fill, QWidget *view)
{
    std::vector<double> filled;
    std::vector<double> painted;
    for (int i = 0; i < s_rounds; ++i) {
        empty();
        QApplication::processEvents();
        QElapsedTimer timer;
        timer.start();
        fill();
        filled.push_back(double(timer.nsecsElapsed()) / 1e6);
        view->repaint();
        painted.push_back(double(timer.nsecsElapsed()) / 1e6);
    }
    std::sort(filled.begin(), filled.end());
    std::sort(painted.begin(), painted.end());
    return {filled[s_rounds / 2], painted[s_rounds / 2]};
}

using Texts = std::vector<QStringList>;

Texts readTexts(const QTreeWidget *tree)
{
    Texts texts;
    texts.reserve(size_t(tree->topLevelItemCount()));
    for (int i = 0; i < tree->topLevelItemCount(); ++i) {
        const QTreeWidgetItem *const item = tree->topLevelItem(i);
        texts.push_back({item->text(0), item->text(1), item->text(2), item->text(3)});
    }
    return texts;
}

void fillBare(QTreeWidget *tree, const Texts &texts)
{
    QList<QTreeWidgetItem *> rows;
    rows.reserve(int(texts.size()));
    for (const QStringList &row : texts)
        rows.append(new QTreeWidgetItem(row));
    tree->addTopLevelItems(rows);
}

/** Milliseconds that the texts of all rows take when they are all asked for. */
double readingTime(const QTreeWidget *tree)
{
    QElapsedTimer timer;
    timer.start();
    const Texts texts = readTexts(tree);
    return double(timer.nsecsElapsed()) / 1e6;
}

} // namespace

int main(int argc, char *argv[])
{
    QApplication application(argc, argv);
    const bool check = application.arguments().contains(QStringLiteral("--check"));

    makeEntries(10);
    QWidget *const window = openWindow();
    QTreeWidget *const tree = remoteTree(window);
    tree->setFocus();
    QMetaObject::invokeMethod(window, "actionDetailView");

    QMainWindow bareWindow;
    auto *const bare = new QTreeWidget;
    bare->setRootIsDecorated(false);
    bare->setUniformRowHeights(true);
    bare->setColumnCount(4);
    bareWindow.setCentralWidget(bare);
    bareWindow.resize(window->size());
    bareWindow.show();

    bool met = true;
    std::printf("%9s %12s %12s %14s %12s %12s %7s %14s\n", "rows", "filled ms", "painted ms", "rows/s", "bare ms",
                "painted ms", "ratio", "all texts ms");
    for (const int count : {1000, 10000, 100000}) {
        makeEntries(count);
        const Times ours =
            median([&] { tree->clear(); },
                   [&] { QMetaObject::invokeMethod(window, "refreshRemote", Qt::DirectConnection); }, window);
        if (tree->topLevelItemCount() != count)
            qFatal("%d rows instead of %d", tree->topLevelItemCount(), count);
        const double reading = readingTime(tree);
        const Texts texts = readTexts(tree);
        const Times theirs = median([&] { bare->clear(); }, [&] { fillBare(bare, texts); }, &bareWindow);
        const double ratio = ours.filled / theirs.filled;
        std::printf("%9d %12.1f %12.1f %14.0f %12.1f %12.1f %7.2f %14.1f\n", count, ours.filled, ours.painted,
                    count / ours.filled * 1000, theirs.filled, theirs.painted, ratio, reading);
        met = met && ratio <= s_largestRatio && (count < 100000 || ours.filled < s_largestTime);
    }
    std::printf("goals (100,000 rows in %lld ms, at most %.1f times the bare widget): %s\n",
                static_cast<long long>(s_largestTime), s_largestRatio, met ? "met" : "MISSED");
    window->close();
    return check && !met ? 1 : 0;
}
