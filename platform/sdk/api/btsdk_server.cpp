#include "api/guard.h"

using api::guarded;
using api::Library;

unsigned int Btsdk_RegisterFTPService(unsigned short access, const char *folder)
{
    if (!folder)
        return 0;
    return guarded<unsigned int>(0, [&](Library &library) { return library.server().registerService(access, folder); });
}

unsigned int Btsdk_FTPRegisterDealReceiveFileCB(BtsdkReceiveFileCallback callback)
{
    return api::guardedSetter(callback,
                              [&](Library &library) { return library.server().setReceiveCallback(callback); });
}

unsigned int Btsdk_StartServer(unsigned int server)
{
    return guarded([&](Library &library) { return library.server().start(server); });
}

unsigned int Btsdk_StopServer(unsigned int server)
{
    return guarded([&](Library &library) { return library.server().stop(server); });
}

unsigned int Btsdk_GetServerStatus(unsigned int server, unsigned short *status)
{
    if (!status)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) { return library.server().status(server, status); });
}

unsigned int Btsdk_GetServerAttributes(unsigned int server, struct BtSdkServerAttributes *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) { return library.server().attributes(server, *record); });
}

unsigned int Btsdk_UpdateServerAttributes(unsigned int server, struct BtSdkServerAttributes *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) { return library.server().update(server, *record); });
}
