#include "obex/requests.h"

#include <cstring>

namespace obex {

using transport::Deadline;

struct Requests::GetState
{
    explicit GetState(ObjectSink &s) : sink(s) {}

    ObjectSink &sink;
    bool first = true;
    bool srmOffered = false;
    bool srm = false;      /**< the peer streams */
    bool finished = false; /**< the last answer has been taken */
    Owed owed = Owed::FinalAnswer;
    Deadline deadline = Deadline::never();
};

Error Requests::writeBodies(Bytes headers, ObjectSink &sink)
{
    HeaderReader reader(headers);
    Header header;
    while (reader.next(header) == HeaderReader::Next::Header) {
        if ((header.id == HeaderId::Body || header.id == HeaderId::EndOfBody) && !header.value.empty()) {
            const Error error = sink.write(header.value);
            if (error != Error::None)
                return error;
        }
    }
    return Error::None;
}

Outcome Requests::sendGet(const GetRequest &request, GetState &state)
{
    PacketWriter writer = startRequest(Opcode::GetFinal);
    if (!request.name.isNull() && !writer.addText(HeaderId::Name, request.name))
        return Error::NameTooLong;
    if (request.type != nullptr) {
        const Bytes type{reinterpret_cast<const std::uint8_t *>(request.type), std::strlen(request.type) + 1};
        if (!writer.addSequence(HeaderId::Type, type))
            return Error::NameTooLong;
    }
    state.srmOffered = offersSrm() && writer.addByte(HeaderId::Srm, SrmEnable);
    if (m_link.hasUnread())
        return fail(Error::Protocol);
    const Error error = m_link.send(writer.finish(), Deadline::after(m_options.requestTimeout));
    if (error == Error::Cancelled)
        return endEarly(Owed::FinalAnswer, error);
    return error == Error::None ? Outcome() : fail(error);
}

Outcome Requests::takeGetAnswer(GetState &state, const Packet &response)
{
    const bool more = response.response() == ResponseCode::Continue;
    if (!more && !isSuccess(response.response()))
        return Outcome::refused(response.response());
    TransferHeaders headers;
    if (readTransferHeaders(response.body, headers) != Error::None)
        return fail(Error::Protocol);
    if (state.first)
        state.srm = state.srmOffered && headers.srm && more;
    // Only bytes are progress: a peer that sends headers, or nothing but "wait", does not put off the end.
    const bool progress = state.first || headers.bodyBytes > 0;
    state.finished = !more;
    state.owed = state.srm ? Owed::Stream : Owed::Nothing;

    Error error = Error::None;
    if (more && (!state.srm || headers.wait)) {
        // Ask for the next piece before this one is written: the peer reads while we write.
        static constexpr std::uint8_t next[] = {static_cast<std::uint8_t>(Opcode::GetFinal), 0, PrefixSize};
        error = m_link.send({next, sizeof next}, Deadline::after(m_options.transferTimeout));
        if (!state.srm)
            state.owed = Owed::FinalAnswer;
        if (error == Error::Cancelled)
            return endEarly(state.owed, error);
        if (error != Error::None)
            return fail(error);
    }
    if (state.first)
        error = state.sink.begin(headers.info);
    state.first = false;
    if (error == Error::None)
        error = writeBodies(response.body, state.sink);
    if (error != Error::None)
        return more ? endEarly(state.owed, error) : Outcome(error);
    if (progress)
        state.deadline = Deadline::after(m_options.transferTimeout);
    else if (more && state.deadline.passed()) // packets that are there already are taken without a wait
        return fail(Error::TimedOut);
    return {};
}

Outcome Requests::get(const GetRequest &request, ObjectSink &sink)
{
    GetState state(sink);
    Outcome outcome = sendGet(request, state);
    state.deadline = Deadline::after(m_options.requestTimeout);
    while (outcome.ok() && !state.finished) {
        Packet response;
        Error error = m_cancelled ? Error::Cancelled : receive(response, state.deadline);
        if (error == Error::Cancelled)
            return endEarly(state.owed, error);
        if (error != Error::None)
            return fail(error);
        outcome = takeGetAnswer(state, response);
    }
    return outcome;
}

} // namespace obex
