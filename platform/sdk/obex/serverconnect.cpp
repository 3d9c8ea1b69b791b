#include "obex/auth.h"
#include "obex/serversession.h"

#include <algorithm>
#include <atomic>

namespace obex {

namespace {

constexpr int MaxWrongAnswers = 3; // of one session; the guard counts across sessions

/** A number that no other session of this process has: a client that dials twice cannot mistake one for the other. */
std::uint32_t nextConnectionId()
{
    static std::atomic<std::uint32_t> last{0};
    std::uint32_t id = 0;
    while (id == 0 || id == UINT32_MAX) // reserved. IrOBEX 1.5, 2.2.11
        id = ++last;
    return id;
}

/** Takes the same time wherever the two differ. */
bool areEqual(const QByteArray &a, const QByteArray &b)
{
    if (a.size() != b.size())
        return false;
    int difference = 0;
    for (int i = 0; i < a.size(); ++i)
        difference |= a.at(i) ^ b.at(i);
    return difference == 0;
}

} // namespace

void ServerSession::handleConnect(Bytes body)
{
    ConnectFields fields;
    Bytes headers;
    dropOperations();
    if (readConnectFields(body, fields, headers) != Parse::Ok || !headersAreSound(headers))
        return answerConnect(ResponseCode::BadRequest);
    if (!namesFolderBrowsing(headers, HeaderId::Target))
        return answerConnect(ResponseCode::ServiceUnavailable);
    const QByteArray proof = proofFor(headers);
    if (m_config.passkey.empty() || authenticate(headers))
        acceptClient(fields, proof);
}

/** Looks at the client's answer to the challenge. @return false when the client has been told off or has gone */
bool ServerSession::authenticate(Bytes headers)
{
    Header header;
    ChallengeAnswer given;
    if (m_nonce.isEmpty() || !findHeader(headers, HeaderId::AuthResponse, header)) {
        challenge();
        return false;
    }
    const bool readable = readChallengeAnswer(header.value, given);
    const QByteArray nonce = std::exchange(m_nonce, QByteArray()); // good for one answer
    if (!waitForTurn())
        return false;
    const QByteArray expected = digestOf(nonce, QByteArray::fromStdString(m_config.passkey));
    if (readable && areEqual(given.digest, expected) && (given.nonce.isEmpty() || given.nonce == nonce)) {
        m_guard.rightAnswer(m_host);
        m_wrongAnswers = 0;
        return true;
    }
    if (++m_wrongAnswers < MaxWrongAnswers) {
        challenge();
    } else {
        answerConnect(ResponseCode::Unauthorized);
        m_ended = true;
    }
    return false;
}

/** Waits as long as the host's earlier wrong answers demand. Headers read before are gone afterwards.
 *  @return false when the client did not wait, too */
bool ServerSession::waitForTurn()
{
    for (;;) {
        const std::chrono::milliseconds time = m_guard.claim(m_host);
        if (time.count() == 0)
            return true;
        Packet packet;
        const auto until = transport::Deadline::earlier(transport::Deadline::after(time), m_connectBy);
        if (m_reader.next(&packet, until) != RequestReader::Result::TimedOut || m_connectBy.passed()) {
            m_ended = true;
            return false;
        }
    }
}

void ServerSession::challenge()
{
    m_nonce = freshNonce();
    if (m_nonce.isEmpty())
        return answerConnect(ResponseCode::InternalServerError);
    m_connectionId = 0;
    m_connectBy = transport::Deadline::after(m_config.passkeyTime);
    PacketWriter writer = startConnectResponse(ResponseCode::Unauthorized);
    (void)writer.addSequence(HeaderId::AuthChallenge, bytesOf(makeChallenge(m_nonce))); // the smallest packet has room
    send(writer.finish());
}

/** What shows a client that has a challenge of its own that this side knows the passkey, too; empty without one. */
QByteArray ServerSession::proofFor(Bytes headers) const
{
    Header header;
    Challenge asked;
    if (m_config.passkey.empty() || !findHeader(headers, HeaderId::AuthChallenge, header) ||
        !readChallenge(header.value, asked))
        return {};
    return makeChallengeAnswer(asked, QByteArray::fromStdString(m_config.passkey), {});
}

void ServerSession::acceptClient(const ConnectFields &fields, const QByteArray &proof)
{
    auto share = share::Folder::open(m_config.folder, m_config.access);
    if (!share)
        return answerConnect(ResponseCode::NotFound);
    const bool isNew = m_share == nullptr;
    m_share = std::move(share);
    m_path.clear();
    m_connectionId = nextConnectionId();
    m_peerPacketSize = std::max<std::size_t>(fields.maxPacket, MinPacketSize);
    if (isNew)
        m_observer.connected();
    PacketWriter writer = startConnectResponse(ResponseCode::Success);
    // All of it has room in the smallest packet; the Connection Id stands first. IrOBEX 1.5, 2.2.11
    (void)writer.addNumber(HeaderId::ConnectionId, m_connectionId);
    (void)writer.addSequence(HeaderId::Who, {FolderBrowsing, sizeof FolderBrowsing});
    if (!proof.isEmpty())
        (void)writer.addSequence(HeaderId::AuthResponse, bytesOf(proof));
    send(writer.finish());
}

/** The fields stand in every response to a CONNECT, refusals included. IrOBEX 1.5, 3.4.1.9 */
PacketWriter ServerSession::startConnectResponse(ResponseCode code)
{
    PacketWriter writer = startResponse(code);
    (void)writer.addConnectFields(static_cast<std::uint16_t>(m_packetSize));
    return writer;
}

void ServerSession::answerConnect(ResponseCode code)
{
    send(startConnectResponse(code).finish());
}

} // namespace obex
