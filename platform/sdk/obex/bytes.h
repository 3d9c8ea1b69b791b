#ifndef OBEX_BYTES_H
#define OBEX_BYTES_H

#include <QByteArray>

#include <cstddef>
#include <cstdint>

namespace obex {

/** Bytes that somebody else owns. */
struct Bytes
{
    const std::uint8_t *data = nullptr;
    std::size_t size = 0;

    bool empty() const { return size == 0; }
    /** Everything from offset on. @param offset 0 to size */
    Bytes from(std::size_t offset) const { return {data + offset, size - offset}; }
    /** The first count bytes. @param count 0 to size */
    Bytes first(std::size_t count) const { return {data, count}; }
};

/** The bytes of an array, which has to stay. */
inline Bytes bytesOf(const QByteArray &array)
{
    return {reinterpret_cast<const std::uint8_t *>(array.constData()), static_cast<std::size_t>(array.size())};
}

/** What came of reading something off a buffer. */
enum class Parse {
    Ok,
    NeedMore, /**< the buffer ends before the packet does */
    Malformed /**< no further byte can make it right; the link is out of step and must be closed */
};

/** Multi-byte numbers are big-endian on the wire. IrOBEX 1.5, 2.1 */
inline std::uint16_t readU16(const std::uint8_t *data)
{
    return static_cast<std::uint16_t>(data[0] << 8 | data[1]);
}

inline std::uint32_t readU32(const std::uint8_t *data)
{
    return static_cast<std::uint32_t>(readU16(data)) << 16 | readU16(data + 2);
}

inline void writeU16(std::uint8_t *data, std::uint16_t value)
{
    data[0] = static_cast<std::uint8_t>(value >> 8);
    data[1] = static_cast<std::uint8_t>(value);
}

inline void writeU32(std::uint8_t *data, std::uint32_t value)
{
    writeU16(data, static_cast<std::uint16_t>(value >> 16));
    writeU16(data + 2, static_cast<std::uint16_t>(value));
}

} // namespace obex

#endif
