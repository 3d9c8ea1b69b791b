#include "obex/clientsession.h"
#include "scriptedpeer.h"
#include "transport/linkwatcher.h"
#include "transport/tcp.h"

#include <QElapsedTimer>
#include <QTemporaryDir>
#include <QtTest>

#include <algorithm>

using namespace obex;

Q_DECLARE_METATYPE(ScriptedPeer::Script)
Q_DECLARE_METATYPE(obex::Error)
Q_DECLARE_METATYPE(obex::ResponseCode)

namespace {

std::uint8_t codeOf(const QByteArray &packet)
{
    return packet.isEmpty() ? 0 : static_cast<std::uint8_t>(packet.at(0));
}

constexpr auto AbortCode = static_cast<std::uint8_t>(Opcode::Abort);

QStringList everythingIn(const QString &path)
{
    return QDir(path).entryList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
}

int abortsAmong(const QVector<QByteArray> &requests)
{
    return static_cast<int>(std::count_if(requests.begin(), requests.end(),
                                          [](const QByteArray &request) { return codeOf(request) == AbortCode; }));
}

/** A get without end, each packet asked for; answers an ABORT, then serves a small file. */
void endlessGet(PeerEnd &peer)
{
    acceptConnect(peer);
    QByteArray request = peer.request();
    while (!request.isEmpty() && codeOf(request) != AbortCode) {
        peer.send(reply::body(ResponseCode::Continue, QByteArray(60'000, 'x')));
        request = peer.request();
    }
    peer.send(reply::packet(ResponseCode::Success));
    (void)peer.request();
    peer.send(reply::body(ResponseCode::Success, "after"));
    peer.stayAway();
}

/** The same, streamed. */
void endlessStream(PeerEnd &peer)
{
    acceptConnect(peer);
    (void)peer.request();
    std::atomic<bool> aborted{false};
    std::thread listener([&] {
        QByteArray request = peer.request();
        while (!request.isEmpty() && codeOf(request) != AbortCode)
            request = peer.request();
        aborted = true;
    });
    const QByteArray first = reply::body(ResponseCode::Continue, "first",
                                         [](PacketWriter &writer) { writer.addByte(HeaderId::Srm, SrmEnable); });
    peer.send(first);
    const QByteArray next = reply::body(ResponseCode::Continue, QByteArray(60'000, 'x'));
    while (!aborted)
        peer.send(next);
    listener.join();
    peer.send(reply::packet(ResponseCode::Success));
    (void)peer.request();
    peer.send(reply::body(ResponseCode::Success, "after"));
    peer.stayAway();
}

void silentAfterFirstPacket(PeerEnd &peer)
{
    acceptConnect(peer);
    (void)peer.request();
    peer.send(reply::body(ResponseCode::Continue, "x"));
    peer.stayAway();
}

/** Every request is answered at once, with a few bytes. */
void smallAnswers(PeerEnd &peer)
{
    acceptConnect(peer);
    while (!peer.request().isEmpty())
        peer.send(reply::body(ResponseCode::Success, "whole"));
}

} // namespace

class TestClientCancel : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void cancelGet_atFullSpeed_endsQuicklyInStepAndLeavesNothing_data();
    void cancelGet_atFullSpeed_endsQuicklyInStepAndLeavesNothing();
    void cancelGet_peerSilent_endsWithinCancelTimeoutAndClosesTheLink();
    void cancelGet_beforeAnyAnswer_endsWithinCancelTimeout();
    void cancelGet_lastPacketUnderWay_staysInStep();
    void cancel_abortUnansweredByAPeerThatServesOn_staysInStep();
    void cancel_abortUnansweredAndTheNextRequestRefusedOtherwise_closesTheLink();
    void cancel_awaitedAnswerIsTheLast_sendsNoAbort_data();
    void cancel_awaitedAnswerIsTheLast_sendsNoAbort();
    void cancelPut_atFullSpeed_staysInStep();
    void cancelPut_peerDoesNotRead_endsWithinCancelTimeout();
    void cancelPut_fromProgress_ends();
    void cancel_idle_doesNothingToTheNextCall();
    void cancel_transferExpected_endsItAsItBegins_data();
    void cancel_transferExpected_endsItAsItBegins();
    void cancel_expectedTransferHasBegun_doesNothingToTheNext();
    void secondCall_whileOneRuns_isBusyAtOnce();
    void disconnect_duringGet_cancelsIt();
    void call_linkClosedWhileIdle_isLinkLost();
    void linkWatcher_peerCloses_isTold();
    void linkWatcher_unwatched_isSilent();

private:
    /** Half of what is promised, which leaves a busy machine its share. */
    static ClientOptions givingUpWithinASecond()
    {
        ClientOptions options;
        options.cancelTimeout = std::chrono::seconds(1);
        return options;
    }

    /** Cancels once the session has received something. */
    static std::thread cancelLater(ClientSession &session)
    {
        return std::thread([&session] {
            while (session.bytesReceived() + session.bytesSent() == 0)
                std::this_thread::yield();
            session.cancel();
        });
    }

    QByteArray target() const { return m_folder->filePath("target").toUtf8(); }
    QByteArray bigFile();

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestClientCancel::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

QByteArray TestClientCancel::bigFile()
{
    QFile file(m_folder->filePath("big"));
    if (!file.open(QIODevice::WriteOnly) || !file.resize(qint64(1) << 32))
        qFatal("no big file");
    return file.fileName().toUtf8();
}

void TestClientCancel::cancelGet_atFullSpeed_endsQuicklyInStepAndLeavesNothing_data()
{
    QTest::addColumn<ScriptedPeer::Script>("script");

    QTest::newRow("each packet asked for") << ScriptedPeer::Script(endlessGet);
    QTest::newRow("streamed") << ScriptedPeer::Script(endlessStream);
}

void TestClientCancel::cancelGet_atFullSpeed_endsQuicklyInStepAndLeavesNothing()
{
    QFETCH(ScriptedPeer::Script, script);

    ScriptedPeer peer(script);
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread canceller = cancelLater(session);
    QCOMPARE(session.getFile("endless", target()).error, Error::Cancelled);
    canceller.join();
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
    QVERIFY(session.isConnected());
    QVERIFY(session.getFile("next", target()).ok());
    QFile file(m_folder->filePath("target"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("after"));
}

void TestClientCancel::cancelGet_peerSilent_endsWithinCancelTimeoutAndClosesTheLink()
{
    ScriptedPeer peer(silentAfterFirstPacket);
    ClientSession session(peer.takeStream(), givingUpWithinASecond());
    QVERIFY(session.connect().ok());
    std::thread canceller = cancelLater(session);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(session.getFile("silent", target()).error, Error::Cancelled);
    QVERIFY2(timer.elapsed() <= 2500, qPrintable(QString::number(timer.elapsed())));
    canceller.join();
    QVERIFY(!session.isConnected());
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
    QTRY_COMPARE(abortsAmong(peer.requests()), 1);
}

void TestClientCancel::cancelGet_beforeAnyAnswer_endsWithinCancelTimeout()
{
    std::atomic<bool> asked{false};
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        asked = true;
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), givingUpWithinASecond());
    QVERIFY(session.connect().ok());
    std::thread canceller([&] {
        while (!asked)
            std::this_thread::yield();
        session.cancel();
    });
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(session.getFile("silent", target()).error, Error::Cancelled);
    QVERIFY(timer.elapsed() <= 2500);
    canceller.join();
}

void TestClientCancel::cancelGet_lastPacketUnderWay_staysInStep()
{
    // The cancel comes while the last answer is on its way: there is nothing left to abort.
    ClientSession *running = nullptr;
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        running->cancel();
        end.send(reply::body(ResponseCode::Success, "all of it"));
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request())
            end.send(codeOf(request) == AbortCode ? reply::packet(ResponseCode::Success)
                                                  : reply::body(ResponseCode::Success, "after"));
    });
    ClientSession session(peer.takeStream(), {});
    running = &session;
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("small", target()).error, Error::Cancelled);
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
    QVERIFY(session.isConnected());
    QVERIFY(session.getFile("next", target()).ok());
    QFile file(m_folder->filePath("target"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.readAll(), QByteArray("after"));
}

namespace {

/** Takes puts, leaves ABORT without an answer, and answers paths with code. */
ScriptedPeer::Script leavingAbortUnanswered(ResponseCode code)
{
    return [code](PeerEnd &end) {
        acceptConnect(end);
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request()) {
            if (codeOf(request) == AbortCode)
                continue;
            if (codeOf(request) == static_cast<std::uint8_t>(Opcode::SetPath))
                end.send(reply::packet(code));
            else
                end.send(reply::packet((request.at(0) & 0x80) != 0 ? ResponseCode::Success : ResponseCode::Continue));
        }
    };
}

} // namespace

void TestClientCancel::cancel_abortUnansweredByAPeerThatServesOn_staysInStep()
{
    ScriptedPeer peer(leavingAbortUnanswered(ResponseCode::NotFound));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread canceller = cancelLater(session);
    QElapsedTimer clock;
    clock.start();
    QCOMPARE(session.putFile(bigFile(), "big").error, Error::Cancelled);
    QVERIFY2(clock.elapsed() < 2500, qPrintable(QString::number(clock.elapsed())));
    canceller.join();
    QVERIFY(session.isConnected());
    QVERIFY(session.deleteFile("next").ok());
}

void TestClientCancel::cancel_abortUnansweredAndTheNextRequestRefusedOtherwise_closesTheLink()
{
    // It may be the answer that the peer had owed all the time.
    ScriptedPeer peer(leavingAbortUnanswered(ResponseCode::Forbidden));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread canceller = cancelLater(session);
    QCOMPARE(session.putFile(bigFile(), "big").error, Error::Cancelled);
    canceller.join();
    QVERIFY(!session.isConnected());
}

void TestClientCancel::cancel_awaitedAnswerIsTheLast_sendsNoAbort_data()
{
    QTest::addColumn<bool>("put");
    QTest::addColumn<ResponseCode>("last");

    QTest::newRow("a get that is done") << false << ResponseCode::Success;
    QTest::newRow("a get that is refused") << false << ResponseCode::NotFound;
    QTest::newRow("a put that is done") << true << ResponseCode::Success;
    QTest::newRow("a put that is refused") << true << ResponseCode::DatabaseFull;
}

void TestClientCancel::cancel_awaitedAnswerIsTheLast_sendsNoAbort()
{
    QFETCH(bool, put);
    QFETCH(ResponseCode, last);

    QFile source(m_folder->filePath("source"));
    QVERIFY(source.open(QIODevice::WriteOnly) && source.write("bytes") == 5 && source.flush());
    ClientSession *running = nullptr;
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        running->cancel();
        end.send(reply::packet(last));
        while (!end.request().isEmpty())
            end.send(reply::packet(ResponseCode::Success));
    });
    ClientSession session(peer.takeStream(), {});
    running = &session;
    QVERIFY(session.connect().ok());
    const Outcome outcome =
        put ? session.putFile(source.fileName().toUtf8(), "name") : session.getFile("name", target());
    QCOMPARE(outcome.error, Error::Cancelled);
    QCOMPARE(everythingIn(m_folder->path()), QStringList("source"));
    QVERIFY(session.isConnected());
    QVERIFY(session.deleteFile("next").ok());
    // An ABORT would be answered, too, but it would mean nothing, and some peers hang up on one.
    QCOMPARE(abortsAmong(peer.requests()), 0);
}

void TestClientCancel::cancelPut_atFullSpeed_staysInStep()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request())
            end.send(reply::packet((request.at(0) & 0x80) != 0 ? ResponseCode::Success : ResponseCode::Continue));
    });
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread canceller = cancelLater(session);
    QCOMPARE(session.putFile(bigFile(), "big").error, Error::Cancelled);
    canceller.join();
    QVERIFY(session.isConnected());
    QCOMPARE(codeOf(peer.requests().last()), AbortCode);
    QVERIFY(session.deleteFile("next").ok());
}

void TestClientCancel::cancelPut_peerDoesNotRead_endsWithinCancelTimeout()
{
    std::atomic<bool> over{false};
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::Continue, [](PacketWriter &w) { w.addByte(HeaderId::Srm, SrmEnable); }));
        end.freeze(over);
    });
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread canceller([&] {
        // Nothing moves any more: the buffers between the two are full.
        quint64 sent = 0;
        do {
            sent = session.bytesSent();
            std::this_thread::sleep_for(std::chrono::milliseconds(50));
        } while (sent == 0 || session.bytesSent() != sent);
        session.cancel();
    });
    const Outcome outcome = session.putFile(bigFile(), "big");
    canceller.join();
    over = true;
    QCOMPARE(outcome.error, Error::Cancelled);
    QVERIFY(!session.isConnected());
}

void TestClientCancel::cancelPut_fromProgress_ends()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request())
            end.send(reply::packet((request.at(0) & 0x80) != 0 ? ResponseCode::Success : ResponseCode::Continue));
    });
    ClientSession *running = nullptr;
    Outcome nested;
    ClientOptions options;
    options.progress = [&](const Progress &) {
        nested = running->deleteFile("other");
        running->cancel();
    };
    ClientSession session(peer.takeStream(), options);
    running = &session;
    QVERIFY(session.connect().ok());
    QCOMPARE(session.putFile(bigFile(), "big").error, Error::Cancelled);
    QCOMPARE(nested.error, Error::Busy);
}

void TestClientCancel::cancel_idle_doesNothingToTheNextCall()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::body(ResponseCode::Success, "whole"));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), {});
    session.cancel();
    QVERIFY(session.connect().ok());
    session.cancel();
    QVERIFY(session.getFile("name", target()).ok());
}

void TestClientCancel::cancel_transferExpected_endsItAsItBegins_data()
{
    QTest::addColumn<bool>("announcedAgain");
    QTest::addColumn<bool>("expectedThen");
    QTest::addColumn<Error>("outcome");

    QTest::newRow("the one that was announced") << false << false << Error::Cancelled;
    QTest::newRow("announced once more") << true << true << Error::None;
    QTest::newRow("not expected any more") << true << false << Error::None;
}

void TestClientCancel::cancel_transferExpected_endsItAsItBegins()
{
    QFETCH(bool, announcedAgain);
    QFETCH(bool, expectedThen);
    QFETCH(Error, outcome);

    ScriptedPeer peer(smallAnswers);
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    session.expectTransfer(true);
    session.cancel();
    QVERIFY(session.deleteFile("no transfer").ok());
    if (announcedAgain)
        session.expectTransfer(expectedThen);
    const int before = peer.requests().size();
    QCOMPARE(session.getFile("first", target()).error, outcome);
    QCOMPARE(peer.requests().size(), outcome == Error::None ? before + 1 : before);
    QCOMPARE(QFile::exists(m_folder->filePath("target")), outcome == Error::None);
    QVERIFY(session.getFile("second", target()).ok()); // it was meant for one alone
}

void TestClientCancel::cancel_expectedTransferHasBegun_doesNothingToTheNext()
{
    ScriptedPeer peer(endlessGet);
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    session.expectTransfer(true);
    std::thread canceller = cancelLater(session);
    QCOMPARE(session.getFile("endless", target()).error, Error::Cancelled);
    canceller.join();
    session.cancel();
    QVERIFY(session.getFile("next", target()).ok());
}

void TestClientCancel::secondCall_whileOneRuns_isBusyAtOnce()
{
    ScriptedPeer peer(endlessGet);
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::thread getter([&] { (void)session.getFile("endless", target()); });
    QTRY_VERIFY(session.bytesReceived() > 0);
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(session.setPath("/").error, Error::Busy);
    QCOMPARE(session.list([](const ListingEntry &) {}).error, Error::Busy);
    QCOMPARE(session.deleteFile("x").error, Error::Busy);
    QVERIFY(timer.elapsed() < 5000);
    session.cancel();
    getter.join();
}

void TestClientCancel::disconnect_duringGet_cancelsIt()
{
    ScriptedPeer peer(endlessGet);
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    Outcome outcome;
    std::thread getter([&] { outcome = session.getFile("endless", target()); });
    QTRY_VERIFY(session.bytesReceived() > 0);
    session.disconnect();
    getter.join();
    QCOMPARE(outcome.error, Error::Cancelled);
    QVERIFY(!session.isConnected());
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
}

void TestClientCancel::call_linkClosedWhileIdle_isLinkLost()
{
    ScriptedPeer peer([](PeerEnd &end) { acceptConnect(end); });
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.setPath("/a").error, Error::LinkLost);
    QCOMPARE(session.setPath("/a").error, Error::NotConnected);
    QVERIFY(!session.isConnected());
}

void TestClientCancel::linkWatcher_peerCloses_isTold()
{
    std::atomic<bool> hangUp{false};
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        end.freeze(hangUp);
    });
    transport::LinkWatcher watcher;
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    std::atomic<int> lost{0};
    const std::uint64_t watch = watcher.watch(session.stream(), [&] {
        ++lost;
        session.close();
    });
    QVERIFY(watch != 0);
    QVERIFY(session.isConnected());
    hangUp = true;
    QTRY_COMPARE(lost.load(), 1);
    QVERIFY(!session.isConnected());
    watcher.unwatch(watch);
    QCOMPARE(lost.load(), 1);
}

void TestClientCancel::linkWatcher_unwatched_isSilent()
{
    std::atomic<bool> hangUp{false};
    ScriptedPeer peer([&](PeerEnd &end) { end.freeze(hangUp); });
    ScriptedPeer other([&](PeerEnd &end) { end.freeze(hangUp); });
    transport::LinkWatcher watcher;
    const std::unique_ptr<transport::Stream> stream = peer.takeStream();
    const std::unique_ptr<transport::Stream> otherStream = other.takeStream();
    std::atomic<int> lost{0};
    std::atomic<int> otherLost{0};
    watcher.unwatch(watcher.watch(*stream, [&] { ++lost; }));
    const std::uint64_t watch = watcher.watch(*otherStream, [&] { ++otherLost; });
    hangUp = true;
    QTRY_COMPARE(otherLost.load(), 1);
    QCOMPARE(lost.load(), 0);
    watcher.unwatch(watch);
}

QTEST_GUILESS_MAIN(TestClientCancel)
#include "tst_clientcancel.moc"
