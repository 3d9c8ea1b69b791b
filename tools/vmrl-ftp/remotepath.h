#ifndef VMRLFTP_REMOTEPATH_H
#define VMRLFTP_REMOTEPATH_H

#include <string>

namespace vmrlftp {

/** A remote path as its folder, absolute, and the name within it. */
struct RemotePath
{
    std::string folder = "/";
    std::string name;         /**< empty: the top folder itself */
    bool folderMeant = false; /**< it was written with a "/" at its end */

    /** Folder and name together, absolute. */
    std::string whole() const;
};

/** Understands a remote name: it starts at the top, with or without a leading "/"; "." is left out and ".." goes up,
 *  at the top no further. */
RemotePath parseRemote(const std::string &text);

/** The last name of a local path: "b" of "a/b/"; empty for "/" and the like. */
std::string baseName(const std::string &path);

} // namespace vmrlftp

#endif
