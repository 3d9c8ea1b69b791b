#ifndef TRANSPORT_LINKWATCHER_H
#define TRANSPORT_LINKWATCHER_H

#include "transport/wakeup.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace transport {

class Stream;

/**
 * Notices when idle links end. One thread waits for the hang-ups of all watched streams; it takes no bytes, so that a
 * session may read and write meanwhile.
 */
class LinkWatcher
{
public:
    using Lost = std::function<void()>;

    LinkWatcher();
    ~LinkWatcher();

    /** Calls lost once, on the watcher's thread, when the stream has ended at either side. The callback may not call
     *  the watcher. @return a number for unwatch(), 0 when the system has no room */
    std::uint64_t watch(const Stream &stream, Lost lost);

    /** Ends the watch and waits for a callback that is under way; call it before the stream is destroyed. */
    void unwatch(std::uint64_t number);

private:
    class Private;
    std::unique_ptr<Private> d;
};

} // namespace transport

#endif
