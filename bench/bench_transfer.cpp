// Get and put of 256 MB over loopback, each beside a plain TCP copy of 64 KiB blocks with the same sink.

#include "benchsupport.h"
#include "plainpeer.h"

#include <cstdio>
#include <cstdlib>
#include <unistd.h>

using namespace bench;

namespace {

constexpr std::uint64_t FileSize = 256ULL << 20;
constexpr double Megabytes = static_cast<double>(FileSize) / 1e6;

struct Race
{
    const char *name;
    bool put;
    bool srm;
    PlainMode plain;
    const char *limit;
};

constexpr Race Races[] = {
    {"get, each packet asked for", false, false, PlainMode::GetAsked, "send-and-answer loop"},
    {"put, each packet answered", true, false, PlainMode::PutAnswered, "send-and-answer loop"},
    {"get, Single Response Mode", false, true, PlainMode::GetOneWay, "one-way copy"},
    {"put, Single Response Mode", true, true, PlainMode::PutOneWay, "one-way copy"},
};

} // namespace

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    const ScratchFolder remote;
    const ScratchFolder local;
    makeFile(remote.path("source"), FileSize);
    makeFile(local.path("source"), FileSize);
    const Child server(obexServer(remote.path()));
    const Child plain(plainServer(remote.path("source"), remote.path("plain")));

    std::printf("256 MB over loopback, MB/s, medians of %d\n", rounds);
    for (const Race &race : Races) {
        obex::ClientOptions options;
        options.singleResponseMode = race.srm;
        const auto session = connectTo(server.port(), options);
        std::vector<double> ours;
        std::vector<double> limits;
        const std::string sink = local.path("sink");
        for (int i = 0; i < rounds; ++i) {
            // Every round starts without the file that it writes, so that both sides do the same work.
            (void)::unlink(sink.c_str());
            (void)::unlink(remote.path("plain").c_str());
            limits.push_back(Megabytes / secondsOf([&] {
                                 plainCopy(plain.port(), race.plain, race.put ? local.path("source") : sink);
                             }));
            (void)::unlink(sink.c_str());
            (void)::unlink(remote.path("ours").c_str());
            ours.push_back(Megabytes / secondsOf([&] {
                               require(race.put ? session->putFile(local.path("source").c_str(), "ours")
                                                : session->getFile("source", sink.c_str()),
                                       race.name);
                           }));
        }
        printAgainst(race.name, median(ours), "MB/s", race.limit, median(limits), 80);
        session->disconnect();
    }
    return 0;
}
