#include "btsdk_host.h"
#include "vmrl-ftp/commands.h"
#include "vmrl-ftp/interrupt.h"
#include "vmrl-ftp/options.h"
#include "vmrl-ftp/progressline.h"
#include "vmrl-ftp/remote.h"

#include <QCoreApplication>

#include <cstdio>
#include <memory>
#include <unistd.h>

using namespace vmrlftp;

namespace {

void complain(const std::string &about, unsigned int result)
{
    const bool terminal = ::isatty(STDERR_FILENO) == 1;
    (void)std::fprintf(stderr, "%svmrl-ftp: %s: %s %s\n", terminal ? "\r\x1b[K" : "", printable(about).c_str(),
                       Btsdk_HostResultText(result), Btsdk_HostResultAdvice(result));
}

int run(const Options &options)
{
    Interrupt interrupt;
    Remote remote(options, interrupt);
    const unsigned int connected = remote.connect();
    if (connected != BTSDK_OK) {
        complain(options.port == 0 ? options.host : options.host + ':' + std::to_string(options.port), connected);
        return interrupt.happened() ? ExitCancelled : ExitNoConnection;
    }
    const Outcome outcome = runCommand(options, remote);
    if (outcome.result != BTSDK_OK)
        complain(outcome.about, outcome.result);
    if (interrupt.happened())
        return ExitCancelled;
    if (std::fflush(stdout) != 0) {
        (void)std::fputs("vmrl-ftp: the output cannot be written.\n", stderr);
        return ExitFailed;
    }
    return outcome.result == BTSDK_OK ? ExitDone : ExitFailed;
}

} // namespace

int main(int argc, char **argv)
{
    std::string error;
    const std::optional<Options> options = parseOptions({argv + 1, argv + argc}, &error);
    if (!options) {
        (void)std::fprintf(stderr, "vmrl-ftp: %s\nvmrl-ftp --help tells more.\n", error.c_str());
        return ExitUsage;
    }
    if (options->help) {
        (void)std::fputs(helpText(), stdout);
        return ExitDone;
    }
    // The library speaks to BlueZ only in a program that has one; made here, its thread starts after Interrupt's.
    std::unique_ptr<QCoreApplication> application;
    if (options->port == 0)
        application = std::make_unique<QCoreApplication>(argc, argv);
    return run(*options);
}
