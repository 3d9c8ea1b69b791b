#include "share/partfile.h"

#include "share/filedescriptor.h"

#include <cstdint>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/random.h>
#include <sys/stat.h>

namespace share {

namespace {

constexpr std::string_view Prefix = ".btftp-part-";
constexpr std::size_t RandomDigits = 16;

/** Opens what may be a part file, without waiting for anything that is none. */
FileDescriptor openPart(int folder, const char *name, struct stat *status)
{
    FileDescriptor file(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
    if (file.isValid() && (::fstat(file.get(), status) != 0 || !S_ISREG(status->st_mode)))
        file.reset();
    return file;
}

bool isAbandoned(const FileDescriptor &file)
{
    return file.isValid() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0;
}

} // namespace

std::string freshPartName()
{
    std::uint64_t random = 0;
    (void)::getrandom(&random, sizeof random, 0); // a repeated name is found out when it is used
    char digits[RandomDigits + 1];
    (void)std::snprintf(digits, sizeof digits, "%016llx", static_cast<unsigned long long>(random));
    return std::string(Prefix) + digits;
}

bool isPartName(std::string_view name)
{
    return name.size() == Prefix.size() + RandomDigits && name.substr(0, Prefix.size()) == Prefix &&
           name.find_first_not_of("0123456789abcdef", Prefix.size()) == name.npos;
}

void claimPart(int file)
{
    // Whoever tidies up right now holds it for a moment, and has removed the file by then, which its writer can see.
    // Without locks only the tidying up is worse.
    (void)::flock(file, LOCK_EX);
}

void removePartIfAbandoned(int folder, const char *name)
{
    struct stat status = {};
    const FileDescriptor file = openPart(folder, name, &status);
    if (isAbandoned(file))
        (void)::unlinkat(folder, name, 0); // if it stays, the next one to come by tries again
}

void removeAbandonedParts(int folder)
{
    FileDescriptor own(::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const std::unique_ptr<DIR, int (*)(DIR *)> entries(::fdopendir(own.get()), ::closedir);
    if (!entries)
        return;
    (void)own.release(); // the directory stream owns it now
    while (const dirent *entry = ::readdir(entries.get())) {
        if (!isPartName(entry->d_name))
            continue;
        struct stat status = {};
        const FileDescriptor file = openPart(folder, entry->d_name, &status);
        if (file.isValid() && status.st_uid == ::geteuid() && isAbandoned(file))
            (void)::unlinkat(folder, entry->d_name, 0);
    }
}

} // namespace share
