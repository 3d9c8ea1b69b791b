#include "Catalogue.h"
#include "Tour.h"

#include <QDir>

#include <mutex>

namespace manager {

namespace {

struct Entry
{
    QString name;
    quint32 size;
    bool isFolder;
};

std::vector<Entry> listed; // the SDK's browse callback has no context; one listing at a time

void addEntry(unsigned char *findData)
{
    const auto *data = reinterpret_cast<const FTP_FIND_DATA *>(findData);
    listed.push_back({QString::fromUtf8(data->name), data->size, (data->attributes & BTSDK_FTP_FOLDER) != 0});
}

std::vector<Entry> list(TourContext &tour)
{
    listed.clear();
    TourContext::succeed(QStringLiteral("listing the folder"), [&tour] {
        const unsigned int result = Btsdk_FTPSetRmtDir(tour.connection, "/");
        return result != BTSDK_OK ? result : Btsdk_FTPBrowseFolder(tour.connection, "/", &addEntry, 0);
    });
    return listed;
}

bool holds(const std::vector<Entry> &entries, const QString &name)
{
    return std::any_of(entries.begin(), entries.end(), [&](const Entry &entry) { return entry.name == name; });
}

QByteArray contents(const QString &path)
{
    QFile file(path);
    TourContext::require(file.open(QIODevice::ReadOnly), QStringLiteral("%1 is missing").arg(path));
    return file.readAll();
}

void loadProfiles(TourContext &tour)
{
    tour.host.window().setGeometry(20, 40, 620, 480);
    TourContext::require(tour.host.profiles().failures().isEmpty(), QStringLiteral("a profile could not be loaded"));
    TourContext::require(!tour.host.profiles().isEmpty(), QStringLiteral("there is no profile"));
}

void listDevices(TourContext &tour)
{
    TourContext::waitUntil([&] { return tour.host.demoDevice() != 0; },
                           QStringLiteral("the demo device did not come up"), 40000);
    const Catalogue catalogue = Catalogue::read();
    TourContext::require(catalogue.shortcutsOf(tour.host.demoDevice()).size() == 1,
                         QStringLiteral("the demo device offers no service"));
    TourContext::require(!catalogue.servers.empty(), QStringLiteral("there is no local service"));
    TourContext::require(catalogue.servers[0].status == BTSDK_SERVER_STARTED,
                         QStringLiteral("the local service was not started again"));
    TourContext::waitUntil([&] { return tour.host.window().tree()->currentTarget().kind == RowTarget::Shortcut; },
                           QStringLiteral("the window does not list the device"));
}

void connectDevice(TourContext &tour)
{
    TourContext::succeed(QStringLiteral("connecting"), [&] {
        return Btsdk_ConnectEx(tour.host.demoDevice(), BTSDK_CLS_OBEX_FILE_TRANS, 0, &tour.connection);
    });
    TourContext::pause(200);
}

void listFolder(TourContext &tour)
{
    quint32 smallest = UINT32_MAX;
    for (const Entry &entry : list(tour)) {
        if (!entry.isFolder && entry.size > 0 && entry.size < smallest) {
            smallest = entry.size;
            tour.remoteFile = entry.name;
        }
    }
    TourContext::require(!tour.remoteFile.isEmpty(), QStringLiteral("the demo device holds no file"));
}

void getFile(TourContext &tour)
{
    const QString target = tour.local() + QStringLiteral("/fetched");
    TourContext::succeed(QStringLiteral("fetching %1").arg(tour.remoteFile), [&] {
        return Btsdk_FTPGetFile(tour.connection, tour.remoteFile.toUtf8().constData(), target.toUtf8().constData());
    });
    TourContext::require(!contents(target).isEmpty(), QStringLiteral("the fetched file is empty"));
}

void putFile(TourContext &tour)
{
    const QByteArray source = (tour.local() + QStringLiteral("/fetched")).toUtf8();
    TourContext::succeed(QStringLiteral("sending"),
                         [&] { return Btsdk_FTPPutFile(tour.connection, source.constData(), "sent by the tour"); });
    TourContext::require(holds(list(tour), QStringLiteral("sent by the tour")), QStringLiteral("it did not arrive"));
    const QString again = tour.local() + QStringLiteral("/fetched again");
    TourContext::succeed(QStringLiteral("fetching it again"), [&] {
        return Btsdk_FTPGetFile(tour.connection, "sent by the tour", again.toUtf8().constData());
    });
    TourContext::require(contents(again) == contents(tour.local() + QStringLiteral("/fetched")),
                         QStringLiteral("what came back is not what was sent"));
}

void deleteFile(TourContext &tour)
{
    TourContext::succeed(QStringLiteral("deleting"),
                         [&] { return Btsdk_FTPDeleteFile(tour.connection, "sent by the tour"); });
    TourContext::require(!holds(list(tour), QStringLiteral("sent by the tour")), QStringLiteral("it is still there"));
}

void disconnectDevice(TourContext &tour)
{
    TourContext::succeed(QStringLiteral("disconnecting"), [&] { return Btsdk_Disconnect(tour.connection); });
    const unsigned int shortcut = Catalogue::read().shortcutsOf(tour.host.demoDevice())[0]->shortcut;
    TourContext::waitUntil([&] { return !isInUse(shortcut); }, QStringLiteral("the shortcut is still in use"));
}

} // namespace

std::vector<TourStep> sdkSteps()
{
    return {{QStringLiteral("load the profile"), loadProfiles},
            {QStringLiteral("list devices and services"), listDevices},
            {QStringLiteral("connect to the demo device"), connectDevice},
            {QStringLiteral("list a folder"), listFolder},
            {QStringLiteral("get a file"), getFile},
            {QStringLiteral("put a file"), putFile},
            {QStringLiteral("delete a file"), deleteFile},
            {QStringLiteral("disconnect"), disconnectDevice}};
}

} // namespace manager
