#ifndef OBEX_FOLDERTREE_H
#define OBEX_FOLDERTREE_H

#include "obex/foldersession.h"

namespace obex {

/** One folder of a walk, and what of it is still to be done. */
struct FolderSession::Level
{
    FolderPath path; /**< the peer's */
    LocalFolder local;
    std::vector<ListingEntry> files;
    std::vector<ListingEntry> folders; /**< to be entered, last first */
};

/** A walk without recursion: callers have little stack, and peers nest as they like. */
struct FolderSession::Walk
{
    std::vector<Level> levels;
    std::size_t entries = 0;
    Outcome firstFailure;

    /** Notes the failure of one entry. @return false when it ends the walk */
    bool survives(const Outcome &outcome);
    Outcome push(Level level);
};

} // namespace obex

#endif
