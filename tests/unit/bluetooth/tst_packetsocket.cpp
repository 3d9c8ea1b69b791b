#include "transport/packetsocketstream.h"

#include <QtTest>

#include <sys/socket.h>
#include <thread>

using namespace transport;

namespace {

/** An OBEX packet of size bytes. */
QByteArray packet(int size, char fill)
{
    QByteArray bytes(size, fill);
    bytes[1] = char(size >> 8);
    bytes[2] = char(size);
    return bytes;
}

const std::uint8_t *data(const QByteArray &bytes)
{
    return reinterpret_cast<const std::uint8_t *>(bytes.constData());
}

Deadline soon()
{
    return Deadline::after(std::chrono::seconds(10));
}

} // namespace

/** OBEX over a socket that keeps the bounds of what is sent, as L2CAP's does. */
class TestPacketSocket : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void write_severalPackets_eachIsAUnit();
    void write_packetInPieces_piecesDoNotEatTheNext();
    void write_packetOverTheLimit_goesInSeveralUnits();
    void write_peerTakesNothing_timesOutWithoutSpinning();
    void read_littleRoom_losesNothing();
    void read_peerCloses_isClosed();

private:
    void make(std::size_t unit);
    QByteArray received();

    std::unique_ptr<PacketSocketStream> m_stream;
    Descriptor m_peer;
};

void TestPacketSocket::init()
{
    make(32767);
}

void TestPacketSocket::make(std::size_t unit)
{
    int ends[2];
    QCOMPARE(::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends), 0);
    m_stream = std::make_unique<PacketSocketStream>(Descriptor(ends[0]), SocketStream::Traits{}, "peer", unit, unit);
    m_peer = Descriptor(ends[1]);
}

QByteArray TestPacketSocket::received()
{
    QByteArray bytes(70000, '\0');
    const ssize_t got = ::recv(m_peer.get(), bytes.data(), std::size_t(bytes.size()), MSG_DONTWAIT);
    return bytes.left(int(std::max<ssize_t>(got, 0)));
}

void TestPacketSocket::write_severalPackets_eachIsAUnit()
{
    const QByteArray all = packet(3, 'a') + packet(1000, 'b') + packet(20, 'c');
    QVERIFY(m_stream->write(data(all), std::size_t(all.size()), soon()).ok());
    QCOMPARE(received(), packet(3, 'a'));
    QCOMPARE(received(), packet(1000, 'b'));
    QCOMPARE(received(), packet(20, 'c'));
    QCOMPARE(received(), QByteArray());
}

void TestPacketSocket::write_packetInPieces_piecesDoNotEatTheNext()
{
    const QByteArray whole = packet(10, 'a');
    const QByteArray rest = whole.mid(4) + packet(5, 'b');
    QVERIFY(m_stream->write(data(whole), 4, soon()).ok());
    QVERIFY(m_stream->write(data(rest), std::size_t(rest.size()), soon()).ok());
    QCOMPARE(received(), whole.left(4));
    QCOMPARE(received(), whole.mid(4));
    QCOMPARE(received(), packet(5, 'b'));
}

void TestPacketSocket::write_packetOverTheLimit_goesInSeveralUnits()
{
    make(100);
    const QByteArray all = packet(250, 'a') + packet(4, 'b');
    QVERIFY(m_stream->write(data(all), std::size_t(all.size()), soon()).ok());
    QCOMPARE(received().size(), 100);
    QCOMPARE(received().size(), 100);
    QCOMPARE(received().size(), 50);
    QCOMPARE(received(), packet(4, 'b'));
}

void TestPacketSocket::write_peerTakesNothing_timesOutWithoutSpinning()
{
    const QByteArray large = packet(30000, 'a');
    timespec before{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &before);
    IoResult result;
    const Deadline deadline = Deadline::after(std::chrono::milliseconds(500));
    while (result.ok())
        result = m_stream->write(data(large), std::size_t(large.size()), deadline);
    timespec after{};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &after);
    QCOMPARE(result.status, IoStatus::TimedOut);
    const qint64 used = (after.tv_sec - before.tv_sec) * 1000 + (after.tv_nsec - before.tv_nsec) / 1000000;
    QVERIFY2(used < 250, qPrintable(QString::number(used)));
}

void TestPacketSocket::read_littleRoom_losesNothing()
{
    const QByteArray sent = packet(1000, 'x');
    QCOMPARE(::send(m_peer.get(), sent.constData(), std::size_t(sent.size()), 0), ssize_t(1000));
    QByteArray all;
    while (all.size() < 1000) {
        std::uint8_t piece[7];
        const IoResult result = m_stream->read(piece, sizeof piece, soon());
        QVERIFY(result.ok() && result.bytes > 0);
        all.append(reinterpret_cast<const char *>(piece), int(result.bytes));
    }
    QCOMPARE(all, sent);
}

void TestPacketSocket::read_peerCloses_isClosed()
{
    m_peer = Descriptor();
    std::uint8_t byte = 0;
    QCOMPARE(m_stream->read(&byte, 1, soon()).status, IoStatus::Closed);
}

QTEST_APPLESS_MAIN(TestPacketSocket)
#include "tst_packetsocket.moc"
