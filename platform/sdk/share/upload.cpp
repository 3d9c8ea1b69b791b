#include "share/upload.h"

#include "share/partfile.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace share {

namespace {

constexpr int MaxNameAttempts = 8;

/** Where the kernel shows an open descriptor, for giving a name to a file that has none. */
std::string descriptorPath(int fd)
{
    return "/proc/self/fd/" + std::to_string(fd);
}

} // namespace

Status checkReplaceable(int parent, const std::string &name)
{
    struct stat status = {};
    if (::fstatat(parent, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0)
        return errno == ENOENT ? Status::Ok : writeStatus(errno);
    if (S_ISDIR(status.st_mode))
        return Status::WrongKind;
    if (!S_ISREG(status.st_mode))
        return Status::Refused;
    return ::faccessat(parent, name.c_str(), W_OK, AT_EACCESS) == 0 ? Status::Ok : writeStatus(errno);
}

Upload::Upload(std::shared_ptr<const Folder> folder, std::string relativeFolder, std::string name,
               FileDescriptor parent)
    : m_folder(std::move(folder)),
      m_relativeFolder(std::move(relativeFolder)),
      m_name(std::move(name)),
      m_parent(std::move(parent))
{
}

Upload::~Upload()
{
    if (!m_temporaryName.empty())
        (void)::unlinkat(m_parent.get(), m_temporaryName.c_str(), 0); // the next listing removes what stays
}

Status Upload::open()
{
    m_file.reset(::openat(m_parent.get(), ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
    if (m_file.isValid())
        return Status::Ok;
    // EISDIR and EOPNOTSUPP: the kernel or the file system knows no files without a name.
    return errno == EISDIR || errno == EOPNOTSUPP || errno == EINVAL ? openNamed() : writeStatus(errno);
}

Status Upload::openNamed()
{
    for (int attempt = 0; attempt < MaxNameAttempts; ++attempt) {
        std::string name = freshPartName();
        m_file.reset(
            ::openat(m_parent.get(), name.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC | O_NOFOLLOW, 0666));
        if (m_file.isValid()) {
            claimPart(m_file.get());
            m_temporaryName = std::move(name);
            struct stat status = {};
            if (::fstat(m_file.get(), &status) == 0 && status.st_nlink > 0)
                return Status::Ok;
            m_temporaryName.clear(); // a listing was quicker than the lock and tidied the file away
        } else if (errno != EEXIST)
            return writeStatus(errno);
    }
    return Status::Failed;
}

Status Upload::write(const void *data, std::size_t size)
{
    const char *next = static_cast<const char *>(data);
    while (size > 0) {
        const ssize_t written = ::write(m_file.get(), next, size);
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            return writeStatus(errno);
        next += written;
        size -= static_cast<std::size_t>(written);
        m_size += static_cast<std::uint64_t>(written);
    }
    return Status::Ok;
}

Status Upload::commit()
{
    // What stands there now, not what stood there when the upload began.
    const Status status = parentMoved() ? Status::NotFound : checkReplaceable(m_parent.get(), m_name);
    if (status != Status::Ok)
        return status;
    applyAttributes();
    return linkInPlace();
}

/** Whether the folder stands elsewhere than when the upload began; it may have left the share. */
bool Upload::parentMoved() const
{
    const FileDescriptor now = m_folder->openBeneath(m_relativeFolder, O_PATH | O_DIRECTORY);
    struct stat then = {};
    struct stat present = {};
    return !now.isValid() || ::fstat(now.get(), &present) != 0 || ::fstat(m_parent.get(), &then) != 0 ||
           then.st_dev != present.st_dev || then.st_ino != present.st_ino;
}

/** A replaced file hands on who may read it. */
void Upload::applyAttributes()
{
    struct stat old = {};
    if (::fstatat(m_parent.get(), m_name.c_str(), &old, AT_SYMLINK_NOFOLLOW) == 0)
        (void)::fchmod(m_file.get(), old.st_mode & 0777); // file systems without modes have nothing to hand on
    if (m_modified) {
        const timespec times[2] = {{0, UTIME_NOW}, {static_cast<time_t>(*m_modified), 0}};
        (void)::futimens(m_file.get(), times); // a time that cannot be stored does not spoil the file
    }
}

Status Upload::linkInPlace()
{
    if (m_temporaryName.empty()) {
        const std::string source = descriptorPath(m_file.get());
        if (::linkat(AT_FDCWD, source.c_str(), m_parent.get(), m_name.c_str(), AT_SYMLINK_FOLLOW) == 0)
            return Status::Ok;
        if (errno != EEXIST)
            return writeStatus(errno);
        // A link cannot replace a file, a rename can; the lock tells a listing at this moment to leave the name alone.
        claimPart(m_file.get());
        for (int attempt = 0; m_temporaryName.empty(); ++attempt) {
            std::string name = freshPartName();
            if (::linkat(AT_FDCWD, source.c_str(), m_parent.get(), name.c_str(), AT_SYMLINK_FOLLOW) == 0)
                m_temporaryName = std::move(name);
            else if (errno != EEXIST || attempt == MaxNameAttempts)
                return writeStatus(errno);
        }
    }
    if (::renameat(m_parent.get(), m_temporaryName.c_str(), m_parent.get(), m_name.c_str()) != 0)
        return writeStatus(errno);
    m_temporaryName.clear();
    return Status::Ok;
}

} // namespace share
