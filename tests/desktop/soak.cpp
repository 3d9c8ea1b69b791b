#include "Catalogue.h"
#include "TourHands.h"
#include "desk.h"
#include "usage.h"

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QElapsedTimer>
#include <QLineEdit>
#include <QMap>
#include <QMenu>
#include <QMessageBox>
#include <QPixmapCache>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>
#include <QTimer>
#include <QTreeWidget>

#include <csignal>
#include <cstdio>

using namespace manager;

namespace {

constexpr int rests = 5;                // how often all is closed and counted, the warm-up apart
constexpr qint64 growthLimit = 4096;    // KiB between the first count and the last
constexpr int longestStandstill = 3000; // milliseconds: a window that closes waits for its cancelled transfer

int fromEnvironment(const char *name, int otherwise)
{
    bool ok = false;
    const int value = qEnvironmentVariableIntValue(name, &ok);
    return ok ? value : otherwise;
}

} // namespace

/**
 * A day's use in five minutes: opens, browses, transfers and closes at random; when all is closed again, nothing more
 * may be left than after the first minute. BTFTP_SOAK_SECONDS and BTFTP_SOAK_SEED choose another length and day.
 */
class Soak : public Desk
{
    Q_OBJECT

private slots:
    void day_ofRandomUse_leavesNothing();

private:
    struct Deed
    {
        const char *name;
        int weight;
        void (Soak::*run)();
    };
    static const Deed deeds[];

    void liveThroughTheDay();
    bool begin();
    bool useFor(qint64 milliseconds);
    bool rest(Usage *usage);
    void answerWhatAsks();
    int below(int limit) { return m_random.bounded(limit); }
    bool oneIn(int n) { return below(n) == 0; }
    QTreeWidget *paneOf(QWidget *client, const char *name)
    {
        return client->findChild<QTreeWidget *>(QLatin1String(name));
    }
    QWidget *anyClient();
    void trigger(QWidget *client, const char *action);
    bool selectSome(QTreeWidget *tree);
    QStringList folders() const { return {home("device"), home("local"), home("shared")}; }

    void openService();
    void closeWindow();
    void enterFolder();
    void leaveFolder();
    void refreshList();
    void download();
    void upload();
    void removeRemote();
    void makeFolder();
    void useMenu();
    void useServer();
    void receiveFile();
    void killDevice();

    QRandomGenerator m_random;
    QProcess m_second;
    QProcess m_sender;
    unsigned int m_secondHandle = 0;
    QMap<QString, int> m_done;
    qint64 m_longest = 0;
};

const Soak::Deed Soak::deeds[] = {
    {"open", 10, &Soak::openService},
    {"close", 5, &Soak::closeWindow},
    {"enter", 20, &Soak::enterFolder},
    {"leave", 15, &Soak::leaveFolder},
    {"refresh", 6, &Soak::refreshList},
    {"download", 15, &Soak::download},
    {"upload", 12, &Soak::upload},
    {"delete", 6, &Soak::removeRemote},
    {"new folder", 5, &Soak::makeFolder},
    {"menu", 5, &Soak::useMenu},
    {"server", 2, &Soak::useServer},
    {"receive", 6, &Soak::receiveFile},
    {"kill the device", 1, &Soak::killDevice},
};

QWidget *Soak::anyClient()
{
    const auto all = clients();
    return all.isEmpty() ? nullptr : all.at(below(all.size())).data();
}

void Soak::trigger(QWidget *client, const char *action)
{
    const QPointer<QAction> found = client->findChild<QAction *>(QLatin1String(action));
    if (found && found->isEnabled())
        QMetaObject::invokeMethod(found.data(), "trigger", Qt::QueuedConnection);
}

bool Soak::selectSome(QTreeWidget *tree)
{
    if (tree->topLevelItemCount() == 0)
        return false;
    tree->clearSelection();
    tree->setFocus();
    for (int i = below(3); i >= 0; --i) {
        QTreeWidgetItem *item = tree->topLevelItem(below(tree->topLevelItemCount()));
        tree->setCurrentItem(item);
        item->setSelected(true);
    }
    return true;
}

void Soak::openService()
{
    if (QTreeWidgetItem *item = row(RowTarget::Shortcut, below(2)))
        hands::doubleClick(tree(), item);
}

void Soak::closeWindow()
{
    if (QWidget *client = anyClient())
        client->close();
}

void Soak::enterFolder()
{
    QWidget *client = anyClient();
    QTreeWidget *remote = client ? paneOf(client, "m_pRemoteTree") : nullptr;
    if (remote && remote->topLevelItemCount() > 0)
        hands::doubleClick(remote, remote->topLevelItem(below(remote->topLevelItemCount())));
}

void Soak::leaveFolder()
{
    if (QWidget *client = anyClient())
        trigger(client, "m_pRemoteUpAction");
}

void Soak::refreshList()
{
    if (QWidget *client = anyClient())
        trigger(client, "action_Refresh");
}

void Soak::download()
{
    QWidget *client = anyClient();
    if (client && selectSome(paneOf(client, "m_pRemoteTree")))
        trigger(client, "actionDownload");
}

void Soak::upload()
{
    QWidget *client = anyClient();
    if (client && selectSome(paneOf(client, "m_pLocalTree")))
        trigger(client, "actionUpload");
}

void Soak::removeRemote()
{
    QWidget *client = anyClient();
    if (client && selectSome(paneOf(client, "m_pRemoteTree")))
        trigger(client, "action_Delete");
}

void Soak::makeFolder()
{
    const QPointer<QWidget> alive = anyClient();
    if (!alive)
        return;
    paneOf(alive, "m_pRemoteTree")->setFocus();
    trigger(alive, "actionNew_Folder");
    QTest::qWait(60);
    if (!alive)
        return;
    const QList<QLineEdit *> edits = alive->findChildren<QLineEdit *>();
    for (QLineEdit *edit : edits) {
        if (!qobject_cast<QTreeWidget *>(edit->parentWidget()->parentWidget()))
            continue;
        edit->setText(QStringLiteral("Made %1").arg(below(8)));
        const int key = oneIn(3) ? Qt::Key_Escape : Qt::Key_Return;
        QCoreApplication::postEvent(edit, new QKeyEvent(QEvent::KeyPress, key, Qt::NoModifier));
    }
}

/** Any entry of a device's menus. The property dialog of the local service is left out: it stays until the end. */
void Soak::useMenu()
{
    QTreeWidgetItem *item = row(oneIn(2) ? RowTarget::Shortcut : RowTarget::Device, below(2));
    if (!item)
        return;
    emit tree()->menuRequested(ServiceTree::target(item), window().mapToGlobal(QPoint(150, 100)));
    const QPointer<QMenu> menu = qobject_cast<QMenu *>(QApplication::activePopupWidget());
    if (!menu)
        return;
    QTest::qWait(30);
    if (!menu)
        return;
    const QList<QAction *> entries = menu->actions();
    QAction *entry = entries.value(below(entries.size() + 1));         // none: it is closed
    if (entry && !entry->text().startsWith(QStringLiteral("&Remove"))) // the devices are wanted tomorrow, too
        QTest::mouseClick(menu, Qt::LeftButton, {}, menu->actionGeometry(entry).center());
    if (menu && menu->isVisible())
        menu->close();
}

void Soak::useServer()
{
    const auto servers = Catalogue::read().servers;
    if (servers.empty())
        return;
    if (servers[0].status == BTSDK_SERVER_STOPPED)
        m_manager->profiles().performServerDefault(servers[0].server, servers[0].serviceClass);
    else if (servers[0].status == BTSDK_SERVER_STARTED)
        (void)Btsdk_StopServer(servers[0].server);
}

void Soak::receiveFile()
{
    if (m_sender.state() != QProcess::NotRunning || listening().isEmpty())
        return;
    const QStringList files = QDir(home("local")).entryList(QDir::Files);
    if (!files.isEmpty()) {
        m_sender.start(QStringLiteral("obexftp"),
                       {QStringLiteral("-n"), listening().section(u':', 0, -2), QStringLiteral("-B"),
                        listening().section(u':', -1), QStringLiteral("-p"),
                        home("local/") + files.at(below(files.size()))});
    }
}

void Soak::killDevice()
{
    if (m_second.state() == QProcess::Running)
        ::kill(static_cast<pid_t>(m_second.processId()), SIGKILL);
    m_second.waitForFinished();
    if (m_secondHandle != 0)
        (void)Btsdk_HostRemoveDevice(m_secondHandle); // unknown by now where the last kill was this one
    m_secondHandle = 0;
    const QString port = startDevice(&m_second, {QStringLiteral("--large"), QStringLiteral("300M")});
    (void)Btsdk_HostAddTransientDevice("Second", "127.0.0.1", port.toUInt(), &m_secondHandle);
}

/** A user who reads nothing: presses any button of any box, and cancels one transfer in a while. */
void Soak::answerWhatAsks()
{
    QWidget *box = QApplication::activeModalWidget();
    const QWidgetList all = QApplication::topLevelWidgets();
    for (QWidget *widget : all) {
        auto *dialog = qobject_cast<QDialog *>(widget);
        if (dialog && dialog->isVisible() && qstrcmp(dialog->metaObject()->className(), "ComProgressDlg") == 0 &&
            oneIn(25))
            QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
    }
    auto *dialog = qobject_cast<QDialog *>(box);
    if (!dialog || qstrcmp(dialog->metaObject()->className(), "ComProgressDlg") == 0)
        return;
    const QList<QAbstractButton *> buttons = dialog->findChildren<QAbstractButton *>();
    if (qobject_cast<QMessageBox *>(dialog) && !buttons.isEmpty())
        QMetaObject::invokeMethod(buttons.at(below(buttons.size())), "click", Qt::QueuedConnection);
    else
        QMetaObject::invokeMethod(dialog, "reject", Qt::QueuedConnection);
}

bool Soak::begin()
{
    if (!setUp(QStringLiteral("soak")) || !startManager())
        return false;
    QFile note(home("local/A note.txt"));
    const bool written = note.open(QIODevice::WriteOnly) && note.write(QByteArray(3000, 'n')) == 3000;
    killDevice();
    useServer();
    return written && m_secondHandle != 0 &&
           QTest::qWaitFor([this] { return m_manager->demoDevice() != 0 && row(RowTarget::Shortcut, 1); }, 30000);
}

bool Soak::useFor(qint64 milliseconds)
{
    int weights = 0;
    for (const Deed &deed : deeds)
        weights += deed.weight;
    QElapsedTimer timer;
    timer.start();
    while (timer.elapsed() < milliseconds) {
        int choice = below(weights);
        const Deed *deed = deeds;
        while (choice >= deed->weight)
            choice -= (deed++)->weight;
        (this->*deed->run)();
        ++m_done[QString::fromLatin1(deed->name)];
        QTest::qWait(5 + below(80));
    }
    return true;
}

/** Closes all and waits until nothing is under way. */
bool Soak::rest(Usage *usage)
{
    for (const QPointer<QWidget> &client : clients()) {
        if (client)
            client->close();
    }
    const bool quiet = QTest::qWaitFor(
        [this] {
            bool idle =
                clients().isEmpty() && !QApplication::activeModalWidget() && m_sender.state() == QProcess::NotRunning;
            for (const BtSdkShortcutInfo &shortcut : Catalogue::read().shortcuts)
                idle = idle && shortcut.state == BTSDK_SHORTCUT_IDLE;
            for (const BtSdkServerInfo &server : Catalogue::read().servers)
                idle = idle && server.status != BTSDK_SERVER_CONNECTED;
            return idle;
        },
        40000);
    // A client that has left keeps its descriptors until the next one comes, or the server stops.
    (void)Btsdk_StopServer(Catalogue::read().servers.at(0).server);
    useServer();
    QTest::qWait(1500); // threads that have said good-bye end
    QPixmapCache::clear();
    *usage = Usage::now();
    return quiet;
}

/** Within the application's event loop, as in life: what is deleted later depends on how deep loops are nested. */
void Soak::day_ofRandomUse_leavesNothing()
{
    QTimer::singleShot(0, this, [this] {
        liveThroughTheDay();
        QCoreApplication::quit();
    });
    QApplication::exec();
}

void Soak::liveThroughTheDay()
{
    const int seconds = fromEnvironment("BTFTP_SOAK_SECONDS", 300);
    const auto seed =
        static_cast<quint32>(fromEnvironment("BTFTP_SOAK_SEED", int(QRandomGenerator::global()->generate() >> 1)));
    std::printf("seed %u, %d s\n", seed, seconds);
    m_random.seed(seed);
    const Usage before = Usage::now();
    QVERIFY(begin());

    QTimer answers;
    connect(&answers, &QTimer::timeout, this, &Soak::answerWhatAsks);
    answers.start(40);
    QTimer beat;
    QElapsedTimer lastBeat;
    lastBeat.start();
    connect(&beat, &QTimer::timeout, this, [&] { m_longest = qMax(m_longest, lastBeat.restart()); });
    beat.start(10);

    Usage first;
    Usage last;
    for (int i = 0; i <= rests; ++i) {
        QVERIFY(useFor(qint64(seconds) * 1000 / (rests + 1)));
        QVERIFY(rest(&last));
        if (i == 0)
            first = last;
        std::printf("after %d s: %s\n", seconds * (i + 1) / (rests + 1), qPrintable(last.text()));
        if (i == 0 || !last.holdsAsMuchAs(first))
            std::printf("  %s\n", qPrintable(Usage::descriptorList().join(QStringLiteral("\n  "))));
        std::fflush(stdout);
        QCOMPARE(Usage::temporaryFiles(folders()), QStringList());
    }
    for (auto it = m_done.constBegin(); it != m_done.constEnd(); ++it)
        std::printf("%s: %d times\n", qPrintable(it.key()), it.value());
    std::printf("longest standstill of the window: %lld ms\n", static_cast<long long>(m_longest));
    takePicture(QStringLiteral("evening"));
    QVERIFY2(last.holdsAsMuchAs(first), qPrintable(first.text() + QStringLiteral(" | ") + last.text()));
    QVERIFY2(last.resident - first.resident <= growthLimit,
             qPrintable(QString::number(last.resident - first.resident)));

    answers.stop();
    QCOMPARE(endManager(), QStringList());
    m_second.terminate();
    QVERIFY(m_second.waitForFinished());
    QTest::qWait(500);
    const Usage after = Usage::now();
    std::printf("before the manager: %s\nafter it: %s\n", qPrintable(before.text()), qPrintable(after.text()));
    // Qt keeps the one that watches processes.
    QVERIFY2(after.threads <= before.threads + 1, qPrintable(Usage::threadNames().join(QStringLiteral(", "))));
    QCOMPARE(after.children, 0);
    QCOMPARE(QDir(home("device")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList());
    QVERIFY2(m_longest <= longestStandstill, qPrintable(QString::number(m_longest)));
}

int main(int argc, char *argv[])
{
    // QtTest takes a function of more than five minutes for one that hangs.
    qputenv("QTEST_FUNCTION_TIMEOUT",
            QByteArray::number(2 * fromEnvironment("BTFTP_SOAK_SECONDS", 300) * 1000 + 60000));
    QApplication application(argc, argv);
    Soak soak;
    return QTest::qExec(&soak, argc, argv);
}
#include "soak.moc"
