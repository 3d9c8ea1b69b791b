#ifndef OBEX_LISTINGPARSER_H
#define OBEX_LISTINGPARSER_H

#include "obex/bytes.h"
#include "obex/listing.h"
#include "obex/outcome.h"

#include <QXmlStreamReader>

#include <functional>

namespace obex {

/** True for a name that can stand for an entry of a folder: 1 to MaxEntryName bytes, none of them "/" or NUL, and
 *  neither "." nor "..". */
bool isEntryName(const QByteArray &name);

/**
 * Reads a folder listing as it comes in. Entries with unusable names are left out, unknown elements and attributes
 * skipped, sizes that are no numbers taken as 0 and dates that are none as NoTime. A document that declares entities
 * is refused: no listing needs them. IrOBEX 1.5, 9.1
 */
class ListingParser
{
public:
    using EntryFunction = std::function<void(const ListingEntry &)>;

    explicit ListingParser(EntryFunction entry);

    /** The next bytes. @return None, Protocol (not a listing) or TooMuch (over a cap); it stays so */
    Error feed(Bytes bytes);

    /** The end. @return None, or Protocol when the document is cut off */
    Error finish() const;

private:
    std::size_t nextPiece(Bytes bytes);
    Error feedPiece(Bytes bytes);
    Error readTokens();
    Error readToken();
    Error startElement();
    Error addEntry(bool folder);

    EntryFunction m_entry;
    QXmlStreamReader m_reader;
    ListingEntry m_current;
    int m_depth = 0;
    int m_entries = 0;
    std::size_t m_bytes = 0;
    std::size_t m_unread = 0; /**< since the last whole token */
    std::uint8_t m_lastByte = 0;
    bool m_endTag = false; /**< the bytes so far end within one */
    bool m_done = false;
    Error m_error = Error::None;
};

} // namespace obex

#endif
