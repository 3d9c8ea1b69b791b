/**
 * @file
 * A file on its way into the share.
 */
#ifndef SHARE_UPLOAD_H
#define SHARE_UPLOAD_H

#include "share/folder.h"

namespace share {

/**
 * Collects the bytes of a file out of sight and puts it in place as a whole.
 *
 * The bytes go into a file without a name where the file system has such (O_TMPFILE), so that nothing is left over
 * whatever happens; else into a hidden file that is locked while it is written, and that the next listing of the folder
 * removes when its writer has died. An upload that is destroyed without commit() leaves everything as it was. The data
 * are not synced: a file of a client who has been told "success" may be lost to a power failure, never an older one to
 * anything else. One thread.
 */
class Upload
{
public:
    /** Takes the pieces as Folder::startUpload checked them; call open() next. */
    Upload(std::shared_ptr<const Folder> folder, std::string relativeFolder, std::string name, FileDescriptor parent);
    ~Upload();
    Upload(const Upload &) = delete;
    Upload &operator=(const Upload &) = delete;

    Status open();

    /** Appends bytes. After a failure the upload is good for nothing but to be destroyed. */
    Status write(const void *data, std::size_t size);

    /** The modification time that the finished file gets, in seconds since 1970-01-01 UTC. */
    void setModified(std::int64_t seconds) { m_modified = seconds; }

    /** Puts the file in place, replacing a file of that name; the last call. */
    Status commit();

    const std::string &name() const { return m_name; }
    std::uint64_t size() const { return m_size; }

private:
    Status openNamed();
    void applyAttributes();
    Status linkInPlace();
    bool parentMoved() const;

    std::shared_ptr<const Folder> m_folder;
    std::string m_relativeFolder;
    std::string m_name;
    FileDescriptor m_parent;
    FileDescriptor m_file;
    std::string m_temporaryName; ///< empty while the file has no name
    std::uint64_t m_size = 0;
    std::optional<std::int64_t> m_modified;
};

/** Ok when a file may be put under this name of parent: there is none, or a regular one that this user may change. */
Status checkReplaceable(int parent, const std::string &name);

} // namespace share

#endif
