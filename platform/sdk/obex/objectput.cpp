#include "obex/requests.h"

#include <algorithm>
#include <limits>

namespace obex {

using transport::Deadline;

namespace {

// In Single Response Mode the peer is listened to after so many packets, and this often while it takes none.
constexpr int PacketsBetweenLooks = 4;
constexpr std::chrono::milliseconds TimeBetweenLooks{250};

} // namespace

struct Requests::PutState
{
    explicit PutState(ObjectSource &s) : source(s) {}

    ObjectSource &source;
    Bytes packet;       /**< the one to be sent now */
    int buffer = 0;     /**< where it stands */
    bool final = false; /**< it is the last one */
    bool srmOffered = false;
    bool srm = false;
    bool wait = false; /**< the peer wants each packet answered for a while */
    bool finished = false;
    int sinceLook = 0;
    Deadline deadline = Deadline::never();

    bool answerDue() const { return !srm || wait || final; }
    Owed owed() const
    {
        if (final)
            return Owed::FinalAnswer;
        return answerDue() ? Owed::Answer : Owed::Complaint;
    }
};

Error Requests::startPut(PutState &state, const PutRequest &request)
{
    PacketWriter writer = startRequest(Opcode::Put, state.buffer);
    if (!writer.addText(HeaderId::Name, request.name))
        return Error::NameTooLong;
    // What the header cannot hold is left out. IrOBEX 1.5, 2.2.4
    if (state.source.remaining() <= std::numeric_limits<std::uint32_t>::max())
        (void)writer.addNumber(HeaderId::Length, static_cast<std::uint32_t>(state.source.remaining()));
    const QByteArray time = formatTime(request.modified);
    if (!time.isEmpty())
        (void)writer.addSequence(HeaderId::Time, bytesOf(time));
    if (offersSrm() && state.source.remaining() > writer.roomForSequence())
        state.srmOffered = writer.addByte(HeaderId::Srm, SrmEnable);
    return addBody(state, writer);
}

Error Requests::addBody(PutState &state, PacketWriter &writer)
{
    const std::size_t room = writer.roomForSequence();
    Error error = Error::None;
    if (room > 0) {
        const auto size = static_cast<std::size_t>(std::min<quint64>(room, state.source.remaining()));
        error = state.source.read(writer.sequenceSpace(), size);
        state.final = state.source.remaining() == 0;
        // The empty End of Body of an empty file tells a put from a delete. IrOBEX 1.5, 3.4.3.6
        (void)writer.addFilledSequence(state.final ? HeaderId::EndOfBody : HeaderId::Body, size);
    }
    if (state.final)
        writer.recode(Opcode::PutFinal);
    state.packet = writer.finish();
    return error;
}

Outcome Requests::sendPiece(PutState &state)
{
    // A streaming peer that takes no more may have said why.
    const auto slice = [&] {
        return state.srm ? Deadline::earlier(state.deadline, Deadline::after(TimeBetweenLooks)) : state.deadline;
    };
    Error error = m_link.send(state.packet, slice());
    while (error == Error::TimedOut && !state.deadline.passed()) {
        state.sinceLook = PacketsBetweenLooks;
        const Outcome complaint = takeComplaint(state);
        if (!complaint.ok())
            return complaint;
        error = m_link.finishSending(slice());
    }
    if (error == Error::Cancelled)
        return endEarly(state.owed(), error);
    return error == Error::None ? Outcome() : fail(error);
}

Outcome Requests::takeComplaint(PutState &state)
{
    if (++state.sinceLook < PacketsBetweenLooks)
        return {};
    state.sinceLook = 0;
    Packet response;
    const Error error = receive(response, Deadline::after(std::chrono::milliseconds(0)));
    if (error == Error::TimedOut)
        return {};
    if (error == Error::Cancelled)
        return endEarly(Owed::Complaint, error);
    if (error != Error::None)
        return fail(error);
    if (response.response() == ResponseCode::Continue)
        return {};
    if (isSuccess(response.response()))
        return fail(Error::Protocol);
    return endEarly(Owed::Complaint, Outcome::refused(response.response()));
}

Outcome Requests::takePutAnswer(PutState &state, bool final, Owed owed)
{
    Packet response;
    do {
        const Error error = receive(response, state.deadline);
        if (error == Error::Cancelled)
            return endEarly(owed, error);
        if (error != Error::None)
            return fail(error);
    } while (final && state.srm && response.response() == ResponseCode::Continue);

    state.finished = isSuccess(response.response());
    if (!state.finished && response.response() != ResponseCode::Continue)
        return Outcome::refused(response.response());
    TransferHeaders headers;
    if (state.finished != final || readTransferHeaders(response.body, headers) != Error::None)
        return fail(Error::Protocol);
    if (state.srmOffered)
        state.srm = headers.srm;
    state.srmOffered = false;
    state.wait = headers.wait;
    return {};
}

Outcome Requests::putPiece(PutState &state)
{
    const Outcome sent = sendPiece(state);
    if (!sent.ok())
        return sent;
    const bool final = state.final;
    const bool answerDue = state.answerDue();
    const Owed owed = state.owed();
    if (m_cancelled)
        return endEarly(owed, Error::Cancelled);
    if (!final) {
        // The next piece is read while the peer works on this one.
        state.buffer ^= 1;
        PacketWriter writer(m_out[state.buffer].data(), m_maxSend);
        writer.begin(Opcode::Put);
        const Error error = addBody(state, writer);
        if (error != Error::None)
            return endEarly(owed, error);
    }
    return answerDue ? takePutAnswer(state, final, owed) : takeComplaint(state);
}

Outcome Requests::put(const PutRequest &request, ObjectSource &source)
{
    PutState state(source);
    if (m_link.hasUnread())
        return fail(Error::Protocol);
    const Error error = startPut(state, request);
    if (error != Error::None)
        return error;
    state.deadline = Deadline::after(m_options.requestTimeout);
    Outcome outcome;
    while (outcome.ok() && !state.finished) {
        outcome = putPiece(state);
        state.deadline = Deadline::after(m_options.transferTimeout);
    }
    return outcome;
}

} // namespace obex
