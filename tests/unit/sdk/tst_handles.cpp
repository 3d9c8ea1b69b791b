#include "api/handles.h"

#include <QtTest>

#include <atomic>
#include <set>
#include <thread>

using namespace api;

/** Handles and what they name. */
class TestHandles : public QObject
{
    Q_OBJECT

private slots:
    void newHandle_kinds_neverMeet();
    void newHandle_manyThreads_neverTwice();
    void wasIssued_strangers_areNot();
    void take_ofTwoTakers_oneGetsIt();
    void find_takenMeanwhile_staysWhole();
    void add_overTheLimitOrClosed_isRefused();
    void all_inTheOrderOfMaking();
};

void TestHandles::newHandle_kinds_neverMeet()
{
    std::set<std::uint32_t> seen;
    for (const HandleKind kind :
         {HandleKind::Device, HandleKind::Shortcut, HandleKind::Connection, HandleKind::Server}) {
        for (int count = 0; count < 100; ++count) {
            const std::uint32_t handle = newHandle(kind);
            QVERIFY(handle != 0);
            QVERIFY(seen.insert(handle).second);
            QVERIFY(wasIssued(handle, kind));
            QCOMPARE(wasIssued(handle, HandleKind::Server), kind == HandleKind::Server);
        }
    }
}

void TestHandles::newHandle_manyThreads_neverTwice()
{
    std::vector<std::vector<std::uint32_t>> given(4);
    std::vector<std::thread> threads;
    for (std::vector<std::uint32_t> &mine : given) {
        threads.emplace_back([&mine] {
            for (int count = 0; count < 1000; ++count)
                mine.push_back(newHandle(HandleKind::Connection));
        });
    }
    std::set<std::uint32_t> all;
    for (std::thread &thread : threads)
        thread.join();
    for (const std::vector<std::uint32_t> &mine : given)
        all.insert(mine.begin(), mine.end());
    QCOMPARE(all.size(), std::size_t(4000));
}

void TestHandles::wasIssued_strangers_areNot()
{
    for (const std::uint32_t handle : {0u, 1u, 0x10000000u, 0x3FFFFFFFu, 0x50000001u, 0xFFFFFFFFu})
        QVERIFY(!wasIssued(handle, HandleKind::Connection));
}

void TestHandles::take_ofTwoTakers_oneGetsIt()
{
    for (int round = 0; round < 200; ++round) {
        HandleRegistry<int> registry(10);
        QVERIFY(registry.add(5, std::make_shared<int>(1)));
        std::atomic<int> got{0};
        std::thread one([&] { got += registry.take(5) != nullptr; });
        std::thread two([&] { got += registry.take(5) != nullptr; });
        one.join();
        two.join();
        QCOMPARE(got.load(), 1);
        QVERIFY(!registry.find(5));
    }
}

void TestHandles::find_takenMeanwhile_staysWhole()
{
    HandleRegistry<int> registry(10);
    QVERIFY(registry.add(5, std::make_shared<int>(42)));
    const std::shared_ptr<int> held = registry.find(5);
    registry.take(5).reset();
    QCOMPARE(*held, 42);
    QCOMPARE(held.use_count(), 1l);
}

void TestHandles::add_overTheLimitOrClosed_isRefused()
{
    HandleRegistry<int> registry(2);
    QVERIFY(registry.add(1, std::make_shared<int>(1)));
    QVERIFY(registry.add(2, std::make_shared<int>(2)));
    QVERIFY(!registry.add(3, std::make_shared<int>(3)));
    QVERIFY(registry.take(1) != nullptr);
    QVERIFY(registry.add(3, std::make_shared<int>(3)));
    registry.close();
    QVERIFY(registry.take(2) != nullptr);
    QVERIFY(!registry.add(4, std::make_shared<int>(4)));
}

void TestHandles::all_inTheOrderOfMaking()
{
    HandleRegistry<int> registry(10);
    for (int number = 0; number < 5; ++number)
        QVERIFY(registry.add(newHandle(HandleKind::Connection), std::make_shared<int>(number)));
    int expected = 0;
    for (const std::shared_ptr<int> &each : registry.all())
        QCOMPARE(*each, expected++);
    QCOMPARE(expected, 5);
}

QTEST_APPLESS_MAIN(TestHandles)
#include "tst_handles.moc"
