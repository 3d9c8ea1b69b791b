#include "obex/auth.h"

#include <QCryptographicHash>

namespace obex {

namespace {

// Tags of the challenge. IrOBEX 1.5, 3.5.1
constexpr std::uint8_t ChallengeNonce = 0x00;
constexpr std::uint8_t ChallengeOptions = 0x01;
constexpr std::uint8_t OptionUserId = 0x01;
// Tags of the answer. IrOBEX 1.5, 3.5.2
constexpr std::uint8_t AnswerDigest = 0x00;
constexpr std::uint8_t AnswerUserId = 0x01;
constexpr std::uint8_t AnswerNonce = 0x02;
constexpr int MaxUserId = 20;

struct Triplet
{
    std::uint8_t tag = 0;
    Bytes value;

    QByteArray bytes() const
    {
        return QByteArray(reinterpret_cast<const char *>(value.data), static_cast<int>(value.size));
    }
};

/** Cuts the first triplet off rest. @return false when it overruns */
bool takeTriplet(Bytes &rest, Triplet &triplet)
{
    if (rest.size < 2 || rest.data[1] > rest.size - 2)
        return false;
    triplet.tag = rest.data[0];
    triplet.value = rest.from(2).first(rest.data[1]);
    rest = rest.from(2 + triplet.value.size);
    return true;
}

void append(QByteArray &header, std::uint8_t tag, const QByteArray &value)
{
    header.append(static_cast<char>(tag));
    header.append(static_cast<char>(value.size()));
    header.append(value);
}

} // namespace

QByteArray digestOf(const QByteArray &nonce, const QByteArray &passkey)
{
    return QCryptographicHash::hash(nonce + ':' + passkey, QCryptographicHash::Md5);
}

bool readChallenge(Bytes value, Challenge &challenge)
{
    challenge = {};
    Triplet triplet;
    while (!value.empty()) {
        if (!takeTriplet(value, triplet))
            return false;
        if (triplet.tag == ChallengeNonce)
            challenge.nonce = triplet.bytes();
        else if (triplet.tag == ChallengeOptions && triplet.value.size == 1)
            challenge.wantsUserId = (triplet.value.data[0] & OptionUserId) != 0;
    }
    return challenge.nonce.size() == NonceSize;
}

bool readChallengeAnswer(Bytes value, ChallengeAnswer &answer)
{
    answer = {};
    Triplet triplet;
    while (!value.empty()) {
        if (!takeTriplet(value, triplet))
            return false;
        if (triplet.tag == AnswerDigest)
            answer.digest = triplet.bytes();
        else if (triplet.tag == AnswerNonce)
            answer.nonce = triplet.bytes();
    }
    return answer.digest.size() == DigestSize;
}

QByteArray makeChallenge(const QByteArray &nonce)
{
    QByteArray header;
    append(header, ChallengeNonce, nonce);
    return header;
}

QByteArray makeChallengeAnswer(const Challenge &challenge, const QByteArray &passkey, const QByteArray &userId)
{
    QByteArray header;
    append(header, AnswerDigest, digestOf(challenge.nonce, passkey));
    if (!userId.isEmpty())
        append(header, AnswerUserId, userId.left(MaxUserId));
    append(header, AnswerNonce, challenge.nonce);
    return header;
}

} // namespace obex
