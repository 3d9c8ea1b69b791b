// Cancel to return at full speed, and the time until a closed link is noticed, idle and in a call.

#include "benchsupport.h"
#include "transport/linkwatcher.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <thread>

using namespace bench;
using Clock = std::chrono::steady_clock;

namespace {

double millisecondsSince(Clock::time_point start)
{
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

void measureCancel(std::uint16_t port, const std::string &folder, bool srm, bool put)
{
    constexpr int rounds = 51;
    obex::ClientOptions options;
    options.singleResponseMode = srm;
    const auto session = connectTo(port, options);
    std::vector<double> times;
    const QByteArray file = QByteArray::fromStdString(folder + "/big");
    for (int i = 0; i < rounds; ++i) {
        const quint64 before = session->bytesReceived() + session->bytesSent();
        Clock::time_point cancelled;
        std::thread canceller([&] {
            while (session->bytesReceived() + session->bytesSent() < before + (8U << 20))
                std::this_thread::sleep_for(std::chrono::microseconds(100));
            cancelled = Clock::now();
            session->cancel();
        });
        const obex::Outcome outcome = put ? session->putFile(file, "copy") : session->getFile("big", file + ".copy");
        const Clock::time_point returned = Clock::now();
        canceller.join();
        require(outcome.error == obex::Error::Cancelled, "cancelling");
        require(session->isConnected(), "a link in step");
        times.push_back(std::chrono::duration<double, std::milli>(returned - cancelled).count());
    }
    char name[64];
    std::snprintf(name, sizeof name, "cancel a %s%s", put ? "put" : "get", srm ? ", SRM" : "");
    printGoal(name, median(times), "ms median", 5, true);
    std::printf("  %-28s %11.3f ms\n", "  slowest", *std::max_element(times.begin(), times.end()));
}

void measureClosed(const std::string &folder)
{
    constexpr int rounds = 11;
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        Child server(obexServer(folder)); // no thread of ours runs at this point
        const auto session = connectTo(server.port());
        transport::LinkWatcher watcher;
        std::atomic<bool> lost{false};
        const std::uint64_t watch = watcher.watch(session->stream(), [&] {
            session->close();
            lost = true;
        });
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
        const Clock::time_point killed = Clock::now();
        server.kill();
        while (!lost)
            std::this_thread::yield();
        times.push_back(millisecondsSince(killed));
        watcher.unwatch(watch);
    }
    printGoal("notice a closed idle link", median(times), "ms median", 10, true);
}

void measureClosedInCall(const std::string &folder)
{
    constexpr int rounds = 11;
    std::vector<double> times;
    for (int i = 0; i < rounds; ++i) {
        Child server(obexServer(folder));
        const auto session = connectTo(server.port());
        std::atomic<double> ended{0};
        std::thread getter([&] {
            (void)session->getFile("big", QByteArray::fromStdString(folder + "/copy"));
            ended = std::chrono::duration<double, std::milli>(Clock::now().time_since_epoch()).count();
        });
        while (session->bytesReceived() < (8U << 20))
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        const double killed = std::chrono::duration<double, std::milli>(Clock::now().time_since_epoch()).count();
        server.kill();
        getter.join();
        times.push_back(std::max(0.0, ended - killed));
    }
    printGoal("notice it during a get", median(times), "ms median", 10, true);
}

} // namespace

int main()
{
    const ScratchFolder folder;
    makeFile(folder.path("big"), 1ULL << 30);
    std::printf("latencies, milliseconds\n");
    measureClosed(folder.path());
    measureClosedInCall(folder.path());
    const Child server(obexServer(folder.path()));
    for (const bool srm : {false, true}) {
        measureCancel(server.port(), folder.path(), srm, false);
        measureCancel(server.port(), folder.path(), srm, true);
    }
    return 0;
}
