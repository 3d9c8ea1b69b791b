#include "obex/listingparser.h"

#include <limits>
#include <utility>

namespace obex {

namespace {

constexpr int MaxDepth = 8;
constexpr int MaxAttributes = 64;

quint64 parseSize(QStringView text)
{
    quint64 size = 0;
    for (const QChar c : text) {
        if (c < QLatin1Char('0') || c > QLatin1Char('9'))
            return 0;
        const quint64 digit = c.unicode() - u'0';
        if (size > (std::numeric_limits<quint64>::max() - digit) / 10)
            return std::numeric_limits<quint64>::max();
        size = size * 10 + digit;
    }
    return size;
}

} // namespace

bool isEntryName(const QByteArray &name)
{
    return !name.isEmpty() && name.size() <= MaxEntryName && name != "." && name != ".." && !name.contains('/') &&
           !name.contains('\0');
}

ListingParser::ListingParser(EntryFunction entry) : m_entry(std::move(entry)) {}

Error ListingParser::feed(Bytes bytes)
{
    // Some peers end the text with a NUL or a line of their own: what follows the listing does not matter.
    while (m_error == Error::None && !m_done && !bytes.empty()) {
        const std::size_t size = nextPiece(bytes);
        m_error = feedPiece({bytes.data, size});
        bytes = bytes.from(size);
    }
    return m_error;
}

/**
 * How many bytes the reader may be given before it is to say whether the listing is over: it decodes all that it has,
 * and what follows the listing need not even be text. The root can end with any tag as long as it has not been seen,
 * later with an end tag alone; the entries of a listing have none.
 */
std::size_t ListingParser::nextPiece(Bytes bytes)
{
    for (std::size_t at = 0; at < bytes.size; ++at) {
        const std::uint8_t before = std::exchange(m_lastByte, bytes.data[at]);
        if (m_lastByte == '/' && before == '<')
            m_endTag = true;
        if (m_lastByte == '>' && (std::exchange(m_endTag, false) || m_depth == 0))
            return at + 1;
    }
    return bytes.size;
}

Error ListingParser::feedPiece(Bytes bytes)
{
    m_bytes += bytes.size;
    m_unread += bytes.size;
    if (m_bytes > static_cast<std::size_t>(MaxListingBytes))
        return Error::TooMuch;
    m_reader.addData(QByteArray(reinterpret_cast<const char *>(bytes.data), static_cast<int>(bytes.size)));
    return readTokens();
}

Error ListingParser::finish() const
{
    if (m_error != Error::None)
        return m_error;
    return m_done ? Error::None : Error::Protocol;
}

Error ListingParser::readTokens()
{
    while (!m_done) {
        if (m_reader.readNext() == QXmlStreamReader::Invalid) {
            if (m_reader.error() != QXmlStreamReader::PrematureEndOfDocumentError)
                return Error::Protocol;
            return m_unread > static_cast<std::size_t>(MaxListingToken) ? Error::TooMuch : Error::None;
        }
        m_unread = 0;
        const Error error = readToken();
        if (error != Error::None)
            return error;
    }
    return Error::None;
}

Error ListingParser::readToken()
{
    switch (m_reader.tokenType()) {
    case QXmlStreamReader::DTD:
        return m_reader.entityDeclarations().isEmpty() ? Error::None : Error::Protocol;
    case QXmlStreamReader::StartElement:
        return startElement();
    case QXmlStreamReader::EndElement:
        --m_depth;
        m_done = m_depth == 0;
        return Error::None;
    default:
        return Error::None;
    }
}

Error ListingParser::startElement()
{
    const int depth = m_depth++;
    if (depth > MaxDepth || m_reader.attributes().size() > MaxAttributes)
        return Error::Protocol;
    if (depth == 0)
        return m_reader.name() == QLatin1String("folder-listing") ? Error::None : Error::Protocol;
    if (depth > 1)
        return Error::None;
    const bool folder = m_reader.name() == QLatin1String("folder");
    if (folder || m_reader.name() == QLatin1String("file"))
        return addEntry(folder);
    return Error::None;
}

Error ListingParser::addEntry(bool folder)
{
    if (++m_entries > MaxListingEntries)
        return Error::TooMuch;
    m_current = ListingEntry{};
    m_current.folder = folder;
    for (const QXmlStreamAttribute &attribute : m_reader.attributes()) {
        if (attribute.name() == QLatin1String("name"))
            m_current.name = attribute.value().toUtf8();
        else if (attribute.name() == QLatin1String("size"))
            m_current.size = parseSize(attribute.value());
        else if (attribute.name() == QLatin1String("modified"))
            m_current.modified = parseTime(attribute.value());
    }
    if (isEntryName(m_current.name))
        m_entry(m_current);
    return Error::None;
}

} // namespace obex
