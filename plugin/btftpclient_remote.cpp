#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "contextmenu.h"
#include "plainurl.h"
#include "remoteentry.h"
#include "remotepath.h"
#include "rowtexts.h"
#include "vmcommon.h"

#include <QComboBox>
#include <QMouseEvent>
#include <QToolButton>

namespace {

constexpr QLatin1String s_root("/", 1);

/** Whether the window that m_pBrowsingClient names is still there; without it, an SDK that calls late finds nobody. */
std::atomic<bool> s_browsingClientLives{false};

} // namespace

void BtFtpClient::UpdateRmtTree(const QString &curr)
{
    if (m_bLeaving)
        return; // the workers have ended, and nothing may start them again
    ui.actionUpload->setEnabled(false);
    ui.actionUpload->setEnabled(false); // again, and not the download
    ui.action_Delete->setEnabled(false);
    if (!VmCm_IsShortcutConnected(m_hShortcut))
        m_hConnection = 0;
    if (m_hConnection == 0)
        connectToDevice();
    else
        listRemoteFolder(curr);
}

void BtFtpClient::connectToDevice()
{
    m_nCurOperation = OPERATION_CONNECT;
    BtSdkShortCutProperty property{};
    property.shortcut = m_hShortcut;
    if (Btsdk_GetShortCutProperty(&property) != BTSDK_OK) {
        m_nCurOperation = OPERATION_NONE;
        return;
    }
    ui.statusbar->showMessage(tr("Connecting..."));
    setCursor(Qt::WaitCursor);
    m_workThread.StartOperation(OPERATION_CONNECT, property.device, BTSDK_CLS_OBEX_FILE_TRANS);
}

void BtFtpClient::listRemoteFolder(const QString &path)
{
    m_pRemoteTree->clear();
    quint32 result = Btsdk_FTPSetRmtDir(m_hConnection, "/");
    if (path != s_root)
        result = Btsdk_FTPSetRmtDir(m_hConnection, path.toUtf8().constData());
    if (result != BTSDK_OK)
        return; // the box keeps the path, and Refresh tries it again
    m_pRemoteTree->m_strCurPath = path;
    m_pRemoteUpButton->setEnabled(path != s_root);
    if (remoteHasFocus())
        ui.action_Up->setEnabled(path != s_root);

    m_pBrowsingClient = this;
    s_browsingClientLives = true;
    m_bListing = true;
    // What it returns is not looked at: the rows that have come stay.
    (void)Btsdk_FTPBrowseFolder(m_hConnection, remotepath::lastName(path).toUtf8().constData(),
                                BTSDK_FTP_UIShowBrowseFile, 0);
    m_bListing = false;
    insertListedRows();
}

void BtFtpClient::BTSDK_FTP_UIShowBrowseFile(unsigned char *data)
{
    if (!s_browsingClientLives)
        return;
    FTP_FIND_DATA *const copy = data ? new FTP_FIND_DATA(*reinterpret_cast<const FTP_FIND_DATA *>(data)) : nullptr;
    emit m_pBrowsingClient.load()->BrowseFileFound(copy);
}

void BtFtpClient::leaveListing()
{
    if (m_pBrowsingClient == this)
        s_browsingClientLives = false;
}

void BtFtpClient::ShowBrowseFile(FTP_FIND_DATA *pData)
{
    if (!pData)
        return;
    std::unique_ptr<FTP_FIND_DATA> entry(pData);
    const bool folder = remoteentry::isFolder(*entry);
    auto *const row = new RemoteItem(std::move(entry), folder ? m_folderIcon : m_fileIcon);
    // Folders in the reverse of the order in which they come, then files in that order.
    if (folder)
        m_listedFolders.prepend(row);
    else
        m_listedFiles.append(row);
    if (!m_bListing)
        insertListedRows();
}

/** All at once: what a tree does for every insertion would cost more than the rows themselves. */
void BtFtpClient::insertListedRows()
{
    m_pRemoteTree->insertTopLevelItems(0, m_listedFolders);
    m_pRemoteTree->addTopLevelItems(m_listedFiles);
    m_listedFolders.clear();
    m_listedFiles.clear();
}

bool BtFtpClient::remoteItemIsFolder(const QTreeWidgetItem *item)
{
    const FTP_FIND_DATA *const entry = RemoteItem::entryOf(item);
    return entry && remoteentry::isFolder(*entry);
}

QString BtFtpClient::GetSizeString(unsigned int size)
{
    return rowtexts::size(size);
}

QString BtFtpClient::FullStrToShowStr(const QString &path)
{
    return path;
}

QString BtFtpClient::ShowStrToFullStr(const QString &path)
{
    return path;
}

void BtFtpClient::UpdateRmtCombox(const QString &curr)
{
    constexpr Qt::MatchFlags exactly = Qt::MatchExactly | Qt::MatchCaseSensitive;
    int index = m_pRemoteCombo->findText(curr, exactly);
    if (index < 0) {
        m_pRemoteCombo->addItem(m_folderIcon, FullStrToShowStr(curr));
        index = m_pRemoteCombo->findText(curr, exactly);
    }
    m_pRemoteCombo->setCurrentIndex(index);
    m_pRemoteUpButton->setEnabled(curr != s_root);
    ui.action_Up->setEnabled(curr != s_root);
}

void BtFtpClient::cdUpRmt()
{
    const QString path = m_pRemoteCombo->currentText();
    if (path == s_root)
        UpdateRmtTree(path);
    else
        UpdateRmtCombox(remotepath::parent(path));
}

void BtFtpClient::refreshRemote()
{
    UpdateRmtTree(m_pRemoteCombo->currentText());
}

void BtFtpClient::action_Home()
{
    if (localHasFocus())
        UpdateLocCombox(m_strLocalHome);
    else if (remoteHasFocus())
        UpdateRmtCombox(s_root);
}

void BtFtpClient::action_Up()
{
    if (localHasFocus())
        cdUpLocal();
    else if (remoteHasFocus())
        cdUpRmt();
}

void BtFtpClient::itemDoubleClickedRmt(QTreeWidgetItem *item, int /*column*/)
{
    if (!RemoteItem::entryOf(item))
        return;
    const QString name = item->text(0);
    if (name == QLatin1String("..")) {
        cdUpLocal(); // the other pane, indeed
        return;
    }
    const QString path = remotepath::child(ShowStrToFullStr(m_pRemoteCombo->currentText()), name);
    if (remoteItemIsFolder(item))
        UpdateRmtCombox(path);
    else
        DownloadRequest({plainUrl(path)});
}

void BtFtpClient::itemClickedRmt(QTreeWidgetItem * /*item*/, int /*column*/) {}

void BtFtpClient::itemDoubleClicked(QTreeWidgetItem *item, int /*column*/)
{
    m_pCurItem = item;
    if (item && (item->childIndicatorPolicy() == QTreeWidgetItem::ShowIndicator || item->childCount() > 0))
        return;
    action_Home();
}

void BtFtpClient::procRmtMousePressEvent(QMouseEvent *event)
{
    const QPoint position = event->globalPos();
    m_pCurItem = m_pRemoteTree->itemAt(m_pRemoteTree->viewport()->mapFromGlobal(position));
    if (event->button() != Qt::RightButton)
        return;
    for (QAction *action : {m_pActDownload, m_pActDelete, m_pActRename})
        action->setEnabled(m_pCurItem != nullptr);
    runContextMenu(this,
                   {m_pActDownload, m_pActNewFolder, m_pActDelete, nullptr, m_pRefreshAction, nullptr, m_pActListView,
                    m_pActDetailView},
                   position);
}
