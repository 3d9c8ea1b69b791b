#include "obex/auth.h"
#include "servedfolder.h"

#include <QElapsedTimer>

#include <thread>

using namespace std::chrono_literals;

namespace {

/** @param wrongTime  how long a guess waits after too many wrong ones */
ServedFolder::Change askPasskey(std::chrono::milliseconds wrongTime = 700ms)
{
    return [wrongTime](obex::ServerConfig &config) {
        config.passkey = "123456";
        config.wrongPasskeyTime = wrongTime;
    };
}

} // namespace

class TestServerPasskey : public QObject
{
    Q_OBJECT

private slots:
    void rightPasskey_isLetIn();
    void noAnswer_isChallengedAndSeesNoName();
    void wrongPasskey_isChallengedAnew();
    void answer_toAnOldChallenge_isRefused();
    void answer_unasked_isChallenged();
    void answer_malformed_isRefused();
    void noPasskeyWanted_answersNobodyWithAChallenge();
    void threeWrong_costADelayAndTheLink();
    void threeWrong_onSeveralLinks_costADelayToo();
    void rightAnswer_forgetsTheWrongOnes();
    void waitingForTheDelay_stopIsQuick();
    void clientsOwnChallenge_isAnswered();
};

void TestServerPasskey::rightPasskey_isLetIn()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    const Reply challenge = client.connect();
    COMPARE_REPLY(challenge, ResponseCode::Unauthorized);
    QVERIFY(challenge.has(HeaderId::AuthChallenge));
    QCOMPARE(served.server().status().clients, 0u);
    COMPARE_REPLY(client.connectWithPasskey(challenge, "123456"), ResponseCode::Success);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
    QCOMPARE(served.server().status().clients, 1u);
}

void TestServerPasskey::noAnswer_isChallengedAndSeesNoName()
{
    ServedFolder served(askPasskey());
    const QStringList before = served.everything();
    RawClient client(served.port);
    COMPARE_REPLY(client.connect(), ResponseCode::Unauthorized);
    QByteArray document;
    COMPARE_REPLY(client.list(&document), ResponseCode::Unauthorized);
    QVERIFY(document.isEmpty());
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Unauthorized);
    COMPARE_REPLY(client.getFile(QStringLiteral("missing")), ResponseCode::Unauthorized);
    COMPARE_REPLY(client.putFile(QStringLiteral("new"), "x"), ResponseCode::Unauthorized);
    COMPARE_REPLY(client.remove(QStringLiteral("file.txt")), ResponseCode::Unauthorized);
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Unauthorized);
    QCOMPARE(served.everything(), before);
    QVERIFY(served.observer.notes().isEmpty());
}

void TestServerPasskey::wrongPasskey_isChallengedAnew()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    const Reply first = client.connect();
    const Reply second = client.connectWithPasskey(first, "654321");
    COMPARE_REPLY(second, ResponseCode::Unauthorized);
    QVERIFY(second.has(HeaderId::AuthChallenge));
    QVERIFY(second.sequence(HeaderId::AuthChallenge) != first.sequence(HeaderId::AuthChallenge));
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Unauthorized);
    COMPARE_REPLY(client.connectWithPasskey(second, "123456"), ResponseCode::Success);
}

void TestServerPasskey::answer_toAnOldChallenge_isRefused()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    const Reply old = client.connect();
    COMPARE_REPLY(client.connect(), ResponseCode::Unauthorized); // a fresh one takes its place
    COMPARE_REPLY(client.connectWithPasskey(old, "123456"), ResponseCode::Unauthorized);
    RawClient other(served.port);
    COMPARE_REPLY(other.connectWithPasskey(old, "123456"), ResponseCode::Unauthorized);
}

void TestServerPasskey::answer_unasked_isChallenged()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    const QByteArray guess(18, '\0');
    const Reply reply = client.connect(65535, [&](obex::PacketWriter &writer) {
        (void)writer.addSequence(HeaderId::AuthResponse,
                                 {reinterpret_cast<const std::uint8_t *>(guess.constData()), 18});
    });
    COMPARE_REPLY(reply, ResponseCode::Unauthorized);
    QVERIFY(reply.has(HeaderId::AuthChallenge));
}

void TestServerPasskey::answer_malformed_isRefused()
{
    ServedFolder served(askPasskey());
    for (const QByteArray &answer :
         {QByteArray(), QByteArray("\0", 1), QByteArray("\0\xFF", 2), QByteArray("\0\0", 2)}) {
        RawClient client(served.port);
        COMPARE_REPLY(client.connect(), ResponseCode::Unauthorized);
        const Reply reply = client.connect(65535, [&](obex::PacketWriter &writer) {
            (void)writer.addSequence(
                HeaderId::AuthResponse,
                {reinterpret_cast<const std::uint8_t *>(answer.constData()), static_cast<std::size_t>(answer.size())});
        });
        COMPARE_REPLY(reply, ResponseCode::Unauthorized);
    }
}

void TestServerPasskey::noPasskeyWanted_answersNobodyWithAChallenge()
{
    ServedFolder served;
    RawClient client(served.port);
    const Reply reply = client.connect();
    COMPARE_REPLY(reply, ResponseCode::Success);
    QVERIFY(!reply.has(HeaderId::AuthChallenge));
}

void TestServerPasskey::threeWrong_costADelayAndTheLink()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    Reply reply = client.connect();
    for (int i = 0; i < 3; ++i)
        reply = client.connectWithPasskey(reply, "000000");
    COMPARE_REPLY(reply, ResponseCode::Unauthorized);
    QVERIFY(!reply.has(HeaderId::AuthChallenge));
    QVERIFY(client.isHungUpOn());
    QElapsedTimer clock;
    clock.start();
    RawClient again(served.port);
    const Reply challenge = again.connect();
    COMPARE_REPLY(again.connectWithPasskey(challenge, "123456"), ResponseCode::Success);
    QVERIFY2(clock.elapsed() >= 500, qPrintable(QString::number(clock.elapsed())));
}

void TestServerPasskey::threeWrong_onSeveralLinks_costADelayToo()
{
    ServedFolder served(askPasskey());
    for (int i = 0; i < 3; ++i) {
        RawClient client(served.port);
        const Reply challenge = client.connect();
        COMPARE_REPLY(client.connectWithPasskey(challenge, "000000"), ResponseCode::Unauthorized);
    }
    // Two guesses at once: the second one waits for the first.
    QElapsedTimer clock;
    clock.start();
    std::vector<RawClient> clients;
    for (int i = 0; i < 2; ++i)
        clients.emplace_back(served.port);
    std::vector<std::thread> threads;
    for (RawClient &client : clients) {
        threads.emplace_back([&client] {
            const Reply challenge = client.connect();
            (void)client.connectWithPasskey(challenge, "000000");
        });
    }
    for (std::thread &thread : threads)
        thread.join();
    QVERIFY2(clock.elapsed() >= 1200, qPrintable(QString::number(clock.elapsed())));
}

void TestServerPasskey::rightAnswer_forgetsTheWrongOnes()
{
    ServedFolder served(askPasskey(20s));
    RawClient client(served.port);
    Reply reply = client.connect();
    reply = client.connectWithPasskey(reply, "000000");
    reply = client.connectWithPasskey(reply, "000000");
    COMPARE_REPLY(client.connectWithPasskey(reply, "123456"), ResponseCode::Success);
    RawClient second(served.port);
    reply = second.connect();
    QElapsedTimer clock;
    clock.start();
    COMPARE_REPLY(second.connectWithPasskey(reply, "000000"), ResponseCode::Unauthorized);
    QVERIFY2(clock.elapsed() < 10000, qPrintable(QString::number(clock.elapsed())));
}

void TestServerPasskey::waitingForTheDelay_stopIsQuick()
{
    ServedFolder served(askPasskey(60s));
    RawClient client(served.port);
    Reply reply = client.connect();
    for (int i = 0; i < 3; ++i)
        reply = client.connectWithPasskey(reply, "000000");
    RawClient waiting(served.port);
    reply = waiting.connect();
    std::thread asking([&] { (void)waiting.connectWithPasskey(reply, "123456"); });
    QElapsedTimer clock;
    clock.start();
    served.server().stop();
    QVERIFY2(clock.elapsed() < 5000, qPrintable(QString::number(clock.elapsed())));
    asking.join();
}

void TestServerPasskey::clientsOwnChallenge_isAnswered()
{
    ServedFolder served(askPasskey());
    RawClient client(served.port);
    obex::Challenge asked;
    const Reply challenge = client.connect();
    const QByteArray value = challenge.sequence(HeaderId::AuthChallenge);
    const auto bytes = [](const QByteArray &array) {
        return obex::Bytes{reinterpret_cast<const std::uint8_t *>(array.constData()),
                           static_cast<std::size_t>(array.size())};
    };
    QVERIFY(obex::readChallenge(bytes(value), asked));
    const QByteArray nonce(obex::NonceSize, 'c');
    const QByteArray answer = obex::makeChallengeAnswer(asked, "123456", {});
    const QByteArray ownChallenge = obex::makeChallenge(nonce);
    const Reply reply = client.connect(65535, [&](obex::PacketWriter &writer) {
        (void)writer.addSequence(HeaderId::AuthResponse, bytes(answer));
        (void)writer.addSequence(HeaderId::AuthChallenge, bytes(ownChallenge));
    });
    COMPARE_REPLY(reply, ResponseCode::Success);
    const QByteArray proof = reply.sequence(HeaderId::AuthResponse);
    obex::ChallengeAnswer given;
    QVERIFY(obex::readChallengeAnswer(bytes(proof), given));
    QCOMPARE(given.digest, obex::digestOf(nonce, "123456"));
}

QTEST_GUILESS_MAIN(TestServerPasskey)
#include "tst_server_passkey.moc"
