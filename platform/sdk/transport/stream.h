#ifndef TRANSPORT_STREAM_H
#define TRANSPORT_STREAM_H

#include "transport/deadline.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace transport {

/** How a read, a write or a wait ended. */
enum class IoStatus {
    Ok,
    Closed,   /**< the peer ended the stream, or close() was called */
    TimedOut, /**< the deadline passed */
    Woken,    /**< wake() was called and clearWake() not yet */
    Failed    /**< the system reported an error; the stream is of no further use */
};

/** What a read or a write has moved. */
struct IoResult
{
    IoStatus status = IoStatus::Ok;
    std::size_t bytes = 0; /**< moved before the status arose: a write that was woken may be continued there */

    bool ok() const { return status == IoStatus::Ok; }
};

/**
 * A connected byte stream with deadlines.
 *
 * One thread reads and one writes (they may be the same); wake(), close() and descriptor() may be called from any
 * thread at any time. The end of the stream is always reported: as Closed, never as success without bytes.
 */
class Stream
{
public:
    Stream() = default;
    Stream(const Stream &) = delete;
    Stream &operator=(const Stream &) = delete;
    virtual ~Stream() = default;

    /** Reads what has come, 1 to size bytes; waits for the first. @param size at least 1 */
    virtual IoResult read(std::uint8_t *data, std::size_t size, Deadline deadline) = 0;

    /** Writes all of it; less only when the status is not Ok. */
    virtual IoResult write(const std::uint8_t *data, std::size_t size, Deadline deadline) = 0;

    /** Ends the wait of a read or write, now or when the next one would wait, with Woken; until clearWake(). */
    virtual void wake() = 0;
    virtual void clearWake() = 0;

    /** Ends the stream both ways; a waiting read or write returns. The descriptor lives until the destructor. */
    virtual void close() = 0;

    /** For a LinkWatcher: shows POLLRDHUP or POLLHUP once the stream has ended at either side. */
    virtual int descriptor() const = 0;

    /** The largest OBEX packet that this link carries well, 255 to 65535 bytes. */
    virtual std::size_t maxPacket() const = 0;

    /** Whether Single Response Mode may be offered: the link does flow control of its own. */
    virtual bool supportsSrm() const = 0;

    /** The other end, for people: "127.0.0.1:6502". */
    virtual std::string peer() const = 0;

    /** Whether the link has shown already that the peer may come in, so that no passkey is asked for above it. */
    virtual bool isAuthenticated() const { return false; }
};

class Wakeup;

/** What came of dialling or accepting: a stream, or the reason why there is none. */
struct Dialled
{
    std::unique_ptr<Stream> stream;
    IoStatus status = IoStatus::Failed; /**< Ok exactly when stream is set */
    bool lacksService = false;          /**< Failed, and the device itself said that it does not offer the service */
};

/** Dials one address. */
class Connector
{
public:
    virtual ~Connector() = default;

    /** Blocks until connected, refused, past the deadline, or until cancel is notified. */
    virtual Dialled connect(Deadline deadline, const Wakeup &cancel) = 0;
};

/** Waits for callers. accept() belongs to one thread; the rest may be called from any. */
class Listener
{
public:
    virtual ~Listener() = default;

    /** Waits for a caller. Failed means that no caller can be taken now, out of descriptors say: try again later. */
    virtual Dialled accept(Deadline deadline) = 0;

    /** Makes accept() return Closed, now and from now on. */
    virtual void close() = 0;

    /** Where it listens, for people: "127.0.0.1:6502". */
    virtual std::string address() const = 0;
};

} // namespace transport

#endif
