/**
 * @file
 * The entries of one folder of the share, one after the other.
 */
#ifndef SHARE_DIRECTORYREADER_H
#define SHARE_DIRECTORYREADER_H

#include "share/folder.h"

#include <dirent.h>
#include <set>
#include <utility>

namespace share {

/** One file or folder. */
struct Entry
{
    std::string name; ///< as stored, 1 to 255 bytes in no promised encoding
    bool isFolder = false;
    bool isWritable = false;   ///< may be changed or removed by a client
    std::uint64_t size = 0;    ///< bytes, 0 for folders
    std::int64_t modified = 0; ///< seconds since 1970-01-01 UTC
};

/**
 * Reads a folder entry by entry, so that a large one needs no memory.
 *
 * Left out are special files, links that dangle or leave the share, and unfinished uploads. A link to a folder that one
 * passes on the way here is left out too: a client that fetches the tree would never come to its end. One thread.
 */
class DirectoryReader
{
public:
    /** @param directory  owned from here on */
    DirectoryReader(std::shared_ptr<const Folder> folder, Path path, DIR *directory);
    ~DirectoryReader();
    DirectoryReader(const DirectoryReader &) = delete;
    DirectoryReader &operator=(const DirectoryReader &) = delete;

    /** The next entry. @return false at the end */
    bool next(Entry *entry);

private:
    using FileId = std::pair<dev_t, ino_t>;

    bool describe(const dirent &found, Entry *entry);
    bool describeLink(const std::string &name, struct stat *status);
    bool isOnTheWay(const struct stat &status);

    std::shared_ptr<const Folder> m_folder;
    Path m_path;
    std::string m_relative;
    DIR *m_directory;
    bool m_writable;
    std::set<FileId> m_way; ///< the folders from the root to here; filled when the first link to a folder is met
};

} // namespace share

#endif
