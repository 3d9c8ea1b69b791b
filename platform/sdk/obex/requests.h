#ifndef OBEX_REQUESTS_H
#define OBEX_REQUESTS_H

#include "obex/clientsession.h"
#include "obex/headers.h"
#include "obex/packetlink.h"

#include <atomic>
#include <optional>
#include <vector>

namespace obex {

/** What the peer says of an object beside its bytes. */
struct ObjectInfo
{
    std::optional<quint64> length;
    Seconds modified = NoTime;
};

/** Takes the bytes of a get. An error ends the get, and the peer is told so. */
class ObjectSink
{
public:
    virtual ~ObjectSink() = default;
    /** Once, before the first write. */
    virtual Error begin(const ObjectInfo &info) = 0;
    virtual Error write(Bytes bytes) = 0;
};

/** Gives the bytes of a put. */
class ObjectSource
{
public:
    virtual ~ObjectSource() = default;
    virtual quint64 remaining() const = 0;
    /** Exactly size bytes, never more than remain. */
    virtual Error read(std::uint8_t *data, std::size_t size) = 0;
};

/** What to fetch. */
struct GetRequest
{
    QString name;               /**< null: the current folder itself */
    const char *type = nullptr; /**< ListingType for a listing; null for a file */
};

/** Under which name to send, and with which time. */
struct PutRequest
{
    QString name;
    Seconds modified = NoTime;
};

/**
 * The requests of a client, one at a time, each until its end; no more is known here of folders and files.
 *
 * Every failure but Refused, and those of sinks and sources, leaves the stream closed, unless the answers are known
 * to be in step again.
 */
class Requests
{
public:
    Requests(transport::Stream &stream, const ClientOptions &options, const std::atomic<bool> &cancelled);

    Outcome connect();
    void disconnect();
    Outcome setPath(std::uint8_t flags, const QString &name);
    Outcome remove(const QString &name);
    Outcome get(const GetRequest &request, ObjectSink &sink);
    Outcome put(const PutRequest &request, ObjectSource &source);

    quint64 roundTrips() const { return m_roundTrips; }
    bool isOpen() const { return m_open; }

private:
    /** What the peer still owes when a transfer is ended early. */
    enum class Owed {
        Nothing,
        Answer,      /**< one response, which cannot be the last of the operation */
        FinalAnswer, /**< one response, which may be the last */
        Stream,      /**< a get in Single Response Mode: any number of responses */
        Complaint    /**< a put in Single Response Mode: none, or an error */
    };

    /** The headers of a response that concern a transfer. */
    struct TransferHeaders
    {
        ObjectInfo info;
        bool srm = false;
        bool wait = false;
        std::size_t bodyBytes = 0;
    };

    PacketWriter startRequest(Opcode opcode, int buffer = 0);
    PacketWriter startSetPath(std::uint8_t flags);
    Outcome exchange(Bytes request, Packet &response, transport::Deadline deadline);
    Error receive(Packet &response, transport::Deadline deadline);
    void closeLink();
    Outcome fail(Error error);
    bool offersSrm() const { return m_options.singleResponseMode && m_stream.supportsSrm(); }

    Outcome endEarly(Owed owed, Outcome why);
    bool awaitAbortAnswer(Owed owed, transport::Deadline deadline);
    bool isInStep(transport::Deadline deadline);
    Error receiveUnstirred(Packet &response, transport::Deadline deadline);

    Outcome sendConnect(Packet &response, const QByteArray &answer, transport::Deadline deadline);
    Outcome answerChallenge(Packet &response, transport::Deadline deadline);
    Outcome acceptConnect(const Packet &response);

    static Error readTransferHeaders(Bytes headers, TransferHeaders &found);
    static Error writeBodies(Bytes headers, ObjectSink &sink);

    struct GetState;
    Outcome sendGet(const GetRequest &request, GetState &state);
    Outcome takeGetAnswer(GetState &state, const Packet &response);

    struct PutState;
    Error startPut(PutState &state, const PutRequest &request);
    Error addBody(PutState &state, PacketWriter &writer);
    Outcome putPiece(PutState &state);
    Outcome sendPiece(PutState &state);
    Outcome takeComplaint(PutState &state);
    Outcome takePutAnswer(PutState &state, bool final, Owed owed);

    transport::Stream &m_stream;
    const ClientOptions &m_options;
    const std::atomic<bool> &m_cancelled;
    const std::size_t m_maxReceive;
    PacketLink m_link;
    std::vector<std::uint8_t> m_out[2]; // a put fills one while the other is on its way
    std::size_t m_maxSend = MinPacketSize;
    std::optional<std::uint32_t> m_connectionId;
    std::atomic<quint64> m_roundTrips{0};
    std::atomic<bool> m_open{true};
};

} // namespace obex

#endif
