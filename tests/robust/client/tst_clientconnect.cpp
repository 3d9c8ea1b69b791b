#include "obex/auth.h"
#include "obex/clientsession.h"
#include "scriptedpeer.h"

#include <QElapsedTimer>
#include <QtTest>

#include <sys/resource.h>

using namespace obex;

namespace {

ClientOptions impatient()
{
    ClientOptions options;
    options.connectTimeout = std::chrono::milliseconds(150);
    options.requestTimeout = std::chrono::milliseconds(150);
    options.transferTimeout = std::chrono::milliseconds(150);
    options.cancelTimeout = std::chrono::milliseconds(200);
    return options;
}

ClientOptions patient()
{
    ClientOptions options;
    options.connectTimeout = std::chrono::seconds(10);
    return options;
}

/** Answers CONNECT with these bytes and stays. */
ScriptedPeer::Script answering(const QByteArray &bytes)
{
    return [bytes](PeerEnd &peer) {
        (void)peer.request();
        peer.send(bytes);
        peer.stayAway();
    };
}

ScriptedPeer::Script answeringAndClosing(const QByteArray &bytes)
{
    return [bytes](PeerEnd &peer) {
        (void)peer.request();
        peer.send(bytes);
    };
}

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

} // namespace

Q_DECLARE_METATYPE(ScriptedPeer::Script)
Q_DECLARE_METATYPE(obex::Error)

class TestClientConnect : public QObject
{
    Q_OBJECT

private slots:
    void connect_peerMisbehaves_namesTheError_data();
    void connect_peerMisbehaves_namesTheError();
    void connect_peerAgrees_sendsTargetFirstAndConnectionIdAfter();
    void connect_refused_handsOnTheResponse();
    void connect_challenged_answersWithDigestOfPasskey();
    void connect_challengedAndPasskeyWrong_failsAuthentication();
    void connect_challengedAndUserDeclines_failsAuthentication();
    void connect_challengedLateAndThenSilence_oneDeadlineForBoth();
    void connect_userTakesLongForThePasskey_connects();
    void connect_closedFromAnotherThread_endsAtOnce();
    void calls_afterDisconnect_sayNotConnected();
    void disconnect_tellsThePeer();
    void manyFailedConnects_leaveNoDescriptorBehind();
};

void TestClientConnect::connect_peerMisbehaves_namesTheError_data()
{
    QTest::addColumn<ScriptedPeer::Script>("script");
    QTest::addColumn<Error>("error");

    const auto row = [](const char *name, ScriptedPeer::Script script, Error error) {
        QTest::newRow(name) << std::move(script) << error;
    };
    row(
        "closes at once", [](PeerEnd &) {}, Error::LinkLost);
    row(
        "reads and closes", [](PeerEnd &peer) { (void)peer.request(); }, Error::LinkLost);
    row(
        "never answers", [](PeerEnd &peer) { peer.stayAway(); }, Error::TimedOut);
    row(
        "answers late",
        [](PeerEnd &peer) {
            (void)peer.request();
            std::this_thread::sleep_for(std::chrono::milliseconds(400));
            peer.send(reply::connected());
            peer.stayAway();
        },
        Error::TimedOut);
    row("answers for another service", answering(reply::connectedAs(QByteArray(16, 'x'))), Error::NotSupported);
    row("answers with half the service", answering(reply::connectedAs(hex("F9EC7BC4953C11D2"))), Error::NotSupported);
    row("answers for its default service", answering(reply::connectedAs(QByteArray())), Error::NotSupported);
    row("packet length 0", answering(hex("A00000")), Error::Protocol);
    row("packet length 1", answering(hex("A00001")), Error::Protocol);
    row("packet length 2", answering(hex("A00002")), Error::Protocol);
    row("packet length 65535 and nothing behind it", answering(hex("A0FFFF10")), Error::TimedOut);
    row("packet length 65535 and the end behind it", answeringAndClosing(hex("A0FFFF10")), Error::LinkLost);
    row("no room for its own fields", answering(hex("A0000510FF")), Error::Protocol);
    row("a header that overruns", answering(hex("A0000D1000FFFF4A00FF010203")), Error::Protocol);
    row("a header of length 0", answering(hex("A0000A1000FFFF4A0000")), Error::Protocol);
    row("text of an odd number of bytes", answering(hex("A0000B1000FFFF01000441")), Error::Protocol);
    row("a number that is cut off", answering(hex("A0000A1000FFFFCB0000")), Error::Protocol);
    row("a response without its final bit", answering(hex("200003")), Error::Protocol);
}

void TestClientConnect::connect_peerMisbehaves_namesTheError()
{
    QFETCH(ScriptedPeer::Script, script);
    QFETCH(Error, error);

    ScriptedPeer peer(script);
    // Impatient only where the peer is to be given up: a busy machine is slow, too.
    ClientSession session(peer.takeStream(), error == Error::TimedOut ? impatient() : ClientOptions());
    QElapsedTimer timer;
    timer.start();
    const Outcome outcome = session.connect();
    QCOMPARE(outcome.error, error);
    QVERIFY(timer.elapsed() < 5000);
    QVERIFY(!session.isConnected());
    QCOMPARE(session.setPath("/a").error, Error::NotConnected);

    ScriptedPeer decent([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession next(decent.takeStream(), patient());
    QVERIFY(next.connect().ok());
    QVERIFY(next.isConnected());
}

void TestClientConnect::connect_peerAgrees_sendsTargetFirstAndConnectionIdAfter()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.setPath("/a").ok());
    const QVector<QByteArray> requests = peer.requests();
    QCOMPARE(requests[0].toHex(), QByteArray("80"   // CONNECT
                                             "001a" // packet length 26
                                             "10"   // version 1.0
                                             "00"   // flags
                                             "ffff" // largest packet 65535
                                             "46"
                                             "0013" // Target, 19 bytes
                                             "f9ec7bc4953c11d2984e525400dc9e09"));
    QCOMPARE(requests[1].toHex(), QByteArray("85"         // SETPATH
                                             "0011"       // packet length 17
                                             "02"         // do not create
                                             "00"         // constant
                                             "cb00000007" // Connection Id 7
                                             "01"
                                             "0007" // Name, 7 bytes
                                             "0061"
                                             "0000"));
}

void TestClientConnect::connect_refused_handsOnTheResponse()
{
    ScriptedPeer peer(answering(reply::packet(ResponseCode::Forbidden)));
    ClientSession session(peer.takeStream(), patient());
    const Outcome outcome = session.connect();
    QVERIFY(outcome.is(ResponseCode::Forbidden));
    QVERIFY(!session.isConnected());
}

namespace {

const QByteArray Nonce("0123456789abcdef");

void challenge(PeerEnd &peer)
{
    const QByteArray header = makeChallenge(Nonce);
    peer.send(reply::packet(ResponseCode::Unauthorized, [&](PacketWriter &writer) {
        writer.addConnectFields(65535);
        writer.addSequence(HeaderId::AuthChallenge, bytesOf(header));
    }));
}

/** Challenges, checks the digest against the passkey, and lets in or not. */
ScriptedPeer::Script challenging(const QByteArray &passkey)
{
    return [passkey](PeerEnd &peer) {
        (void)peer.request();
        challenge(peer);
        const QByteArray answer = peer.request();
        if (answer.isEmpty())
            return;
        const bool right = answer.contains(digestOf(Nonce, passkey));
        peer.send(right ? reply::connected() : reply::packet(ResponseCode::Unauthorized));
        peer.stayAway();
    };
}

} // namespace

void TestClientConnect::connect_challenged_answersWithDigestOfPasskey()
{
    ScriptedPeer peer(challenging("123456"));
    ClientOptions options = patient();
    options.askPasskey = [](QByteArray &passkey) {
        passkey = "123456";
        return true;
    };
    ClientSession session(peer.takeStream(), options);
    QVERIFY(session.connect().ok());
}

void TestClientConnect::connect_challengedAndPasskeyWrong_failsAuthentication()
{
    ScriptedPeer peer(challenging("123456"));
    ClientOptions options = patient();
    options.askPasskey = [](QByteArray &passkey) {
        passkey = "654321";
        return true;
    };
    ClientSession session(peer.takeStream(), options);
    QCOMPARE(session.connect().error, Error::Authentication);
}

void TestClientConnect::connect_challengedAndUserDeclines_failsAuthentication()
{
    ScriptedPeer peer(challenging("123456"));
    ClientOptions options = patient();
    options.askPasskey = [](QByteArray &) { return false; };
    ClientSession session(peer.takeStream(), options);
    QCOMPARE(session.connect().error, Error::Authentication);
}

void TestClientConnect::connect_challengedLateAndThenSilence_oneDeadlineForBoth()
{
    ClientOptions options = patient();
    options.connectTimeout = std::chrono::seconds(4);
    ScriptedPeer peer([](PeerEnd &end) {
        (void)end.request();
        std::this_thread::sleep_for(std::chrono::seconds(2)); // half of what there is
        challenge(end);
        end.stayAway();
    });
    QElapsedTimer sinceAsked;
    options.askPasskey = [&](QByteArray &passkey) {
        passkey = "123456";
        sinceAsked.start();
        return true;
    };
    ClientSession session(peer.takeStream(), options);
    QCOMPARE(session.connect().error, Error::TimedOut);
    QVERIFY(sinceAsked.isValid());
    QVERIFY(sinceAsked.elapsed() < 3800); // a deadline of its own would give the second answer 4 s
}

void TestClientConnect::connect_userTakesLongForThePasskey_connects()
{
    ScriptedPeer peer(challenging("123456"));
    ClientOptions options = patient();
    options.connectTimeout = std::chrono::seconds(2);
    options.askPasskey = [](QByteArray &passkey) {
        passkey = "123456";
        std::this_thread::sleep_for(std::chrono::milliseconds(2500));
        return true;
    };
    ClientSession session(peer.takeStream(), options);
    QVERIFY(session.connect().ok());
}

void TestClientConnect::connect_closedFromAnotherThread_endsAtOnce()
{
    std::atomic<bool> asked{false};
    ScriptedPeer peer([&](PeerEnd &end) {
        (void)end.request();
        asked = true;
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    std::thread closer([&] {
        while (!asked)
            std::this_thread::yield();
        session.close();
    });
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(session.connect().error, Error::LinkLost);
    QVERIFY(timer.elapsed() < 5000);
    closer.join();
}

void TestClientConnect::calls_afterDisconnect_sayNotConnected()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    session.disconnect();
    QVERIFY(!session.isConnected());
    QCOMPARE(session.setPath("/").error, Error::NotConnected);
    QCOMPARE(session.list([](const ListingEntry &) {}).error, Error::NotConnected);
    session.cancel();
    session.disconnect();
}

void TestClientConnect::disconnect_tellsThePeer()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), impatient());
    QVERIFY(session.connect().ok());
    session.disconnect(); // the peer does not answer: it ends all the same
    QTRY_COMPARE(peer.requests().size(), 2);
    QCOMPARE(static_cast<std::uint8_t>(peer.requests().last().at(0)), static_cast<std::uint8_t>(Opcode::Disconnect));
}

void TestClientConnect::manyFailedConnects_leaveNoDescriptorBehind()
{
    const auto openDescriptors = [] {
        return QDir("/proc/self/fd").entryList(QDir::NoDotAndDotDot | QDir::AllEntries | QDir::System).size();
    };
    const int before = openDescriptors();
    for (int i = 0; i < 50; ++i) {
        ScriptedPeer peer(answeringAndClosing(hex("A00000")));
        ClientSession session(peer.takeStream(), impatient());
        QVERIFY(!session.connect().ok());
    }
    QCOMPARE(openDescriptors(), before);
}

QTEST_GUILESS_MAIN(TestClientConnect)
#include "tst_clientconnect.moc"
