#include "fakesdk.h"

#include "vmcommon.h"

#include <QString>

FakeSdk fakeSdk;

void FakeSdk::reset()
{
    *this = FakeSdk();
    device.device = 1;
    device.kind = BTSDK_DEVICE_NETWORK;
    device.port = 6502;
    setText(device.name, "Demo device");
    setText(device.address, "127.0.0.1");
    shortcut.shortcut = 2;
    shortcut.device = 1;
    shortcut.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    setText(shortcut.name, "File transfer on Demo device");
    server.server = 3;
    server.serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    server.status = BTSDK_SERVER_STOPPED;
    server.access = BTSDK_ACCESS_WRITABLE;
    setText(server.folder, "/home/ada/Shared");
}

unsigned int Btsdk_HostGetDevice(unsigned int device, BtSdkDeviceInfo *record)
{
    if (device == 0 || device != fakeSdk.device.device)
        return BTSDK_ER_INVALID_HANDLE;
    *record = fakeSdk.device;
    return BTSDK_OK;
}

unsigned int Btsdk_HostGetShortcut(unsigned int shortcut, BtSdkShortcutInfo *record)
{
    ++fakeSdk.shortcutReads;
    if (shortcut == 0 || shortcut != fakeSdk.shortcut.shortcut)
        return BTSDK_ER_INVALID_HANDLE;
    *record = fakeSdk.shortcut;
    return BTSDK_OK;
}

unsigned int Btsdk_HostGetServer(unsigned int server, BtSdkServerInfo *record)
{
    ++fakeSdk.serverReads;
    if (server == 0 || server != fakeSdk.server.server)
        return BTSDK_ER_INVALID_HANDLE;
    *record = fakeSdk.server;
    return BTSDK_OK;
}

unsigned int Btsdk_HostGetPasskey(char *buffer, unsigned int size)
{
    if (fakeSdk.passkey.isEmpty())
        return BTSDK_ER_SETTINGS;
    qstrncpy(buffer, fakeSdk.passkey.constData(), size);
    return BTSDK_OK;
}

const char *Btsdk_HostResultText(unsigned int result)
{
    return result == BTSDK_ER_TIMED_OUT ? "The device did not answer." : "The transfer failed.";
}

const char *Btsdk_HostResultAdvice(unsigned int result)
{
    return result == BTSDK_ER_TIMED_OUT ? "Check that it is switched on and near." : "";
}

int VmCm_GetSvcDisplayName(unsigned short serviceClass, QString *name)
{
    if (serviceClass != BTSDK_CLS_OBEX_FILE_TRANS) {
        name->clear();
        return 1;
    }
    *name = QStringLiteral("Bluetooth File Transfer");
    return 0;
}
