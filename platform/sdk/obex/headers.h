#ifndef OBEX_HEADERS_H
#define OBEX_HEADERS_H

#include "obex/packet.h"

#include <QString>

namespace obex {

/** Header identifiers. The two high bits give the encoding. IrOBEX 1.5, 2.1 and 2.2 */
enum class HeaderId : std::uint8_t {
    Name = 0x01,
    Description = 0x05,
    DestName = 0x15,
    Type = 0x42,
    Time = 0x44,
    Target = 0x46,
    Http = 0x47,
    Body = 0x48,
    EndOfBody = 0x49,
    Who = 0x4A,
    AppParameters = 0x4C,
    AuthChallenge = 0x4D,
    AuthResponse = 0x4E,
    WanUuid = 0x50,
    ObjectClass = 0x51,
    SessionParameters = 0x52,
    SessionSequence = 0x93,
    ActionId = 0x94,
    Srm = 0x97,
    SrmParameters = 0x98,
    Count = 0xC0,
    Length = 0xC3,
    Time4 = 0xC4,
    ConnectionId = 0xCB,
    CreatorId = 0xCF,
    Permissions = 0xD6
};

/** How a header's value is laid out. IrOBEX 1.5, 2.1 */
enum class Encoding : std::uint8_t { Text = 0x00, Sequence = 0x40, Byte = 0x80, Number = 0xC0 };

constexpr Encoding encodingOf(HeaderId id)
{
    return static_cast<Encoding>(static_cast<std::uint8_t>(id) & 0xC0);
}

/** Values of Srm and SrmParameters. IrOBEX 1.5, 2.2.23 and 2.2.24 */
constexpr std::uint8_t SrmDisable = 0x00;
constexpr std::uint8_t SrmEnable = 0x01;
constexpr std::uint8_t SrmSupported = 0x02;
constexpr std::uint8_t SrmpNextPacket = 0x00; // ask for one more request packet
constexpr std::uint8_t SrmpWait = 0x01;       // answer the next packet, too

/** The Target of folder browsing: F9EC7BC4-953C-11D2-984E-525400DC9E09. IrOBEX 1.5, 6.3 */
constexpr std::uint8_t FolderBrowsing[16] = {0xF9, 0xEC, 0x7B, 0xC4, 0x95, 0x3C, 0x11, 0xD2,
                                             0x98, 0x4E, 0x52, 0x54, 0x00, 0xDC, 0x9E, 0x09};

/** The Type of a folder listing, without the NUL that ends it on the wire. IrOBEX 1.5, 9.1.1 */
constexpr char ListingType[] = "x-obex/folder-listing";

/** One header as it stands in a packet. */
struct Header
{
    HeaderId id = HeaderId::Count;
    Bytes value;              /**< Text: UTF-16 big-endian; Sequence: as sent; Byte, Number: the raw bytes */
    std::uint32_t number = 0; /**< Byte and Number: the value */

    /** Text without the NUL that ends it; the value is known to be of whole characters. */
    QString text() const;
    /** A Sequence that is text (Type, Time) without NULs at its end, as Latin-1. */
    QString latin1() const;
};

/** Walks the headers of one packet; identifiers that mean nothing to the reader are simply passed on. */
class HeaderReader
{
public:
    enum class Next { Header, End, Malformed };

    explicit HeaderReader(Bytes headers) : m_rest(headers) {}

    /** Malformed: a length that overruns or is too small, or text of an odd number of bytes; it stays so. */
    Next next(Header &header);

private:
    Next malformed();

    Bytes m_rest;
    bool m_malformed = false;
};

/** True when every header up to the end is well formed. */
bool headersAreSound(Bytes headers);

/** Finds the first header of that identifier; false as well when a malformed one comes first. */
bool findHeader(Bytes headers, HeaderId id, Header &header);

/** Whether the first header of that identifier, Target or Who, names folder browsing. */
bool namesFolderBrowsing(Bytes headers, HeaderId id);

/**
 * Builds one packet in a buffer of the caller's. What does not fit is refused as a whole and leaves the packet as it
 * was, so that it can be sent without.
 */
class PacketWriter
{
public:
    /** @param capacity what the peer takes, 3 to 65535; the buffer holds at least as much */
    PacketWriter(std::uint8_t *buffer, std::size_t capacity) : m_buffer(buffer), m_capacity(capacity) {}

    void begin(Opcode opcode) { start(static_cast<std::uint8_t>(opcode)); }
    void begin(ResponseCode code) { start(static_cast<std::uint8_t>(code)); }

    bool addConnectFields(std::uint16_t maxPacket);
    bool addSetPathFields(std::uint8_t flags);

    /** UTF-16 with its NUL; null or empty text gives the empty header, which is legal. */
    bool addText(HeaderId id, const QString &text);
    bool addSequence(HeaderId id, Bytes value);
    bool addByte(HeaderId id, std::uint8_t value);
    bool addNumber(HeaderId id, std::uint32_t value);

    /** Room for a sequence's value in this packet, 0 when not even its header fits. */
    std::size_t roomForSequence() const;
    /** Where the value of a sequence goes that is added next; fill it, then call addFilledSequence. */
    std::uint8_t *sequenceSpace() { return m_buffer + m_size + PrefixSize; }
    bool addFilledSequence(HeaderId id, std::size_t size);

    /** Replaces the code: whether a packet is the final one shows only when its body is in it. */
    void recode(Opcode opcode) { m_buffer[0] = static_cast<std::uint8_t>(opcode); }

    /** Writes the length into the prefix. @return the packet, ready to be sent */
    Bytes finish();

private:
    void start(std::uint8_t code);
    bool fits(std::size_t bytes) const { return bytes <= m_capacity - m_size; }

    std::uint8_t *m_buffer;
    std::size_t m_capacity;
    std::size_t m_size = 0;
};

} // namespace obex

#endif
