#include "transferhelpers.h"

#include <QTemporaryDir>

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace obex;

Q_DECLARE_METATYPE(obex::Error)

class TestClientPut : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void put_peerClosesAtEachPacket_isLinkLost();
    void put_peerMisbehaves_namesTheError_data();
    void put_peerMisbehaves_namesTheError();
    void put_empty_sendsEmptyEndOfBody();
    void put_small_isOneRoundTrip();
    void put_sendsNameLengthTimeAndBytes();
    void put_overFourGigabytes_leavesLengthOut();
    void put_forbidden_isReportedAsUnauthorized();
    void put_refusedMidway_keepsTheLink();
    void put_streamRefusedMidway_isReportedAndKeepsTheLink();
    void put_streamRefusedMidwayAndAbortNotAnswered_closesTheLink();
    void put_notARegularFile_isLocalFile_data();
    void put_notARegularFile_isLocalFile();

private:
    QString target() const { return m_folder->filePath("target"); }
    QByteArray targetPath() const { return target().toUtf8(); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestClientPut::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void TestClientPut::put_peerClosesAtEachPacket_isLinkLost()
{
    constexpr int packets = 5; // of 2048 bytes
    const QByteArray bytes(10'000, 'p');
    write(target(), bytes);
    for (int answered = 0; answered <= packets; ++answered) {
        int final = -1;
        ScriptedPeer peer([&](PeerEnd &end) {
            acceptConnect(end, 2048);
            for (int i = 0; i < answered; ++i) {
                if ((end.request().at(0) & 0x80) != 0)
                    final = i;
                end.send(reply::packet(final == i ? ResponseCode::Success : ResponseCode::Continue));
            }
            (void)end.request();
        });
        ClientSession session(peer.takeStream(), patient());
        QVERIFY(session.connect().ok());
        const Outcome outcome = session.putFile(targetPath(), "name");
        QCOMPARE(outcome.error, answered < packets ? Error::LinkLost : Error::None);
        QCOMPARE(session.isConnected(), answered == packets);
        QCOMPARE(contents(target()), bytes);
        session.close();
        if (answered == packets)
            QTRY_COMPARE(final, packets - 1);
    }
}

void TestClientPut::put_peerMisbehaves_namesTheError_data()
{
    QTest::addColumn<QByteArray>("answer");
    QTest::addColumn<Error>("error");

    QTest::newRow("never answers") << QByteArray() << Error::TimedOut;
    QTest::newRow("packet length 0") << hex("900000") << Error::Protocol;
    QTest::newRow("packet length 2") << hex("900002") << Error::Protocol;
    QTest::newRow("success before the end") << hex("A00003") << Error::Protocol;
    QTest::newRow("a header that overruns") << hex("90000748FFFF41") << Error::Protocol;
    QTest::newRow("packet length 65535 with less behind it") << hex("90FFFF00") << Error::TimedOut;
}

void TestClientPut::put_peerMisbehaves_namesTheError()
{
    QFETCH(QByteArray, answer);
    QFETCH(Error, error);

    write(target(), QByteArray(10'000, 'p'));
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end, 2048);
        (void)end.request();
        end.send(answer);
        end.stayAway();
    });
    // Impatient only where the peer is to be given up: a busy machine is slow, too.
    ClientSession session(peer.takeStream(), error == Error::TimedOut ? impatient() : ClientOptions());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.putFile(targetPath(), "name").error, error);
    QVERIFY(!session.isConnected());
}

namespace {

ScriptedPeer::Script answeringEachPut(std::uint16_t maxPacket = 2048)
{
    return [maxPacket](PeerEnd &end) {
        acceptConnect(end, maxPacket);
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request())
            end.send(reply::packet((request.at(0) & 0x80) != 0 ? ResponseCode::Success : ResponseCode::Continue));
    };
}

} // namespace

void TestClientPut::put_empty_sendsEmptyEndOfBody()
{
    write(target(), "");
    ScriptedPeer peer(answeringEachPut());
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").ok());
    QCOMPARE(peer.requests().size(), 2);
    QVERIFY(peer.requests()[1].endsWith(hex("490003")));
    QVERIFY(session.deleteFile("n").ok());
    QVERIFY(!carries(peer.requests()[2], HeaderId::EndOfBody));
}

void TestClientPut::put_small_isOneRoundTrip()
{
    write(target(), "small");
    ScriptedPeer peer(answeringEachPut());
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    const quint64 before = session.roundTrips();
    QVERIFY(session.putFile(targetPath(), "n").ok());
    QCOMPARE(session.roundTrips() - before, quint64(1));
    QCOMPARE(session.bytesSent(), quint64(5));
}

void TestClientPut::put_sendsNameLengthTimeAndBytes()
{
    write(target(), "abc");
    const timespec times[2] = {{0, UTIME_OMIT}, {981173106, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, targetPath().constData(), times, 0), 0);
    ScriptedPeer peer(answeringEachPut());
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").ok());
    QCOMPARE(peer.requests()[1].toHex(), QByteArray("82"         // PUT, final
                                                    "002d"       // packet length 45
                                                    "cb00000007" // Connection Id 7
                                                    "01"
                                                    "0007"
                                                    "006e"
                                                    "0000"       // Name "n"
                                                    "c300000003" // Length 3
                                                    "44"
                                                    "0013"
                                                    "32303031303230335430343035"
                                                    "30365a" // Time
                                                    "49"
                                                    "0006"
                                                    "616263")); // End of Body
}

void TestClientPut::put_overFourGigabytes_leavesLengthOut()
{
    write(target(), "");
    QCOMPARE(::truncate(targetPath().constData(), (qint64(1) << 32)), 0);
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::EntityTooLarge));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").is(ResponseCode::EntityTooLarge));
    QVERIFY(!carries(peer.requests()[1], HeaderId::Length));
}

void TestClientPut::put_forbidden_isReportedAsUnauthorized()
{
    write(target(), "x");
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        while (!end.request().isEmpty())
            end.send(reply::packet(ResponseCode::Forbidden));
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").is(ResponseCode::Unauthorized));
    QVERIFY(session.putFolder(m_folder->path().toUtf8(), "n").is(ResponseCode::Unauthorized));
    QVERIFY(session.deleteFile("n").is(ResponseCode::Forbidden));
}

void TestClientPut::put_refusedMidway_keepsTheLink()
{
    write(target(), QByteArray(10'000, 'p'));
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end, 2048);
        (void)end.request();
        end.send(reply::packet(ResponseCode::Continue));
        (void)end.request();
        end.send(reply::packet(ResponseCode::DatabaseFull));
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").is(ResponseCode::DatabaseFull));
    QVERIFY(session.deleteFile("n").ok());
}

namespace {

/** Agrees to a stream and refuses what it brings. */
void refuseStreamMidway(PeerEnd &end)
{
    acceptConnect(end, 2048);
    (void)end.request();
    end.send(
        reply::packet(ResponseCode::Continue, [](PacketWriter &writer) { writer.addByte(HeaderId::Srm, SrmEnable); }));
    (void)end.request();
    end.send(reply::packet(ResponseCode::DatabaseFull));
}

} // namespace

void TestClientPut::put_streamRefusedMidway_isReportedAndKeepsTheLink()
{
    write(target(), QByteArray(4'000'000, 'p'));
    ScriptedPeer peer([](PeerEnd &end) {
        refuseStreamMidway(end);
        // What was under way is thrown away; the ABORT that ends it is answered.
        QByteArray request = end.request();
        while (!request.isEmpty() && static_cast<std::uint8_t>(request.at(0)) != 0xFF)
            request = end.request();
        end.send(reply::packet(ResponseCode::Success));
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").is(ResponseCode::DatabaseFull));
    QVERIFY(session.isConnected());
    QVERIFY(session.deleteFile("n").ok());
}

void TestClientPut::put_streamRefusedMidwayAndAbortNotAnswered_closesTheLink()
{
    write(target(), QByteArray(4'000'000, 'p'));
    ScriptedPeer peer([](PeerEnd &end) {
        refuseStreamMidway(end);
        end.stayAway();
    });
    ClientOptions options = patient();
    options.cancelTimeout = std::chrono::milliseconds(200);
    ClientSession session(peer.takeStream(), options);
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFile(targetPath(), "n").is(ResponseCode::DatabaseFull));
    QVERIFY(!session.isConnected());
    QCOMPARE(session.deleteFile("n").error, Error::NotConnected);
}

void TestClientPut::put_notARegularFile_isLocalFile_data()
{
    QTest::addColumn<QByteArray>("path");

    QTest::newRow("missing") << QByteArray("missing");
    QTest::newRow("folder") << QByteArray("folder");
    QTest::newRow("FIFO") << QByteArray("fifo");
    QTest::newRow("socket") << QByteArray("socket");
    QTest::newRow("device") << QByteArray("/dev/zero");
    QTest::newRow("link to a FIFO") << QByteArray("link");
}

void TestClientPut::put_notARegularFile_isLocalFile()
{
    QFETCH(QByteArray, path);

    QVERIFY(QDir(m_folder->path()).mkdir("folder"));
    QCOMPARE(::mkfifo(m_folder->filePath("fifo").toUtf8().constData(), 0600), 0);
    QVERIFY(QFile::link("fifo", m_folder->filePath("link")));
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    const QByteArray socketPath = m_folder->filePath("socket").toUtf8();
    qstrncpy(address.sun_path, socketPath.constData(), sizeof address.sun_path);
    const transport::Descriptor socket(::socket(AF_UNIX, SOCK_STREAM, 0));
    QCOMPARE(::bind(socket.get(), reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);

    ScriptedPeer peer(answeringEachPut());
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    const QByteArray local = path.startsWith('/') ? path : m_folder->filePath(QString::fromUtf8(path)).toUtf8();
    QCOMPARE(session.putFile(local, "n").error, Error::LocalFile);
    QCOMPARE(peer.requests().size(), 1);

    // Within a folder they are left out, and the rest goes.
    write(m_folder->filePath("plain"), "x");
    QVERIFY(session.putFolder(m_folder->path().toUtf8(), "n").ok());
    QCOMPARE(session.bytesSent(), quint64(1));
}

QTEST_GUILESS_MAIN(TestClientPut)
#include "tst_clientput.moc"
