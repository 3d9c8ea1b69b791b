#ifndef VMRLFTP_COMMANDS_H
#define VMRLFTP_COMMANDS_H

#include "vmrl-ftp/options.h"

namespace vmrlftp {

class Remote;

/** What came of a command. */
struct Outcome
{
    unsigned int result = 0; /**< of the library */
    std::string about;       /**< the name that failed */
};

/** Does the command of the options over an open connection. */
Outcome runCommand(const Options &options, const Remote &remote);

} // namespace vmrlftp

#endif
