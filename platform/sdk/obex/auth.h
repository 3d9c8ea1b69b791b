#ifndef OBEX_AUTH_H
#define OBEX_AUTH_H

#include "obex/bytes.h"

#include <QByteArray>

namespace obex {

constexpr int NonceSize = 16;  // IrOBEX 1.5, 3.5.1
constexpr int DigestSize = 16; // MD5. IrOBEX 1.5, 3.5.3

/** What an AuthChallenge header asks. */
struct Challenge
{
    QByteArray nonce; /**< NonceSize bytes */
    bool wantsUserId = false;
};

/** What an AuthResponse header answers. */
struct ChallengeAnswer
{
    QByteArray digest; /**< DigestSize bytes */
    QByteArray nonce;  /**< of the challenge that is answered; empty when the peer left it out */
};

/** MD5 of "nonce:passkey". IrOBEX 1.5, 3.5.3 */
QByteArray digestOf(const QByteArray &nonce, const QByteArray &passkey);

/** Reads the tag-length-value triplets of the header's value; false when they overrun or the nonce is not there. */
bool readChallenge(Bytes value, Challenge &challenge);
bool readChallengeAnswer(Bytes value, ChallengeAnswer &answer);

QByteArray makeChallenge(const QByteArray &nonce);

/** @param userId at most 20 bytes; left out when empty */
QByteArray makeChallengeAnswer(const Challenge &challenge, const QByteArray &passkey, const QByteArray &userId);

} // namespace obex

#endif
