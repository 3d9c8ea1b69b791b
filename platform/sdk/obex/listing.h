#ifndef OBEX_LISTING_H
#define OBEX_LISTING_H

#include "obex/isotime.h"

#include <QByteArray>

namespace obex {

/** What a listing may cost; a peer that exceeds it is refused. */
constexpr int MaxEntryName = 295; // bytes of UTF-8: what a record of the library holds
constexpr int MaxListingEntries = 1'000'000;
constexpr int MaxListingBytes = 256 * 1024 * 1024;
constexpr int MaxListingToken = 64 * 1024; // one tag with its attributes, beyond the packet it began in

/** One entry of a folder. */
struct ListingEntry
{
    QByteArray name; /**< UTF-8, 1 to MaxEntryName bytes, no "/" and no NUL, neither "." nor ".." */
    quint64 size = 0;
    Seconds modified = NoTime;
    bool folder = false;
};

} // namespace obex

#endif
