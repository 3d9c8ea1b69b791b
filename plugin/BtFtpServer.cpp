#include "BtFtp.h"
#include "LocalFtppropertyDlg.h"
#include "ProfileStatusClass.h"
#include "btsdk.h"
#include "vmcommon.h"

#include <QDesktopServices>
#include <QDir>
#include <QUrl>

#include <cstring>

namespace {

constexpr int pathSize = 260;
constexpr unsigned int valueSize = 256;
/** Where "user" stands in a path below /home/user; further right it names something else. */
constexpr int lastUserPosition = 6;

constexpr char serverSection[] = "FTPSERVER";
constexpr char shareFolderKey[] = "SHAREFOLDER";

/** Answers of the host to a received file: what the three numbers say is fixed between host and profiles. */
enum { EventOfProfile = 1, EventFileReceived = 7, EventDataSize = 260 };

void readShareFolder(char *buffer, const char *file)
{
    (void)GetPrivateProfileString(serverSection, shareFolderKey, "", buffer, valueSize, file);
}

bool isOrBecomesFolder(const QString &path)
{
    return QDir(path).exists() || QDir().mkpath(path);
}

} // namespace

void BtFtp::StartProfileServer()
{
    char file[pathSize] = {};
    (void)VmCm_GetCommonSettingFilePath(file, pathSize);
    readShareFolder(m_szShareFolder, file);
    const int access = GetPrivateProfileInt(serverSection, "DESIRED_ACCESS", 1, file);
    repairFolderSetting(serverSection, shareFolderKey, m_szShareFolder, file);

    char localFolder[pathSize] = {};
    (void)GetPrivateProfileString("FtpClient", "DefaultLocalFolder", "", localFolder, valueSize, file);
    repairFolderSetting("FtpClient", "DefaultLocalFolder", localFolder, file);

    m_hFtpService = Btsdk_RegisterFTPService(static_cast<unsigned short>(access & 0xFFFF), m_szShareFolder);
    (void)Btsdk_FTPRegisterDealReceiveFileCB(&BtFtp::DealFTPServerEvent);
}

void BtFtp::repairFolderSetting(const char *section, const char *key, char *path, const char *file)
{
    if (checkFtpShareFolder(path))
        (void)Btsdk_WritePrivateProfileString(section, key, path, file);
}

void BtFtp::StopProfileServer() {}

bool BtFtp::checkFtpShareFolder(char *path)
{
    if (!path)
        return false;
    QString folder = QString::fromLatin1(path);
    if (isOrBecomesFolder(folder) || !qEnvironmentVariableIsSet("USERNAME"))
        return false;
    const QString user = QStringLiteral("user");
    const int position = folder.indexOf(user, 0, Qt::CaseSensitive);
    if (position < 0 || position > lastUserPosition)
        return false;
    folder.replace(position, user.size(), qEnvironmentVariable("USERNAME"));
    const QByteArray bytes = folder.toUtf8();
    // A path that does not fit is no repair.
    if (bytes.size() >= pathSize || !isOrBecomesFolder(folder))
        return false;
    std::memset(path, 0, pathSize);
    std::memcpy(path, bytes.constData(), static_cast<size_t>(bytes.size()));
    return true;
}

unsigned int BtFtp::DealFTPServerEvent(_BtSdkFileTransferReqStru *request)
{
    if (request->event != BTSDK_EVENT_FILE_RECEIVED)
        return 0;
    BtFtp *const profile = s_pThis;
    const InvokeVmFunction invoke = profile ? profile->m_pInvokeVm.load() : nullptr;
    if (!invoke)
        return 0;
    static QList<QString> qstrlist_receivedFile;

    char file[pathSize] = {};
    (void)VmCm_GetCommonSettingFilePath(file, pathSize);
    readShareFolder(profile->m_szShareFolder, file);
    std::memset(profile->m_szReceivedFile, 0, sizeof profile->m_szReceivedFile);
    std::memcpy(profile->m_szReceivedFile, request->fileName,
                strnlen(request->fileName, sizeof profile->m_szReceivedFile - 1));

    qstrlist_receivedFile.clear();
    qstrlist_receivedFile.append(QString::fromUtf8(profile->m_szShareFolder));
    qstrlist_receivedFile.append(QString::fromUtf8(profile->m_szReceivedFile));
    return invoke(EventOfProfile, EventFileReceived, EventDataSize,
                  reinterpret_cast<unsigned char *>(&qstrlist_receivedFile));
}

void BtFtp::actionSvrEnable()
{
    char file[valueSize] = {};
    (void)VmCm_GetCommonSettingFilePath(file, valueSize);
    quint16 status = 0;
    (void)Btsdk_GetServerStatus(m_hServer, &status);
    const bool stopped = status == BTSDK_SERVER_STOPPED;
    const bool started = status == BTSDK_SERVER_STARTED || status == BTSDK_SERVER_CONNECTED;
    if ((!stopped && !started) || Btsdk_IsBluetoothReady() != 1)
        return;
    // The choice is remembered whatever comes of it: it is the user's, not the server's.
    (void)(stopped ? Btsdk_StartServer(m_hServer) : Btsdk_StopServer(m_hServer));
    (void)Btsdk_WritePrivateProfileString(serverSection, "status", stopped ? "enable" : "disable", file);
}

void BtFtp::actionSvrStatus()
{
    ProfileStatusClass dialog(m_hServer, nullptr);
    dialog.exec();
}

void BtFtp::actionSvrProperty()
{
    FtppropertyClass dialog(m_hServer, nullptr, 0);
    dialog.exec();
}

void BtFtp::actionOpenShare()
{
    char file[pathSize] = {};
    (void)VmCm_GetCommonSettingFilePath(file, pathSize);
    char folder[pathSize] = {};
    (void)GetPrivateProfileString(serverSection, shareFolderKey, "/", folder, pathSize, file);
    (void)QDesktopServices::openUrl(QUrl::fromLocalFile(QString::fromUtf8(folder)));
}
