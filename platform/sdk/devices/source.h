#ifndef DEVICES_SOURCE_H
#define DEVICES_SOURCE_H

#include "devices/device.h"
#include "transport/stream.h"

#include <functional>
#include <memory>
#include <vector>

namespace devices {

/** Where devices come from, and how those are dialled. Every member may be called from any thread. */
class Source
{
public:
    virtual ~Source() = default;

    /** The devices of this moment. */
    virtual std::vector<Device> devices() = 0;

    /** Whether its transport can be used now: an adapter is powered, the network transport is on. */
    virtual bool ready() = 0;

    /** Dials the file transfer service of one of its devices. Never null. */
    virtual std::unique_ptr<transport::Connector> connector(const Device &device) = 0;

    /** Sets who is told, on any thread, that devices() or ready() answers differently now. A source that is asked
     *  anew each time has nothing to tell. */
    virtual void setListener(std::function<void()> changed) { (void)changed; }
};

} // namespace devices

#endif
