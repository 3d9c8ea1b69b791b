#ifndef OBEX_SERVERSESSION_H
#define OBEX_SERVERSESSION_H

#include "obex/passkeyguard.h"
#include "obex/requestreader.h"
#include "obex/serverconfig.h"
#include "obex/serveroperation.h"

namespace obex {

/** Is told what the client of one session does, on the session's thread. */
class SessionObserver
{
public:
    virtual ~SessionObserver() = default;

    virtual void connected() = 0;
    /** @param folder  "/" separated, from the root of the share */
    virtual void fileReceived(const std::string &folder, const std::string &name) = 0;
    virtual void bytesReceived(std::uint64_t count) = 0;
    virtual void bytesSent(std::uint64_t count) = 0;
};

/**
 * Serves one client over one link until that ends. run() belongs to one thread; to end it from another, close the
 * stream.
 *
 * Folder browsing as IrOBEX 1.5 has it: CONNECT (with authentication when the configuration has a passkey), SETPATH,
 * PUT, GET of files and listings, ABORT, DISCONNECT; Single Response Mode both ways. Everything else is answered with
 * Not Implemented; what is no packet at all ends the link.
 */
class ServerSession
{
public:
    /** All of them outlive the session. */
    ServerSession(transport::Stream &stream, const ServerConfig &config, PasskeyGuard &guard,
                  SessionObserver &observer);

    /** Returns when the client has gone, has been too slow, or the stream was closed; unfinished files leave no trace.
     */
    void run();

private:
    transport::Deadline idleDeadline() const;
    bool isBusy() const { return m_put || m_get; }

    void handle(const Packet &packet);
    bool isAdmitted(Bytes headers);
    bool belongsToRefusedPut(const Packet &packet) const;

    void handleConnect(Bytes body);
    bool authenticate(Bytes headers);
    bool waitForTurn();
    void challenge();
    void acceptClient(const ConnectFields &fields, const QByteArray &proof);
    QByteArray proofFor(Bytes headers) const;
    PacketWriter startConnectResponse(ResponseCode code);
    void answerConnect(ResponseCode code);

    void handleDisconnect();
    void handleAbort();
    void handlePut(const Packet &packet);
    void endPut(ResponseCode response);
    void handleGet(const Packet &packet);
    void respondToGet();
    void stream();
    void sendBatch();
    void handleSetPath(Bytes body);
    ResponseCode setPath(std::uint8_t flags, Bytes headers);

    PacketWriter startResponse(ResponseCode code);
    void answer(ResponseCode code);
    void send(Bytes packet);
    void dropOperations();

    transport::Stream &m_stream;
    const ServerConfig &m_config;
    PasskeyGuard &m_guard;
    SessionObserver &m_observer;
    const std::size_t m_packetSize; ///< the largest that is taken
    const std::string m_host;
    RequestReader m_reader;
    const std::unique_ptr<std::uint8_t[]> m_output;
    transport::Deadline m_connectBy;
    std::size_t m_peerPacketSize = MinPacketSize; ///< the largest that the client takes
    std::uint32_t m_connectionId = 0;             ///< 0 until CONNECT has been answered with Success
    std::shared_ptr<const share::Folder> m_share;
    share::Path m_path;
    QByteArray m_nonce; ///< of the challenge that waits for its answer
    int m_wrongAnswers = 0;
    std::unique_ptr<PutOperation> m_put;
    std::unique_ptr<GetOperation> m_get;
    bool m_srm = false;        ///< agreed on for the operation under way
    bool m_putRefused = false; ///< packets of a refused PUT may still be on their way
    bool m_ended = false;
};

} // namespace obex

#endif
