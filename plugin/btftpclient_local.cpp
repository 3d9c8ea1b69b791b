#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "contextmenu.h"
#include "localrow.h"
#include "plainurl.h"

#include <QComboBox>
#include <QDir>
#include <QMouseEvent>
#include <QSignalBlocker>
#include <QToolButton>

void BtFtpClient::UpdateLocCombox(const QString &curr)
{
    const Qt::MatchFlags exactly = Qt::MatchExactly | Qt::MatchCaseSensitive;
    const bool root = curr == QLatin1String("/");
    int index = m_pLocalCombo->findData(curr, Qt::EditRole, exactly);
    if (root && index >= 0) {
        // The root is taken out and appended anew, so that selecting it is a change and lists it again. Whichever
        // entry is current in between is not listed.
        const QSignalBlocker blocker(m_pLocalCombo);
        m_pLocalCombo->removeItem(index);
        index = -1;
    }
    if (index < 0) {
        m_pLocalCombo->addItem(m_folderIcon, curr);
        index = m_pLocalCombo->count() - 1;
    }
    m_pLocalCombo->setCurrentIndex(index);
    m_pLocalUpButton->setEnabled(!root);
    ui.action_Up->setEnabled(!root);
}

void BtFtpClient::UpdateLocTree(const QString &curr)
{
    ui.actionUpload->setEnabled(false);
    ui.action_Delete->setEnabled(false);
    m_pLocalTree->clear();
    m_pLocalTree->m_strCurPath = curr;

    const bool root = curr == QLatin1String("/");
    m_pLocalUpButton->setEnabled(!root);
    if (localHasFocus())
        ui.action_Up->setEnabled(!root);

    const bool dotFilesHidden = m_strLocalHome == m_strDeviceRoot;
    QList<QTreeWidgetItem *> rows;
    const QFileInfoList entries =
        QDir(curr).entryInfoList(QDir::Dirs | QDir::Files | QDir::Drives | QDir::Hidden, QDir::Name | QDir::DirsFirst);
    rows.reserve(entries.size());
    for (const QFileInfo &entry : entries) {
        const QString name = entry.fileName();
        if (name == QLatin1String(".") || name == QLatin1String(".."))
            continue;
        if (dotFilesHidden && name.startsWith(QLatin1Char('.')))
            continue;
        rows.append(localrow::create(entry, m_folderIcon, m_fileIcon));
    }
    m_pLocalTree->addTopLevelItems(rows);
}

void BtFtpClient::cdUpLocal()
{
    QDir folder(m_pLocalCombo->currentText());
    if (folder.cdUp())
        UpdateLocCombox(folder.path());
}

void BtFtpClient::itemDoubleClickedLocal(QTreeWidgetItem *item, int /*column*/)
{
    if (!item)
        return;
    const QString path = localrow::withSlash(m_pLocalCombo->currentText()) + item->text(0);
    if (localrow::isFolder(*item))
        UpdateLocCombox(path);
    else
        UploadRequest({plainUrl(path)});
}

void BtFtpClient::procLocMousePressEvent(QMouseEvent *event)
{
    const QPoint position = m_pLocalTree->viewport()->mapFromGlobal(event->globalPos());
    m_pCurItem = m_pLocalTree->itemAt(position);
    if (event->button() != Qt::RightButton)
        return;

    for (QAction *action : {m_pActUpload, m_pActDelete, m_pActRename})
        action->setEnabled(m_pCurItem != nullptr);
    runContextMenu(this,
                   {m_pActUpload, m_pActNewFile, m_pActNewFolder, m_pActRename, m_pActDelete, nullptr, m_pActListView,
                    m_pActDetailView, nullptr, m_pActHdd, m_pActUsb},
                   event->globalPos());
}

void BtFtpClient::actionHddDevice()
{
    m_strLocalHome = m_strLocalPath;
    UpdateLocCombox(m_strLocalHome);
    m_pActHdd->setChecked(true);
    m_pActUsb->setChecked(false);
}

void BtFtpClient::actionUsbDevice()
{
    m_strLocalHome = m_strDeviceRoot;
    UpdateLocCombox(m_strLocalHome);
    m_pActUsb->setChecked(true);
    m_pActHdd->setChecked(false);
}
