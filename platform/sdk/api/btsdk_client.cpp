#include "api/guard.h"
#include "settings/utf8.h"

#include <algorithm>

using api::guarded;
using api::isGiven;
using api::Library;
using obex::ClientSession;

namespace {

FTP_FIND_DATA recordOf(const obex::ListingEntry &entry)
{
    FTP_FIND_DATA record{};
    record.size = static_cast<std::uint32_t>(std::min<quint64>(entry.size, UINT32_MAX));
    settings::copyUtf8(record.name, sizeof record.name, {entry.name.constData(), std::size_t(entry.name.size())});
    const QByteArray modified = obex::formatTime(entry.modified);
    settings::copyUtf8(record.modified, sizeof record.modified, {modified.constData(), std::size_t(modified.size())});
    record.attributes = entry.folder ? BTSDK_FTP_FOLDER : 0;
    return record;
}

// The operations on one name of the remote current folder.
template <class Operation>
unsigned int onName(unsigned int connection, const char *name, Operation operation)
{
    if (!isGiven(name))
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) {
        return library.connections().run(
            connection, [&](ClientSession &session) { return (session.*operation)(QByteArray(name)); });
    });
}

// The transfers between a name and a path, in the order that the session takes them.
template <class Operation>
unsigned int transfer(unsigned int connection, const char *from, const char *to, Operation operation)
{
    if (!isGiven(from) || !isGiven(to))
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) {
        return library.connections().run(
            connection, [&](ClientSession &session) { return (session.*operation)(QByteArray(from), QByteArray(to)); },
            true);
    });
}

} // namespace

unsigned int Btsdk_StopDeviceDiscovery(void)
{
    return guarded([](Library &library) -> unsigned int {
        library.bluez().stopDiscovery(std::chrono::seconds(1));
        return BTSDK_OK;
    });
}

unsigned int Btsdk_ConnectEx(unsigned int device, unsigned short serviceClass, unsigned int /*param*/,
                             unsigned int *connection)
{
    if (!connection)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) { return library.connect(device, serviceClass, connection); });
}

unsigned int Btsdk_Disconnect(unsigned int connection)
{
    return guarded([&](Library &library) { return library.connections().disconnect(connection); });
}

unsigned int Btsdk_DisconnectShortCut(unsigned int shortcut)
{
    if (shortcut == 0)
        return BTSDK_OK;
    return guarded([&](Library &library) -> unsigned int {
        if (!api::wasIssued(shortcut, api::HandleKind::Shortcut))
            return BTSDK_ER_INVALID_HANDLE;
        return library.connections().disconnectShortcut(shortcut);
    });
}

unsigned int Btsdk_FTPSetRmtDir(unsigned int connection, const char *path)
{
    if (!path || *path != '/')
        return BTSDK_ER_INVALID_PARAMETER;
    return onName(connection, path, &ClientSession::setPath);
}

unsigned int Btsdk_FTPBrowseFolder(unsigned int connection, const char * /*name*/, BtsdkBrowseCallback callback,
                                   unsigned int /*reserved*/)
{
    if (!callback)
        return BTSDK_ER_INVALID_PARAMETER;
    const auto show = [callback](const obex::ListingEntry &entry) {
        FTP_FIND_DATA record = recordOf(entry);
        callback(reinterpret_cast<unsigned char *>(&record));
    };
    return guarded([&](Library &library) {
        return library.connections().run(connection, [&](ClientSession &session) { return session.list(show); });
    });
}

unsigned int Btsdk_FTPGetFile(unsigned int connection, const char *remoteName, const char *localPath)
{
    return transfer(connection, remoteName, localPath, &ClientSession::getFile);
}

unsigned int Btsdk_FTPGetDir(unsigned int connection, const char *remoteName, const char *localPath)
{
    return transfer(connection, remoteName, localPath, &ClientSession::getFolder);
}

unsigned int Btsdk_FTPPutFile(unsigned int connection, const char *localPath, const char *remoteName)
{
    return transfer(connection, localPath, remoteName, &ClientSession::putFile);
}

unsigned int Btsdk_FTPPutDir(unsigned int connection, const char *localPath, const char *remoteName)
{
    return transfer(connection, localPath, remoteName, &ClientSession::putFolder);
}

unsigned int Btsdk_FTPDeleteFile(unsigned int connection, const char *name)
{
    return onName(connection, name, &ClientSession::deleteFile);
}

unsigned int Btsdk_FTPDeleteDir(unsigned int connection, const char *name)
{
    return onName(connection, name, &ClientSession::deleteFolder);
}

unsigned int Btsdk_FTPCreateDir(unsigned int connection, const char *name)
{
    return onName(connection, name, &ClientSession::createFolder);
}

unsigned int Btsdk_FTPCancelTransfer(unsigned int connection)
{
    return guarded([&](Library &library) { return library.connections().cancel(connection); });
}

unsigned int Btsdk_FTPRegisterStatusCallback(unsigned int connection, BtsdkStatusCallback callback)
{
    return guarded([&](Library &library) -> unsigned int {
        const std::shared_ptr<api::Connection> found = library.connections().find(connection);
        if (!found)
            return api::Connections::missing(connection);
        return found->setStatusCallback(callback) ? BTSDK_OK : BTSDK_ER_CALLBACK;
    });
}
