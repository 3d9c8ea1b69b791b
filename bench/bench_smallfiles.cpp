// Small files per second on one connection, fetched and sent one by one.

#include "benchsupport.h"

#include <cstdio>
#include <cstdlib>

using namespace bench;

int main(int argc, char **argv)
{
    const int rounds = argc > 1 ? std::atoi(argv[1]) : 5;
    constexpr int files = 5000;
    const ScratchFolder remote;
    const ScratchFolder local;
    makeFile(remote.path("small"), 100);
    makeFile(local.path("small"), 100);
    const Child server(obexServer(remote.path()));
    const auto session = connectTo(server.port());

    const auto rate = [&](const auto &one) {
        std::vector<double> rates;
        // Every round has new names: to replace a file is another question, which the disk answers.
        static int number = 0;
        for (int round = 0; round < rounds; ++round) {
            rates.push_back(files / secondsOf([&] {
                                for (int i = 0; i < files; ++i)
                                    one(QByteArray::number(number++));
                            }));
        }
        return median(rates);
    };
    std::printf("files of 100 bytes, files/s, medians of %d\n", rounds);
    const QByteArray sink = QByteArray::fromStdString(local.path("sink"));
    const QByteArray source = QByteArray::fromStdString(local.path("small"));
    printGoal("gets per second",
              rate([&](const QByteArray &n) { require(session->getFile("small", sink + n), "get"); }), "/s", 5000,
              false);
    printGoal("puts per second",
              rate([&](const QByteArray &n) { require(session->putFile(source, "sink" + n), "put"); }), "/s", 5000,
              false);
    return 0;
}
