/**
 * @file
 * An owned file descriptor.
 */
#ifndef SHARE_FILEDESCRIPTOR_H
#define SHARE_FILEDESCRIPTOR_H

#include <unistd.h>
#include <utility>

namespace share {

/** Closes its descriptor when it goes. Movable, not copyable; -1 means none. */
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int fd) : m_fd(fd) {}
    FileDescriptor(FileDescriptor &&other) noexcept : m_fd(other.release()) {}
    FileDescriptor &operator=(FileDescriptor &&other) noexcept
    {
        reset(other.release());
        return *this;
    }
    FileDescriptor(const FileDescriptor &) = delete;
    FileDescriptor &operator=(const FileDescriptor &) = delete;
    ~FileDescriptor() { reset(); }

    int get() const { return m_fd; }
    bool isValid() const { return m_fd >= 0; }
    int release() { return std::exchange(m_fd, -1); }
    void reset(int fd = -1)
    {
        const int old = std::exchange(m_fd, fd);
        if (old >= 0)
            ::close(old);
    }

private:
    int m_fd = -1;
};

} // namespace share

#endif
