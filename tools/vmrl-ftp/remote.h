#ifndef VMRLFTP_REMOTE_H
#define VMRLFTP_REMOTE_H

#include "vmrl-ftp/options.h"

#include <string>
#include <vector>

namespace vmrlftp {

class Interrupt;

/** One entry of a remote folder. */
struct RemoteEntry
{
    std::string name;
    std::string modified; /**< "yyyyMMddTHHmmssZ" or empty */
    unsigned int size = 0;
    bool folder = false;
};

/** A device that is connected to, by the library's C functions alone. */
class Remote
{
public:
    Remote(const Options &options, Interrupt &interrupt);
    ~Remote();
    Remote(const Remote &) = delete;
    Remote &operator=(const Remote &) = delete;

    /** @return a result of the library */
    unsigned int connect();

    unsigned int handle() const { return m_connection; }

    /** Makes a folder, absolute, the current one. @return a result of the library, as of the two below */
    unsigned int enter(const std::string &folder) const;

    /** The entries of a folder, which becomes the current one; by name. */
    unsigned int list(const std::string &folder, std::vector<RemoteEntry> *entries) const;

    /** Looks for one name in the current folder. @return BTSDK_OK also when it is not there */
    unsigned int find(const std::string &name, RemoteEntry *entry, bool *found) const;

private:
    unsigned int findDevice(unsigned int *device) const;

    const Options &m_options;
    Interrupt &m_interrupt;
    unsigned int m_connection = 0;
};

} // namespace vmrlftp

#endif
