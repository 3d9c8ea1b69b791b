#include "vmrl-ftp/commands.h"

#include "btsdk.h"
#include "vmrl-ftp/progressline.h"
#include "vmrl-ftp/remote.h"
#include "vmrl-ftp/remotepath.h"

#include <cstdio>
#include <filesystem>

namespace vmrlftp {

namespace {

namespace fs = std::filesystem;

constexpr unsigned int notFound = BTSDK_OBEX_BASE + 0xC4;

bool isLocalFolder(const std::string &path)
{
    std::error_code error;
    return fs::is_directory(path, error);
}

// "20260131T120000Z" as "2026-01-31 12:00:00"
std::string readableTime(const std::string &time)
{
    if (time.size() < 15)
        return std::string(19, ' ');
    return time.substr(0, 4) + '-' + time.substr(4, 2) + '-' + time.substr(6, 2) + ' ' + time.substr(9, 2) + ':' +
           time.substr(11, 2) + ':' + time.substr(13, 2);
}

void print(const RemoteEntry &entry, bool longListing)
{
    const std::string name = printable(entry.name) + (entry.folder ? "/" : "");
    if (longListing) {
        const std::string size = entry.folder ? "-" : std::to_string(entry.size);
        std::printf("%10s  %s  %s\n", size.c_str(), readableTime(entry.modified).c_str(), name.c_str());
    } else {
        std::printf("%s\n", name.c_str());
    }
}

// Goes to the folder of a remote name and looks the name up there.
unsigned int locate(const Remote &remote, const RemotePath &path, RemoteEntry *entry)
{
    if (path.name.empty()) {
        entry->folder = true;
        return remote.enter("/");
    }
    bool found = false;
    unsigned int result = remote.enter(path.folder);
    if (result == BTSDK_OK)
        result = remote.find(path.name, entry, &found);
    return result == BTSDK_OK && !found ? notFound : result;
}

Outcome list(const Options &options, const Remote &remote)
{
    const std::string argument = options.arguments.empty() ? "/" : options.arguments.front();
    const RemotePath path = parseRemote(argument);
    RemoteEntry entry;
    unsigned int result = locate(remote, path, &entry);
    if (result != BTSDK_OK)
        return {result, argument};
    if (!entry.folder) {
        print(entry, options.longListing);
        return {};
    }
    std::vector<RemoteEntry> entries;
    result = remote.list(path.whole(), &entries);
    for (const RemoteEntry &each : entries)
        print(each, options.longListing);
    return {result, argument};
}

unsigned int getEntry(const Remote &remote, const RemoteEntry &entry, const std::string &target)
{
    return entry.folder ? Btsdk_FTPGetDir(remote.handle(), entry.name.c_str(), target.c_str())
                        : Btsdk_FTPGetFile(remote.handle(), entry.name.c_str(), target.c_str());
}

// The top folder has no name of its own: its entries are fetched one by one.
Outcome getTop(const Remote &remote, const std::string &target)
{
    std::error_code error;
    fs::create_directories(target, error);
    std::vector<RemoteEntry> entries;
    unsigned int result = error ? static_cast<unsigned int>(BTSDK_ER_LOCAL_FILE) : remote.list("/", &entries);
    if (result != BTSDK_OK)
        return {result, error ? target : "/"};
    for (const RemoteEntry &entry : entries) {
        result = getEntry(remote, entry, target + '/' + entry.name);
        if (result != BTSDK_OK)
            return {result, entry.name};
    }
    return {};
}

Outcome get(const Options &options, const Remote &remote)
{
    const std::string &source = options.arguments[0];
    const RemotePath path = parseRemote(source);
    std::string target = options.arguments.size() > 1 ? options.arguments[1] : ".";
    if (path.name.empty())
        return getTop(remote, target);
    if (isLocalFolder(target) || target.back() == '/')
        target = (fs::path(target) / path.name).string();
    RemoteEntry entry;
    unsigned int result = locate(remote, path, &entry);
    if (result == BTSDK_OK)
        result = getEntry(remote, entry, target);
    return {result, source};
}

Outcome put(const Options &options, const Remote &remote)
{
    const std::string &source = options.arguments[0];
    const std::string own = baseName(source);
    RemotePath target = parseRemote(options.arguments.size() > 1 ? options.arguments[1] : "/");
    RemoteEntry there;
    unsigned int result = locate(remote, target, &there);
    const bool into = result == BTSDK_OK ? there.folder : target.folderMeant;
    if (result != BTSDK_OK && (result != notFound || into))
        return {result, target.whole()};
    if (into) {
        result = remote.enter(target.whole());
        if (result != BTSDK_OK)
            return {result, target.whole()};
        target.name = own;
    }
    if (target.name.empty())
        return {BTSDK_ER_INVALID_PARAMETER, source};
    return {isLocalFolder(source) ? Btsdk_FTPPutDir(remote.handle(), source.c_str(), target.name.c_str())
                                  : Btsdk_FTPPutFile(remote.handle(), source.c_str(), target.name.c_str()),
            source};
}

Outcome remove(const Options &options, const Remote &remote)
{
    for (const std::string &argument : options.arguments) {
        const RemotePath path = parseRemote(argument);
        RemoteEntry entry;
        unsigned int result =
            path.name.empty() ? static_cast<unsigned int>(BTSDK_ER_INVALID_PARAMETER) : locate(remote, path, &entry);
        if (result == BTSDK_OK)
            result = entry.folder ? Btsdk_FTPDeleteDir(remote.handle(), path.name.c_str())
                                  : Btsdk_FTPDeleteFile(remote.handle(), path.name.c_str());
        if (result != BTSDK_OK)
            return {result, argument};
    }
    return {};
}

Outcome makeFolders(const Options &options, const Remote &remote)
{
    for (const std::string &argument : options.arguments) {
        const RemotePath path = parseRemote(argument);
        unsigned int result =
            path.name.empty() ? static_cast<unsigned int>(BTSDK_ER_INVALID_PARAMETER) : remote.enter(path.folder);
        if (result == BTSDK_OK)
            result = Btsdk_FTPCreateDir(remote.handle(), path.name.c_str());
        if (result != BTSDK_OK)
            return {result, argument};
    }
    return {};
}

} // namespace

Outcome runCommand(const Options &options, const Remote &remote)
{
    if (options.command == "ls")
        return list(options, remote);
    if (options.command == "get")
        return get(options, remote);
    if (options.command == "put")
        return put(options, remote);
    if (options.command == "rm")
        return remove(options, remote);
    return makeFolders(options, remote);
}

} // namespace vmrlftp
