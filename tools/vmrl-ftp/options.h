#ifndef VMRLFTP_OPTIONS_H
#define VMRLFTP_OPTIONS_H

#include <optional>
#include <string>
#include <vector>

namespace vmrlftp {

/** What the program ends with. */
enum ExitCode {
    ExitDone = 0,
    ExitFailed = 1,       /**< an operation failed; those before it stand */
    ExitUsage = 2,        /**< the command line is not understood */
    ExitNoConnection = 3, /**< the device cannot be reached, or does not let us in */
    ExitCancelled = 130   /**< by Ctrl-C or SIGTERM */
};

/** What the command line asks for. */
struct Options
{
    bool help = false;
    bool quiet = false;
    bool longListing = false;
    std::optional<std::string> passkey;
    std::string host;
    unsigned int port = 0; /**< 0: host is a Bluetooth address */
    std::string command;
    std::vector<std::string> arguments;
};

/** Understands the command line, without the program's name. @param error  receives a sentence when nothing is
 *  returned */
std::optional<Options> parseOptions(const std::vector<std::string> &words, std::string *error);

/** The text of --help. */
const char *helpText();

} // namespace vmrlftp

#endif
