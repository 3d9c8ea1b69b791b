#include "Catalogue.h"

#include "PlainText.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QLocale>

namespace manager {

namespace {

QString tr(const char *source)
{
    return QCoreApplication::translate("Catalogue", source);
}

/** Asks again with more room when there are more than fit, as they may grow between two calls. */
template <typename Record, typename List>
std::vector<Record> readAll(List list)
{
    std::vector<Record> records(16);
    for (;;) {
        const unsigned int count = list(records.data(), static_cast<unsigned int>(records.size()));
        const bool complete = count <= records.size();
        records.resize(count);
        if (complete)
            return records;
    }
}

QString clock(qint64 milliseconds)
{
    return QLocale().toString(QDateTime::fromMSecsSinceEpoch(milliseconds).time(), QLocale::ShortFormat);
}

/** As the dialogs say it: "512 B", "12.3 MB", 1024-based and up to GB. */
QString amount(quint64 bytes)
{
    if (bytes < 1024)
        return tr("%1 B").arg(bytes);
    static const char *const units[] = {QT_TRANSLATE_NOOP("Catalogue", "%1 KB"),
                                        QT_TRANSLATE_NOOP("Catalogue", "%1 MB"),
                                        QT_TRANSLATE_NOOP("Catalogue", "%1 GB")};
    double value = static_cast<double>(bytes) / 1024;
    size_t unit = 0;
    // 1023.95 is where one decimal would round up to "1024.0".
    for (; value >= 1023.95 && unit < 2; ++unit)
        value /= 1024;
    return tr(units[unit]).arg(QLocale().toString(value, 'f', 1));
}

} // namespace

Catalogue Catalogue::read()
{
    return {readAll<BtSdkDeviceInfo>(&Btsdk_HostListDevices),
            readAll<BtSdkShortcutInfo>(
                [](BtSdkShortcutInfo *records, unsigned int max) { return Btsdk_HostListShortcuts(0, records, max); }),
            readAll<BtSdkServerInfo>(&Btsdk_HostListServers)};
}

std::vector<const BtSdkShortcutInfo *> Catalogue::shortcutsOf(unsigned int device) const
{
    std::vector<const BtSdkShortcutInfo *> found;
    for (const BtSdkShortcutInfo &shortcut : shortcuts) {
        if (shortcut.device == device)
            found.push_back(&shortcut);
    }
    return found;
}

QVector<KnownDevice> Catalogue::knownDevices() const
{
    QVector<KnownDevice> known;
    for (const BtSdkDeviceInfo &device : devices) {
        if (device.kind == BTSDK_DEVICE_NETWORK)
            known << KnownDevice{QString::fromUtf8(device.name), QString::fromUtf8(device.address), device.port};
    }
    return known;
}

bool isInUse(unsigned int shortcut)
{
    BtSdkShortcutInfo info{};
    return Btsdk_HostGetShortcut(shortcut, &info) == BTSDK_OK && info.state != BTSDK_SHORTCUT_IDLE;
}

unsigned short serviceClassOf(unsigned int shortcut)
{
    BtSdkShortcutInfo info{};
    return Btsdk_HostGetShortcut(shortcut, &info) == BTSDK_OK ? info.serviceClass
                                                              : static_cast<unsigned short>(BTSDK_CLS_OBEX_FILE_TRANS);
}

QString deviceName(unsigned int device)
{
    BtSdkDeviceInfo info{};
    return Btsdk_HostGetDevice(device, &info) == BTSDK_OK ? shownName(QString::fromUtf8(info.name)) : tr("the device");
}

QString deviceNameOfShortcut(unsigned int shortcut)
{
    BtSdkShortcutInfo info{};
    return Btsdk_HostGetShortcut(shortcut, &info) == BTSDK_OK ? deviceName(info.device) : tr("the device");
}

QString stateText(const BtSdkDeviceInfo &device)
{
    const QString address = QString::fromUtf8(device.address);
    if (!device.reachable)
        return device.kind == BTSDK_DEVICE_BLUETOOTH ? tr("Bluetooth, %1, the adapter is off").arg(address)
                                                     : tr("%1, cannot be reached now").arg(address);
    if (device.kind == BTSDK_DEVICE_NETWORK)
        return tr("Network, %1 port %2").arg(address, QString::number(device.port)); // "fe80::1%1" is an address
    return device.paired ? tr("Bluetooth, %1").arg(address)
                         : tr("Bluetooth, %1, not paired: pair it in your desktop's Bluetooth settings").arg(address);
}

QString stateText(const BtSdkShortcutInfo &shortcut)
{
    if (shortcut.state == BTSDK_SHORTCUT_CONNECTING)
        return tr("Connecting...");
    if (shortcut.state == BTSDK_SHORTCUT_CONNECTED)
        return tr("Connected since %1").arg(clock(shortcut.connectedSince));
    if (shortcut.lastResult != BTSDK_OK && shortcut.lastResult != BTSDK_ER_CANCELLED)
        return tr("Not connected. %1").arg(QString::fromUtf8(Btsdk_HostResultText(shortcut.lastResult)));
    return tr("Not connected");
}

QString stateText(const BtSdkServerInfo &server)
{
    if (server.status == BTSDK_SERVER_STOPPED)
        return tr("Stopped");
    QString text = tr("Started, listening at %1").arg(QString::fromUtf8(server.listening));
    if (server.status == BTSDK_SERVER_CONNECTED) {
        text = server.clients > 1 ? tr("%1 devices are connected").arg(server.clients)
                                  : tr("%1 is connected").arg(shownName(QString::fromUtf8(server.client)));
        text += tr(" (received %1, sent %2)").arg(amount(server.bytesReceived), amount(server.bytesSent));
    }
    char passkey[16] = "";
    if (server.security != 0 && Btsdk_HostGetPasskey(passkey, sizeof passkey) == BTSDK_OK)
        text += tr(", passkey %1").arg(QString::fromUtf8(passkey));
    return text;
}

QString bluetoothText(unsigned int state)
{
    switch (state) {
    case BTSDK_BLUETOOTH_NO_BUS:
    case BTSDK_BLUETOOTH_NO_SERVICE:
        return tr("Bluetooth is not available: its service does not run.");
    case BTSDK_BLUETOOTH_NO_ADAPTER:
        return tr("Bluetooth is not available: this computer has no adapter.");
    case BTSDK_BLUETOOTH_OFF:
        return tr("Bluetooth is switched off.");
    default:
        return {};
    }
}

QString resultSentence(unsigned int result)
{
    const QString text = QString::fromUtf8(Btsdk_HostResultText(result));
    const QString advice = QString::fromUtf8(Btsdk_HostResultAdvice(result));
    return advice.isEmpty() ? text : text + u' ' + advice;
}

} // namespace manager
