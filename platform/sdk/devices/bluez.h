#ifndef DEVICES_BLUEZ_H
#define DEVICES_BLUEZ_H

#include "devices/device.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace devices {

/** Why Bluetooth can be used, or cannot. */
enum class BluetoothState {
    Starting,  /**< nothing has been heard of yet */
    Ready,     /**< an adapter is powered */
    NoHost,    /**< the program has no QCoreApplication, without which no bus can be spoken to */
    NoBus,     /**< there is no system bus */
    NoService, /**< nobody on the bus is org.bluez */
    NoAdapter, /**< this computer has no adapter, or it was pulled */
    Off        /**< the adapters there are are switched off */
};

/** A device of an adapter's. */
struct BluetoothDevice
{
    std::string adapter; /**< address of the adapter that knows it */
    std::string address;
    std::string name;
    bool paired = false;
    bool trusted = false;
    bool powered = false;            /**< its adapter is */
    bool offersFileTransfer = false; /**< class 0x1106 */

    bool operator==(const BluetoothDevice &other) const
    {
        return adapter == other.adapter && address == other.address && name == other.name && paired == other.paired &&
               trusted == other.trusted && powered == other.powered && offersFileTransfer == other.offersFileTransfer;
    }
};

/**
 * What BlueZ knows, followed by a thread of its own; the service record of this computer's server. Nothing here waits
 * for the bus but stopDiscovery(), and that not for long. Every member may be called from any thread.
 */
class Bluez
{
public:
    static constexpr std::size_t maxDevices = 1000;

    /** Starts the thread when there is a QCoreApplication; it must live on while this does, and if it does not, the
     *  thread ends with it. */
    Bluez();
    ~Bluez();
    Bluez(const Bluez &) = delete;
    Bluez &operator=(const Bluez &) = delete;

    /** Sets who is told, on the thread of this object, that something is not as it was. */
    void setListener(std::function<void()> changed);

    BluetoothState state() const;

    /** Those worth showing: paired, or offering file transfer. */
    std::vector<BluetoothDevice> devices() const;

    /** The name under which others find this computer; empty without a powered adapter. */
    std::string localName() const;

    /** What is known of the device with an address, from whichever adapter. */
    std::optional<BluetoothDevice> find(const std::string &address) const;

    /** Ends the searches for devices that this process has begun. Waits for BlueZ at most that long. */
    void stopDiscovery(std::chrono::milliseconds patience);

    /** Has BlueZ show a service record (its own XML form), now and after each restart of BlueZ; "" withdraws it. */
    void publish(const std::string &record);

private:
    class Private;
    std::shared_ptr<Private> d;
};

} // namespace devices

#endif
