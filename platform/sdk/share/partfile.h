/**
 * @file
 * Files on their way, while they still stand under a name of ours: how they are named, marked as in use, and tidied
 * away when a process was killed over one. Any thread.
 */
#ifndef SHARE_PARTFILE_H
#define SHARE_PARTFILE_H

#include <string>
#include <string_view>

namespace share {

/** A name that most likely nothing has: hidden, of letters, digits and dashes. */
std::string freshPartName();

/** Whether a name is one that freshPartName() may have given. */
bool isPartName(std::string_view name);

/**
 * Marks a part file as in use until its descriptor is closed, by a lock that goes with the process. Where the file
 * system knows no locks, abandoned files stay.
 */
void claimPart(int file);

/** Removes a part file whose writer is gone: nobody holds the lock. @param folder  a descriptor of the file's folder */
void removePartIfAbandoned(int folder, const char *name);

/** The same for all part files of a folder, those of this user alone. Reads the whole folder. */
void removeAbandonedParts(int folder);

} // namespace share

#endif
