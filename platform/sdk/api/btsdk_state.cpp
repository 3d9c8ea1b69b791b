#include "api/guard.h"
#include "settings/utf8.h"

#include <cstring>
#include <unistd.h>

using api::guarded;
using api::Library;

unsigned char Btsdk_IsBluetoothReady(void)
{
    return guarded<unsigned char>(
        0, [](Library &library) { return static_cast<unsigned char>(library.catalogue().ready() ? 1 : 0); });
}

unsigned int Btsdk_GetLocalName(unsigned char *name, unsigned short *length)
{
    if (!name || !length || *length == 0)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        std::string own = library.bluez().localName();
        char host[256] = "";
        if (own.empty() && ::gethostname(host, sizeof host - 1) != 0)
            return BTSDK_ER_INTERNAL;
        if (own.empty())
            own = host;
        const std::size_t bytes = settings::copyUtf8(reinterpret_cast<char *>(name), *length, own);
        *length = static_cast<unsigned short>(bytes);
        return BTSDK_OK;
    });
}

unsigned int Btsdk_GetAllOutgoingConnections(unsigned int *handles, unsigned int max)
{
    if (!handles)
        return 0;
    return guarded<unsigned int>(0, [&](Library &library) {
        unsigned int count = 0;
        for (const std::shared_ptr<api::Connection> &connection : library.connections().all()) {
            if (count < max)
                handles[count++] = connection->handle();
        }
        return count;
    });
}

unsigned int Btsdk_GetConnectionProperty(unsigned int connection, struct BtSdkConnectionProperty *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        const std::shared_ptr<api::Connection> found = library.connections().find(connection);
        if (!found)
            return api::Connections::missing(connection);
        std::memset(record, 0, sizeof *record);
        record->device = found->device().device;
        record->shortcut = found->device().shortcut;
        record->serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
        record->received = found->session().bytesReceived();
        return BTSDK_OK;
    });
}

unsigned int Btsdk_GetShortCutProperty(struct BtSdkShortCutProperty *record)
{
    if (!record)
        return BTSDK_ER_INVALID_PARAMETER;
    return guarded([&](Library &library) -> unsigned int {
        const std::uint32_t shortcut = record->shortcut;
        const std::optional<devices::Known> known = library.catalogue().findShortcut(shortcut);
        if (!known)
            return BTSDK_ER_INVALID_HANDLE;
        std::memset(record, 0, sizeof *record);
        record->shortcut = shortcut;
        record->serviceClass = BTSDK_CLS_OBEX_FILE_TRANS;
        record->device = known->device;
        settings::copyUtf8(record->name, sizeof record->name, known->shortcutName());
        return BTSDK_OK;
    });
}
