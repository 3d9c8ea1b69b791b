/**
 * @file
 * The host's common library, libVmCommon.so.1: settings, names of services, state of shortcuts.
 *
 * Out-buffers are given with their size in bytes and are always NUL-terminated UTF-8. Functions that return int answer
 * 0 for success and non-zero for a failure unless they say otherwise; a null or empty buffer is one. Nothing throws.
 * Every function may be called from any thread.
 */
#ifndef VMCOMMON_H
#define VMCOMMON_H

#define VMCM_EXPORT __attribute__((visibility("default")))

class QString;

extern "C" {

/** The host's settings file: $VELMARO_SETTINGS, else velmaro/settings.ini in $XDG_CONFIG_HOME or ~/.config.
 *  @return non-zero when it does not fit, since half a path is another one; the buffer is then empty */
VMCM_EXPORT int VmCm_GetCommonSettingFilePath(char *buffer, int size);

/** The folder that holds the host's own data files: velmaro in $XDG_DATA_HOME or ~/.local/share; it need not be there.
 *  @return as above */
VMCM_EXPORT int VmCm_GetWorkingDir(char *buffer, int size);

/** The display name of a service class, "Bluetooth File Transfer" for 4358.
 *  @return non-zero for a class that is not known, with an empty text, and for null */
VMCM_EXPORT int VmCm_GetSvcDisplayName(unsigned short serviceClass, QString *name);

/** What the local service of a class does, in a sentence. @return as above */
VMCM_EXPORT int VmCm_GetLocSvcDesc(unsigned short serviceClass, QString *description);

/** @return non-zero while the shortcut has an open connection; 0 as soon as the link is known to be gone */
VMCM_EXPORT int VmCm_IsShortcutConnected(unsigned int shortcut);

/**
 * Reads a key of a settings file; section and key without regard to case.
 * @param defaultValue  what a missing file, section or key gives, and a null among the arguments; null: an empty text
 * @param buffer        receives the value, cut at a character boundary where it does not fit
 * @param size          of the buffer, in bytes
 * @return the bytes copied, without the NUL
 */
VMCM_EXPORT unsigned int GetPrivateProfileString(const char *section, const char *key, const char *defaultValue,
                                                 char *buffer, unsigned int size, const char *file);

/** Reads a decimal integer as GetPrivateProfileString reads a text; one that is none, or does not fit, gives the
 *  default. */
VMCM_EXPORT int GetPrivateProfileInt(const char *section, const char *key, int defaultValue, const char *file);
}

#endif
