#ifndef ROWTEXTS_H
#define ROWTEXTS_H

#include <QString>

/** The texts of a row, the same in both panes. Pure functions; any thread, but for the translations. */
namespace rowtexts {

/** "1023 B", "1.0 KB", "1024.0 KB", "1.0 MB" ...: 1024-based, each unit up to and including 1024 of its own. */
QString size(quint32 bytes);

/** What follows the last dot of a file's name; empty when there is none. */
QString fileType(const QString &name);

/** The word that stands for a folder in the type column. */
QString folderType();

/** The tool tip of a row. Names are shown as they are: text that Qt would take for rich text is escaped. */
QString toolTip(const QString &name, const QString &size, const QString &type, const QString &modified);

} // namespace rowtexts

#endif
