/**
 * @file
 * The one folder that the file transfer server shows to its clients.
 */
#ifndef SHARE_FOLDER_H
#define SHARE_FOLDER_H

#include "share/filedescriptor.h"
#include "share/status.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace share {

class DirectoryReader;
class Upload;

/** Names of folders from the root of the share downwards; empty is the root itself. */
using Path = std::vector<std::string>;

/** Whether a file or folder of the share may have this name: 1 to 255 bytes, not "." or "..", without "/" and NUL, and
 *  none of the names that unfinished uploads have. */
bool isStorableName(std::string_view name);

/** A file that was opened for reading. */
struct OpenFile
{
    FileDescriptor fd;
    std::uint64_t size = 0;
    std::int64_t modified = 0; ///< seconds since 1970-01-01 UTC
};

/**
 * A folder of the local file system as strangers may see it.
 *
 * Every path is resolved by the kernel beneath the root (openat2 with RESOLVE_BENEATH): a symbolic link that stays
 * within the share is followed for reading, one that leaves it is refused, however it is swapped about meanwhile.
 * FIFOs, sockets and devices are refused before they are opened. What fails changes nothing.
 *
 * Any thread may call any function at any time; the object never changes after it was opened.
 */
class Folder : public std::enable_shared_from_this<Folder>
{
public:
    /** Opens the folder at path ("" is the current one); null when it is no folder or cannot be entered. */
    static std::shared_ptr<const Folder> open(const std::string &path, Access access);

    Access access() const { return m_access; }

    /** Ok when path names a folder of the share. */
    Status enter(const Path &path) const;

    /** Starts to list a folder. */
    Status list(const Path &path, std::unique_ptr<DirectoryReader> *reader) const;

    /** Opens a regular file for reading. */
    Status openFile(const Path &folder, const std::string &name, OpenFile *file) const;

    /** Makes a folder; one that exists already is WrongKind when it is a file, else Ok. */
    Status createFolder(const Path &folder, const std::string &name) const;

    /** Removes a file, a link itself, or a folder with all that it holds. Links are never followed. */
    Status remove(const Path &folder, const std::string &name) const;

    /**
     * Starts a file that replaces the one of that name, if any, when it is complete.
     * @param expectedSize  bytes to come if known: Full at once when they cannot fit
     */
    Status startUpload(const Path &folder, const std::string &name, std::optional<std::uint64_t> expectedSize,
                       std::unique_ptr<Upload> *upload) const;

private:
    friend class DirectoryReader;
    friend class Upload;

    Folder(FileDescriptor root, Access access) : m_root(std::move(root)), m_access(access) {}

    /** Opens beneath the root. @return the descriptor, or none with errno set */
    FileDescriptor openBeneath(const std::string &relative, int flags, std::uint64_t resolve = 0) const;
    Status openParent(const Path &folder, const std::string &name, FileDescriptor *parent) const;
    Status removeTree(const std::string &relative) const;

    FileDescriptor m_root;
    Access m_access;
};

/** The path as openat2 takes it, "." for the root. */
std::string relativePath(const Path &path);

} // namespace share

#endif
