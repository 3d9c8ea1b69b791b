#include "btsdk_host.h"

#include "api/guard.h"
#include "api/results.h"
#include "settings/utf8.h"

#include <cstring>

using api::guarded;
using api::guardedSetter;
using api::Library;

namespace {

void describe(const devices::Known &known, BtSdkDeviceInfo &record)
{
    std::memset(&record, 0, sizeof record);
    record.device = known.device;
    record.kind = static_cast<std::uint32_t>(known.data.kind);
    record.paired = known.data.paired ? 1 : 0;
    record.reachable = known.data.reachable ? 1 : 0;
    record.port = known.data.port;
    settings::copyUtf8(record.name, sizeof record.name, known.data.name);
    settings::copyUtf8(record.address, sizeof record.address, known.data.address);
}

void describe(Library &library, const devices::Known &known, BtSdkShortcutInfo &record)
{
    std::memset(&record, 0, sizeof record);
    record.shortcut = known.shortcut;
    record.device = known.device;
    record.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    const api::Connections::State state = library.connections().state(known.shortcut);
    record.lastResult = state.lastResult;
    record.state = state.dialling != 0 ? BTSDK_SHORTCUT_CONNECTING : BTSDK_SHORTCUT_IDLE;
    if (const std::shared_ptr<api::Connection> connection = library.connections().find(state.connection)) {
        record.connection = connection->handle();
        record.state = BTSDK_SHORTCUT_CONNECTED;
        record.connectedSince = connection->since();
        record.bytesReceived = connection->session().bytesReceived();
        record.bytesSent = connection->session().bytesSent();
    }
    settings::copyUtf8(record.name, sizeof record.name, known.shortcutName());
}

unsigned int addDevice(const char *name, const char *address, unsigned int port, unsigned int *handle, bool transient)
{
    if (!name || !address || !devices::isValidNetworkDevice(name, address, port)) {
        const bool tooLong =
            name && address && (std::strlen(name) > devices::MaxText || std::strlen(address) > devices::MaxText);
        return tooLong ? BTSDK_ER_NAME_TOO_LONG : BTSDK_ER_INVALID_PARAMETER;
    }
    devices::Device device;
    device.name = name;
    device.address = address;
    device.port = static_cast<std::uint16_t>(port);
    device.id = devices::networkId(device.address, device.port);
    return guarded([&](Library &library) { return library.addNetworkDevice(device, transient, handle); });
}

} // namespace

unsigned int Btsdk_HostListDevices(struct BtSdkDeviceInfo *records, unsigned int max)
{
    return guarded<unsigned int>(0, [&](Library &library) {
        unsigned int count = 0;
        for (const devices::Known &known : library.catalogue().list()) {
            if (records && count < max)
                describe(known, records[count]);
            ++count;
        }
        return count;
    });
}

unsigned int Btsdk_HostListShortcuts(unsigned int device, struct BtSdkShortcutInfo *records, unsigned int max)
{
    return guarded<unsigned int>(0, [&](Library &library) {
        unsigned int count = 0;
        for (const devices::Known &known : library.catalogue().list()) {
            if ((device != 0 && known.device != device) || !known.data.offersFileTransfer)
                continue;
            if (records && count < max)
                describe(library, known, records[count]);
            ++count;
        }
        return count;
    });
}

unsigned int Btsdk_HostListServers(struct BtSdkServerInfo *records, unsigned int max)
{
    return guarded<unsigned int>(0, [&](Library &library) -> unsigned int {
        const std::uint32_t handle = library.server().handle();
        if (handle == 0)
            return 0;
        if (records && max > 0)
            (void)library.server().describe(handle, records[0]); // the handle was just given
        return 1;
    });
}

unsigned int Btsdk_HostGetDevice(unsigned int device, struct BtSdkDeviceInfo *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        const std::optional<devices::Known> known = library.catalogue().findDevice(device);
        if (!known)
            return BTSDK_ER_INVALID_HANDLE;
        describe(*known, *record);
        return BTSDK_OK;
    });
}

unsigned int Btsdk_HostGetShortcut(unsigned int shortcut, struct BtSdkShortcutInfo *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        const std::optional<devices::Known> known = library.catalogue().findShortcut(shortcut);
        if (!known)
            return BTSDK_ER_INVALID_HANDLE;
        describe(library, *known, *record);
        return BTSDK_OK;
    });
}

unsigned int Btsdk_HostGetServer(unsigned int server, struct BtSdkServerInfo *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) { return library.server().describe(server, *record); });
}

int Btsdk_HostIsShortcutConnected(unsigned int shortcut)
{
    return guarded<int>(0, [&](Library &library) {
        return shortcut != 0 && library.connections().state(shortcut).connection != 0 ? 1 : 0;
    });
}

unsigned int Btsdk_HostSetEventCallback(BtsdkEventCallback callback, void *context)
{
    return guardedSetter(callback, [&](Library &library) { return library.setEventCallback(callback, context); });
}

unsigned int Btsdk_HostSetPasskeyCallback(BtsdkPasskeyCallback callback, void *context)
{
    return guardedSetter(callback, [&](Library &library) { return library.setPasskeyCallback(callback, context); });
}

unsigned int Btsdk_HostAddNetworkDevice(const char *name, const char *address, unsigned int port, unsigned int *device)
{
    return addDevice(name, address, port, device, false);
}

unsigned int Btsdk_HostAddTransientDevice(const char *name, const char *address, unsigned int port,
                                          unsigned int *device)
{
    return addDevice(name, address, port, device, true);
}

unsigned int Btsdk_HostRemoveDevice(unsigned int device)
{
    return guarded([&](Library &library) { return library.removeDevice(device); });
}

unsigned int Btsdk_HostGetPasskey(char *buffer, unsigned int size)
{
    if (!buffer || size == 0)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        const std::string passkey = library.server().passkey();
        if (passkey.size() >= size)
            return BTSDK_ER_BUFFER_TOO_SMALL;
        settings::copyUtf8(buffer, size, passkey);
        return BTSDK_OK;
    });
}

unsigned int Btsdk_HostSetAuthorizeCallback(BtsdkAuthorizeCallback callback, void *context)
{
    return guardedSetter(callback, [&](Library &library) {
        return library.server().bluetooth().setAuthorizeCallback(callback, context);
    });
}

unsigned int Btsdk_HostGetBluetoothState(void)
{
    return guarded<unsigned int>(BTSDK_BLUETOOTH_NO_BUS, [](Library &library) -> unsigned int {
        switch (library.bluez().state()) {
        case devices::BluetoothState::Starting:
            return BTSDK_BLUETOOTH_STARTING;
        case devices::BluetoothState::Ready:
            return BTSDK_BLUETOOTH_READY;
        case devices::BluetoothState::NoService:
            return BTSDK_BLUETOOTH_NO_SERVICE;
        case devices::BluetoothState::NoAdapter:
            return BTSDK_BLUETOOTH_NO_ADAPTER;
        case devices::BluetoothState::Off:
            return BTSDK_BLUETOOTH_OFF;
        case devices::BluetoothState::NoHost:
        case devices::BluetoothState::NoBus:
            break;
        }
        return BTSDK_BLUETOOTH_NO_BUS;
    });
}

const char *Btsdk_HostResultText(unsigned int result)
{
    return api::resultText(result);
}

const char *Btsdk_HostResultAdvice(unsigned int result)
{
    return api::resultAdvice(result);
}

void Btsdk_HostShutdown(void)
{
    try {
        Library::shutDownInstance();
    } catch (...) {
        // Out of memory at the end: the process is about to go in any case.
    }
}
