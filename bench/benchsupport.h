#ifndef BENCH_BENCHSUPPORT_H
#define BENCH_BENCHSUPPORT_H

#include "obex/clientsession.h"

#include <QByteArray>

#include <cstdint>
#include <functional>
#include <string>
#include <sys/types.h>
#include <vector>

namespace bench {

/** A process of our own that serves a port of the loopback address until its parent lets go of it. */
class Child
{
public:
    /** Runs in the child; calls ready with its port and returns when wait returns. Make children before threads. */
    using Body = std::function<void(const std::function<void(std::uint16_t port)> &ready)>;

    explicit Child(const Body &body);
    ~Child();
    Child(const Child &) = delete;
    Child &operator=(const Child &) = delete;

    std::uint16_t port() const { return m_port; }
    /** Ends it the hard way, now. */
    void kill();

private:
    pid_t m_pid = -1;
    int m_lifeline = -1;
    std::uint16_t m_port = 0;
};

/** The body of a child that serves a folder over OBEX. */
Child::Body obexServer(const std::string &folder);

/** A connected session; ends the program when there is none. */
std::unique_ptr<obex::ClientSession> connectTo(std::uint16_t port, obex::ClientOptions options = {});

/** A folder that goes with the object, in TMPDIR or /tmp. */
class ScratchFolder
{
public:
    ScratchFolder();
    ~ScratchFolder();

    std::string path(const std::string &name = {}) const { return name.empty() ? m_path : m_path + "/" + name; }

private:
    std::string m_path;
};

void makeFile(const std::string &path, std::uint64_t bytes);

double secondsOf(const std::function<void()> &work);
double median(std::vector<double> values);

/** Ends the program with a message when the outcome is a failure. */
void require(const obex::Outcome &outcome, const char *what);
void require(bool condition, const char *what);

/** "  put, SRM             1234.5 MB/s   one-way copy 1300.0 MB/s    95 %   goal 80 %   met" */
void printAgainst(const char *what, double value, const char *unit, const char *limit, double limitValue,
                  double goalPercent);
/** lessIsBetter: the value is to stay under the goal, else over it. */
void printGoal(const char *what, double value, const char *unit, double goal, bool lessIsBetter);

} // namespace bench

#endif
