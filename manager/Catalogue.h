#ifndef MANAGER_CATALOGUE_H
#define MANAGER_CATALOGUE_H

#include "DeviceInput.h"
#include "btsdk_host.h"

#include <vector>

namespace manager {

/** What the SDK knows at one moment. */
struct Catalogue
{
    std::vector<BtSdkDeviceInfo> devices;
    std::vector<BtSdkShortcutInfo> shortcuts;
    std::vector<BtSdkServerInfo> servers;

    static Catalogue read();

    std::vector<const BtSdkShortcutInfo *> shortcutsOf(unsigned int device) const;
    QVector<KnownDevice> knownDevices() const;
};

/** Whether a shortcut is connected or connecting; one that is gone is neither. */
bool isInUse(unsigned int shortcut);

/** The service class of a shortcut, that of file transfer when it is gone. */
unsigned short serviceClassOf(unsigned int shortcut);

QString deviceName(unsigned int device);
/** The name of the device that a shortcut belongs to. */
QString deviceNameOfShortcut(unsigned int shortcut);

/** Texts for the column beside a name. */
QString stateText(const BtSdkDeviceInfo &device);
QString stateText(const BtSdkShortcutInfo &shortcut);
QString stateText(const BtSdkServerInfo &server);

/** Why Bluetooth cannot be used, in one line; empty while it can, or nothing is known yet.
 *  @param state  BtsdkBluetoothState */
QString bluetoothText(unsigned int state);

/** Result and advice, for people. */
QString resultSentence(unsigned int result);

} // namespace manager

#endif
