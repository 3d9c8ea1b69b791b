#ifndef API_BLUETOOTHSERVER_H
#define API_BLUETOOTHSERVER_H

#include "api/callbackslot.h"
#include "api/dispatcher.h"
#include "btsdk_host.h"
#include "transport/bluetooth.h"

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace devices {
class Bluez;
}

namespace settings {
class SettingsFile;
}

namespace api {

/**
 * The Bluetooth side of this computer's server: listens over RFCOMM and L2CAP, has BlueZ show the service record, and
 * decides who is let in. start() and stop() are for one caller at a time; the rest may be called from any thread.
 */
class BluetoothServer
{
public:
    /** Takes a client that may come in. */
    using Serve = std::function<void(std::unique_ptr<transport::Stream>)>;

    /** @param file  keeps what the user has said of a device once and for all: section FTPSERVER, "Allow <address>" */
    BluetoothServer(devices::Bluez &bluez, const settings::SettingsFile &file, Serve serve);
    ~BluetoothServer();

    /**
     * Begins to listen, where this system has Bluetooth.
     * @param secure  only devices that BlueZ has authenticated, and that the user allows, are let in
     * @return whether it listens anywhere
     */
    bool start(bool secure);
    void stop();

    /** Where it listens, for people; empty when stopped. */
    std::vector<std::string> listening() const;

    /** What people call the peer: the device's name for a Bluetooth address, else the peer itself. */
    std::string nameOf(const std::string &peer) const;

    /** Sets who is asked; waits for a question that is open. @return false from within the callback */
    bool setAuthorizeCallback(BtsdkAuthorizeCallback callback, void *context);
    bool isAsking() const { return m_authorize.runsOnThisThread(); }

    /** Ends the thread that asks. Not from within the callback. */
    void shutDown();

private:
    struct Asked
    {
        BtsdkAuthorizeCallback callback = nullptr;
        void *context = nullptr;
        explicit operator bool() const { return callback != nullptr; }
    };

    enum class Verdict { Allow, Refuse, Ask };

    void accept(transport::BluetoothListener &listener, bool secure);
    void admit(std::shared_ptr<std::unique_ptr<transport::Stream>> client, unsigned int round);
    Verdict verdictOn(const std::string &address) const;
    bool ask(const std::string &address);

    devices::Bluez &m_bluez;
    const settings::SettingsFile &m_file;
    const Serve m_serve;
    CallbackSlot<Asked> m_authorize;
    Dispatcher m_questions;
    mutable std::mutex m_mutex; // guards the listeners' list
    std::vector<std::unique_ptr<transport::BluetoothListener>> m_listeners;
    std::vector<std::thread> m_threads;
    std::atomic<unsigned int> m_round{0};   // odd while it listens; a client of an earlier round comes too late
    std::atomic<unsigned int> m_waiting{0}; // clients on whom the user has not spoken
};

/** The service record of a file transfer server, in BlueZ's XML form. @param psm  0 when there is no L2CAP */
std::string fileTransferRecord(unsigned int channel, unsigned int psm);

} // namespace api

#endif
