#include "obex/localfile.h"

#include "share/partfile.h"

#include <algorithm>
#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace obex {

namespace {

Error errorOfErrno()
{
    switch (errno) {
    case ENOSPC:
    case EDQUOT:
    case EFBIG: // the file system takes no file of that size
        return Error::DiskFull;
    case ENAMETOOLONG:
        return Error::NameTooLong;
    case EMFILE:
    case ENFILE:
        return Error::Internal;
    default:
        return Error::LocalFile;
    }
}

} // namespace

Error LocalFolder::openParent(const QByteArray &path, LocalFolder &folder, QByteArray &name)
{
    QByteArray trimmed = path;
    while (trimmed.size() > 1 && trimmed.endsWith('/'))
        trimmed.chop(1);
    const int slash = trimmed.lastIndexOf('/');
    name = trimmed.mid(slash + 1);
    if (path.contains('\0') || name.isEmpty() || name == "." || name == "..")
        return Error::InvalidParameter;
    const QByteArray parent = slash < 0 ? QByteArray(".") : trimmed.left(std::max(slash, 1));
    folder.m_fd = transport::Descriptor(::open(parent.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.m_fd.valid() && errno == EACCES) // a folder that may be entered, but not listed
        folder.m_fd = transport::Descriptor(::open(parent.constData(), O_PATH | O_DIRECTORY | O_CLOEXEC));
    return folder.m_fd.valid() ? Error::None : errorOfErrno();
}

Error LocalFolder::enter(const QByteArray &name, bool create, LocalFolder &folder) const
{
    if (create && ::mkdirat(m_fd.get(), name.constData(), 0777) != 0 && errno != EEXIST)
        return errorOfErrno();
    transport::Descriptor fd(::openat(m_fd.get(), name.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!fd.valid())
        return errorOfErrno();
    folder.m_fd = std::move(fd);
    return Error::None;
}

Error LocalFolder::list(std::vector<QByteArray> &files, std::vector<QByteArray> &folders) const
{
    const int own = ::openat(m_fd.get(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0)
        return errorOfErrno();
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::fdopendir(own), ::closedir);
    if (!entries) {
        ::close(own);
        return Error::Internal;
    }
    for (;;) {
        errno = 0;
        const dirent *entry = ::readdir(entries.get());
        if (!entry)
            break;
        const QByteArray name(entry->d_name);
        if (name == "." || name == ".." || share::isPartName(entry->d_name))
            continue;
        struct stat info
        {
        };
        if (::fstatat(m_fd.get(), entry->d_name, &info, AT_SYMLINK_NOFOLLOW) != 0) {
            if (errno != ENOENT) // gone meanwhile; any other is not to be left out in silence
                return errorOfErrno();
            continue;
        }
        if (S_ISDIR(info.st_mode))
            folders.push_back(name);
        else if (S_ISREG(info.st_mode) ||
                 (S_ISLNK(info.st_mode) && ::fstatat(m_fd.get(), entry->d_name, &info, 0) == 0 &&
                  S_ISREG(info.st_mode)))
            files.push_back(name);
    }
    if (errno != 0)
        return errorOfErrno();
    std::sort(files.begin(), files.end());
    std::sort(folders.begin(), folders.end());
    return Error::None;
}

void LocalFolder::tidy() const
{
    share::removeAbandonedParts(m_fd.get());
}

Download::~Download()
{
    if (!m_temporary.isEmpty())
        (void)::unlinkat(m_folder, m_temporary.constData(), 0);
}

Error Download::open(const LocalFolder &folder, const QByteArray &name)
{
    m_folder = folder.descriptor();
    m_name = name;
    struct stat old
    {
    };
    if (::fstatat(m_folder, name.constData(), &old, 0) == 0) {
        m_replaces = true;
        m_oldMode = old.st_mode & 0777;
        return S_ISREG(old.st_mode) ? Error::None : Error::LocalFile;
    }
    return errno == ENOENT || errno == ELOOP ? Error::None : errorOfErrno();
}

Error Download::start(std::optional<quint64> length)
{
    // A file without a name vanishes by itself, even when the process is killed; but it costs several times as much
    // to make, which shows with many small files, and those are complete a moment later.
    constexpr quint64 small = 256 * 1024;
    Error error = length && *length <= small ? openNamed() : openUnnamed();
    if (error == Error::None && m_replaces) // the new file is as private as the old one was
        (void)::fchmod(m_fd.get(), m_oldMode);
    if (error == Error::None && !hasRoomFor(length.value_or(0)))
        error = Error::DiskFull;
    return error;
}

Error Download::openUnnamed()
{
    m_fd = transport::Descriptor(::openat(m_folder, ".", O_TMPFILE | O_WRONLY | O_CLOEXEC, 0666));
    if (m_fd.valid())
        return Error::None;
    const bool unsupported = errno == EOPNOTSUPP || errno == EISDIR || errno == EINVAL || errno == ENOENT;
    return unsupported ? openNamed() : errorOfErrno();
}

Error Download::openNamed()
{
    constexpr int attempts = 8;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const QByteArray name = QByteArray::fromStdString(share::freshPartName());
        m_fd = transport::Descriptor(
            ::openat(m_folder, name.constData(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, 0666));
        if (!m_fd.valid())
            return errorOfErrno();
        share::claimPart(m_fd.get());
        struct stat status
        {
        };
        m_temporary = name;
        if (::fstat(m_fd.get(), &status) == 0 && status.st_nlink > 0)
            return Error::None;
        m_temporary.clear(); // somebody who tidied up was quicker than the claim
    }
    return Error::LocalFile;
}

bool Download::hasRoomFor(quint64 bytes) const
{
    constexpr quint64 worthLooking = 1024 * 1024;
    struct statvfs disk
    {
    };
    return bytes < worthLooking || ::fstatvfs(m_fd.get(), &disk) != 0 || bytes / disk.f_frsize < disk.f_bavail;
}

Error Download::write(Bytes bytes)
{
    while (!bytes.empty()) {
        const ssize_t written = ::write(m_fd.get(), bytes.data, bytes.size);
        if (written > 0)
            bytes = bytes.from(static_cast<std::size_t>(written));
        else if (written == 0 || errno != EINTR)
            return written == 0 ? Error::DiskFull : errorOfErrno();
    }
    return Error::None;
}

Error Download::publishNew(bool &published)
{
    const QByteArray self = "/proc/self/fd/" + QByteArray::number(m_fd.get());
    const auto linkAs = [&](const QByteArray &name) {
        return m_temporary.isEmpty()
                   ? ::linkat(AT_FDCWD, self.constData(), m_folder, name.constData(), AT_SYMLINK_FOLLOW) == 0
                   : ::linkat(m_folder, m_temporary.constData(), m_folder, name.constData(), 0) == 0;
    };
    // Where nothing stands a link is enough, and several times as fast as a rename.
    published = !m_replaces && linkAs(m_name);
    if (published || !m_temporary.isEmpty())
        return Error::None;
    const QByteArray name = QByteArray::fromStdString(share::freshPartName());
    share::claimPart(m_fd.get());
    if (!linkAs(name))
        return errorOfErrno();
    m_temporary = name;
    return Error::None;
}

Error Download::commit(Seconds modified)
{
    if (modified != NoTime) {
        const timespec times[2] = {{0, UTIME_OMIT}, {static_cast<std::time_t>(modified), 0}};
        // A file system that cannot hold the time still holds the file.
        (void)::futimens(m_fd.get(), times);
    }
    bool published = false;
    const Error error = publishNew(published);
    if (error != Error::None || published) // a temporary name goes with the object
        return error;
    if (::renameat(m_folder, m_temporary.constData(), m_folder, m_name.constData()) != 0)
        return errorOfErrno();
    m_temporary.clear();
    return Error::None;
}

Error Upload::open(const LocalFolder &folder, const QByteArray &name)
{
    struct stat info
    {
    };
    if (::fstatat(folder.descriptor(), name.constData(), &info, 0) != 0 || !S_ISREG(info.st_mode))
        return Error::LocalFile;
    // Between look and open the name may have become a FIFO's: never wait for its writer.
    m_fd = transport::Descriptor(
        ::openat(folder.descriptor(), name.constData(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (!m_fd.valid())
        return errorOfErrno();
    if (::fstat(m_fd.get(), &info) != 0 || !S_ISREG(info.st_mode))
        return Error::LocalFile;
    m_size = static_cast<quint64>(info.st_size);
    m_modified = info.st_mtim.tv_sec;
    return Error::None;
}

Error Upload::read(std::uint8_t *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t got = ::read(m_fd.get(), data, size);
        if (got == 0) // it has been cut short meanwhile; half a file must not pass for one
            return Error::LocalFile;
        if (got < 0) {
            if (errno == EINTR)
                continue;
            return errorOfErrno();
        }
        data += got;
        size -= static_cast<std::size_t>(got);
        m_done += static_cast<quint64>(got);
    }
    return Error::None;
}

} // namespace obex
