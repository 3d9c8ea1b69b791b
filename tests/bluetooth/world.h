#ifndef TESTS_WORLD_H
#define TESTS_WORLD_H

#include "btsdk_host.h"

#include <QString>
#include <QStringList>

/** The virtual machine that the tests run in. */
namespace world {

/** Addresses of this end and of the other. */
QString ours();
QString theirs();

/** Runs a command of the guest's scripts on this computer or on the other one. @return its exit code, -1 when it did
 *  not end in time */
int run(const QStringList &command, QByteArray *output = nullptr);
int runThere(const QStringList &command, QByteArray *output = nullptr);

/** guest/bluez.py with arguments. */
int bluez(const QStringList &arguments, QByteArray *output = nullptr);
int bluezThere(const QStringList &arguments, QByteArray *output = nullptr);

/** The handle of the other end as our adapter knows it; 0 while it does not. */
unsigned int theirDevice(BtSdkDeviceInfo *record = nullptr);

/** The file transfer shortcut of the other end, 0 without one. */
unsigned int theirShortcut();

/** How the open Bluetooth sockets of this process move data: "rfcomm", "l2cap", or "" without one that is connected. */
QByteArray link();

/** Writes a key of the settings that this process uses. */
void set(const char *section, const char *key, const char *value);

} // namespace world

#endif
