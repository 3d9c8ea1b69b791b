#include "api/library.h"

#include "api/results.h"
#include "devices/bluezsource.h"
#include "settings/location.h"

#include <array>
#include <cstring>

namespace api {

namespace {

/** A search for devices makes a connection slow or fail; it is not worth waiting longer for its end. */
constexpr std::chrono::milliseconds discoveryPatience{500};

struct Holder
{
    std::mutex mutex;
    std::shared_ptr<Library> library;
};

// Never destroyed: threads of a host that ends without a shutdown may still be calling.
Holder &holder()
{
    static Holder *const instance = new Holder;
    return *instance;
}

std::uint32_t makeHandle(devices::Catalogue::Handle kind)
{
    return newHandle(kind == devices::Catalogue::Handle::Device ? HandleKind::Device : HandleKind::Shortcut);
}

} // namespace

std::shared_ptr<Library> Library::instance()
{
    Holder &own = holder();
    const std::lock_guard<std::mutex> lock(own.mutex);
    if (!own.library)
        own.library = std::make_shared<Library>();
    return own.library;
}

bool Library::isRunning()
{
    Holder &own = holder();
    const std::lock_guard<std::mutex> lock(own.mutex);
    return own.library != nullptr;
}

void Library::shutDownInstance()
{
    Holder &own = holder();
    std::shared_ptr<Library> library;
    {
        const std::lock_guard<std::mutex> lock(own.mutex);
        library = own.library;
    }
    if (!library || library->isCallbackThread())
        return;
    // A callback that still ran could call in and start the library anew, behind the host's back.
    (void)library->m_events.set({});
    (void)library->m_passkeys.set({});
    (void)library->m_server.setReceiveCallback(nullptr);
    (void)library->m_server.bluetooth().setAuthorizeCallback(nullptr, nullptr);
    {
        const std::lock_guard<std::mutex> lock(own.mutex);
        if (own.library == library)
            own.library.reset();
    }
    library->shutDown();
}

Library::Library()
    : m_file(settings::defaultPath()),
      m_catalogue(makeHandle, [this] { devicesChanged(); }),
      m_connections(*this, [this](std::uint32_t device, QByteArray &passkey) { return askPasskey(device, passkey); }),
      m_server(*this, m_file, m_bluez)
{
    auto fromSettings = std::make_unique<devices::SettingsSource>(settings::defaultPath());
    m_settingsSource = fromSettings.get();
    m_catalogue.addSource(std::move(fromSettings));
    auto fromCalls =
        std::make_unique<devices::TransientSource>([source = m_settingsSource] { return source->ready(); });
    m_transientSource = fromCalls.get();
    m_catalogue.addSource(std::move(fromCalls));
    m_catalogue.addSource(std::make_unique<devices::BluezSource>(
        m_bluez, [this] { return m_file.intValue("BLUETOOTH", "L2cap", 1) != 0; }));
    m_wasReady = m_catalogue.ready();
}

Library::~Library()
{
    shutDown();
}

void Library::shutDown()
{
    m_bluez.setListener({}); // what it tells goes through the dispatcher
    m_connections.shutDown();
    m_server.shutDown();
    m_dispatcher.stop();
}

bool Library::isCallbackThread() const
{
    if (m_dispatcher.isCurrentThread() || m_server.isReceiveThread() || m_server.bluetooth().isAsking() ||
        m_passkeys.runsOnThisThread())
        return true;
    for (const std::shared_ptr<Connection> &connection : m_connections.all()) {
        if (connection->isWithinCallback())
            return true;
    }
    return false;
}

unsigned int Library::connect(std::uint32_t device, unsigned short serviceClass, std::uint32_t *connection)
{
    const std::optional<devices::Known> known = m_catalogue.findDevice(device);
    if (!known)
        return BTSDK_ER_INVALID_HANDLE;
    if (serviceClass != BTSDK_CLS_OBEX_FILE_TRANS)
        return BTSDK_ER_NOT_SUPPORTED;
    if (!known->data.reachable)
        return BTSDK_ER_NO_TRANSPORT;
    if (known->data.kind == devices::Kind::Bluetooth)
        m_bluez.stopDiscovery(discoveryPatience);
    return m_connections.connect(*known, Limits::read(m_file), connection);
}

unsigned int Library::addNetworkDevice(const devices::Device &device, bool transient, std::uint32_t *handle)
{
    if (transient) {
        if (!m_transientSource->add(device))
            return BTSDK_ER_LOCAL_FULL;
    } else if (const unsigned int result = resultOf(m_settingsSource->add(device)); result != BTSDK_OK) {
        return result;
    }
    const devices::Source *const source =
        transient ? static_cast<devices::Source *>(m_transientSource) : m_settingsSource;
    for (const devices::Known &known : m_catalogue.list()) {
        if (handle && known.source == source && known.data.id == device.id)
            *handle = known.device;
    }
    return BTSDK_OK;
}

unsigned int Library::removeDevice(std::uint32_t device)
{
    const std::optional<devices::Known> known = m_catalogue.findDevice(device);
    if (!known)
        return BTSDK_ER_INVALID_HANDLE;
    if (known->data.kind != devices::Kind::Network)
        return BTSDK_ER_NOT_SUPPORTED;
    if (known->source == m_transientSource) {
        if (!m_transientSource->remove(known->data))
            return BTSDK_ER_INVALID_HANDLE;
    } else if (const unsigned int result = resultOf(m_settingsSource->remove(known->data)); result != BTSDK_OK) {
        return result;
    }
    (void)m_catalogue.list(); // finds the change and tells of it
    return m_connections.disconnectShortcut(known->shortcut);
}

bool Library::setEventCallback(BtsdkEventCallback callback, void *context)
{
    return m_events.set({callback, context});
}

bool Library::setPasskeyCallback(BtsdkPasskeyCallback callback, void *context)
{
    return m_passkeys.set({callback, context});
}

bool Library::askPasskey(std::uint32_t device, QByteArray &passkey)
{
    std::array<char, 256> buffer{};
    bool given = false;
    m_passkeys.call([&](const auto &target) {
        given = target.callback(device, buffer.data(), buffer.size(), target.context) != 0;
    });
    if (!given)
        return false;
    passkey = QByteArray(buffer.data(), static_cast<int>(::strnlen(buffer.data(), buffer.size())));
    buffer.fill('\0');
    return true;
}

void Library::post(BtsdkEvent event, std::uint32_t handle, std::uint32_t other, std::uint32_t value, std::string text)
{
    const bool optional = event == BTSDK_EVENT_RECEIVED;
    m_dispatcher.post(
        [this, event, handle, other, value, text = std::move(text)] {
            m_events.call([&](const auto &target) {
                const BtSdkEventInfo info{static_cast<std::uint32_t>(event), handle, other, value, text.c_str()};
                target.callback(&info, target.context);
            });
        },
        optional);
}

void Library::devicesChanged()
{
    post(BTSDK_EVENT_DEVICES_CHANGED);
    const bool ready = m_catalogue.ready();
    if (m_wasReady.exchange(ready) != ready)
        post(BTSDK_EVENT_TRANSPORT, 0, 0, ready ? 1 : 0);
}

void Library::connecting(std::uint32_t shortcut)
{
    post(BTSDK_EVENT_CONNECTING, shortcut);
}

void Library::connected(std::uint32_t shortcut, std::uint32_t connection)
{
    post(BTSDK_EVENT_CONNECTED, shortcut, connection);
}

void Library::connectFailed(std::uint32_t shortcut, unsigned int result)
{
    post(BTSDK_EVENT_CONNECT_FAILED, shortcut, 0, result);
}

void Library::disconnected(std::uint32_t shortcut, std::uint32_t connection, unsigned int result)
{
    post(BTSDK_EVENT_DISCONNECTED, shortcut, connection, result);
}

void Library::later(std::function<void()> job)
{
    m_dispatcher.post(std::move(job));
}

void Library::serverStatus(std::uint32_t server, BtsdkServerStatus status)
{
    post(BTSDK_EVENT_SERVER_STATUS, server, 0, status);
}

void Library::fileReceived(std::uint32_t server, const std::string &name)
{
    post(BTSDK_EVENT_RECEIVED, server, 0, 0, name);
}

} // namespace api
