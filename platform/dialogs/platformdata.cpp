#include "platformdata.h"

#include "vmcommon.h"

#include <QCoreApplication>

namespace platformdata {
namespace {

template <size_t N>
QString textOf(const char (&field)[N])
{
    return QString::fromUtf8(field, static_cast<int>(qstrnlen(field, N)));
}

QString serviceName(quint16 serviceClass)
{
    QString name;
    return VmCm_GetSvcDisplayName(serviceClass, &name) == 0 ? name : QString();
}

Device readDevice(quint32 handle)
{
    Device device;
    BtSdkDeviceInfo info = {};
    if (Btsdk_HostGetDevice(handle, &info) != BTSDK_OK)
        return device;
    device.known = true;
    device.bluetooth = info.kind == BTSDK_DEVICE_BLUETOOTH;
    device.name = textOf(info.name);
    device.address = textOf(info.address);
    if (info.port != 0) {
        const bool ipv6 = device.address.contains(QLatin1Char(':'));
        device.address =
            QString::fromLatin1(ipv6 ? "[%1]:%2" : "%1:%2").arg(device.address, QString::number(info.port));
    }
    return device;
}

QString readPasskey()
{
    char passkey[64] = {};
    return Btsdk_HostGetPasskey(passkey, sizeof passkey) == BTSDK_OK ? textOf(passkey) : QString();
}

} // namespace

Shortcut readShortcut(quint32 handle)
{
    Shortcut shortcut;
    BtSdkShortcutInfo info = {};
    if (Btsdk_HostGetShortcut(handle, &info) != BTSDK_OK)
        return shortcut;
    shortcut.known = true;
    shortcut.device = readDevice(info.device);
    shortcut.service = serviceName(info.serviceClass);
    if (shortcut.service.isEmpty())
        shortcut.service = textOf(info.name);
    shortcut.state = info.state;
    shortcut.lastResult = info.lastResult;
    shortcut.connectedSince = info.connectedSince;
    shortcut.bytesReceived = info.bytesReceived;
    shortcut.bytesSent = info.bytesSent;
    return shortcut;
}

Server readServer(quint32 handle)
{
    Server server;
    BtSdkServerInfo info = {};
    if (Btsdk_HostGetServer(handle, &info) != BTSDK_OK)
        return server;
    server.known = true;
    server.service = serviceName(info.serviceClass);
    server.status = info.status;
    server.writable = info.access == BTSDK_ACCESS_WRITABLE;
    server.secure = (info.security & BTSDK_SECURE_CONNECTION) != 0;
    server.clients = info.clients;
    server.startedSince = info.startedSince;
    server.bytesReceived = info.bytesReceived;
    server.bytesSent = info.bytesSent;
    server.folder = textOf(info.folder);
    server.listening = textOf(info.listening);
    server.client = textOf(info.client);
    if (server.secure)
        server.passkey = readPasskey();
    return server;
}

QString resultText(quint32 result)
{
    // The library's sentences are English; translators find them under its name.
    const QString text = QCoreApplication::translate("Btsdk", Btsdk_HostResultText(result));
    const QString advice = QCoreApplication::translate("Btsdk", Btsdk_HostResultAdvice(result));
    return advice.isEmpty() ? text : QStringLiteral("%1 %2").arg(text, advice);
}

} // namespace platformdata
