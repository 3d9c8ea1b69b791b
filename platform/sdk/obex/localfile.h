#ifndef OBEX_LOCALFILE_H
#define OBEX_LOCALFILE_H

#include "obex/requests.h"
#include "transport/wakeup.h"

#include <optional>
#include <sys/types.h>
#include <vector>

namespace obex {

/** An open folder of the local file system. */
class LocalFolder
{
public:
    LocalFolder() = default;

    /** Opens the folder that holds path, and gives path's last component. */
    static Error openParent(const QByteArray &path, LocalFolder &folder, QByteArray &name);

    /** Opens a folder of this one; a link to a folder is one. @param create make it when nothing is there */
    Error enter(const QByteArray &name, bool create, LocalFolder &folder) const;

    /** The names of what it holds, sorted. Links to folders, FIFOs, sockets, devices and unfinished files of ours are
     *  left out. */
    Error list(std::vector<QByteArray> &files, std::vector<QByteArray> &folders) const;

    /** Removes the unfinished files that killed processes have left here. */
    void tidy() const;

    int descriptor() const { return m_fd.get(); }

private:
    transport::Descriptor m_fd;
};

/**
 * A file that is being written: it gets its name, or takes the place of the file of that name, with commit() and not
 * before. Without it nothing is left; a process that is killed may leave a part file, which tidy() finds.
 */
class Download
{
public:
    Download() = default;
    ~Download();

    /** LocalFile when a folder or a special file has the name. The folder must stay open. */
    Error open(const LocalFolder &folder, const QByteArray &name);
    /** Makes the file, before the first write. DiskFull when so many bytes cannot be had. @param length if known */
    Error start(std::optional<quint64> length);
    Error write(Bytes bytes);
    Error commit(Seconds modified);

private:
    Error openUnnamed();
    Error openNamed();
    bool hasRoomFor(quint64 bytes) const;
    Error publishNew(bool &published);

    int m_folder = -1;
    QByteArray m_name;
    QByteArray m_temporary; // empty while the file has no name at all
    transport::Descriptor m_fd;
    bool m_replaces = false;
    mode_t m_oldMode = 0;
};

/** A regular file that is being read, as long as it was when it was opened. */
class Upload : public ObjectSource
{
public:
    /** LocalFile for anything but a readable regular file, or a link to one; never blocks on a FIFO. */
    Error open(const LocalFolder &folder, const QByteArray &name);
    quint64 size() const { return m_size; }
    Seconds modified() const { return m_modified; }

    quint64 remaining() const override { return m_size - m_done; }
    Error read(std::uint8_t *data, std::size_t size) override;

private:
    transport::Descriptor m_fd;
    quint64 m_size = 0;
    quint64 m_done = 0;
    Seconds m_modified = NoTime;
};

} // namespace obex

#endif
