#include "transport/linkwatcher.h"
#include "transport/tcp.h"

#include <QElapsedTimer>
#include <QtTest>

#include <thread>
#include <vector>

using namespace transport;

namespace {

Deadline soon()
{
    return Deadline::after(std::chrono::milliseconds(50));
}

Deadline late()
{
    return Deadline::after(std::chrono::seconds(10));
}

struct Pair
{
    std::unique_ptr<TcpListener> listener = TcpListener::listen("127.0.0.1", 0);
    std::unique_ptr<Stream> client;
    std::unique_ptr<Stream> server;

    Pair()
    {
        const Wakeup never;
        client = TcpConnector("127.0.0.1", listener->port()).connect(late(), never).stream;
        server = listener->accept(late()).stream;
    }
};

} // namespace

class TestTransport : public QObject
{
    Q_OBJECT

private slots:
    void read_givesWhatHasCome();
    void read_peerCloses_isClosedAfterTheLastByte();
    void read_nothingComes_timesOut();
    void read_woken_endsUntilCleared();
    void read_closedFromAnotherThread_isClosed();
    void write_peerDoesNotRead_timesOutAndTellsHowFar();
    void write_peerGone_isClosedWithoutSignal();
    void connect_nobodyListens_fails();
    void connect_cancelled_isWoken();
    void connect_byName_isLookedUp();
    void connect_unknownName_failsInTime();
    void accept_closed_returns();
    void listen_takenPort_isNull();
    void addresses_areForPeople();
};

void TestTransport::read_givesWhatHasCome()
{
    Pair pair;
    QVERIFY(pair.client->write(reinterpret_cast<const std::uint8_t *>("abc"), 3, late()).ok());
    std::uint8_t buffer[16];
    const IoResult result = pair.server->read(buffer, sizeof buffer, late());
    QVERIFY(result.ok());
    QCOMPARE(result.bytes, std::size_t(3));
}

void TestTransport::read_peerCloses_isClosedAfterTheLastByte()
{
    Pair pair;
    QVERIFY(pair.client->write(reinterpret_cast<const std::uint8_t *>("abc"), 3, late()).ok());
    pair.client->close();
    std::uint8_t buffer[16];
    QCOMPARE(pair.server->read(buffer, sizeof buffer, late()).bytes, std::size_t(3));
    QCOMPARE(pair.server->read(buffer, sizeof buffer, late()).status, IoStatus::Closed);
    QCOMPARE(pair.server->read(buffer, sizeof buffer, late()).status, IoStatus::Closed);
}

void TestTransport::read_nothingComes_timesOut()
{
    Pair pair;
    std::uint8_t byte = 0;
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(pair.server->read(&byte, 1, soon()).status, IoStatus::TimedOut);
    QVERIFY(timer.elapsed() >= 50);
}

void TestTransport::read_woken_endsUntilCleared()
{
    Pair pair;
    std::thread waker([&] { pair.server->wake(); });
    std::uint8_t byte = 0;
    QCOMPARE(pair.server->read(&byte, 1, late()).status, IoStatus::Woken);
    waker.join();
    QCOMPARE(pair.server->read(&byte, 1, late()).status, IoStatus::Woken);
    pair.server->clearWake();
    QCOMPARE(pair.server->read(&byte, 1, soon()).status, IoStatus::TimedOut);
}

void TestTransport::read_closedFromAnotherThread_isClosed()
{
    Pair pair;
    std::thread closer([&] { pair.server->close(); });
    std::uint8_t byte = 0;
    QCOMPARE(pair.server->read(&byte, 1, late()).status, IoStatus::Closed);
    closer.join();
}

void TestTransport::write_peerDoesNotRead_timesOutAndTellsHowFar()
{
    Pair pair;
    const std::vector<std::uint8_t> much(64 << 20);
    const IoResult result = pair.client->write(much.data(), much.size(), soon());
    QCOMPARE(result.status, IoStatus::TimedOut);
    QVERIFY(result.bytes > 0 && result.bytes < much.size());
}

void TestTransport::write_peerGone_isClosedWithoutSignal()
{
    Pair pair;
    pair.server.reset();
    const std::vector<std::uint8_t> much(1 << 20);
    IoResult result;
    do
        result = pair.client->write(much.data(), much.size(), late());
    while (result.ok());
    QCOMPARE(result.status, IoStatus::Closed);
}

void TestTransport::connect_nobodyListens_fails()
{
    std::uint16_t port = 0;
    {
        const auto listener = TcpListener::listen("127.0.0.1", 0);
        port = listener->port();
    }
    const Wakeup never;
    const Dialled dialled = TcpConnector("127.0.0.1", port).connect(late(), never);
    QVERIFY(!dialled.stream);
    QCOMPARE(dialled.status, IoStatus::Failed);
}

void TestTransport::connect_cancelled_isWoken()
{
    Wakeup cancel;
    cancel.notify();
    // An address that is reserved for documents: nobody answers there, or the network says at once that it is far.
    const Dialled dialled = TcpConnector("192.0.2.1", 9).connect(late(), cancel);
    QVERIFY(!dialled.stream);
    QVERIFY(dialled.status == IoStatus::Woken || dialled.status == IoStatus::Failed);
}

void TestTransport::connect_byName_isLookedUp()
{
    const auto listener = TcpListener::listen("127.0.0.1", 0);
    const Wakeup never;
    const Dialled dialled = TcpConnector("localhost", listener->port()).connect(late(), never);
    QVERIFY(dialled.stream != nullptr);
    QVERIFY(dialled.stream->supportsSrm());
    QCOMPARE(dialled.stream->maxPacket(), std::size_t(65535));
}

void TestTransport::connect_unknownName_failsInTime()
{
    const Wakeup never;
    QElapsedTimer timer;
    timer.start();
    const Dialled dialled =
        TcpConnector("no-such-host.invalid", 1).connect(Deadline::after(std::chrono::seconds(2)), never);
    QVERIFY(!dialled.stream);
    QVERIFY(timer.elapsed() < 5000);
}

void TestTransport::accept_closed_returns()
{
    const auto listener = TcpListener::listen("127.0.0.1", 0);
    QCOMPARE(listener->accept(soon()).status, IoStatus::TimedOut);
    std::thread closer([&] { listener->close(); });
    QCOMPARE(listener->accept(late()).status, IoStatus::Closed);
    closer.join();
    QCOMPARE(listener->accept(late()).status, IoStatus::Closed);
}

void TestTransport::listen_takenPort_isNull()
{
    const auto listener = TcpListener::listen("127.0.0.1", 0);
    QVERIFY(!TcpListener::listen("127.0.0.1", listener->port()));
    QVERIFY(!TcpListener::listen("not an address", 0));
}

void TestTransport::addresses_areForPeople()
{
    Pair pair;
    const std::string address = "127.0.0.1:" + std::to_string(pair.listener->port());
    QCOMPARE(pair.listener->address(), address);
    QCOMPARE(pair.client->peer(), address);
}

QTEST_GUILESS_MAIN(TestTransport)
#include "tst_transport.moc"
