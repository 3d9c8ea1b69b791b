#ifndef TRANSPORT_SERVICESEARCH_H
#define TRANSPORT_SERVICESEARCH_H

#include "transport/stream.h"

#include <optional>
#include <vector>

namespace transport {

class Wakeup;

/** Where a device offers OBEX file transfer. */
struct FileTransferService
{
    std::uint8_t channel = 0; /**< of RFCOMM, 1 to 30; 0: none */
    std::uint16_t psm = 0;    /**< of L2CAP; 0: none */

    bool operator==(const FileTransferService &other) const { return channel == other.channel && psm == other.psm; }
};

/**
 * Reads the answer to a search for service records: a sequence of records, as the device sent it.
 * @return the services of class 0x1106 that can be dialled, at most 16, those over L2CAP first; nothing when the bytes
 *         are no such sequence
 */
std::optional<std::vector<FileTransferService>> parseServiceRecords(const std::uint8_t *data, std::size_t size);

struct ServiceSearch
{
    IoStatus status = IoStatus::Failed; /**< Ok when the device answered, with no services perhaps */
    std::vector<FileTransferService> services;
};

/** Asks a device for its file transfer services. @param source address of the own adapter; both "AA:BB:CC:DD:EE:FF" */
ServiceSearch searchFileTransfer(const std::string &source, const std::string &device, Deadline deadline,
                                 const Wakeup &cancel);

} // namespace transport

#endif
