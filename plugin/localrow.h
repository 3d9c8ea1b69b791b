#ifndef LOCALROW_H
#define LOCALROW_H

#include <QFileInfo>
#include <QTreeWidgetItem>

class QIcon;

/** Rows and paths of the local pane. */
namespace localrow {

/**
 * A row for an entry of a local folder, all columns filled, not yet in a tree. What is neither a file nor a folder
 * gets a name, a time and a tool tip alone. Size and time are read from the disk when they are first asked for.
 */
QTreeWidgetItem *create(const QFileInfo &entry, const QIcon &folderIcon, const QIcon &fileIcon);

/** Whether a row shows a folder: told by the mark that create() sets, not by a look at the disk. */
bool isFolder(const QTreeWidgetItem &row);

/** The folder with exactly one "/" behind it, to put a name after. */
QString withSlash(const QString &folder);

} // namespace localrow

#endif
