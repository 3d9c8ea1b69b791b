// Resident memory of the client's process while it moves 1 GB each way: under 16 MB, and flat.

#include "benchsupport.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <fstream>
#include <thread>

using namespace bench;

namespace {

double residentMegabytes()
{
    std::ifstream status("/proc/self/statm");
    long total = 0;
    long resident = 0;
    status >> total >> resident;
    return static_cast<double>(resident) * 4096 / 1e6;
}

void measure(const char *name, const std::function<void()> &work)
{
    std::atomic<bool> over{false};
    std::vector<double> samples;
    std::thread sampler([&] {
        while (!over) {
            samples.push_back(residentMegabytes());
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
    });
    work();
    over = true;
    sampler.join();
    const std::size_t quarter = samples.size() / 4;
    const double early = *std::max_element(samples.begin(), samples.begin() + static_cast<long>(quarter) + 1);
    const double late = *std::max_element(samples.end() - static_cast<long>(quarter) - 1, samples.end());
    printGoal(name, std::max(early, late), "MB", 16, true);
    printGoal("  growth, first to last quarter", late - early, "MB", 1, true);
}

} // namespace

int main()
{
    constexpr std::uint64_t size = 1ULL << 30;
    const ScratchFolder remote;
    const ScratchFolder local;
    makeFile(remote.path("big"), size);
    const Child server(obexServer(remote.path()));
    const auto session = connectTo(server.port());
    std::printf("resident memory of the client while moving 1 GB\n");
    const QByteArray file = QByteArray::fromStdString(local.path("big"));
    measure("get", [&] { require(session->getFile("big", file), "get"); });
    measure("put", [&] { require(session->putFile(file, "big"), "put"); });
    return 0;
}
