/**
 * @file
 * The host's common library, libVmCommon.so.1: settings, names of services, state of shortcuts.
 *
 * Out-buffers are given with their size in bytes and are always NUL-terminated UTF-8; what does not fit is cut at a
 * character boundary. Every function may be called from any thread.
 */
#ifndef VMCOMMON_H
#define VMCOMMON_H

#define VMCM_EXPORT __attribute__((visibility("default")))

class QString;

extern "C" {

/** The host's settings file: $VELMARO_SETTINGS, else velmaro/settings.ini in $XDG_CONFIG_HOME or ~/.config.
 *  @return 0, or non-zero when it does not fit (the buffer is then empty) */
VMCM_EXPORT int VmCm_GetCommonSettingFilePath(char *buffer, int size);

/** The folder that holds the host's own data files. @return as above */
VMCM_EXPORT int VmCm_GetWorkingDir(char *buffer, int size);

/** The display name of a service class, "Bluetooth File Transfer" for 4358. @return 0; non-zero and an empty text for
 *  a class that is not known */
VMCM_EXPORT int VmCm_GetSvcDisplayName(unsigned short serviceClass, QString *name);

/** What the local service of a class does, in a sentence. @return as above */
VMCM_EXPORT int VmCm_GetLocSvcDesc(unsigned short serviceClass, QString *description);

/** @return non-zero while the shortcut has an open connection */
VMCM_EXPORT int VmCm_IsShortcutConnected(unsigned int shortcut);

/** Reads a key; section and key without regard to case. A missing file or key, or a null argument, gives the default.
 *  @return the bytes copied, without the NUL */
VMCM_EXPORT unsigned int GetPrivateProfileString(const char *section, const char *key, const char *defaultValue,
                                                 char *buffer, unsigned int size, const char *file);

/** Reads a decimal integer; text that is none gives the default. */
VMCM_EXPORT int GetPrivateProfileInt(const char *section, const char *key, int defaultValue, const char *file);
}

#endif
