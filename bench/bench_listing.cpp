// Listing folders of 10 to 100,000 entries; 10,000 are to come in under 0.1 s, and time is to grow in line.

#include "benchsupport.h"

#include <cstdio>
#include <cstdlib>
#include <filesystem>

using namespace bench;

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    const ScratchFolder remote;
    constexpr int counts[] = {10, 1000, 10'000, 100'000};
    for (const int count : counts) {
        const std::string folder = remote.path(std::to_string(count));
        std::filesystem::create_directory(folder);
        for (int i = 0; i < count; ++i)
            makeFile(folder + "/holiday picture " + std::to_string(i) + ".jpeg", 0);
    }
    const Child server(obexServer(remote.path()));
    const auto session = connectTo(server.port());

    std::printf("listings, seconds, medians of %d\n", rounds);
    for (const int count : counts) {
        require(session->setPath("/" + QByteArray::number(count)), "SETPATH");
        std::vector<double> times;
        for (int i = 0; i < rounds; ++i) {
            int seen = 0;
            times.push_back(
                secondsOf([&] { require(session->list([&](const obex::ListingEntry &) { ++seen; }), "listing"); }));
            require(seen == count, "every entry listed");
        }
        const double time = median(times);
        const std::string what = std::to_string(count) + " entries";
        printGoal(what.c_str(), time, "s", 0.1 * count / 10'000 + (count < 10'000 ? 0.01 : 0), true);
    }
    return 0;
}
