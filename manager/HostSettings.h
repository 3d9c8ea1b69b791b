#ifndef MANAGER_HOSTSETTINGS_H
#define MANAGER_HOSTSETTINGS_H

#include <QByteArray>
#include <QString>

namespace manager {

/** The host's settings file, through the platform libraries alone. */
namespace settings {

QString read(const char *section, const char *key, const QString &fallback = {});
/** @return a BtsdkResult */
unsigned int write(const char *section, const char *key, const QString &value);

/** Gives the folders that a first start needs a value that exists on this computer; set ones are left as they are. */
void setMissingFolders();

/** Whether the user left the local service started. */
bool serverWanted();

QByteArray windowGeometry();
void setWindowGeometry(const QByteArray &geometry);

} // namespace settings

} // namespace manager

#endif
