#include "obex/auth.h"

#include <QtTest>

using namespace obex;

namespace {

const QByteArray Nonce("0123456789abcdef");

} // namespace

class TestAuth : public QObject
{
    Q_OBJECT

private slots:
    void digest_isMd5OfNonceColonPasskey();
    void challenge_readsBack();
    void challenge_malformed_isRefused_data();
    void challenge_malformed_isRefused();
    void challenge_options_tellOfUserId();
    void answer_readsBackWithDigestAndNonce();
    void answer_malformed_isRefused();
};

void TestAuth::digest_isMd5OfNonceColonPasskey()
{
    // md5("0123456789abcdef:123456")
    QCOMPARE(digestOf(Nonce, "123456").toHex(), QByteArray("8091709c655f11c008675be66088f756"));
    QCOMPARE(digestOf(Nonce, "123456").size(), DigestSize);
}

void TestAuth::challenge_readsBack()
{
    const QByteArray header = makeChallenge(Nonce);
    QCOMPARE(header.left(2).toHex(), QByteArray("0010")); // tag nonce, 16 bytes
    Challenge challenge;
    QVERIFY(readChallenge(bytesOf(header), challenge));
    QCOMPARE(challenge.nonce, Nonce);
    QVERIFY(!challenge.wantsUserId);
}

void TestAuth::challenge_malformed_isRefused_data()
{
    QTest::addColumn<QByteArray>("header");

    QTest::newRow("empty") << QByteArray();
    QTest::newRow("no length") << QByteArray::fromHex("00");
    QTest::newRow("nonce too short") << QByteArray::fromHex("0002AABB");
    QTest::newRow("overruns") << QByteArray::fromHex("0010AABB");
    QTest::newRow("a second triplet overruns") << makeChallenge(Nonce) + QByteArray::fromHex("0105");
    QTest::newRow("options alone") << QByteArray::fromHex("010101");
}

void TestAuth::challenge_malformed_isRefused()
{
    QFETCH(QByteArray, header);
    Challenge challenge;
    QVERIFY(!readChallenge(bytesOf(header), challenge));
}

void TestAuth::challenge_options_tellOfUserId()
{
    Challenge challenge;
    QVERIFY(readChallenge(bytesOf(makeChallenge(Nonce) + QByteArray::fromHex("010101")), challenge));
    QVERIFY(challenge.wantsUserId);
}

void TestAuth::answer_readsBackWithDigestAndNonce()
{
    Challenge challenge;
    challenge.nonce = Nonce;
    const QByteArray header = makeChallengeAnswer(challenge, "123456", "a user id of more than twenty bytes");
    ChallengeAnswer answer;
    QVERIFY(readChallengeAnswer(bytesOf(header), answer));
    QCOMPARE(answer.digest, digestOf(Nonce, "123456"));
    QCOMPARE(answer.nonce, Nonce);
    QVERIFY(header.contains("a user id of more th"));
    QVERIFY(!header.contains("a user id of more tha"));
}

void TestAuth::answer_malformed_isRefused()
{
    ChallengeAnswer answer;
    QVERIFY(!readChallengeAnswer(bytesOf(QByteArray()), answer));
    QVERIFY(!readChallengeAnswer(bytesOf(QByteArray::fromHex("0003AABBCC")), answer));
    QVERIFY(!readChallengeAnswer(bytesOf(QByteArray::fromHex("0010AABB")), answer));
}

QTEST_GUILESS_MAIN(TestAuth)
#include "tst_auth.moc"
