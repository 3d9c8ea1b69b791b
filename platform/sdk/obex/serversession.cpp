#include "obex/serversession.h"

#include <algorithm>

namespace obex {

namespace {

/** What goes out in one write in Single Response Mode; between two, the client may have its say. */
constexpr std::size_t OutputSize = 4 * MaxPacketSize;

} // namespace

ServerSession::ServerSession(transport::Stream &stream, const ServerConfig &config, PasskeyGuard &guard,
                             SessionObserver &observer)
    : m_stream(stream),
      m_config(config),
      m_guard(guard),
      m_observer(observer),
      m_packetSize(std::clamp(std::min(config.packetSize, stream.maxPacket()), MinPacketSize, MaxPacketSize)),
      m_host(hostOf(stream.peer())),
      m_reader(stream, m_packetSize, config.packetTime),
      m_output(new std::uint8_t[OutputSize]),
      m_connectBy(transport::Deadline::after(config.connectTime))
{
}

void ServerSession::run()
{
    while (!m_ended) {
        Packet packet;
        const RequestReader::Result result = m_reader.next(&packet, idleDeadline());
        if (result == RequestReader::Result::Packet)
            handle(packet);
        else if (result == RequestReader::Result::Malformed)
            answer(ResponseCode::BadRequest); // the link is out of step: nothing after this can be trusted
        if (result != RequestReader::Result::Packet)
            m_ended = true;
    }
    dropOperations();
    m_stream.close();
}

transport::Deadline ServerSession::idleDeadline() const
{
    if (m_connectionId == 0)
        return m_connectBy;
    // A client whose user looks at a listing may take all day; the link itself tells when it is gone.
    return isBusy() ? transport::Deadline::after(m_config.transferTime) : transport::Deadline::never();
}

void ServerSession::handle(const Packet &packet)
{
    switch (packet.opcode()) {
    case Opcode::Connect:
        return handleConnect(packet.body);
    case Opcode::Disconnect:
        return handleDisconnect();
    case Opcode::Abort:
        return handleAbort();
    case Opcode::Put:
    case Opcode::PutFinal:
        return handlePut(packet);
    case Opcode::Get:
    case Opcode::GetFinal:
        return handleGet(packet);
    case Opcode::SetPath:
        return handleSetPath(packet.body);
    default:
        dropOperations();
        answer(ResponseCode::NotImplemented);
    }
}

/** Answers what may not go on: headers out of shape, no CONNECT yet, another session's Connection Id. */
bool ServerSession::isAdmitted(Bytes headers)
{
    Header id;
    ResponseCode refusal = ResponseCode::Success;
    if (!headersAreSound(headers))
        refusal = ResponseCode::BadRequest;
    else if (m_connectionId == 0)
        refusal = m_config.passkey.empty() ? ResponseCode::ServiceUnavailable : ResponseCode::Unauthorized;
    else if (findHeader(headers, HeaderId::ConnectionId, id) && id.number != m_connectionId)
        refusal = ResponseCode::ServiceUnavailable; // IrOBEX 1.5, 2.2.11
    if (refusal == ResponseCode::Success)
        return true;
    dropOperations();
    answer(refusal);
    return false;
}

void ServerSession::handleDisconnect()
{
    dropOperations();
    answer(m_connectionId != 0 ? ResponseCode::Success : ResponseCode::ServiceUnavailable);
    m_ended = true;
}

void ServerSession::handleAbort()
{
    dropOperations();
    answer(ResponseCode::Success);
}

/**
 * In Single Response Mode a client sends on until it reads of the refusal, and those packets look like the beginning of
 * another PUT but for the name that they lack.
 */
bool ServerSession::belongsToRefusedPut(const Packet &packet) const
{
    Header name;
    return m_putRefused && headersAreSound(packet.body) && !findHeader(packet.body, HeaderId::Name, name);
}

void ServerSession::handlePut(const Packet &packet)
{
    if (belongsToRefusedPut(packet))
        return;
    if (!isAdmitted(packet.body))
        return;
    if (!m_put) {
        dropOperations();
        m_put = std::make_unique<PutOperation>(m_share, m_path);
    }
    const bool begins = !m_srm;
    const ResponseCode response = m_put->take(packet.body, packet.final());
    m_observer.bytesReceived(m_put->takeNewBytes());
    if (response != ResponseCode::Continue)
        return endPut(response);
    if (begins && m_put->request().srmWanted && m_config.singleResponseMode && m_stream.supportsSrm()) {
        m_srm = true;
        PacketWriter writer = startResponse(response);
        (void)writer.addByte(HeaderId::Srm, SrmEnable); // the smallest packet has room for it
        send(writer.finish());
    } else if (!m_srm) {
        answer(response);
    }
}

void ServerSession::endPut(ResponseCode response)
{
    const bool stored = m_put->isStored();
    const std::string name = m_put->name();
    const bool refused = m_srm && !isSuccess(response);
    dropOperations();
    m_putRefused = refused;
    if (stored) // told before the client hears of it, so that whoever waits for the client finds the report made
        m_observer.fileReceived(m_path.empty() ? std::string() : share::relativePath(m_path), name);
    answer(response);
}

void ServerSession::handleGet(const Packet &packet)
{
    if (!isAdmitted(packet.body))
        return;
    Header name;
    const bool another = m_get && m_get->hasBegun() && findHeader(packet.body, HeaderId::Name, name);
    if (!m_get || another) {
        dropOperations();
        m_get = std::make_unique<GetOperation>(m_share, m_path);
    }
    if (!m_get->takeRequest(packet.body)) {
        dropOperations();
        return answer(ResponseCode::BadRequest);
    }
    if (!m_get->hasBegun()) {
        if (!packet.final()) // more of the request is to come. IrOBEX 1.5, 3.4.4
            return answer(ResponseCode::Continue);
        const ResponseCode response = m_get->begin();
        if (response != ResponseCode::Continue) {
            dropOperations();
            return answer(response);
        }
    }
    respondToGet();
}

void ServerSession::respondToGet()
{
    const bool agrees = !m_srm && m_get->request().srmWanted && m_config.singleResponseMode && m_stream.supportsSrm();
    PacketWriter writer(m_output.get(), m_peerPacketSize);
    const ResponseCode response = m_get->respond(&writer, agrees);
    m_srm = m_srm || agrees;
    m_observer.bytesSent(m_get->newBytes());
    const bool goesOn = response == ResponseCode::Continue;
    const bool streams = goesOn && m_srm && !m_get->waitsForRequest();
    if (!goesOn)
        dropOperations();
    send(writer.finish());
    if (streams)
        stream();
}

/** Sends packet after packet until the object ends, the client sends something, or the link fails. */
void ServerSession::stream()
{
    while (m_get && !m_ended) {
        Packet packet;
        const RequestReader::Result result =
            m_reader.next(&packet, transport::Deadline::after(std::chrono::milliseconds(0)));
        if (result == RequestReader::Result::Packet) {
            // An ABORT, or a client that has lost its patience; a GET in between asks for nothing that is not coming.
            if (packet.opcode() != Opcode::Get && packet.opcode() != Opcode::GetFinal)
                return handle(packet);
            continue;
        }
        if (result != RequestReader::Result::TimedOut) {
            m_ended = true;
            return;
        }
        sendBatch();
    }
}

void ServerSession::sendBatch()
{
    std::size_t size = 0;
    std::uint64_t bytes = 0;
    while (m_get && size + m_peerPacketSize <= OutputSize) {
        PacketWriter writer(m_output.get() + size, m_peerPacketSize);
        const ResponseCode response = m_get->respond(&writer, false);
        bytes += m_get->newBytes();
        size += writer.finish().size;
        if (response != ResponseCode::Continue)
            dropOperations();
    }
    m_observer.bytesSent(bytes);
    send({m_output.get(), size});
}

void ServerSession::handleSetPath(Bytes body)
{
    SetPathFields fields;
    Bytes headers;
    dropOperations();
    if (readSetPathFields(body, fields, headers) != Parse::Ok)
        return answer(ResponseCode::BadRequest);
    if (isAdmitted(headers))
        answer(setPath(fields.flags, headers));
}

/** IrOBEX 1.5, 3.4.6: up, down, up and down, or, with an empty name, to the root. */
ResponseCode ServerSession::setPath(std::uint8_t flags, Bytes headers)
{
    const bool up = (flags & SetPathBackup) != 0;
    Header name;
    const bool named = findHeader(headers, HeaderId::Name, name);
    share::Path path;
    if (up || (named && !name.text().isEmpty()))
        path = m_path;
    if (up && path.empty())
        return ResponseCode::NotFound;
    if (up)
        path.pop_back();
    share::Status status = share::Status::Ok;
    if (named && !name.text().isEmpty()) {
        const std::string stored = storedName(name.text());
        const share::Path parent = path;
        path.push_back(stored);
        status = m_share->enter(path);
        if (status == share::Status::NotFound && (flags & SetPathNoCreate) == 0)
            status = m_share->createFolder(parent, stored);
    } else {
        status = m_share->enter(path);
    }
    // A file where a folder is asked for: nothing of that kind is there.
    if (status == share::Status::WrongKind)
        return (flags & SetPathNoCreate) != 0 ? ResponseCode::NotFound : ResponseCode::Conflict;
    if (status == share::Status::Ok)
        m_path = std::move(path);
    return responseFor(status);
}

PacketWriter ServerSession::startResponse(ResponseCode code)
{
    PacketWriter writer(m_output.get(), m_peerPacketSize);
    writer.begin(code);
    return writer;
}

void ServerSession::answer(ResponseCode code)
{
    send(startResponse(code).finish());
}

void ServerSession::send(Bytes packet)
{
    const auto deadline = transport::Deadline::after(m_config.transferTime);
    if (!m_stream.write(packet.data, packet.size, deadline).ok())
        m_ended = true;
}

void ServerSession::dropOperations()
{
    m_put.reset();
    m_get.reset();
    m_srm = false;
    m_putRefused = false;
}

} // namespace obex
