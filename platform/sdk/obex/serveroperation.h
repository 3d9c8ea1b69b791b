#ifndef OBEX_SERVEROPERATION_H
#define OBEX_SERVEROPERATION_H

#include "obex/bodysource.h"
#include "obex/headers.h"
#include "share/folder.h"
#include "share/upload.h"

#include <memory>
#include <optional>

namespace obex {

/** The response that tells a client what came of something that it asked of the share. */
ResponseCode responseFor(share::Status status);

/** A name as a peer sent it, as the file system stores it; empty when it has no UTF-8 form. */
std::string storedName(const QString &text);

/** What the headers of a request say, gathered over its packets. */
struct RequestHeaders
{
    std::optional<QString> name;
    QString type;
    std::optional<std::uint32_t> length;
    std::optional<std::int64_t> modified; ///< seconds since 1970-01-01 UTC
    bool srmWanted = false;

    /** Takes in any header that belongs here. */
    void take(const Header &header);
};

/** A PUT under way: a file that comes, or a name to be deleted. One thread. */
class PutOperation
{
public:
    PutOperation(std::shared_ptr<const share::Folder> share, share::Path folder)
        : m_share(std::move(share)), m_folder(std::move(folder))
    {
    }

    /** Takes one packet. @return Continue until the last one; then what came of it all. Any response but Continue ends
     *  the operation. */
    ResponseCode take(Bytes headers, bool final);

    const RequestHeaders &request() const { return m_request; }
    const std::string &name() const { return m_name; }
    std::uint64_t takeNewBytes() { return std::exchange(m_newBytes, 0); }

    /** Whether a file has been put in place. */
    bool isStored() const { return m_stored; }

private:
    share::Status checkEarly();
    share::Status takeBody(Bytes body);
    share::Status finish();

    std::shared_ptr<const share::Folder> m_share;
    share::Path m_folder;
    RequestHeaders m_request;
    std::string m_name;
    std::unique_ptr<share::Upload> m_upload;
    std::uint64_t m_newBytes = 0;
    bool m_checked = false;
    bool m_stored = false;
};

/** A GET under way: of a file or of a listing. One thread. */
class GetOperation
{
public:
    GetOperation(std::shared_ptr<const share::Folder> share, share::Path folder)
        : m_share(std::move(share)), m_folder(std::move(folder))
    {
    }

    /** Takes the headers of a request packet. @return false when they are malformed */
    bool takeRequest(Bytes headers);

    /** Finds what is asked for. @return Continue when there is something to send */
    ResponseCode begin();

    /** Writes the next response. @return its code: Continue, Success with the last bytes, or a failure */
    ResponseCode respond(PacketWriter *packet, bool announceSrm);

    const RequestHeaders &request() const { return m_request; }
    bool hasBegun() const { return m_source != nullptr; }
    bool waitsForRequest() const { return m_wait; }

    /** File bytes sent by the last respond(); listings do not count. */
    std::uint64_t newBytes() const { return m_newBytes; }

private:
    share::Status openListing();
    share::Status openFile();

    std::shared_ptr<const share::Folder> m_share;
    share::Path m_folder;
    RequestHeaders m_request;
    std::unique_ptr<BodySource> m_source;
    std::uint64_t m_newBytes = 0;
    bool m_announced = false;
    bool m_isFile = false;
    bool m_wait = false;
};

} // namespace obex

#endif
