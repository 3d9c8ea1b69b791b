#include "demoserver.h"
#include "options.h"
#include "relay.h"
#include "sampletree.h"
#include "scratch.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/signalfd.h>
#include <unistd.h>

namespace {

int fail(const QString &reason)
{
    std::fprintf(stderr, "velmaro-demo-device: %s\n", qPrintable(reason));
    return 1;
}

/** Blocks the signals that end the program, for this thread and those that it starts. @return a signalfd of them */
int takeEndSignals()
{
    sigset_t endSignals;
    sigemptyset(&endSignals);
    for (int signal : {SIGTERM, SIGINT, SIGHUP})
        sigaddset(&endSignals, signal);
    pthread_sigmask(SIG_BLOCK, &endSignals, nullptr);
    std::signal(SIGPIPE, SIG_IGN); // a reader of the printed line that went away is no reason to end
    return ::signalfd(-1, &endSignals, SFD_CLOEXEC);
}

/** Has the kernel send SIGTERM when the parent ends, and notices when it has ended already. */
bool followParent(pid_t parent)
{
    return ::prctl(PR_SET_PDEATHSIG, SIGTERM) == 0 && ::getppid() == parent;
}

/** Returns when a signal ends the program or, if that is asked for, the standard input has come to its end. */
void waitForEnd(int endSignals, bool followStdin)
{
    for (;;) {
        pollfd ready[] = {{endSignals, POLLIN, 0}, {followStdin ? STDIN_FILENO : -1, POLLIN, 0}};
        if (::poll(ready, 2, -1) < 0 && errno != EINTR)
            return;
        if (ready[0].revents != 0)
            return;
        char ignored[512];
        if (ready[1].revents != 0 && ::read(STDIN_FILENO, ignored, sizeof ignored) <= 0)
            return;
    }
}

void announce(quint16 port)
{
    std::printf("listening 127.0.0.1:%u\n", static_cast<unsigned>(port));
    std::fflush(stdout);
}

int refuseEverybody(const Options &options, int endSignals)
{
    RefusingPort refusing;
    QString error;
    if (!refusing.open(options.port, &error))
        return fail(error);
    announce(refusing.port());
    waitForEnd(endSignals, options.followStdin);
    return 0;
}

/** @return the folder to serve, empty with a reason */
QString folderToServe(const Options &options, const Scratch &scratch, QString *error)
{
    if (!options.folder.isEmpty()) {
        const QString path = QFileInfo(options.folder).canonicalFilePath();
        if (!QFileInfo(path).isDir())
            *error = QStringLiteral("%1 is no folder").arg(options.folder);
        return error->isEmpty() ? path : QString();
    }
    const QString path = scratch.path() + QStringLiteral("/Shared");
    if (!QDir().mkpath(path)) {
        *error = QStringLiteral("cannot make %1").arg(path);
        return QString();
    }
    return makeSample(path, options.name, {options.largeSize, options.entries}, error) ? path : QString();
}

int serve(const Options &options, int endSignals)
{
    QString error;
    const std::unique_ptr<Scratch> scratch = Scratch::create(&error);
    if (!scratch)
        return fail(error);
    const QString folder = folderToServe(options, *scratch, &error);
    if (folder.isEmpty())
        return fail(error);

    const bool relayed = options.connectDelay > 0 || !options.deniedName.isEmpty();
    DemoServer server;
    if (!server.start(scratch->path() + QStringLiteral("/settings.ini"), folder, relayed ? quint16(0) : options.port,
                      options, &error))
        return fail(error);
    Relay relay(server.port(), {options.connectDelay, options.deniedName});
    if (relayed && !relay.open(options.port, &error))
        return fail(error);
    announce(relayed ? relay.port() : server.port());
    waitForEnd(endSignals, options.followStdin);
    return 0;
}

} // namespace

int main(int argc, char *argv[])
{
    const pid_t parent = ::getppid();
    QCoreApplication application(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("velmaro-demo-device"));
    QCoreApplication::setApplicationVersion(QStringLiteral("1.0.0"));
    const Options options = readOptions(QCoreApplication::arguments());
    const int endSignals = takeEndSignals();
    if (endSignals < 0 || !followParent(parent))
        return fail(QStringLiteral("the process that started it has ended"));
    return options.refuse ? refuseEverybody(options, endSignals) : serve(options, endSignals);
}
