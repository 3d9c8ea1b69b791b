#include "double.h"

#include <QByteArray>

#include <chrono>
#include <cstring>
#include <thread>

namespace {

Double &script()
{
    return Double::instance();
}

QVariant text(const char *value)
{
    return value ? QVariant(QByteArray(value)) : QVariant();
}

QVariant address(const void *pointer)
{
    return QVariant::fromValue(static_cast<qulonglong>(reinterpret_cast<quintptr>(pointer)));
}

void deliver(const QList<RemoteEntry> &entries, bool endWithNull, BtsdkBrowseCallback callback)
{
    for (const RemoteEntry &entry : entries) {
        FTP_FIND_DATA data = entry.record();
        callback(reinterpret_cast<unsigned char *>(&data));
    }
    if (endWithNull)
        callback(nullptr);
}

} // namespace

unsigned int Btsdk_StopDeviceDiscovery(void)
{
    return script().enter("Btsdk_StopDeviceDiscovery", {}).value_or(BTSDK_OK);
}

unsigned int Btsdk_ConnectEx(unsigned int device, unsigned short serviceClass, unsigned int param,
                             unsigned int *connection)
{
    if (const unsigned int result =
            script().enter("Btsdk_ConnectEx", {device, uint(serviceClass), param}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    std::unique_lock<std::mutex> lock(state.mutex);
    if (const int delay = state.connectDelay) {
        lock.unlock();
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
        lock.lock();
    }
    state.connected.insert(device - Double::deviceOffset);
    state.current = "/";
    *connection = state.nextConnection++;
    return BTSDK_OK;
}

unsigned int Btsdk_Disconnect(unsigned int connection)
{
    return script().enter("Btsdk_Disconnect", {connection}).value_or(BTSDK_OK);
}

unsigned int Btsdk_DisconnectShortCut(unsigned int shortcut)
{
    if (const unsigned int result = script().enter("Btsdk_DisconnectShortCut", {shortcut}).value_or(BTSDK_OK))
        return result;
    script().setShortcutConnected(shortcut, false);
    return BTSDK_OK;
}

unsigned int Btsdk_FTPSetRmtDir(unsigned int connection, const char *path)
{
    if (const unsigned int result = script().enter("Btsdk_FTPSetRmtDir", {connection, text(path)}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    if (!state.folders.contains(path))
        return BTSDK_OBEX_BASE + 0xC4;
    state.current = path;
    return BTSDK_OK;
}

unsigned int Btsdk_FTPBrowseFolder(unsigned int connection, const char *name, BtsdkBrowseCallback callback,
                                   unsigned int reserved)
{
    if (const unsigned int result =
            script()
                .enter("Btsdk_FTPBrowseFolder",
                       {connection, text(name), address(reinterpret_cast<const void *>(callback)), reserved})
                .value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    std::unique_lock<std::mutex> lock(state.mutex);
    const QList<RemoteEntry> entries = state.folders.value(state.current);
    const bool endWithNull = state.browseSendsNull;
    const bool ownThread = state.browseOnOwnThread;
    lock.unlock();
    if (ownThread)
        std::thread([&] { deliver(entries, endWithNull, callback); }).join();
    else
        deliver(entries, endWithNull, callback);
    return BTSDK_OK;
}

unsigned int Btsdk_GetAllOutgoingConnections(unsigned int *handles, unsigned int max)
{
    if (const auto result = script().enter("Btsdk_GetAllOutgoingConnections", {max}))
        return *result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    unsigned int count = 0;
    for (const auto &connection : qAsConst(state.outgoing))
        if (count < max)
            handles[count++] = connection.first;
    return count;
}

unsigned int Btsdk_GetConnectionProperty(unsigned int connection, BtSdkConnectionProperty *record)
{
    // What the record held before is noted: callers differ in when they clear it.
    if (const unsigned int result =
            script().enter("Btsdk_GetConnectionProperty", {connection, uint(record->serviceClass)}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    for (const auto &known : qAsConst(state.outgoing))
        if (known.first == connection)
            record->serviceClass = known.second;
    return BTSDK_OK;
}

unsigned int Btsdk_GetShortCutProperty(BtSdkShortCutProperty *record)
{
    const unsigned int shortcut = record->shortcut;
    if (const unsigned int result = script().enter("Btsdk_GetShortCutProperty", {shortcut}).value_or(BTSDK_OK))
        return result;
    record->serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
    record->device = shortcut + Double::deviceOffset;
    std::strcpy(record->name, "Shortcut");
    return BTSDK_OK;
}

unsigned int Btsdk_WritePrivateProfileString(const char *section, const char *key, const char *value, const char *file)
{
    if (const unsigned int result =
            script()
                .enter("Btsdk_WritePrivateProfileString", {text(section), text(key), text(value), text(file)})
                .value_or(BTSDK_OK))
        return result;
    script().setSetting(section, key, value);
    return BTSDK_OK;
}

unsigned int Btsdk_WritePrivateProfileInt(const char *section, const char *key, int value, const char *file)
{
    if (const unsigned int result =
            script()
                .enter("Btsdk_WritePrivateProfileInt", {text(section), text(key), value, text(file)})
                .value_or(BTSDK_OK))
        return result;
    script().setSetting(section, key, QByteArray::number(value));
    return BTSDK_OK;
}
