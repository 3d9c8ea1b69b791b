#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "localrow.h"
#include "messagebox.h"
#include "plainurl.h"
#include "remotepath.h"
#include "transferrequest.h"
#include "vmcommon.h"

#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QPointer>
#include <QStatusBar>

#include <cstdio>

namespace {

/** What follows the last "/": the name under which an entry goes to the other side. */
QString nameOf(const QString &path)
{
    return path.section(QLatin1Char('/'), -1, -1);
}

/** The folder that is shown beside a transfer: of a folder itself, of a file the one that holds it. */
QString shownFolder(const QString &path, bool isFolder)
{
    return isFolder ? path : path.left(path.lastIndexOf(QLatin1Char('/')));
}

/** The first selected row whose entry has exactly this name, byte by byte. */
const FTP_FIND_DATA *selectedEntry(const QTreeWidget &tree, const QByteArray &name)
{
    const QList<QTreeWidgetItem *> items = tree.selectedItems();
    for (const QTreeWidgetItem *item : items) {
        const FTP_FIND_DATA *entry = RemoteItem::entryOf(item);
        if (entry && QByteArray(entry->name, int(qstrnlen(entry->name, sizeof entry->name))) == name)
            return entry;
    }
    return nullptr;
}

/** The last row of this name, which decides how a clash is worded. */
const QTreeWidgetItem *lastRowNamed(const QTreeWidget &tree, const QString &name)
{
    const QTreeWidgetItem *found = nullptr;
    for (int i = 0; const QTreeWidgetItem *item = tree.topLevelItem(i); ++i) {
        if (item->text(0) == name)
            found = item;
    }
    return found;
}

} // namespace

void BtFtpClient::actionUpload(bool)
{
    const QString folder = localrow::withSlash(ShowStrToFullStr(m_pLocalCombo->currentText()));
    QList<QUrl> urls;
    const QList<QTreeWidgetItem *> items = m_pLocalTree->selectedItems();
    for (const QTreeWidgetItem *item : items)
        urls.append(plainUrl(folder + item->text(0)));
    UploadRequest(urls);
}

void BtFtpClient::actionDownload(bool)
{
    QList<QUrl> urls;
    const QList<QTreeWidgetItem *> items = m_pRemoteTree->selectedItems();
    for (const QTreeWidgetItem *item : items)
        urls.append(plainUrl(remotepath::child(m_pRemoteCombo->currentText(), item->text(0))));
    DownloadRequest(urls);
}

/** The first two steps of every request. Nothing else stops m_pTransferingClient from naming this window. */
bool BtFtpClient::beginRequest()
{
    if (m_bLeaving)
        return false;
    if (!VmCm_IsShortcutConnected(m_hShortcut)) {
        m_hConnection = 0;
        return false;
    }
    m_pTransferingClient = this;
    return true;
}

void BtFtpClient::UploadRequest(const QList<QUrl> &urls)
{
    if (!beginRequest())
        return;
    const std::optional<QString> path = localPath(urls.value(0));
    if (!path)
        return;
    const TransferNames names{nameOf(*path), *path};
    const bool folder = QFileInfo(*path).isDir();
    if (!checkLength(names))
        return;
    auto request = makeTransferRequest(m_hConnection, names, folder);
    if (const QTreeWidgetItem *clash = lastRowNamed(*m_pRemoteTree, names.remoteName)) {
        if (!confirmReplace(names.remoteName, remoteItemIsFolder(clash)))
            return;
    }
    startTransfer(OPERATION_PUT, std::move(request));
    statusBar()->showMessage(tr("Uploading ..."));
    m_strTransferSource = shownFolder(names.localPath, folder);
    m_strTransferDestination = m_pRemoteCombo->currentText();
    showCompProgressDlg();
}

void BtFtpClient::DownloadRequest(const QList<QUrl> &urls)
{
    if (!beginRequest())
        return;
    const QString path = plainPath(urls.value(0));
    std::printf("DownloadRequest %s\n", path.toUtf8().constData());
    std::fflush(stdout);
    if (m_hConnection == 0)
        return;
    const QString localFolder = ShowStrToFullStr(m_pLocalCombo->currentText());
    const TransferNames names{nameOf(path), localrow::withSlash(localFolder) + nameOf(path)};
    const FTP_FIND_DATA *entry = selectedEntry(*m_pRemoteTree, names.remoteName.toUtf8());
    if (!entry)
        return;
    const bool folder = entry->attributes & BTSDK_FTP_FOLDER; // the row may be gone after a question
    if (!checkLength(names))
        return;
    auto request = makeTransferRequest(m_hConnection, names, folder);
    QDir::setCurrent(localFolder);
    if (QFile::exists(names.localPath) && !confirmReplace(names.remoteName, QFileInfo(names.localPath).isDir()))
        return;
    startTransfer(OPERATION_GET, std::move(request));
    statusBar()->showMessage(tr("Downloading ..."));
    m_strTransferDestination = shownFolder(names.localPath, folder);
    m_strTransferSource = m_pRemoteCombo->currentText();
    showCompProgressDlg();
}

void BtFtpClient::DeleteRmtRequest(const QList<QUrl> &urls)
{
    if (!beginRequest() || m_hConnection == 0)
        return;
    const QString name = nameOf(plainPath(urls.value(0)));
    const FTP_FIND_DATA *entry = selectedEntry(*m_pRemoteTree, name.toUtf8());
    if (!entry)
        return;
    const bool folder = entry->attributes & BTSDK_FTP_FOLDER;
    const QString localFolder = ShowStrToFullStr(m_pLocalCombo->currentText());
    const QString separator = m_pLocalCombo->currentText() == QLatin1String("/") ? QString() : QStringLiteral("/");
    if (!checkLength({name, QString()})) // the local path plays no part in a delete
        return;
    auto request = makeTransferRequest(m_hConnection, {name, localFolder + separator + name}, folder);
    m_nCurOperation = OPERATION_DELETE;
    m_nOpResult = RESULT_FAILURE;
    m_workThread.StartOperation(OPERATION_DELETE, reinterpret_cast<quintptr>(request.release()), 0);
}

void BtFtpClient::startTransfer(WorkingOperation operation, std::unique_ptr<TransferRequest> request)
{
    m_nCurOperation = operation;
    m_nOpResult = RESULT_FAILURE;
    (void)Btsdk_FTPRegisterStatusCallback(m_hConnection,
                                          FTP_StatusCallback); // without it there is no progress, no more
    m_workThread.StartOperation(operation, reinterpret_cast<quintptr>(request.release()), 0);
}

/** Refuses names that the worker's record cannot hold whole: half a name is another file's. */
bool BtFtpClient::checkLength(const TransferNames &names)
{
    const bool nameFits = fitsTransferText(names.remoteName);
    if (nameFits && fitsTransferText(names.localPath))
        return true;
    const QString text = nameFits ? tr("The path of '%1' is too long: %2 bytes are the limit.")
                                  : tr("The name '%1' is too long: %2 bytes are the limit.");
    execMessageBox(QMessageBox::Warning, tr("Name too long"),
                   text.arg(names.remoteName, QString::number(maxTransferText)), QMessageBox::Ok, this);
    return false;
}

/** Whether the user wants an entry replaced; false, too, when the window went while the question was open. */
bool BtFtpClient::confirmReplace(const QString &name, bool isFolder)
{
    const QPointer<BtFtpClient> self(this);
    const QString text =
        isFolder ? tr("This folder already contains a folder named %1\n Would you like to replace it ?").arg(name)
                 : tr("This folder already contains a file named %1\n Would you like to replace it ?").arg(name);
    const auto answer = execMessageBox(QMessageBox::NoIcon, tr("Confirm File Replace"), text,
                                       QMessageBox::Yes | QMessageBox::No, nullptr);
    return self && answer != QMessageBox::No && answer != QMessageBox::NoButton;
}
