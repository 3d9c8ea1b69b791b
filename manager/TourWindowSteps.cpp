#include "Catalogue.h"
#include "Tour.h"
#include "TourHands.h"

#include <QApplication>
#include <QComboBox>
#include <QDir>
#include <QPointer>
#include <QPushButton>
#include <QTreeWidget>

namespace manager {

namespace {

constexpr qint64 hugeSize = qint64(8) << 30; // a hole in a file: it takes no room, and time to send
constexpr int transferPatience = 60000;

QTreeWidget *localPane(const TourContext &tour)
{
    return hands::tree(tour.client, "m_pLocalTree");
}

QTreeWidget *remotePane(const TourContext &tour)
{
    return hands::tree(tour.client, "m_pRemoteTree");
}

unsigned int demoShortcut(const TourContext &tour)
{
    return Catalogue::read().shortcutsOf(tour.host.demoDevice()).at(0)->shortcut;
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void waitForSameContents(const QString &path, const QByteArray &expected)
{
    TourContext::waitUntil([&] { return contents(path) == expected; },
                           QStringLiteral("%1 does not arrive as it was").arg(QFileInfo(path).fileName()),
                           transferPatience);
}

void openWindow(TourContext &tour)
{
    tour.host.profiles().performShortcutDefault(demoShortcut(tour), BTSDK_CLS_OBEX_FILE_TRANS);
    tour.client = hands::waitForWindow("BtFtpClient");
    tour.client->setGeometry(380, 240, 860, 500); // beside the manager, so that pictures show both
    hands::waitForRow(remotePane(tour), QStringLiteral("Welcome.txt"));
    hands::waitForRow(localPane(tour), QStringLiteral("fetched"));
}

void enterFolder(TourContext &tour)
{
    hands::doubleClick(remotePane(tour), hands::waitForRow(remotePane(tour), QStringLiteral("Pictures")));
    hands::waitForRow(remotePane(tour), QStringLiteral("Picture 1.png"));
    const auto *combo = tour.client->findChild<QComboBox *>(QStringLiteral("m_pRemoteCombo"));
    TourContext::require(combo && combo->currentText() == QLatin1String("/Pictures"),
                         QStringLiteral("the path does not follow"));
}

void leaveFolder(TourContext &tour)
{
    hands::choose(tour.client, "m_pRemoteUpAction");
    hands::waitForRow(remotePane(tour), QStringLiteral("Welcome.txt"));
}

void download(TourContext &tour)
{
    hands::select(remotePane(tour), hands::waitForRow(remotePane(tour), QStringLiteral("Welcome.txt")));
    hands::choose(tour.client, "actionDownload");
    const QByteArray original = contents(tour.served() + QStringLiteral("/Welcome.txt"));
    TourContext::require(!original.isEmpty(), QStringLiteral("the device's own file is missing"));
    waitForSameContents(tour.local() + QStringLiteral("/Welcome.txt"), original);
    hands::waitForRow(localPane(tour), QStringLiteral("Welcome.txt"));
}

void upload(TourContext &tour)
{
    hands::select(localPane(tour), hands::waitForRow(localPane(tour), QStringLiteral("fetched")));
    hands::choose(tour.client, "actionUpload");
    waitForSameContents(tour.served() + QStringLiteral("/fetched"),
                        contents(tour.local() + QStringLiteral("/fetched")));
    hands::waitForRow(remotePane(tour), QStringLiteral("fetched"));
}

void newFolder(TourContext &tour)
{
    hands::select(remotePane(tour), hands::waitForRow(remotePane(tour), QStringLiteral("Welcome.txt")));
    hands::choose(tour.client, "actionNew_Folder");
    hands::typeIntoCell(remotePane(tour), QStringLiteral("Made by the tour"));
    TourContext::waitUntil([&] { return QDir(tour.served() + QStringLiteral("/Made by the tour")).exists(); },
                           QStringLiteral("the folder was not made"));
    hands::waitForRow(remotePane(tour), QStringLiteral("Made by the tour"));
}

void rename(TourContext &tour)
{
    hands::select(localPane(tour), hands::waitForRow(localPane(tour), QStringLiteral("fetched again")));
    hands::choose(tour.client, "m_pActRename");
    hands::typeIntoCell(localPane(tour), QStringLiteral("renamed 100%"));
    TourContext::waitUntil([&] { return QFile::exists(tour.local() + QStringLiteral("/renamed 100%")); },
                           QStringLiteral("the file keeps its name"));
}

void removeRemote(TourContext &tour)
{
    hands::select(remotePane(tour), hands::waitForRow(remotePane(tour), QStringLiteral("fetched")));
    const auto answered =
        hands::sayYesWhenAsked([&tour] { tour.snap(QStringLiteral("the question before a delete")); });
    hands::choose(tour.client, "action_Delete");
    TourContext::waitUntil([&] { return *answered; }, QStringLiteral("nobody asks"));
    TourContext::waitUntil([&] { return !QFile::exists(tour.served() + QStringLiteral("/fetched")); },
                           QStringLiteral("the file is still on the device"));
    TourContext::waitUntil(
        [&] { return remotePane(tour)->findItems(QStringLiteral("fetched"), Qt::MatchExactly, 0).isEmpty(); },
        QStringLiteral("the pane still shows the file"));
}

void cancelDownload(TourContext &tour)
{
    const QString name = QStringLiteral("Huge file.bin");
    QFile huge(tour.served() + u'/' + name);
    TourContext::require(huge.open(QIODevice::WriteOnly) && huge.resize(hugeSize),
                         QStringLiteral("the huge file cannot be made"));
    hands::choose(tour.client, "action_Refresh");
    hands::select(remotePane(tour), hands::waitForRow(remotePane(tour), name));
    hands::choose(tour.client, "actionDownload");
    const QPointer<QWidget> progress = hands::waitForWindow("ComProgressDlg");
    TourContext::pause(700);
    tour.snap(QStringLiteral("the progress of a download"));
    TourContext::require(progress, QStringLiteral("it ended before it could be cancelled"));
    progress->findChild<QPushButton *>(QStringLiteral("cancel"))->click();
    TourContext::waitUntil([&] { return progress.isNull(); }, QStringLiteral("the progress dialog stays"));
    TourContext::require(!QFile::exists(tour.local() + u'/' + name), QStringLiteral("half a file is left"));
    const QStringList left = QDir(tour.local()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    TourContext::require(left.size() == 3, QStringLiteral("more than expected is left: %1").arg(left.join(u',')));
    huge.remove();
}

void showMenu(TourContext &tour)
{
    ServiceTree *services = tour.host.window().tree();
    tour.host.window().raise();
    QMetaObject::invokeMethod(services, [services] {
        emit services->menuRequested(services->currentTarget(), services->mapToGlobal(QPoint(120, 60)));
    });
    TourContext::waitUntil([&] { return tour.host.profiles().menuIsOpen(); }, QStringLiteral("no menu opens"));
    TourContext::pause(200);
    tour.snap(QStringLiteral("the menu of a service"));
    const auto menu = QPointer<QWidget>(QApplication::activePopupWidget());
    TourContext::require(menu && menu->actions().size() == 3, QStringLiteral("the menu is not that of a connection"));
    menu->close();
    TourContext::waitUntil([&] { return !tour.host.profiles().menuIsOpen(); }, QStringLiteral("the menu stays open"));
}

void closeWindow(TourContext &tour)
{
    const QPointer<QWidget> window = tour.client;
    tour.client->close();
    TourContext::waitUntil([&] { return window.isNull(); }, QStringLiteral("the window stays"));
    tour.client = nullptr;
    TourContext::waitUntil([&] { return !isInUse(demoShortcut(tour)); }, QStringLiteral("the connection stays"));
}

/** This computer's own service, reached as any other device would reach it. */
void receive(TourContext &tour)
{
    const Catalogue catalogue = Catalogue::read();
    const QString listening = QString::fromUtf8(catalogue.servers.at(0).listening);
    const QString address = listening.section(u':', 0, -2);
    TourContext::succeed(QStringLiteral("adding this computer"), [&] {
        return Btsdk_HostAddTransientDevice("This computer", address.toUtf8().constData(),
                                            listening.section(u':', -1).toUInt(), &tour.localDevice);
    });
    TourContext::succeed(QStringLiteral("connecting to this computer"), [&] {
        return Btsdk_ConnectEx(tour.localDevice, BTSDK_CLS_OBEX_FILE_TRANS, 0, &tour.connection);
    });
    const QByteArray source = (tour.local() + QStringLiteral("/Welcome.txt")).toUtf8();
    TourContext::succeed(QStringLiteral("sending to this computer"), [&] {
        return Btsdk_FTPPutFile(tour.connection, source.constData(), "A letter <b>for you.txt");
    });
    TourContext::waitUntil([&] { return tour.host.received().rowCount() == 1; },
                           QStringLiteral("nobody tells of the received file"));
    TourContext::require(contents(tour.shared() + QStringLiteral("/A letter <b>for you.txt")) ==
                             contents(QString::fromUtf8(source)),
                         QStringLiteral("what was received is not what was sent"));
    TourContext::succeed(QStringLiteral("disconnecting"), [&] { return Btsdk_Disconnect(tour.connection); });
}

} // namespace

std::vector<TourStep> windowSteps()
{
    return {{QStringLiteral("open the window of the demo device"), openWindow},
            {QStringLiteral("enter a folder"), enterFolder},
            {QStringLiteral("go back up"), leaveFolder},
            {QStringLiteral("download a file"), download},
            {QStringLiteral("upload a file"), upload},
            {QStringLiteral("make a folder on the device"), newFolder},
            {QStringLiteral("rename a local file"), rename},
            {QStringLiteral("delete a file on the device"), removeRemote},
            {QStringLiteral("cancel a download"), cancelDownload},
            {QStringLiteral("show the menu of a connection"), showMenu},
            {QStringLiteral("close the window"), closeWindow},
            {QStringLiteral("receive a file"), receive}};
}

} // namespace manager
