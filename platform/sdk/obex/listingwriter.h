#ifndef OBEX_LISTINGWRITER_H
#define OBEX_LISTINGWRITER_H

#include "obex/bodysource.h"
#include "share/directoryreader.h"

#include <memory>
#include <string>

namespace obex {

/**
 * Writes the folder-listing document of a folder (IrOBEX 1.5, 9.1) piece by piece while it is read, so that the size of
 * the folder does not matter.
 *
 * Entries whose name is not UTF-8, or holds a character that XML 1.0 cannot carry in any form (control characters other
 * than tab, line feed and carriage return; U+FFFE; U+FFFF), are left out: under any other name they could not be
 * fetched, or the name could be another file's.
 */
class ListingWriter : public BodySource
{
public:
    /** @param hasParent  whether the folder has one above it that the client may go to */
    ListingWriter(std::unique_ptr<share::DirectoryReader> entries, bool hasParent);

    bool fits(std::size_t room) override;
    bool read(std::uint8_t *data, std::size_t room, std::size_t *count) override;

private:
    void prepare(std::size_t size);

    std::unique_ptr<share::DirectoryReader> m_entries; ///< null once all are written
    std::string m_pending;
    std::size_t m_taken = 0; ///< of m_pending
};

/** Appends a name as an attribute's value; false, with the text as it was, when XML cannot carry it. */
bool appendEscaped(std::string *text, const std::string &name);

} // namespace obex

#endif
