#ifndef API_LIBRARY_H
#define API_LIBRARY_H

#include "api/connections.h"
#include "api/dispatcher.h"
#include "api/serverhost.h"
#include "devices/bluez.h"
#include "devices/catalogue.h"
#include "devices/settingssource.h"
#include "devices/transientsource.h"

namespace api {

/**
 * All that the library is made of, from the first call to Btsdk_HostShutdown. Whoever works with it holds it, so that
 * it outlives a shutdown by another thread until the last call has returned.
 */
class Library : private ConnectionObserver, private ServerHostObserver
{
public:
    /** The library of now; started by the first call. */
    static std::shared_ptr<Library> instance();
    static bool isRunning();

    /** Ends the library of now, if any. Does nothing when called from within one of its callbacks. */
    static void shutDownInstance();

    Library();
    ~Library() override;

    devices::Catalogue &catalogue() { return m_catalogue; }
    Connections &connections() { return m_connections; }
    ServerHost &server() { return m_server; }
    devices::Bluez &bluez() { return m_bluez; }

    unsigned int connect(std::uint32_t device, unsigned short serviceClass, std::uint32_t *connection);
    unsigned int addNetworkDevice(const devices::Device &device, bool transient, std::uint32_t *handle);
    unsigned int removeDevice(std::uint32_t device);

    /** @return false, and nothing changes, when called from within the callback */
    bool setEventCallback(BtsdkEventCallback callback, void *context);
    bool setPasskeyCallback(BtsdkPasskeyCallback callback, void *context);

private:
    template <class Callback>
    struct Target
    {
        Callback callback = nullptr;
        void *context = nullptr;
        explicit operator bool() const { return callback != nullptr; }
    };

    void connecting(std::uint32_t shortcut) override;
    void connected(std::uint32_t shortcut, std::uint32_t connection) override;
    void connectFailed(std::uint32_t shortcut, unsigned int result) override;
    void disconnected(std::uint32_t shortcut, std::uint32_t connection, unsigned int result) override;
    void later(std::function<void()> job) override;
    void serverStatus(std::uint32_t server, BtsdkServerStatus status) override;
    void fileReceived(std::uint32_t server, const std::string &name) override;

    void post(BtsdkEvent event, std::uint32_t handle = 0, std::uint32_t other = 0, std::uint32_t value = 0,
              std::string text = {});
    void devicesChanged();
    bool askPasskey(std::uint32_t device, QByteArray &passkey);
    bool isCallbackThread() const;
    void shutDown();

    const settings::SettingsFile m_file;
    CallbackSlot<Target<BtsdkEventCallback>> m_events;
    CallbackSlot<Target<BtsdkPasskeyCallback>> m_passkeys;
    std::atomic<bool> m_wasReady{false};
    devices::SettingsSource *m_settingsSource = nullptr;   // the catalogue's
    devices::TransientSource *m_transientSource = nullptr; // the catalogue's
    devices::Bluez m_bluez;
    devices::Catalogue m_catalogue;
    Dispatcher m_dispatcher;
    Connections m_connections;
    ServerHost m_server;
};

} // namespace api

#endif
