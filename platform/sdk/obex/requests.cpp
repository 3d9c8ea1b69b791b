#include "obex/requests.h"

#include "obex/auth.h"

#include <algorithm>

namespace obex {

using transport::Deadline;

namespace {

std::size_t offeredPacket(const transport::Stream &stream, const ClientOptions &options)
{
    return std::clamp(std::min(stream.maxPacket(), options.packetSize), MinPacketSize, MaxPacketSize);
}

bool hasBody(Bytes headers)
{
    Header header;
    return findHeader(headers, HeaderId::Body, header) || findHeader(headers, HeaderId::EndOfBody, header);
}

Outcome outcomeOf(const Packet &response)
{
    return isSuccess(response.response()) ? Outcome() : Outcome::refused(response.response());
}

} // namespace

Requests::Requests(transport::Stream &stream, const ClientOptions &options, const std::atomic<bool> &cancelled)
    : m_stream(stream),
      m_options(options),
      m_cancelled(cancelled),
      m_maxReceive(offeredPacket(stream, options)),
      m_link(stream, m_maxReceive)
{
    for (std::vector<std::uint8_t> &buffer : m_out)
        buffer.resize(m_maxReceive);
}

void Requests::closeLink()
{
    m_open = false;
    m_stream.close();
}

Outcome Requests::fail(Error error)
{
    closeLink();
    return error;
}

PacketWriter Requests::startRequest(Opcode opcode, int buffer)
{
    PacketWriter writer(m_out[buffer].data(), m_maxSend);
    writer.begin(opcode);
    if (m_connectionId) // it goes first and always fits. IrOBEX 1.5, 2.2.11
        (void)writer.addNumber(HeaderId::ConnectionId, *m_connectionId);
    return writer;
}

Error Requests::receive(Packet &response, Deadline deadline)
{
    const Error error = m_link.receive(response, deadline);
    if (error != Error::None)
        return error;
    ++m_roundTrips;
    return response.final() ? Error::None : Error::Protocol;
}

Outcome Requests::exchange(Bytes request, Packet &response, Deadline deadline)
{
    if (m_link.hasUnread())
        return fail(Error::Protocol);
    Error error = m_link.send(request, deadline);
    if (error == Error::None)
        error = receive(response, deadline);
    if (error == Error::Cancelled) {
        // A request of one packet cannot be aborted; its answer is due all the same, or the next one is misread.
        const Deadline last = Deadline::after(m_options.cancelTimeout);
        m_stream.clearWake();
        error = m_link.finishSending(last);
        if (error == Error::None)
            error = receiveUnstirred(response, last);
        if (error != Error::None)
            return fail(Error::Cancelled);
    }
    return error == Error::None ? Outcome() : fail(error);
}

/** The flags stand before the headers, the Connection Id among them. */
PacketWriter Requests::startSetPath(std::uint8_t flags)
{
    PacketWriter writer(m_out[0].data(), m_maxSend);
    writer.begin(Opcode::SetPath);
    (void)writer.addSetPathFields(flags);
    if (m_connectionId)
        (void)writer.addNumber(HeaderId::ConnectionId, *m_connectionId);
    return writer;
}

Outcome Requests::setPath(std::uint8_t flags, const QString &name)
{
    PacketWriter writer = startSetPath(flags);
    const bool up = (flags & SetPathBackup) != 0;
    if (!up && !writer.addText(HeaderId::Name, name))
        return Error::NameTooLong;
    Packet response;
    const Outcome outcome = exchange(writer.finish(), response, Deadline::after(m_options.requestTimeout));
    return outcome.ok() ? outcomeOf(response) : outcome;
}

Outcome Requests::remove(const QString &name)
{
    // A put without a body deletes. IrOBEX 1.5, 3.4.3.6
    PacketWriter writer = startRequest(Opcode::PutFinal);
    if (!writer.addText(HeaderId::Name, name))
        return Error::NameTooLong;
    Packet response;
    const Outcome outcome = exchange(writer.finish(), response, Deadline::after(m_options.requestTimeout));
    return outcome.ok() ? outcomeOf(response) : outcome;
}

void Requests::disconnect()
{
    if (m_open) {
        PacketWriter writer = startRequest(Opcode::Disconnect);
        Packet response;
        // The link is closed whatever the peer says to it.
        (void)exchange(writer.finish(), response, Deadline::after(m_options.cancelTimeout));
    }
    closeLink();
}

Outcome Requests::connect()
{
    const Deadline deadline = Deadline::after(m_options.connectTimeout);
    Packet response;
    Outcome outcome = sendConnect(response, {}, deadline);
    if (outcome.ok() && response.response() == ResponseCode::Unauthorized)
        outcome = answerChallenge(response, deadline);
    if (outcome.ok())
        outcome = acceptConnect(response);
    if (!outcome.ok())
        closeLink();
    return outcome;
}

Outcome Requests::sendConnect(Packet &response, const QByteArray &answer, Deadline deadline)
{
    PacketWriter writer(m_out[0].data(), m_maxSend);
    writer.begin(Opcode::Connect);
    (void)writer.addConnectFields(static_cast<std::uint16_t>(m_maxReceive));
    (void)writer.addSequence(HeaderId::Target, {FolderBrowsing, sizeof FolderBrowsing});
    if (!answer.isEmpty())
        (void)writer.addSequence(HeaderId::AuthResponse, bytesOf(answer));
    return exchange(writer.finish(), response, deadline);
}

Outcome Requests::answerChallenge(Packet &response, Deadline deadline)
{
    ConnectFields fields;
    Bytes headers;
    Header header;
    if (readConnectFields(response.body, fields, headers) != Parse::Ok ||
        !findHeader(headers, HeaderId::AuthChallenge, header))
        return Outcome::refused(ResponseCode::Unauthorized);
    Challenge challenge;
    if (!readChallenge(header.value, challenge))
        return Error::Protocol;
    QByteArray passkey;
    const Deadline::Clock::time_point asked = Deadline::Clock::now();
    if (!m_options.askPasskey || !m_options.askPasskey(passkey))
        return Error::Authentication;
    // The deadline is the peer's: the time that the user has taken to answer does not count.
    const Deadline left = deadline.laterBy(Deadline::Clock::now() - asked);
    const Outcome outcome = sendConnect(response, makeChallengeAnswer(challenge, passkey, {}), left);
    if (outcome.ok() && response.response() == ResponseCode::Unauthorized)
        return Error::Authentication;
    return outcome;
}

Outcome Requests::acceptConnect(const Packet &response)
{
    if (!isSuccess(response.response()))
        return outcomeOf(response);
    ConnectFields fields;
    Bytes headers;
    if (readConnectFields(response.body, fields, headers) != Parse::Ok || !headersAreSound(headers))
        return Error::Protocol;
    // Without Who the peer has taken us to its default service, which does not browse. IrOBEX 1.5, 2.2.7
    if (!namesFolderBrowsing(headers, HeaderId::Who))
        return Error::NotSupported;
    Header header;
    if (findHeader(headers, HeaderId::ConnectionId, header))
        m_connectionId = header.number;
    m_maxSend = std::clamp<std::size_t>(fields.maxPacket, MinPacketSize, m_maxReceive);
    return {};
}

Error Requests::readTransferHeaders(Bytes headers, TransferHeaders &found)
{
    HeaderReader reader(headers);
    Header header;
    HeaderReader::Next next;
    while ((next = reader.next(header)) == HeaderReader::Next::Header) {
        switch (header.id) {
        case HeaderId::Body:
        case HeaderId::EndOfBody:
            found.bodyBytes += header.value.size;
            break;
        case HeaderId::Length:
            found.info.length = header.number;
            break;
        case HeaderId::Time:
            found.info.modified = parseTime(header.latin1());
            break;
        case HeaderId::Time4:
            if (found.info.modified == NoTime)
                found.info.modified = header.number;
            break;
        case HeaderId::Srm:
            found.srm = header.number == SrmEnable;
            break;
        case HeaderId::SrmParameters:
            found.wait = header.number == SrmpWait;
            break;
        default:
            break;
        }
    }
    return next == HeaderReader::Next::End ? Error::None : Error::Protocol;
}

Error Requests::receiveUnstirred(Packet &response, Deadline deadline)
{
    // The call is ending already: to be cancelled once more changes nothing.
    for (;;) {
        const Error error = receive(response, deadline);
        if (error != Error::Cancelled)
            return error;
        m_stream.clearWake();
    }
}

Outcome Requests::endEarly(Owed owed, Outcome why)
{
    m_stream.clearWake();
    const Deadline deadline = Deadline::after(m_options.cancelTimeout);
    if (m_link.finishSending(deadline) != Error::None) {
        closeLink();
        return why;
    }
    if (owed == Owed::Answer || owed == Owed::FinalAnswer) {
        // With the answer at hand nothing is ambiguous; a peer that keeps it back is sent the ABORT without.
        Packet response;
        const Deadline soon = Deadline::after(m_options.cancelTimeout / 4);
        const Error error = receiveUnstirred(response, Deadline::earlier(deadline, soon));
        if (error == Error::None && response.response() != ResponseCode::Continue)
            return why;
        if (error == Error::None)
            owed = Owed::Nothing;
    }
    PacketWriter writer = startRequest(Opcode::Abort);
    const Bytes packet = writer.finish();
    if (!m_open || m_link.send(packet, deadline) != Error::None || !awaitAbortAnswer(owed, deadline))
        closeLink();
    return why;
}

bool Requests::awaitAbortAnswer(Owed owed, Deadline deadline)
{
    Packet response;
    for (;;) {
        const Deadline quiet = Deadline::after(m_options.cancelTimeout / 3);
        const Error error = receiveUnstirred(response, Deadline::earlier(deadline, quiet));
        const bool mayAsk = owed != Owed::Answer && owed != Owed::FinalAnswer;
        if (error == Error::TimedOut && !deadline.passed()) {
            if (mayAsk)
                return isInStep(deadline);
            continue;
        }
        if (error != Error::None)
            return false;
        const ResponseCode code = response.response();
        if (code == ResponseCode::Continue)
            continue;
        switch (owed) {
        case Owed::Nothing:
            return true;
        case Owed::Answer:
            return isSuccess(code);
        case Owed::FinalAnswer:
            return false;
        case Owed::Stream:
            if (!hasBody(response.body)) // the last piece of the object may have been on its way
                return true;
            break;
        case Owed::Complaint:
            if (isSuccess(code))
                return true;
            break;
        }
    }
}

/**
 * Whether a peer that leaves ABORT without an answer, as BlueZ's OBEX daemon does, serves on nevertheless. It is asked
 * for a folder that is not there: the answer to that is like no other that may still be on its way.
 */
bool Requests::isInStep(Deadline deadline)
{
    const auto now = Deadline::Clock::now().time_since_epoch().count();
    PacketWriter writer = startSetPath(SetPathNoCreate);
    (void)writer.addText(HeaderId::Name, QStringLiteral("no folder %1").arg(now, 0, 16));
    if (m_link.send(writer.finish(), deadline) != Error::None)
        return false;
    Packet response;
    while (receiveUnstirred(response, deadline) == Error::None) {
        if (response.response() == ResponseCode::NotFound)
            return true;
        if (response.response() != ResponseCode::Continue && !isSuccess(response.response()))
            return false;
    }
    return false;
}

} // namespace obex
