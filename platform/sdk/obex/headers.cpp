#include "obex/headers.h"

#include <QLatin1String>

#include <cstring>

namespace obex {

namespace {

constexpr std::size_t SequencePrefix = 3; // identifier and length. IrOBEX 1.5, 2.1

} // namespace

QString Header::text() const
{
    std::size_t characters = value.size / 2;
    while (characters > 0 && readU16(value.data + (characters - 1) * 2) == 0)
        --characters;
    QString text(static_cast<int>(characters), Qt::Uninitialized);
    QChar *out = text.data();
    for (std::size_t i = 0; i < characters; ++i)
        out[i] = QChar(readU16(value.data + i * 2));
    return text;
}

QString Header::latin1() const
{
    std::size_t size = value.size;
    while (size > 0 && value.data[size - 1] == 0)
        --size;
    return QString::fromLatin1(reinterpret_cast<const char *>(value.data), static_cast<int>(size));
}

HeaderReader::Next HeaderReader::malformed()
{
    m_malformed = true;
    return Next::Malformed;
}

HeaderReader::Next HeaderReader::next(Header &header)
{
    if (m_malformed)
        return Next::Malformed;
    if (m_rest.empty())
        return Next::End;

    header.id = static_cast<HeaderId>(m_rest.data[0]);
    header.number = 0;
    const Encoding encoding = encodingOf(header.id);
    std::size_t prefix = 1;
    std::size_t size = 0;
    if (encoding == Encoding::Byte) {
        size = 2;
    } else if (encoding == Encoding::Number) {
        size = 5;
    } else {
        prefix = SequencePrefix;
        if (m_rest.size < SequencePrefix)
            return malformed();
        size = readU16(m_rest.data + 1);
    }
    if (size < prefix || size > m_rest.size)
        return malformed();

    header.value = m_rest.first(size).from(prefix);
    if (encoding == Encoding::Text && header.value.size % 2 != 0)
        return malformed();
    if (encoding == Encoding::Byte)
        header.number = header.value.data[0];
    else if (encoding == Encoding::Number)
        header.number = readU32(header.value.data);
    m_rest = m_rest.from(size);
    return Next::Header;
}

bool headersAreSound(Bytes headers)
{
    HeaderReader reader(headers);
    Header header;
    HeaderReader::Next next;
    while ((next = reader.next(header)) == HeaderReader::Next::Header) {
    }
    return next == HeaderReader::Next::End;
}

bool findHeader(Bytes headers, HeaderId id, Header &header)
{
    HeaderReader reader(headers);
    while (reader.next(header) == HeaderReader::Next::Header) {
        if (header.id == id)
            return true;
    }
    return false;
}

bool namesFolderBrowsing(Bytes headers, HeaderId id)
{
    Header header;
    return findHeader(headers, id, header) && header.value.size == sizeof FolderBrowsing &&
           std::memcmp(header.value.data, FolderBrowsing, sizeof FolderBrowsing) == 0;
}

void PacketWriter::start(std::uint8_t code)
{
    m_buffer[0] = code;
    m_size = PrefixSize;
}

bool PacketWriter::addConnectFields(std::uint16_t maxPacket)
{
    if (!fits(4))
        return false;
    m_buffer[m_size] = ProtocolVersion;
    m_buffer[m_size + 1] = 0;
    writeU16(m_buffer + m_size + 2, maxPacket);
    m_size += 4;
    return true;
}

bool PacketWriter::addSetPathFields(std::uint8_t flags)
{
    if (!fits(2))
        return false;
    m_buffer[m_size] = flags;
    m_buffer[m_size + 1] = 0;
    m_size += 2;
    return true;
}

bool PacketWriter::addText(HeaderId id, const QString &text)
{
    if (text.isEmpty())
        return addSequence(id, {});
    const auto characters = static_cast<std::size_t>(text.size());
    if (characters > MaxPacketSize / 2 || !fits(SequencePrefix + (characters + 1) * 2))
        return false;
    std::uint8_t *out = sequenceSpace();
    for (const QChar character : text) {
        writeU16(out, character.unicode());
        out += 2;
    }
    writeU16(out, 0);
    return addFilledSequence(id, (characters + 1) * 2);
}

bool PacketWriter::addSequence(HeaderId id, Bytes value)
{
    if (value.size > roomForSequence())
        return false;
    if (!value.empty())
        std::memcpy(sequenceSpace(), value.data, value.size);
    return addFilledSequence(id, value.size);
}

bool PacketWriter::addByte(HeaderId id, std::uint8_t value)
{
    if (!fits(2))
        return false;
    m_buffer[m_size] = static_cast<std::uint8_t>(id);
    m_buffer[m_size + 1] = value;
    m_size += 2;
    return true;
}

bool PacketWriter::addNumber(HeaderId id, std::uint32_t value)
{
    if (!fits(5))
        return false;
    m_buffer[m_size] = static_cast<std::uint8_t>(id);
    writeU32(m_buffer + m_size + 1, value);
    m_size += 5;
    return true;
}

std::size_t PacketWriter::roomForSequence() const
{
    const std::size_t room = m_capacity - m_size;
    return room > SequencePrefix ? room - SequencePrefix : 0;
}

bool PacketWriter::addFilledSequence(HeaderId id, std::size_t size)
{
    if (!fits(SequencePrefix) || size > m_capacity - m_size - SequencePrefix)
        return false;
    m_buffer[m_size] = static_cast<std::uint8_t>(id);
    writeU16(m_buffer + m_size + 1, static_cast<std::uint16_t>(size + SequencePrefix));
    m_size += size + SequencePrefix;
    return true;
}

Bytes PacketWriter::finish()
{
    writeU16(m_buffer + 1, static_cast<std::uint16_t>(m_size));
    return {m_buffer, m_size};
}

} // namespace obex
