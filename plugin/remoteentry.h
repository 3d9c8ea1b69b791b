#ifndef REMOTEENTRY_H
#define REMOTEENTRY_H

#include "btsdk.h"

#include <QString>

/** What the remote pane shows of a directory entry. The records come from a stranger: texts need not be terminated. */
namespace remoteentry {

QString name(const FTP_FIND_DATA &entry);

bool isFolder(const FTP_FIND_DATA &entry);

/** Empty for a folder. */
QString size(const FTP_FIND_DATA &entry);

/** "Folder", or the suffix of the file's name. */
QString type(const FTP_FIND_DATA &entry);

/** "yyyy-MM-dd hh:mm" in the process's time zone; empty when the record gives no valid time. */
QString modified(const FTP_FIND_DATA &entry);

QString toolTip(const FTP_FIND_DATA &entry);

} // namespace remoteentry

#endif
