#include "MyTreeWidget.h"
#include "btftpclient.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QKeyEvent>
#include <QPointer>

namespace {

bool atRoot(const QComboBox *combo)
{
    return combo->currentText() == QLatin1String("/");
}

} // namespace

bool BtFtpClient::localHasFocus() const
{
    const QWidget *focus = focusWidget();
    return focus && (focus == m_pLocalTree || focus == m_pLocalCombo);
}

bool BtFtpClient::remoteHasFocus() const
{
    const QWidget *focus = focusWidget();
    return focus && (focus == m_pRemoteTree || focus == m_pRemoteCombo);
}

void BtFtpClient::UpdateActionLocal()
{
    const bool selected = !m_pLocalTree->selectedItems().isEmpty();
    m_pActUpload->setEnabled(selected);
    m_pActDelete->setEnabled(selected);
    m_pActRename->setEnabled(selected);
}

void BtFtpClient::UpdateActionRmt()
{
    const bool selected = !m_pRemoteTree->selectedItems().isEmpty();
    m_pActDownload->setEnabled(selected);
    m_pActDelete->setEnabled(selected);
    m_pActRename->setEnabled(selected);
}

void BtFtpClient::focusChanged(QWidget * /*old*/, QWidget * /*now*/)
{
    if (focusWidget() == m_pLocalTree)
        enterPane(m_pLocalTree, m_pRemoteTree);
    else if (focusWidget() == m_pRemoteTree)
        enterPane(m_pRemoteTree, m_pLocalTree);

    if (localHasFocus())
        ui.action_Up->setEnabled(!atRoot(m_pLocalCombo));
    else if (remoteHasFocus())
        ui.action_Up->setEnabled(!atRoot(m_pRemoteCombo));
}

void BtFtpClient::enterPane(const MyTreeWidget *tree, MyTreeWidget *other)
{
    for (QAction *action : {m_pActUpload, m_pActDownload, m_pActDelete, m_pActRename})
        action->setEnabled(false);
    m_pActNewFile->setEnabled(tree == m_pLocalTree);
    other->clearSelection();
    checkViewMode(tree->m_viewMode);
}

void BtFtpClient::actionListView()
{
    setFocusedViewMode(TREE_VIEW_LIST);
}

void BtFtpClient::actionDetailView()
{
    setFocusedViewMode(TREE_VIEW_DETAIL);
}

void BtFtpClient::setFocusedViewMode(int mode)
{
    for (MyTreeWidget *tree : {m_pLocalTree, m_pRemoteTree}) {
        if (focusWidget() == tree)
            tree->setViewMode(static_cast<TreeViewMode>(mode));
    }
    checkViewMode(mode);
}

void BtFtpClient::checkViewMode(int mode)
{
    m_pActListView->setChecked(mode == TREE_VIEW_LIST);
    m_pActDetailView->setChecked(mode != TREE_VIEW_LIST);
}

void BtFtpClient::keyPressEvent(QKeyEvent *event)
{
    const QPointer<BtFtpClient> self(this);
    if (event->key() == Qt::Key_Delete)
        actionDelete(true);
    else if (event->key() == Qt::Key_F2)
        actionRename(true);
    if (self)
        QMainWindow::keyPressEvent(event);
    else
        event->accept(); // the host closed the window under a question; nobody is left to pass the key on to
}

void BtFtpClient::closeEvent(QCloseEvent *event)
{
    emit hideBtFtpClient(this);
    QMainWindow::closeEvent(event);
}

void BtFtpClient::action_Copy() {}

void BtFtpClient::currentItemChanged(QTreeWidgetItem *current, QTreeWidgetItem * /*previous*/)
{
    m_pCurItem = current;
}

void BtFtpClient::itemExpanded(QTreeWidgetItem * /*item*/) {}

void BtFtpClient::itemClicked() {}
