#include "transport/servicesearch.h"

#include "transport/socketstream.h"

#include <algorithm>
#include <bluetooth/bluetooth.h>
#include <bluetooth/sdp.h>
#include <bluetooth/sdp_lib.h>
#include <climits>
#include <cstdlib>
#include <poll.h>
#include <sys/socket.h>

namespace transport {

namespace {

constexpr std::size_t maxServices = 16;
constexpr std::size_t maxRecords = 64;
constexpr std::uint16_t fileTransferClass = 0x1106;
constexpr int lastChannel = 30;

/** Elements hold elements; honest records stay under 8 levels. */
constexpr int maxDepth = 16;

/** Cuts the head off the first data element and says what it holds: false when it overruns. */
bool splitElement(const std::uint8_t *data, std::size_t size, std::size_t &head, std::size_t &body)
{
    // Core 5.3, Vol 3 Part B, 3.3: the low three bits give the size, or the width of the size that follows.
    const unsigned index = data[0] & 7;
    const std::size_t width = index < 5 ? 0 : std::size_t{1} << (index - 5);
    head = 1 + width;
    if (head > size)
        return false;
    body = index < 5 ? std::size_t{1} << index : 0;
    if (data[0] == 0) // nil
        body = 0;
    for (std::size_t i = 0; i < width; ++i)
        body = body << 8 | data[1 + i];
    return body <= size - head;
}

/** Whether elements are whole and not nested so deep that reading them would use up the stack. */
bool isWellFormed(const std::uint8_t *data, std::size_t size, int depth)
{
    constexpr unsigned sequence = 6;
    constexpr unsigned alternative = 7;
    while (size > 0) {
        std::size_t head = 0;
        std::size_t body = 0;
        if (!splitElement(data, size, head, body))
            return false;
        const unsigned type = data[0] >> 3;
        if ((type == sequence || type == alternative) && (depth == 0 || !isWellFormed(data + head, body, depth - 1)))
            return false;
        data += head + body;
        size -= head + body;
    }
    return true;
}

struct FreeRecord
{
    void operator()(sdp_record_t *record) const { ::sdp_record_free(record); }
};

struct FreeList
{
    void operator()(sdp_list_t *list) const { ::sdp_list_free(list, nullptr); }
};

struct CloseSession
{
    void operator()(sdp_session_t *session) const { (void)::sdp_close(session); }
};

using Record = std::unique_ptr<sdp_record_t, FreeRecord>;
using List = std::unique_ptr<sdp_list_t, FreeList>;
using Session = std::unique_ptr<sdp_session_t, CloseSession>;

bool isFileTransfer(const sdp_record_t *record)
{
    uuid_t wanted;
    ::sdp_uuid16_create(&wanted, fileTransferClass);
    sdp_list_t *classes = nullptr;
    if (::sdp_get_service_classes(record, &classes) != 0)
        return false;
    const bool found = ::sdp_list_find(classes, &wanted, ::sdp_uuid_cmp) != nullptr;
    ::sdp_list_free(classes, std::free);
    return found;
}

int rfcommChannel(const sdp_record_t *record)
{
    sdp_list_t *protocols = nullptr;
    if (::sdp_get_access_protos(record, &protocols) != 0)
        return 0;
    const int channel = ::sdp_get_proto_port(protocols, RFCOMM_UUID);
    ::sdp_list_foreach(
        protocols, [](void *entry, void *) { ::sdp_list_free(static_cast<sdp_list_t *>(entry), nullptr); }, nullptr);
    ::sdp_list_free(protocols, nullptr);
    return channel >= 1 && channel <= lastChannel ? channel : 0;
}

/** A PSM is odd, and so is the bit that tells a second byte from a third (Core 5.3, Vol 3 Part A, 4.2). */
std::uint16_t l2capPsm(const sdp_record_t *record)
{
    const sdp_data_t *data = ::sdp_data_get(record, SDP_ATTR_GOEP_L2CAP_PSM);
    if (!data || data->dtd != SDP_UINT16 || (data->val.uint16 & 0x0101) != 1)
        return 0;
    return data->val.uint16;
}

} // namespace

std::optional<std::vector<FileTransferService>> parseServiceRecords(const std::uint8_t *data, std::size_t size)
{
    if (!data || size == 0 || size > INT_MAX || !isWellFormed(data, size, maxDepth))
        return std::nullopt;
    std::uint8_t type = 0;
    int length = 0;
    const int head = ::sdp_extract_seqtype(data, static_cast<int>(size), &type, &length);
    if (head <= 0 || length < 0 || static_cast<std::size_t>(length) > size - static_cast<std::size_t>(head))
        return std::nullopt;
    const std::uint8_t *at = data + head;
    int left = length;
    std::vector<FileTransferService> services;
    for (std::size_t count = 0; left > 0 && count < maxRecords && services.size() < maxServices; ++count) {
        int scanned = 0;
        const Record record(::sdp_extract_pdu(at, left, &scanned));
        if (!record || scanned <= 0 || scanned > left)
            return std::nullopt;
        at += scanned;
        left -= scanned;
        FileTransferService service;
        service.channel = static_cast<std::uint8_t>(rfcommChannel(record.get()));
        service.psm = l2capPsm(record.get());
        if (isFileTransfer(record.get()) && (service.channel != 0 || service.psm != 0))
            services.push_back(service);
    }
    std::stable_partition(services.begin(), services.end(), [](const auto &service) { return service.psm != 0; });
    return services;
}

namespace {

struct Answer
{
    bool complete = false;
    std::optional<std::vector<FileTransferService>> services;
};

void takeAnswer(std::uint8_t type, std::uint16_t status, std::uint8_t *response, std::size_t size, void *context)
{
    Answer &answer = *static_cast<Answer *>(context);
    answer.complete = true;
    if (status == 0 && type == SDP_SVC_SEARCH_ATTR_RSP)
        answer.services = parseServiceRecords(response, size);
}

bool isConnected(int socket)
{
    int error = 0;
    socklen_t size = sizeof error;
    return ::getsockopt(socket, SOL_SOCKET, SO_ERROR, &error, &size) == 0 && error == 0;
}

bool ask(sdp_session_t *session, Answer &answer)
{
    uuid_t wanted;
    ::sdp_uuid16_create(&wanted, fileTransferClass);
    std::uint32_t all = 0x0000ffff;
    const List classes(::sdp_list_append(nullptr, &wanted));
    const List attributes(::sdp_list_append(nullptr, &all));
    return ::sdp_set_notify(session, takeAnswer, &answer) == 0 &&
           ::sdp_service_search_attr_async(session, classes.get(), SDP_ATTR_REQ_RANGE, attributes.get()) == 0;
}

} // namespace

ServiceSearch searchFileTransfer(const std::string &source, const std::string &device, Deadline deadline,
                                 const Wakeup &cancel)
{
    bdaddr_t from;
    bdaddr_t to;
    if (::str2ba(source.c_str(), &from) != 0 || ::str2ba(device.c_str(), &to) != 0)
        return {};
    const Session session(::sdp_connect(&from, &to, SDP_NON_BLOCKING));
    if (!session)
        return {};
    const int socket = ::sdp_get_socket(session.get());
    IoStatus status = statusOf(waitFor(socket, POLLOUT, cancel, deadline));
    if (status != IoStatus::Ok)
        return {status, {}};
    Answer answer;
    if (!isConnected(socket) || !ask(session.get(), answer))
        return {};
    while (!answer.complete) {
        status = statusOf(waitFor(socket, POLLIN, cancel, deadline));
        if (status != IoStatus::Ok)
            return {status, {}};
        if (::sdp_process(session.get()) != 0 && !answer.complete)
            return {};
    }
    if (!answer.services)
        return {};
    return {IoStatus::Ok, std::move(*answer.services)};
}

} // namespace transport
