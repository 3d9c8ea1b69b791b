#include "vmcommon.h"

#include "btsdk_host.h"
#include "settings/location.h"
#include "settings/settingsfile.h"
#include "settings/utf8.h"

#include <QString>

#include <string>

namespace {

constexpr int success = 0;
constexpr int failure = -1;

/** What people read about a service class. */
struct ServiceTexts
{
    unsigned short serviceClass;
    const char *name;
    const char *description;
};

constexpr ServiceTexts services[] = {
    {BTSDK_CLS_OBEX_FILE_TRANS, "Bluetooth File Transfer",
     "Allow other Bluetooth devices to browse and access files or folders on this computer."},
};

const ServiceTexts *find(unsigned short serviceClass)
{
    for (const ServiceTexts &service : services) {
        if (service.serviceClass == serviceClass)
            return &service;
    }
    return nullptr;
}

// Half a path is another path: one that does not fit is not given at all.
int giveWhole(const std::string &text, char *buffer, int size)
{
    if (!buffer || size <= 0)
        return failure;
    const bool fits = text.size() < static_cast<std::size_t>(size);
    settings::copyUtf8(buffer, static_cast<std::size_t>(size), fits ? text : std::string());
    return fits ? success : failure;
}

int giveText(const ServiceTexts *service, const char *ServiceTexts::*text, QString *target)
{
    if (!target)
        return failure;
    *target = service ? QString::fromUtf8(service->*text) : QString();
    return service ? success : failure;
}

std::string readSetting(const char *section, const char *key, const char *fallback, const char *file)
{
    if (!section || !key || !file)
        return fallback ? fallback : "";
    return settings::SettingsFile(file).value(section, key, fallback ? fallback : "");
}

// Nothing is thrown across the library's boundary; what can be thrown is a shortage of memory.
template <class Result, class Body>
Result guarded(Result onException, Body body) noexcept
{
    try {
        return body();
    } catch (...) {
        return onException;
    }
}

} // namespace

int VmCm_GetCommonSettingFilePath(char *buffer, int size)
{
    return guarded(failure, [&] { return giveWhole(settings::defaultPath(), buffer, size); });
}

int VmCm_GetWorkingDir(char *buffer, int size)
{
    return guarded(failure, [&] { return giveWhole(settings::dataFolder(), buffer, size); });
}

int VmCm_GetSvcDisplayName(unsigned short serviceClass, QString *name)
{
    return guarded(failure, [&] { return giveText(find(serviceClass), &ServiceTexts::name, name); });
}

int VmCm_GetLocSvcDesc(unsigned short serviceClass, QString *description)
{
    return guarded(failure, [&] { return giveText(find(serviceClass), &ServiceTexts::description, description); });
}

int VmCm_IsShortcutConnected(unsigned int shortcut)
{
    return Btsdk_HostIsShortcutConnected(shortcut);
}

unsigned int GetPrivateProfileString(const char *section, const char *key, const char *defaultValue, char *buffer,
                                     unsigned int size, const char *file)
{
    return guarded(0u, [&] {
        return static_cast<unsigned int>(
            settings::copyUtf8(buffer, size, readSetting(section, key, defaultValue, file)));
    });
}

int GetPrivateProfileInt(const char *section, const char *key, int defaultValue, const char *file)
{
    return guarded(defaultValue,
                   [&] { return settings::toInt(readSetting(section, key, nullptr, file), defaultValue); });
}
