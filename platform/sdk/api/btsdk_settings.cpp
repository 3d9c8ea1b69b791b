#include "api/guard.h"
#include "api/results.h"
#include "settings/settingsfile.h"

#include <cstdio>

// These work without the library's threads: they are called before and after everything else.

namespace {

unsigned int write(const char *section, const char *key, const char *value, const char *file) noexcept
{
    try {
        if (!api::isGiven(section) || !api::isGiven(key) || !value || !api::isGiven(file))
            return BTSDK_ER_INVALID_PARAMETER;
        return api::resultOf(settings::SettingsFile(file).write(section, key, value));
    } catch (...) {
        return BTSDK_ER_INTERNAL;
    }
}

} // namespace

unsigned int Btsdk_WritePrivateProfileString(const char *section, const char *key, const char *value, const char *file)
{
    return write(section, key, value, file);
}

unsigned int Btsdk_WritePrivateProfileInt(const char *section, const char *key, int value, const char *file)
{
    char text[16];
    (void)std::snprintf(text, sizeof text, "%d", value); // 11 characters at the most
    return write(section, key, text, file);
}
