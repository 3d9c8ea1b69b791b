#include "scratch.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

constexpr int kAttempts = 10;
const QString kPrefix = QStringLiteral("velmaro-demo-");

/** Opens and locks a folder. @return -1 when it is not ours, is no folder, or somebody has it locked */
int lockFolder(const QString &path)
{
    const int fd = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    if (fd < 0)
        return -1;
    // Looked at once it is locked: until then another process may have been removing it.
    struct stat status;
    if (::flock(fd, LOCK_EX | LOCK_NB) != 0 || ::fstat(fd, &status) != 0 || status.st_uid != ::geteuid() ||
        status.st_nlink == 0) {
        ::close(fd);
        return -1;
    }
    return fd;
}

void removeAbandoned()
{
    QDir temporary(QDir::tempPath());
    const QStringList folders = temporary.entryList({kPrefix + QLatin1Char('*')}, QDir::Dirs | QDir::NoSymLinks);
    for (const QString &name : folders) {
        const QString path = temporary.filePath(name);
        const int lock = lockFolder(path);
        if (lock < 0)
            continue;
        QDir(path).removeRecursively();
        ::close(lock);
    }
}

} // namespace

std::unique_ptr<Scratch> Scratch::create(QString *error)
{
    removeAbandoned();
    for (int attempt = 0; attempt < kAttempts; ++attempt) {
        QByteArray path = QFile::encodeName(QDir(QDir::tempPath()).filePath(kPrefix + QStringLiteral("XXXXXX")));
        if (!::mkdtemp(path.data())) {
            *error = QStringLiteral("cannot make a folder in %1: %2")
                         .arg(QDir::tempPath(), QString::fromLocal8Bit(std::strerror(errno)));
            return nullptr;
        }
        const QString name = QFile::decodeName(path);
        const int lock = lockFolder(name);
        if (lock >= 0)
            return std::unique_ptr<Scratch>(new Scratch(name, lock));
        // Another demo device that starts at this moment took it for an abandoned one, and removes it.
    }
    *error = QStringLiteral("cannot lock a folder in %1").arg(QDir::tempPath());
    return nullptr;
}

Scratch::~Scratch()
{
    QDir(m_path).removeRecursively();
    ::close(m_lock);
}
