#include "api/dispatcher.h"
#include "api/limits.h"
#include "api/statusreporter.h"
#include "settings/settingsfile.h"

#include <QtTest>

#include <atomic>
#include <set>

using namespace api;

namespace {

struct Report
{
    bool first;
    bool last;
    QByteArray name;
    unsigned long size;
    unsigned long done;
};

std::mutex mutex;
std::vector<Report> reports;
std::atomic<int> slowness{0};

void take(unsigned char first, unsigned char last, unsigned char *name, unsigned long size, unsigned long done)
{
    const std::lock_guard<std::mutex> lock(mutex);
    reports.push_back({first != 0, last != 0, reinterpret_cast<const char *>(name), size, done});
    if (slowness > 0)
        QTest::qSleep(slowness);
}

} // namespace

/** How callbacks are called: threads, order, what is left out. */
class TestCallbacks : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void dispatcher_jobs_inOrderOnOneThread();
    void dispatcher_stop_doesWhatWaits();
    void dispatcher_fullQueue_optionalJobsLeftOut();
    void reporter_slowCallback_newestOfThoseBetween();
    void reporter_manyFiles_everyFirstAndLast();
    void reporter_finishWithoutDelivery_nothingFollows();
    void reporter_noCallback_nothing();
    void scale_sizes_data();
    void scale_sizes();
    void limits_settings_data();
    void limits_settings();
};

void TestCallbacks::init()
{
    reports.clear();
    slowness = 0;
}

void TestCallbacks::dispatcher_jobs_inOrderOnOneThread()
{
    std::vector<int> seen;
    std::set<std::thread::id> threads;
    Dispatcher dispatcher;
    for (int number = 0; number < 1000; ++number) {
        dispatcher.post([&, number] {
            seen.push_back(number);
            threads.insert(std::this_thread::get_id());
        });
    }
    dispatcher.stop();
    QCOMPARE(seen.size(), std::size_t(1000));
    QVERIFY(std::is_sorted(seen.begin(), seen.end()));
    QCOMPARE(threads.size(), std::size_t(1));
    QVERIFY(threads.count(std::this_thread::get_id()) == 0);
}

void TestCallbacks::dispatcher_stop_doesWhatWaits()
{
    std::atomic<int> done{0};
    Dispatcher dispatcher;
    dispatcher.post([&] { QTest::qSleep(50); });
    dispatcher.post([&] { ++done; });
    dispatcher.stop();
    QCOMPARE(done.load(), 1);
    dispatcher.post([&] { ++done; });
    dispatcher.stop();
    QCOMPARE(done.load(), 1);
}

void TestCallbacks::dispatcher_fullQueue_optionalJobsLeftOut()
{
    std::atomic<bool> go{false};
    std::atomic<std::size_t> done{0};
    Dispatcher dispatcher;
    dispatcher.post([&] {
        while (!go)
            QTest::qSleep(1);
    });
    for (std::size_t count = 0; count < Dispatcher::maxWaiting + 500; ++count)
        dispatcher.post([&] { ++done; }, true);
    dispatcher.post([&] { done += 1'000'000; });
    go = true;
    dispatcher.stop();
    QVERIFY(done >= 1'000'000 + Dispatcher::maxWaiting - 1);
    QVERIFY(done <= 1'000'000 + Dispatcher::maxWaiting);
}

void TestCallbacks::reporter_slowCallback_newestOfThoseBetween()
{
    slowness = 20;
    StatusReporter reporter;
    QVERIFY(reporter.setCallback(&take));
    reporter.report({true, false, "file", 1000, 0});
    for (quint64 done = 1; done < 1000; ++done)
        reporter.report({false, false, "file", 1000, done});
    reporter.report({false, true, "file", 1000, 1000});
    reporter.finish(true);
    QVERIFY(reports.size() >= 2 && reports.size() < 100);
    QVERIFY(reports.front().first);
    QVERIFY(reports.back().last);
    QCOMPARE(reports.back().done, 1000ul);
}

void TestCallbacks::reporter_manyFiles_everyFirstAndLast()
{
    StatusReporter reporter;
    QVERIFY(reporter.setCallback(&take));
    for (int number = 0; number < 500; ++number) {
        const std::string name = std::to_string(number);
        reporter.report({true, false, name.c_str(), 10, 0});
        reporter.report({false, true, name.c_str(), 10, 10});
    }
    reporter.finish(true);
    QCOMPARE(reports.size(), std::size_t(1000));
    for (std::size_t index = 0; index < reports.size(); ++index) {
        QCOMPARE(reports[index].name, QByteArray::number(static_cast<int>(index / 2)));
        QCOMPARE(reports[index].first, index % 2 == 0);
    }
}

void TestCallbacks::reporter_finishWithoutDelivery_nothingFollows()
{
    slowness = 30;
    StatusReporter reporter;
    QVERIFY(reporter.setCallback(&take));
    for (int number = 0; number < 200; ++number)
        reporter.report({true, true, "file", 10, 10});
    reporter.finish(false);
    const std::size_t count = reports.size();
    QVERIFY(count < 200);
    QTest::qWait(80);
    QCOMPARE(reports.size(), count);
}

void TestCallbacks::reporter_noCallback_nothing()
{
    StatusReporter reporter;
    reporter.report({true, true, "file", 10, 10});
    reporter.finish(true);
    QVERIFY(reporter.setCallback(&take));
    reporter.finish(true);
    QVERIFY(reports.empty());
}

void TestCallbacks::scale_sizes_data()
{
    QTest::addColumn<quint64>("size");
    QTest::addColumn<quint64>("done");
    QTest::addColumn<quint64>("shownSize");
    QTest::addColumn<quint64>("shownDone");
    const quint64 most = 0xFFFFFFFF;
    QTest::newRow("nothing") << quint64(0) << quint64(0) << quint64(0) << quint64(0);
    QTest::newRow("just fits") << most << quint64(7) << most << quint64(7);
    QTest::newRow("4 GiB, half done") << quint64(0x100000000) << quint64(0x80000000) << most << quint64(0x7FFFFFFF);
    QTest::newRow("5 GB, nothing done") << quint64(5'000'000'000) << quint64(0) << most << quint64(0);
    QTest::newRow("5 GB, 45 %") << quint64(5'000'000'000) << quint64(2'250'000'000) << most << quint64(1'932'735'282);
    QTest::newRow("5 TB, half done") << quint64(5'000'000'000'000) << quint64(2'500'000'000'000) << most
                                     << quint64(0x7FFFFFFF);
    QTest::newRow("all of it") << quint64(5'000'000'001) << quint64(5'000'000'001) << most << most;
    QTest::newRow("size not known") << quint64(0) << quint64(0x200000000) << quint64(0) << most;
    QTest::newRow("the largest") << ~quint64(0) << ~quint64(0) << most << most;
}

void TestCallbacks::scale_sizes()
{
    QFETCH(quint64, size);
    QFETCH(quint64, done);
    QFETCH(quint64, shownSize);
    QFETCH(quint64, shownDone);
    std::uint64_t scaledSize = size;
    std::uint64_t scaledDone = done;
    scaleTo32Bits(scaledSize, scaledDone);
    QCOMPARE(quint64(scaledSize), shownSize);
    QCOMPARE(quint64(scaledDone), shownDone);
}

void TestCallbacks::limits_settings_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<int>("connect");
    QTest::addColumn<int>("packet");
    QTest::addColumn<bool>("srm");
    QTest::newRow("nothing set") << QByteArray() << 10000 << 65535 << true;
    QTest::newRow("shorter") << QByteArray("ConnectTimeout = 500") << 500 << 65535 << true;
    QTest::newRow("longer than promised") << QByteArray("ConnectTimeout = 60000") << 10000 << 65535 << true;
    QTest::newRow("zero") << QByteArray("ConnectTimeout = 0") << 10000 << 65535 << true;
    QTest::newRow("negative") << QByteArray("ConnectTimeout = -5") << 10000 << 65535 << true;
    QTest::newRow("text") << QByteArray("ConnectTimeout = soon") << 10000 << 65535 << true;
    QTest::newRow("small packets") << QByteArray("PacketSize = 255") << 10000 << 255 << true;
    QTest::newRow("too small packets") << QByteArray("PacketSize = 254") << 10000 << 65535 << true;
    QTest::newRow("too large packets") << QByteArray("PacketSize = 65536") << 10000 << 65535 << true;
    QTest::newRow("no single responses") << QByteArray("SingleResponseMode = 0") << 10000 << 65535 << false;
}

void TestCallbacks::limits_settings()
{
    QFETCH(QByteArray, line);
    QFETCH(int, connect);
    QFETCH(int, packet);
    QFETCH(bool, srm);
    const QTemporaryDir folder;
    QFile file(folder.filePath(QStringLiteral("settings.ini")));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[OBEX]\n" + line + "\n");
    file.close();
    const Limits limits = Limits::read(settings::SettingsFile(file.fileName().toStdString()));
    QCOMPARE(static_cast<int>(limits.connectTimeout.count()), connect);
    QCOMPARE(static_cast<int>(limits.packetSize), packet);
    QCOMPARE(limits.singleResponseMode, srm);
}

QTEST_APPLESS_MAIN(TestCallbacks)
#include "tst_callbacks.moc"
