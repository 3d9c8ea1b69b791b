#include "share/folder.h"

#include "share/directoryreader.h"
#include "share/partfile.h"
#include "share/upload.h"

#include <cerrno>
#include <fcntl.h>
#include <linux/openat2.h>
#include <sys/statvfs.h>
#include <sys/syscall.h>

namespace share {

namespace {

constexpr std::size_t MaxNameBytes = 255;

/** The kernel gives up on ".." in a link while someone renames folders; it asks for another try. */
constexpr int MaxRaces = 32;

FileDescriptor openAt(int base, const char *relative, int flags, std::uint64_t resolve)
{
    open_how how = {};
    how.flags = static_cast<std::uint64_t>(flags) | O_CLOEXEC;
    how.resolve = RESOLVE_BENEATH | RESOLVE_NO_MAGICLINKS | resolve;
    for (int attempt = 0;; ++attempt) {
        const long fd = ::syscall(SYS_openat2, base, relative, &how, sizeof how);
        if (fd >= 0)
            return FileDescriptor(static_cast<int>(fd));
        if ((errno != EAGAIN && errno != EINTR) || attempt == MaxRaces)
            return {};
    }
}

bool areStorable(const Path &path)
{
    for (const std::string &name : path) {
        if (!isStorableName(name))
            return false;
    }
    return true;
}

/** Whether a file of this many bytes fits; true when the file system does not tell. */
bool hasRoomFor(int fd, std::uint64_t bytes)
{
    struct statvfs space = {};
    if (::fstatvfs(fd, &space) != 0 || space.f_frsize == 0)
        return true;
    return bytes / space.f_frsize <= space.f_bavail;
}

/** The subfolders of an open folder that remain once all else in it was removed; takes the descriptor. */
bool removeFiles(FileDescriptor folder, std::vector<std::string> *subfolders)
{
    DIR *directory = ::fdopendir(folder.get());
    if (!directory)
        return false;
    const int fd = folder.release();
    int error = 0;
    errno = 0;
    while (const dirent *found = ::readdir(directory)) {
        const std::string_view name = found->d_name;
        if (name == "." || name == "..")
            continue;
        if (::unlinkat(fd, found->d_name, 0) == 0 || errno == ENOENT)
            continue;
        if (errno != EISDIR && errno != EPERM) {
            error = errno;
            break;
        }
        struct stat status = {};
        if (::fstatat(fd, found->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0 || !S_ISDIR(status.st_mode)) {
            error = EPERM;
            break;
        }
        subfolders->emplace_back(name);
        errno = 0;
    }
    ::closedir(directory);
    errno = error;
    return error == 0;
}

} // namespace

bool isStorableName(std::string_view name)
{
    return !name.empty() && name.size() <= MaxNameBytes && name != "." && name != ".." && name.find('/') == name.npos &&
           name.find('\0') == name.npos && !isPartName(name);
}

std::string relativePath(const Path &path)
{
    if (path.empty())
        return ".";
    std::string joined;
    for (const std::string &name : path) {
        if (!joined.empty())
            joined += '/';
        joined += name;
    }
    return joined;
}

std::shared_ptr<const Folder> Folder::open(const std::string &path, Access access)
{
    const char *name = path.empty() ? "." : path.c_str();
    FileDescriptor root(::open(name, O_PATH | O_DIRECTORY | O_CLOEXEC));
    if (!root.isValid() || ::faccessat(root.get(), ".", R_OK | X_OK, AT_EACCESS) != 0)
        return nullptr;
    return std::shared_ptr<const Folder>(new Folder(std::move(root), access));
}

FileDescriptor Folder::openBeneath(const std::string &relative, int flags, std::uint64_t resolve) const
{
    return openAt(m_root.get(), relative.c_str(), flags, resolve);
}

Status Folder::enter(const Path &path) const
{
    if (!areStorable(path))
        return Status::BadName;
    const FileDescriptor folder = openBeneath(relativePath(path), O_PATH | O_DIRECTORY);
    if (!folder.isValid())
        return readStatus(errno);
    return ::faccessat(folder.get(), ".", X_OK, AT_EACCESS) == 0 ? Status::Ok : Status::Refused;
}

Status Folder::list(const Path &path, std::unique_ptr<DirectoryReader> *reader) const
{
    if (!areStorable(path))
        return Status::BadName;
    FileDescriptor folder = openBeneath(relativePath(path), O_RDONLY | O_DIRECTORY | O_NONBLOCK);
    if (!folder.isValid())
        return readStatus(errno);
    DIR *directory = ::fdopendir(folder.get());
    if (!directory)
        return Status::Failed;
    (void)folder.release(); // the directory stream owns it now
    *reader = std::make_unique<DirectoryReader>(shared_from_this(), path, directory);
    return Status::Ok;
}

Status Folder::openFile(const Path &folder, const std::string &name, OpenFile *file) const
{
    if (!areStorable(folder) || !isStorableName(name))
        return Status::BadName;
    Path path = folder;
    path.push_back(name);
    const std::string relative = relativePath(path);
    // Opening a device or a FIFO has effects of its own, so look at it first, and once more when it is open.
    const FileDescriptor handle = openBeneath(relative, O_PATH);
    struct stat before = {};
    if (!handle.isValid() || ::fstat(handle.get(), &before) != 0)
        return readStatus(errno);
    if (!S_ISREG(before.st_mode))
        return S_ISDIR(before.st_mode) ? Status::WrongKind : Status::Refused;
    FileDescriptor opened = openBeneath(relative, O_RDONLY | O_NONBLOCK | O_NOCTTY);
    struct stat after = {};
    if (!opened.isValid() || ::fstat(opened.get(), &after) != 0)
        return readStatus(errno);
    if (!S_ISREG(after.st_mode))
        return Status::Refused;
    file->fd = std::move(opened);
    file->size = static_cast<std::uint64_t>(after.st_size);
    file->modified = after.st_mtim.tv_sec;
    return Status::Ok;
}

Status Folder::openParent(const Path &folder, const std::string &name, FileDescriptor *parent) const
{
    if (m_access != Access::Writable)
        return Status::ReadOnly;
    if (!areStorable(folder) || !isStorableName(name))
        return Status::BadName;
    *parent = openBeneath(relativePath(folder), O_PATH | O_DIRECTORY);
    return parent->isValid() ? Status::Ok : readStatus(errno);
}

Status Folder::createFolder(const Path &folder, const std::string &name) const
{
    FileDescriptor parent;
    const Status status = openParent(folder, name, &parent);
    if (status != Status::Ok)
        return status;
    if (::mkdirat(parent.get(), name.c_str(), 0777) == 0)
        return Status::Ok;
    if (errno != EEXIST)
        return writeStatus(errno);
    Path path = folder;
    path.push_back(name);
    return enter(path);
}

Status Folder::remove(const Path &folder, const std::string &name) const
{
    FileDescriptor parent;
    const Status status = openParent(folder, name, &parent);
    if (status != Status::Ok)
        return status;
    struct stat found = {};
    if (::fstatat(parent.get(), name.c_str(), &found, AT_SYMLINK_NOFOLLOW) != 0)
        return readStatus(errno);
    if (!S_ISDIR(found.st_mode))
        return ::unlinkat(parent.get(), name.c_str(), 0) == 0 ? Status::Ok : writeStatus(errno);
    // The tree is walked from its parent, whose path may hold links; the walk itself meets none.
    return Folder(std::move(parent), m_access).removeTree(name);
}

/**
 * Removes a folder with all that it holds, beneath the root of this object. Each folder is opened by its path without
 * following any link, so the depth costs neither descriptors nor stack, and a folder that is swapped for a link
 * meanwhile is not walked into.
 */
Status Folder::removeTree(const std::string &relative) const
{
    struct Level
    {
        std::string path;
        std::vector<std::string> subfolders;
        bool emptied = false;
    };
    std::vector<Level> levels;
    levels.push_back({relative, {}, false});
    while (!levels.empty()) {
        if (!levels.back().emptied) {
            levels.back().emptied = true;
            FileDescriptor folder =
                openBeneath(levels.back().path, O_RDONLY | O_DIRECTORY | O_NONBLOCK, RESOLVE_NO_SYMLINKS);
            if (!folder.isValid() || !removeFiles(std::move(folder), &levels.back().subfolders))
                return writeStatus(errno);
        }
        if (!levels.back().subfolders.empty()) {
            std::string path = levels.back().path + '/' + levels.back().subfolders.back();
            levels.back().subfolders.pop_back();
            levels.push_back({std::move(path), {}, false});
            continue;
        }
        const std::size_t slash = levels.back().path.rfind('/');
        const std::string above = slash == std::string::npos ? "." : levels.back().path.substr(0, slash);
        const std::string name = levels.back().path.substr(slash == std::string::npos ? 0 : slash + 1);
        const FileDescriptor parent = openBeneath(above, O_PATH | O_DIRECTORY, RESOLVE_NO_SYMLINKS);
        if (!parent.isValid() || ::unlinkat(parent.get(), name.c_str(), AT_REMOVEDIR) != 0)
            return writeStatus(errno);
        levels.pop_back();
    }
    return Status::Ok;
}

Status Folder::startUpload(const Path &folder, const std::string &name, std::optional<std::uint64_t> expectedSize,
                           std::unique_ptr<Upload> *upload) const
{
    FileDescriptor parent;
    Status status = openParent(folder, name, &parent);
    if (status == Status::Ok)
        status = checkReplaceable(parent.get(), name);
    if (status != Status::Ok)
        return status;
    if (expectedSize && !hasRoomFor(parent.get(), *expectedSize))
        return Status::Full;
    auto started = std::make_unique<Upload>(shared_from_this(), relativePath(folder), name, std::move(parent));
    status = started->open();
    if (status == Status::Ok)
        *upload = std::move(started);
    return status;
}

} // namespace share
