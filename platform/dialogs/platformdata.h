#ifndef DIALOGS_PLATFORMDATA_H
#define DIALOGS_PLATFORMDATA_H

#include "btsdk_host.h"

#include <QString>

/** What the dialogs show, read from the SDK and the common library in one go. */
namespace platformdata {

struct Device
{
    bool known = false;
    bool bluetooth = false;
    QString name;
    QString address; ///< with the port of a network device
};

struct Shortcut
{
    bool known = false; ///< false: the handle names no shortcut (any more), and nothing else is filled
    Device device;
    QString service;
    quint32 state = BTSDK_SHORTCUT_IDLE;
    quint32 lastResult = BTSDK_OK;
    qint64 connectedSince = 0; ///< milliseconds since 1970-01-01 UTC
    quint64 bytesReceived = 0;
    quint64 bytesSent = 0;
};

struct Server
{
    bool known = false; ///< as above
    QString service;
    quint16 status = BTSDK_SERVER_STOPPED;
    bool writable = false;
    bool secure = false;
    quint32 clients = 0;
    qint64 startedSince = 0; ///< milliseconds since 1970-01-01 UTC
    quint64 bytesReceived = 0;
    quint64 bytesSent = 0;
    QString folder;
    QString listening;
    QString client;
    QString passkey; ///< while secure
};

Shortcut readShortcut(quint32 handle);
Server readServer(quint32 handle);

/** What a result means and what to do about it, in the user's language. */
QString resultText(quint32 result);

} // namespace platformdata

#endif
