#include "settings/settingsfile.h"

#include <cerrno>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/file.h>
#include <sys/stat.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace settings {

namespace {

constexpr std::chrono::milliseconds lockTimeout{5000};
constexpr std::chrono::milliseconds lockPause{2};

class Descriptor
{
public:
    explicit Descriptor(int fd) : m_fd(fd) {}
    ~Descriptor()
    {
        if (m_fd >= 0)
            ::close(m_fd);
    }
    Descriptor(const Descriptor &) = delete;
    Descriptor &operator=(const Descriptor &) = delete;
    int get() const { return m_fd; }
    bool isOpen() const { return m_fd >= 0; }

private:
    const int m_fd;
};

// Rename would replace a symbolic link by a plain file, so the file that it leads to is what is written.
std::string target(const std::string &path)
{
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : resolved.string();
}

enum class ReadOutcome { Text, Missing, Failed };

ReadOutcome readAll(const std::string &path, std::string &text)
{
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    if (!file.isOpen())
        return errno == ENOENT || errno == ENOTDIR ? ReadOutcome::Missing : ReadOutcome::Failed;
    struct stat status;
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return ReadOutcome::Failed;
    std::string buffer(64 * 1024, '\0');
    for (;;) {
        const ssize_t count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return ReadOutcome::Failed;
        if (count == 0)
            return ReadOutcome::Text;
        text.append(buffer, 0, static_cast<std::size_t>(count));
        if (text.size() > Document::maxSize + 3)
            return ReadOutcome::Failed;
    }
}

bool lock(int fd)
{
    const auto end = std::chrono::steady_clock::now() + lockTimeout;
    while (::flock(fd, LOCK_EX | LOCK_NB) != 0) {
        if ((errno != EWOULDBLOCK && errno != EINTR) || std::chrono::steady_clock::now() >= end)
            return false;
        std::this_thread::sleep_for(lockPause);
    }
    return true;
}

Outcome failure(int error)
{
    return error == ENOSPC || error == EDQUOT || error == EFBIG ? Outcome::Full : Outcome::Failed;
}

int writeAndSync(int fd, const std::string &text)
{
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(fd, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return errno;
        done += static_cast<std::size_t>(count);
    }
    return ::fsync(fd) == 0 ? 0 : errno;
}

mode_t modeFor(const std::string &path)
{
    struct stat status;
    // Passkeys may stand in it: a new file is its owner's alone.
    return ::stat(path.c_str(), &status) == 0 ? status.st_mode & 0777 : mode_t(0600);
}

void syncFolder(const std::string &folder)
{
    const Descriptor directory(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (directory.isOpen())
        (void)::fsync(directory.get()); // the rename is done; some file systems cannot sync folders
}

/** Under the lock. */
Outcome replaceFile(const std::string &path, const std::string &text)
{
    // One name for all: nobody else writes while the lock is held, so what stands there is a killed writer's.
    const std::string temporary = path + ".new";
    (void)::unlink(temporary.c_str());
    const Descriptor file(
        ::open(temporary.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
    if (!file.isOpen())
        return failure(errno);
    int error = ::fchmod(file.get(), modeFor(path)) == 0 ? 0 : errno;
    if (error == 0)
        error = writeAndSync(file.get(), text);
    if (error == 0 && ::rename(temporary.c_str(), path.c_str()) != 0)
        error = errno;
    if (error != 0) {
        (void)::unlink(temporary.c_str()); // the first error is the one that tells
        return failure(error);
    }
    syncFolder(std::filesystem::path(path).parent_path().string());
    return Outcome::Done;
}

} // namespace

SettingsFile::SettingsFile(std::string path) : m_path(std::move(path)) {}

bool SettingsFile::read(Document &document) const
{
    std::string text;
    const ReadOutcome outcome = readAll(m_path, text);
    if (outcome == ReadOutcome::Failed)
        return false;
    return document.load(text);
}

std::string SettingsFile::value(const std::string &section, const std::string &key, const std::string &fallback) const
{
    Document document;
    return read(document) ? document.value(section, key).value_or(fallback) : fallback;
}

int SettingsFile::intValue(const std::string &section, const std::string &key, int fallback) const
{
    return toInt(value(section, key), fallback);
}

Outcome SettingsFile::write(const std::string &section, const std::string &key, const std::string &value)
{
    return update([&](Document &document) { return document.setValue(section, key, value); });
}

Outcome SettingsFile::update(const std::function<bool(Document &)> &change)
{
    if (m_path.empty())
        return Outcome::Failed;
    const std::string path = target(m_path);
    std::error_code error;
    std::filesystem::create_directories(std::filesystem::path(path).parent_path(), error);
    const Descriptor guard(::open((path + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, 0600));
    if (!guard.isOpen())
        return failure(errno);
    if (!lock(guard.get()))
        return Outcome::Failed;

    std::string old;
    Document document;
    if (readAll(path, old) == ReadOutcome::Failed || !document.load(old))
        return Outcome::Failed;
    if (!change(document))
        return Outcome::Refused;
    const std::optional<std::string> text = document.save();
    if (!text || text->size() > Document::maxSize)
        return Outcome::Refused;
    return *text == old ? Outcome::Done : replaceFile(path, *text);
}

int toInt(const std::string &text, int fallback)
{
    const std::size_t first = text.find_first_not_of(" \t");
    if (first == std::string::npos)
        return fallback;
    const char *begin = text.data() + first;
    const char *end = text.data() + text.find_last_not_of(" \t\r\n") + 1;
    if (*begin == '+' && end - begin > 1 && begin[1] != '-')
        ++begin;
    int number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    return error == std::errc() && stop == end ? number : fallback;
}

} // namespace settings
