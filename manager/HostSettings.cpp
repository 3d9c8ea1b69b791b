#include "HostSettings.h"

#include "btsdk.h"
#include "vmcommon.h"

#include <QDir>
#include <QStandardPaths>

namespace manager::settings {

namespace {

constexpr int pathSize = 4096;
constexpr int valueSize = 4096;
constexpr int folderLimit = 255; // bytes that a profile reads of a folder

QByteArray file()
{
    char path[pathSize] = "";
    return VmCm_GetCommonSettingFilePath(path, pathSize) == 0 ? QByteArray(path) : QByteArray();
}

void setFolderIfMissing(const char *section, const char *key, const QString &folder)
{
    if (!read(section, key).isEmpty() || folder.toUtf8().size() > folderLimit || !QDir().mkpath(folder))
        return;
    (void)write(section, key, folder); // the next start tries again
}

} // namespace

QString read(const char *section, const char *key, const QString &fallback)
{
    char value[valueSize] = "";
    GetPrivateProfileString(section, key, fallback.toUtf8().constData(), value, valueSize, file().constData());
    return QString::fromUtf8(value);
}

unsigned int write(const char *section, const char *key, const QString &value)
{
    return Btsdk_WritePrivateProfileString(section, key, value.toUtf8().constData(), file().constData());
}

void setMissingFolders()
{
    setFolderIfMissing("FTPSERVER", "SHAREFOLDER", QDir::home().filePath(QStringLiteral("Public")));
    const QString downloads = QStandardPaths::writableLocation(QStandardPaths::DownloadLocation);
    setFolderIfMissing("FtpClient", "DefaultLocalFolder", QDir(downloads).exists() ? downloads : QDir::homePath());
}

bool serverWanted()
{
    return read("FTPSERVER", "status") == QLatin1String("enable");
}

QByteArray windowGeometry()
{
    return QByteArray::fromBase64(read("MANAGER", "Geometry").toLatin1());
}

void setWindowGeometry(const QByteArray &geometry)
{
    (void)write("MANAGER", "Geometry", QString::fromLatin1(geometry.toBase64())); // the window then opens as before
}

} // namespace manager::settings
