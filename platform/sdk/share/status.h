/**
 * @file
 * What can come of an operation on the shared folder.
 */
#ifndef SHARE_STATUS_H
#define SHARE_STATUS_H

namespace share {

/** How an operation ended; unless it is Ok nothing has changed. */
enum class Status {
    Ok,
    BadName,   ///< empty, ".", "..", over 255 bytes, or holding "/" or NUL
    NotFound,  ///< nothing of that name
    Refused,   ///< it leads out of the share, is neither file nor folder, or this user may not read it
    WrongKind, ///< a folder where a file is wanted, or the other way round
    ReadOnly,  ///< the share, or the place within it, cannot be changed
    Full,      ///< no space left
    Failed     ///< the file system failed in another way
};

/** What clients may do. */
enum class Access { Writable, ReadOnly };

/** What the errno of a failed read means for the share. */
Status readStatus(int error);

/** What the errno of a failed change means for the share. */
Status writeStatus(int error);

} // namespace share

#endif
