#ifndef SETTINGS_LOCATION_H
#define SETTINGS_LOCATION_H

#include <string>

namespace settings {

/** The host's settings file: $VELMARO_SETTINGS, else velmaro/settings.ini in $XDG_CONFIG_HOME or ~/.config. */
std::string defaultPath();

/** The folder of the host's own data files: velmaro in $XDG_DATA_HOME or ~/.local/share. */
std::string dataFolder();

} // namespace settings

#endif
