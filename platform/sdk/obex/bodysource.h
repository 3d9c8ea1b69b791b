#ifndef OBEX_BODYSOURCE_H
#define OBEX_BODYSOURCE_H

#include "share/folder.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace obex {

/** The bytes of an object on its way to a client. One thread. */
class BodySource
{
public:
    virtual ~BodySource() = default;

    /** The size of the whole object, when it is known beforehand. */
    virtual std::optional<std::uint64_t> size() const { return {}; }

    /** When it was last changed, in seconds since 1970-01-01 UTC, if that is known. */
    virtual std::optional<std::int64_t> modified() const { return {}; }

    /** Whether all that is left fits into room bytes. */
    virtual bool fits(std::size_t room) = 0;

    /** Gives the next bytes: as many as there is room for, or all that are left.
     *  @return false when they cannot be had: the object is not what it was */
    virtual bool read(std::uint8_t *data, std::size_t room, std::size_t *count) = 0;
};

/** A file of the share: as many bytes as it had when it was opened. */
class FileSource : public BodySource
{
public:
    explicit FileSource(share::OpenFile file) : m_file(std::move(file)), m_left(m_file.size) {}

    std::optional<std::uint64_t> size() const override { return m_file.size; }
    std::optional<std::int64_t> modified() const override { return m_file.modified; }
    bool fits(std::size_t room) override { return m_left <= room; }
    bool read(std::uint8_t *data, std::size_t room, std::size_t *count) override;

private:
    share::OpenFile m_file;
    std::uint64_t m_left;
};

} // namespace obex

#endif
