#include "double.h"

#include <cstring>

namespace {

Double &script()
{
    return Double::instance();
}

QVariant text(const char *value)
{
    return value ? QVariant(QByteArray(value)) : QVariant();
}

} // namespace

unsigned int Btsdk_RegisterFTPService(unsigned short access, const char *folder)
{
    return script()
        .enter("Btsdk_RegisterFTPService", {uint(access), text(folder)})
        .value_or(static_cast<unsigned int>(Double::serverHandle));
}

unsigned int Btsdk_FTPRegisterDealReceiveFileCB(BtsdkReceiveFileCallback callback)
{
    if (const unsigned int result =
            script().enter("Btsdk_FTPRegisterDealReceiveFileCB", {callback != nullptr}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    state.receiveCallback = callback;
    return BTSDK_OK;
}

unsigned int Btsdk_StartServer(unsigned int server)
{
    if (const unsigned int result = script().enter("Btsdk_StartServer", {server}).value_or(BTSDK_OK))
        return result;
    script().setServerStatus(BTSDK_SERVER_STARTED);
    return BTSDK_OK;
}

unsigned int Btsdk_StopServer(unsigned int server)
{
    if (const unsigned int result = script().enter("Btsdk_StopServer", {server}).value_or(BTSDK_OK))
        return result;
    script().setServerStatus(BTSDK_SERVER_STOPPED);
    return BTSDK_OK;
}

unsigned int Btsdk_GetServerStatus(unsigned int server, unsigned short *status)
{
    // What the variable held before is noted: callers promise to have cleared it.
    if (const unsigned int result = script().enter("Btsdk_GetServerStatus", {server, uint(*status)}).value_or(BTSDK_OK))
        return result;
    *status = script().serverStatus();
    return BTSDK_OK;
}

unsigned int Btsdk_GetServerAttributes(unsigned int server, BtSdkServerAttributes *record)
{
    if (const unsigned int result =
            script().enter("Btsdk_GetServerAttributes", {server, uint(record->mask)}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    record->serviceClass = state.serviceClass;
    if (record->mask & BTSDK_ATTRIBUTE_SECURITY)
        record->security = state.security;
    return BTSDK_OK;
}

unsigned int Btsdk_UpdateServerAttributes(unsigned int server, BtSdkServerAttributes *record)
{
    Double::Update update;
    update.mask = record->mask;
    update.security = record->security;
    if (const BtSdkFtpServerParameters *parameters = record->application) {
        update.hasParameters = true;
        update.size = parameters->size;
        update.field = parameters->mask;
        update.access = parameters->access;
        update.folder = QByteArray(parameters->folder, static_cast<int>(strnlen(parameters->folder, 256)));
    }
    Double::State &state = script().state();
    {
        const std::lock_guard<std::mutex> lock(state.mutex);
        state.updates.append(update);
    }
    return script()
        .enter("Btsdk_UpdateServerAttributes", {server, uint(update.mask), uint(update.security)})
        .value_or(BTSDK_OK);
}

unsigned char Btsdk_IsBluetoothReady(void)
{
    if (const auto result = script().enter("Btsdk_IsBluetoothReady", {}))
        return static_cast<unsigned char>(*result);
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    return state.ready ? 1 : 0;
}

unsigned int Btsdk_GetLocalName(unsigned char *name, unsigned short *length)
{
    if (const unsigned int result = script().enter("Btsdk_GetLocalName", {uint(*length)}).value_or(BTSDK_OK))
        return result;
    Double::State &state = script().state();
    const std::lock_guard<std::mutex> lock(state.mutex);
    const QByteArray bytes = state.localName.left(*length - 1);
    std::memcpy(name, bytes.constData(), static_cast<size_t>(bytes.size()) + 1);
    *length = static_cast<unsigned short>(bytes.size());
    return BTSDK_OK;
}
