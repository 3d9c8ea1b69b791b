#ifndef OBEX_CLIENTSESSION_H
#define OBEX_CLIENTSESSION_H

#include "obex/listing.h"
#include "obex/outcome.h"

#include <QByteArray>

#include <chrono>
#include <functional>
#include <memory>

namespace transport {
class Stream;
}

namespace obex {

/** How far the transfer of one file has come. */
struct Progress
{
    bool first = false;    /**< the first report on this file; size may still be 0 */
    bool last = false;     /**< the last report on this file, made when all of it has been moved */
    const char *name = ""; /**< the file's own name, UTF-8, valid during the call only */
    quint64 size = 0;      /**< bytes, 0 while unknown; not scaled, so it may be 4 GiB and more */
    quint64 done = 0;      /**< bytes, never over size once that is known */
};

/** How long a session waits, what it offers, and whom it asks and tells. */
struct ClientOptions
{
    using Milliseconds = std::chrono::milliseconds;

    Milliseconds connectTimeout{10000};  /**< of connect(), without the time that askPasskey takes */
    Milliseconds requestTimeout{20000};  /**< for the answer to any other request */
    Milliseconds transferTimeout{30000}; /**< of a transfer, without a byte */
    Milliseconds cancelTimeout{2000};    /**< for the answer to an ABORT or a DISCONNECT */
    bool singleResponseMode = true;      /**< offer it where the stream allows */
    std::size_t packetSize = MaxPacketSize;

    /** Asks for the passkey that the peer wants, on the thread of connect(). @return false when the user declined */
    std::function<bool(QByteArray &passkey)> askPasskey;

    /** Called on the thread of the get or put: at the first and last byte of each file and at most 20 times a second
     *  between, never after the call has returned. It may call cancel(); every other call answers Busy. */
    std::function<void(const Progress &)> progress;
};

/**
 * The client's side of one OBEX folder browsing connection.
 *
 * Every member may be called from any thread. One call is served at a time; a second one returns Error::Busy at once.
 * Every call ends: by its answer, by the deadlines of the options, or soon after cancel() or close(). A call that
 * leaves the peer's answers out of step closes the link; isConnected() tells.
 *
 * Calls need little of the caller's stack: packets, listings and folder walks live on the heap.
 *
 * Names are UTF-8, one component each. Names with "/" or NUL, "." and ".." are InvalidParameter.
 */
class ClientSession
{
public:
    ClientSession(std::unique_ptr<transport::Stream> stream, ClientOptions options);
    /** Closes the link. No call may be under way. */
    ~ClientSession();

    /** CONNECT to folder browsing, with a passkey when the peer asks for one. A failure closes the link. */
    Outcome connect();

    /** Cancels a running call, waits for its end, sends DISCONNECT and closes the link. Not from within a callback. */
    void disconnect();

    /** Breaks the link at once; a running call ends with LinkLost. */
    void close();

    /** Ends the running call with Cancelled, within cancelTimeout; nothing happens when none runs, but for a transfer
     *  that is expected: see expectTransfer(). */
    void cancel();

    /** Announces a get or put that another thread is about to begin: a cancel() before it ends it as it begins, with
     *  nothing sent. Lasts until a get or put has begun. Each call, with false too, forgets a cancel of before. */
    void expectTransfer(bool expected);

    bool isConnected() const;

    /** For a LinkWatcher; lives as long as the session. */
    const transport::Stream &stream() const;

    /**
     * Sets the current folder: absolute, "/" separated. "/" costs no round trip: it is sent when the next call needs
     * it. Any other path sends the moves that differ from where the peer stands, and up and down again when there are
     * none, so that a vanished folder is found out. After a refusal the current folder is what it was.
     */
    Outcome setPath(const QByteArray &path);

    /** Lists the current folder; entry is called as they come, on the calling thread, also before a failure. */
    Outcome list(const std::function<void(const ListingEntry &)> &entry);

    /** Fetches a file of the current folder. localPath appears, or is replaced, when the last byte has come; a folder
     *  or a special file there is LocalFile. */
    Outcome getFile(const QByteArray &name, const QByteArray &localPath);

    /** Fetches a folder with all that it holds and merges it into localPath. An entry that fails by itself is left
     *  out and the first such failure returned at the end. */
    Outcome getFolder(const QByteArray &name, const QByteArray &localPath);

    /** Sends a file into the current folder. Forbidden is reported as Unauthorized: several peers that are read-only
     *  say so. */
    Outcome putFile(const QByteArray &localPath, const QByteArray &name);

    /** Sends a folder with all that it holds, into an existing one of that name, too. Links to files are sent as
     *  files; links to folders, FIFOs, sockets and devices are left out. Failures as with getFolder and putFile. */
    Outcome putFolder(const QByteArray &localPath, const QByteArray &name);

    Outcome deleteFile(const QByteArray &name);

    /** With all that it holds: asked of the peer in one request, entry by entry when it refuses that. */
    Outcome deleteFolder(const QByteArray &name);

    /** The current folder stays what it was. An existing folder is a success. */
    Outcome createFolder(const QByteArray &name);

    /** File bytes since the session was made. */
    quint64 bytesReceived() const;
    quint64 bytesSent() const;

    /** Requests that were answered, for tests and measurements. */
    quint64 roundTrips() const;

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace obex

#endif
