#ifndef SETTINGS_SETTINGSFILE_H
#define SETTINGS_SETTINGSFILE_H

#include "settings/document.h"

#include <functional>
#include <string>

namespace settings {

/** How a write ended. Unless it is Done the file is as it was. */
enum class Outcome {
    Done,
    Refused, /**< the name or value cannot be written so that it is read back alike */
    Full,    /**< no space left */
    Failed   /**< the file cannot be read, locked or written */
};

/**
 * A settings file on disk.
 *
 * Every read looks at the file, so a change by another process is seen at once. Writes are guarded by a lock file
 * beside it (the settings file's name with ".lock" appended), go to a temporary file (".new" appended), are synced and
 * renamed: readers see the old or the new file, never half of one. May be used by several threads and processes at
 * once.
 */
class SettingsFile
{
public:
    /** @param path  a symbolic link is followed, and stays one */
    explicit SettingsFile(std::string path);

    /** Reads the file; a missing one is an empty document. @return false when it cannot be read or understood */
    bool read(Document &document) const;

    /** The value of a key, or fallback when the file, the section or the key is missing. */
    std::string value(const std::string &section, const std::string &key, const std::string &fallback = {}) const;

    /** The decimal integer of a key; fallback when it is missing, is none or does not fit. */
    int intValue(const std::string &section, const std::string &key, int fallback) const;

    /** Writes one key. Waits up to 5 s for another process's write. */
    Outcome write(const std::string &section, const std::string &key, const std::string &value);

    /** Reads, has the change made and writes, under the lock. @param change returns false to refuse */
    Outcome update(const std::function<bool(Document &)> &change);

private:
    std::string m_path;
};

/** The decimal integer that text is, blanks around it allowed; fallback when it is none. */
int toInt(const std::string &text, int fallback);

} // namespace settings

#endif
