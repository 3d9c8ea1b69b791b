#include "settings/location.h"

#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace settings {

namespace {

std::string environment(const char *name)
{
    const char *value = std::getenv(name);
    return value ? value : "";
}

std::string home()
{
    const std::string value = environment("HOME");
    if (!value.empty())
        return value;
    const passwd *entry = getpwuid(getuid());
    return entry && entry->pw_dir ? entry->pw_dir : "/";
}

// Relative values are ignored, as every program of the desktop does.
std::string baseFolder(const char *variable, const char *fallback)
{
    const std::string value = environment(variable);
    return !value.empty() && value.front() == '/' ? value : home() + fallback;
}

} // namespace

std::string defaultPath()
{
    const std::string named = environment("VELMARO_SETTINGS");
    return !named.empty() ? named : baseFolder("XDG_CONFIG_HOME", "/.config") + "/velmaro/settings.ini";
}

std::string dataFolder()
{
    return baseFolder("XDG_DATA_HOME", "/.local/share") + "/velmaro";
}

} // namespace settings
