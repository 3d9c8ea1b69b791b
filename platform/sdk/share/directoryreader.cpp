#include "share/directoryreader.h"

#include "share/partfile.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace share {

DirectoryReader::DirectoryReader(std::shared_ptr<const Folder> folder, Path path, DIR *directory)
    : m_folder(std::move(folder)),
      m_path(std::move(path)),
      m_relative(relativePath(m_path)),
      m_directory(directory),
      m_writable(m_folder->access() == Access::Writable && ::faccessat(::dirfd(directory), ".", W_OK, AT_EACCESS) == 0)
{
}

DirectoryReader::~DirectoryReader()
{
    ::closedir(m_directory);
}

bool DirectoryReader::next(Entry *entry)
{
    while (const dirent *found = ::readdir(m_directory)) {
        const std::string_view name = found->d_name;
        if (name == "." || name == "..")
            continue;
        if (!isPartName(name)) {
            if (describe(*found, entry))
                return true;
        } else if (m_writable) {
            removePartIfAbandoned(::dirfd(m_directory), found->d_name);
        }
    }
    return false;
}

bool DirectoryReader::describe(const dirent &found, Entry *entry)
{
    struct stat status = {};
    if (::fstatat(::dirfd(m_directory), found.d_name, &status, AT_SYMLINK_NOFOLLOW) != 0)
        return false; // gone since it was read
    if (S_ISLNK(status.st_mode) && !describeLink(found.d_name, &status))
        return false;
    if (!S_ISREG(status.st_mode) && !S_ISDIR(status.st_mode))
        return false;
    entry->name = found.d_name;
    entry->isFolder = S_ISDIR(status.st_mode);
    entry->isWritable = m_writable;
    entry->size = entry->isFolder ? 0 : static_cast<std::uint64_t>(status.st_size);
    entry->modified = status.st_mtim.tv_sec;
    return true;
}

/** What a link leads to, when that is within the share. */
bool DirectoryReader::describeLink(const std::string &name, struct stat *status)
{
    const FileDescriptor target = m_folder->openBeneath(m_relative + '/' + name, O_PATH);
    return target.isValid() && ::fstat(target.get(), status) == 0 && !(S_ISDIR(status->st_mode) && isOnTheWay(*status));
}

bool DirectoryReader::isOnTheWay(const struct stat &status)
{
    if (m_way.empty()) {
        Path path = m_path;
        for (;;) {
            const FileDescriptor folder = m_folder->openBeneath(relativePath(path), O_PATH | O_DIRECTORY);
            struct stat passed = {};
            if (folder.isValid() && ::fstat(folder.get(), &passed) == 0)
                m_way.emplace(passed.st_dev, passed.st_ino);
            if (path.empty())
                break;
            path.pop_back();
        }
    }
    return m_way.count({status.st_dev, status.st_ino}) != 0;
}

} // namespace share
