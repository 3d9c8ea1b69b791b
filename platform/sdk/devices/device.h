#ifndef DEVICES_DEVICE_H
#define DEVICES_DEVICE_H

#include <cstdint>
#include <string>

namespace devices {

/** How a device is reached; the numbers are those of BtsdkDeviceKind. */
enum class Kind { Network = 1, Bluetooth = 2 };

constexpr std::size_t MaxText = 255; // bytes of a name or address: what a record of the library holds

/** What a source knows of a device. */
struct Device
{
    std::string id;      /**< unchanging, and no other device of the source has it */
    std::string name;    /**< for people */
    std::string address; /**< host name or address, or "AA:BB:CC:DD:EE:FF" */
    std::string adapter; /**< address of the adapter that knows a Bluetooth device, else empty */
    std::uint16_t port = 0;
    Kind kind = Kind::Network;
    bool paired = true;
    bool reachable = true; /**< its transport can be used now */
    bool offersFileTransfer = true;

    bool operator==(const Device &other) const
    {
        return id == other.id && name == other.name && address == other.address && port == other.port &&
               kind == other.kind && paired == other.paired && reachable == other.reachable &&
               adapter == other.adapter && offersFileTransfer == other.offersFileTransfer;
    }
};

/** A network device's identity: renaming it keeps its handle. */
inline std::string networkId(const std::string &address, std::uint16_t port)
{
    return address + '\n' + std::to_string(port);
}

/** Whether a device may be remembered: name and address of 1 to MaxText bytes, a port that can be dialled. */
inline bool isValidNetworkDevice(const std::string &name, const std::string &address, unsigned int port)
{
    return !name.empty() && name.size() <= MaxText && !address.empty() && address.size() <= MaxText && port >= 1 &&
           port <= 65535;
}

} // namespace devices

#endif
