#include "benchsupport.h"

#include "obex/server.h"
#include "transport/tcp.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

void require(bool condition, const char *what)
{
    if (condition)
        return;
    std::fprintf(stderr, "failed: %s\n", what);
    std::exit(1);
}

void require(const obex::Outcome &outcome, const char *what)
{
    if (!outcome.ok())
        std::fprintf(stderr, "error %d, response 0x%02x\n", static_cast<int>(outcome.error),
                     static_cast<unsigned>(outcome.response));
    require(outcome.ok(), what);
}

Child::Child(const Body &body)
{
    int port[2];
    int life[2];
    require(::pipe2(port, O_CLOEXEC) == 0 && ::pipe2(life, O_CLOEXEC) == 0, "pipes");
    m_pid = ::fork();
    require(m_pid >= 0, "fork");
    if (m_pid == 0) {
        ::close(port[0]);
        ::close(life[1]);
        body([&](std::uint16_t number) {
            (void)!::write(port[1], &number, sizeof number);
            ::close(port[1]);
            char end = 0;
            (void)!::read(life[0], &end, 1);
        });
        std::_Exit(0);
    }
    ::close(port[1]);
    ::close(life[0]);
    m_lifeline = life[1];
    require(::read(port[0], &m_port, sizeof m_port) == sizeof m_port, "the child's port");
    ::close(port[0]);
}

Child::~Child()
{
    ::close(m_lifeline);
    if (m_pid > 0)
        (void)::waitpid(m_pid, nullptr, 0);
}

void Child::kill()
{
    (void)::kill(m_pid, SIGKILL);
    (void)::waitpid(m_pid, nullptr, 0);
    m_pid = -1;
}

Child::Body obexServer(const std::string &folder)
{
    return [folder](const std::function<void(std::uint16_t)> &ready) {
        obex::ServerConfig config;
        config.folder = folder;
        config.access = share::Access::Writable;
        obex::Server server(config);
        std::unique_ptr<transport::TcpListener> listener = transport::TcpListener::listen("127.0.0.1", 0);
        require(listener != nullptr, "listening");
        const std::uint16_t port = listener->port();
        std::vector<std::unique_ptr<transport::Listener>> listeners;
        listeners.push_back(std::move(listener));
        server.start(std::move(listeners));
        ready(port);
        server.stop();
    };
}

std::unique_ptr<obex::ClientSession> connectTo(std::uint16_t port, obex::ClientOptions options)
{
    transport::TcpConnector connector("127.0.0.1", port);
    const transport::Wakeup never;
    transport::Dialled dialled = connector.connect(transport::Deadline::after(std::chrono::seconds(10)), never);
    require(dialled.stream != nullptr, "dialling");
    auto session = std::make_unique<obex::ClientSession>(std::move(dialled.stream), std::move(options));
    require(session->connect(), "CONNECT");
    return session;
}

ScratchFolder::ScratchFolder()
{
    std::string pattern = (std::filesystem::temp_directory_path() / "bench-XXXXXX").string();
    require(::mkdtemp(pattern.data()) != nullptr, "a scratch folder");
    m_path = pattern;
}

ScratchFolder::~ScratchFolder()
{
    std::error_code ignored; // nothing to be done about a folder that stays
    std::filesystem::remove_all(m_path, ignored);
}

void makeFile(const std::string &path, std::uint64_t bytes)
{
    std::FILE *file = std::fopen(path.c_str(), "wb");
    require(file != nullptr, "a file");
    std::vector<char> block(1 << 20);
    for (std::size_t i = 0; i < block.size(); ++i)
        block[i] = static_cast<char>(i * 2654435761U >> 13);
    while (bytes > 0) {
        const std::size_t piece = static_cast<std::size_t>(std::min<std::uint64_t>(bytes, block.size()));
        require(std::fwrite(block.data(), 1, piece, file) == piece, "writing a file");
        bytes -= piece;
    }
    require(std::fclose(file) == 0, "writing a file");
}

double secondsOf(const std::function<void()> &work)
{
    const auto start = std::chrono::steady_clock::now();
    work();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

double median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void printAgainst(const char *what, double value, const char *unit, const char *limit, double limitValue,
                  double goalPercent)
{
    const double percent = 100 * value / limitValue;
    std::printf("  %-28s %9.1f %-7s %-22s %9.1f   %4.0f %%   goal %3.0f %%   %s\n", what, value, unit, limit,
                limitValue, percent, goalPercent, percent >= goalPercent ? "met" : "MISSED");
}

void printGoal(const char *what, double value, const char *unit, double goal, bool lessIsBetter)
{
    const bool met = lessIsBetter ? value < goal : value > goal;
    std::printf("  %-28s %11.3f %-9s goal %s %.3f   %s\n", what, value, unit, lessIsBetter ? "<" : ">", goal,
                met ? "met" : "MISSED");
}

} // namespace bench
