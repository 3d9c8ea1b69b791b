#ifndef API_SERVERHOST_H
#define API_SERVERHOST_H

#include "api/bluetoothserver.h"
#include "api/callbackslot.h"
#include "api/dispatcher.h"
#include "api/limits.h"
#include "btsdk_host.h"
#include "obex/server.h"

#include <functional>
#include <map>
#include <string>

namespace settings {
class SettingsFile;
}

namespace api {

/** What happens to the server; called in order, on whatever thread brought it about, which is not to be held up. */
class ServerHostObserver
{
public:
    virtual ~ServerHostObserver() = default;
    virtual void serverStatus(std::uint32_t server, BtsdkServerStatus status) = 0;
    virtual void fileReceived(std::uint32_t server, const std::string &name) = 0;
};

/**
 * The one file transfer server of this computer: its folder, access and security, its state, and the callback for
 * received files. Every member may be called from any thread.
 */
class ServerHost : private obex::ServerObserver
{
public:
    /** @param file  the settings: where to listen, whether a passkey is asked for, and which */
    ServerHost(ServerHostObserver &observer, const settings::SettingsFile &file, devices::Bluez &bluez);
    ~ServerHost() override;

    /** @return the server's handle, 0 when folder is no absolute path of at most 255 bytes, or, while the server runs,
     *  no folder */
    std::uint32_t registerService(unsigned short access, const std::string &folder);

    unsigned int start(std::uint32_t server);
    unsigned int stop(std::uint32_t server);
    unsigned int status(std::uint32_t server, unsigned short *status) const;
    unsigned int attributes(std::uint32_t server, BtSdkServerAttributes &record) const;
    unsigned int update(std::uint32_t server, const BtSdkServerAttributes &record);
    unsigned int describe(std::uint32_t server, BtSdkServerInfo &record) const;

    /** 0 before the first registerService(). */
    std::uint32_t handle() const;

    /** @return false when called from within the callback */
    bool setReceiveCallback(BtsdkReceiveFileCallback callback) { return m_receive.set(callback); }
    bool isReceiveThread() const { return m_receiveQueue.isCurrentThread(); }

    std::string passkey() const { return m_passkey; }

    BluetoothServer &bluetooth() { return m_bluetooth; }
    const BluetoothServer &bluetooth() const { return m_bluetooth; }

    /** Stops the server and the threads of the callbacks. Not from within a callback. */
    void shutDown();

private:
    /** What the host has asked for. */
    struct Wishes
    {
        unsigned short access = BTSDK_ACCESS_READ_ONLY;
        std::string folder;
        unsigned short security = 0;
    };

    void clientConnected(std::uint32_t client, const std::string &peer) override;
    void clientLeft(std::uint32_t client) override;
    void fileReceived(std::uint32_t client, const std::string &folder, const std::string &name) override;

    obex::ServerConfig configFor(const Wishes &wishes) const;
    unsigned int apply(const Wishes &wishes);
    BtsdkServerStatus statusNow() const;
    void setRunning(bool running);
    void handOver(std::uint32_t client, const std::string &name);

    ServerHostObserver &m_observer;
    const settings::SettingsFile &m_file;
    const std::string m_passkey;
    CallbackSlot<BtsdkReceiveFileCallback> m_receive;
    Dispatcher m_receiveQueue;

    std::mutex m_controlMutex;  // held by whoever starts, stops or changes the server
    mutable std::mutex m_mutex; // guards what follows; never held while the server is waited for
    std::uint32_t m_handle = 0;
    Wishes m_wishes;
    bool m_running = false;
    bool m_shutDown = false;
    std::int64_t m_since = 0; // milliseconds since 1970-01-01 UTC
    std::map<std::uint32_t, std::string> m_clients;

    obex::Server m_server;       // its threads use what stands above
    BluetoothServer m_bluetooth; // last: it hands clients to the server
};

} // namespace api

#endif
