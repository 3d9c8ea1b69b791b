#ifndef OBEX_OUTCOME_H
#define OBEX_OUTCOME_H

#include "obex/packet.h"

namespace obex {

/** Why a call failed. Each has one result of the library's interface, given in brackets. */
enum class Error {
    None,
    Refused,          /**< the peer answered with an error response (BTSDK_OBEX_BASE + response) */
    InvalidParameter, /**< an empty or impossible name or path (BTSDK_ER_INVALID_PARAMETER) */
    NameTooLong,      /**< does not fit in the protocol or the file system (BTSDK_ER_NAME_TOO_LONG) */
    NotConnected,     /**< the link was gone before the call (BTSDK_ER_NOT_CONNECTED) */
    Busy,             /**< another call is using the session (BTSDK_ER_BUSY) */
    Cancelled,        /**< by cancel() (BTSDK_ER_CANCELLED) */
    TimedOut,         /**< the peer did not answer in time; the link is closed (BTSDK_ER_TIMED_OUT) */
    LinkLost,         /**< the link broke during the call (BTSDK_ER_LINK_LOST) */
    Protocol,         /**< the peer broke the protocol (BTSDK_ER_PROTOCOL) */
    LocalFile,        /**< a local file or folder cannot be read, written or replaced (BTSDK_ER_LOCAL_FILE) */
    DiskFull,         /**< no room for a local file (BTSDK_ER_DISK_FULL) */
    NotSupported,     /**< the peer does not know folder browsing (BTSDK_ER_NOT_SUPPORTED) */
    Authentication,   /**< the passkey was refused, or none was given (BTSDK_ER_AUTHENTICATION) */
    TooMuch,          /**< a listing or a tree over the caps (BTSDK_ER_LOCAL_FULL) */
    Internal          /**< out of descriptors and the like (BTSDK_ER_INTERNAL) */
};

/** What came of a call. */
struct [[nodiscard]] Outcome
{
    Error error = Error::None;
    ResponseCode response = ResponseCode::Success; /**< of the peer, meaningful with Error::Refused */

    Outcome() = default;
    Outcome(Error e) : error(e) {}

    static Outcome refused(ResponseCode code)
    {
        Outcome outcome(Error::Refused);
        outcome.response = code;
        return outcome;
    }

    bool ok() const { return error == Error::None; }
    bool is(ResponseCode code) const { return error == Error::Refused && response == code; }
};

} // namespace obex

#endif
