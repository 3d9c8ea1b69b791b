#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "defaultname.h"
#include "localrow.h"
#include "messagebox.h"
#include "plainurl.h"
#include "remotepath.h"
#include "rowtexts.h"
#include "transferrequest.h"

#include <QComboBox>
#include <QDir>
#include <QFile>
#include <QPointer>

namespace {

/** Whether a directory entry of any kind stands at a path, a link to nothing included. */
bool entryExists(const QString &path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/** A folder itself; a link to one is an entry of its folder and is removed as such. */
bool isRealFolder(const QString &path)
{
    const QFileInfo info(path);
    return info.isDir() && !info.isSymLink();
}

QStringList namesOf(const QList<QTreeWidgetItem *> &items)
{
    QStringList names;
    for (const QTreeWidgetItem *item : items)
        names.append(item->text(0));
    return names;
}

} // namespace

void BtFtpClient::actionNewFile(bool)
{
    if (focusWidget() != m_pLocalTree)
        return;
    const QString folder = localrow::withSlash(m_pLocalCombo->currentText());
    const QString name = freeDefaultName(tr("new file"), tr("new file%1"), [&folder](const QString &candidate) {
        return QFile::exists(folder + candidate);
    });
    if (name.isEmpty())
        return;
    QFile file(folder + name);
    if (!file.open(QIODevice::WriteOnly | QIODevice::NewOnly)) {
        execMessageBox(QMessageBox::Critical, tr("Create file failed"),
                       tr("can't create the file:%1,without permission to create it.").arg(name), QMessageBox::Ok,
                       this);
        return;
    }
    file.close();
    UpdateLocTree(folder);
    editRows(m_pLocalTree, name);
}

void BtFtpClient::actionNewFolder(bool)
{
    if (focusWidget() == m_pLocalTree)
        createLocalFolder();
    else if (focusWidget() == m_pRemoteTree)
        proposeRemoteFolder();
}

void BtFtpClient::createLocalFolder()
{
    const QString folder = localrow::withSlash(m_pLocalCombo->currentText());
    const QString name = freeDefaultName(tr("new folder"), tr("new folder%1"), [&folder](const QString &candidate) {
        return QDir(folder + candidate).exists();
    });
    if (name.isEmpty())
        return;
    if (!QDir().mkdir(folder + name)) {
        execMessageBox(QMessageBox::Critical, tr("Create folder failed"),
                       tr("can't create the folder:%1,without permission to create it.").arg(name), QMessageBox::Ok,
                       this);
        return;
    }
    UpdateLocTree(folder);
    editRows(m_pLocalTree, name);
}

/** Puts a row into the remote pane that becomes a folder once its name is given. */
void BtFtpClient::proposeRemoteFolder()
{
    const QString folder = m_pRemoteCombo->currentText();
    const QString name = freeDefaultName(tr("new folder"), tr("new folder%1"), [this](const QString &candidate) {
        return !m_pRemoteTree->findItems(candidate, Qt::MatchFixedString, 0).isEmpty();
    });
    if (name.isEmpty())
        return;
    UpdateRmtTree(folder);

    auto *placeholder = new QTreeWidgetItem;
    placeholder->setTextAlignment(1, Qt::AlignRight);
    placeholder->setIcon(0, m_folderIcon);
    placeholder->setText(0, name);
    placeholder->setText(2, rowtexts::folderType());
    m_pRemoteTree->insertTopLevelItem(0, placeholder);
    m_pRemoteTree->sortItems(m_pRemoteTree->sortColumn(), Qt::AscendingOrder);
    editRows(m_pRemoteTree, name);
    m_bNewItemEditing = true;
}

/** Begins an in-place edit of each row of this name, of which there is one as a rule. */
void BtFtpClient::editRows(MyTreeWidget *tree, const QString &name)
{
    const QList<QTreeWidgetItem *> rows = tree->findItems(name, Qt::MatchFixedString, 0);
    for (QTreeWidgetItem *row : rows) {
        m_pCurItem = row;
        row->setFlags(row->flags() | Qt::ItemIsEditable);
        m_strOldName = name;
        tree->scrollToItem(row);
        tree->editItem(row, 0);
    }
}

void BtFtpClient::actionRename(bool)
{
    if (!m_pCurItem)
        return;
    m_pCurItem->setFlags(m_pCurItem->flags() | Qt::ItemIsEditable);
    m_strOldName = m_pCurItem->text(0);
    if (focusWidget() == m_pLocalTree && m_pCurItem->treeWidget() == m_pLocalTree)
        m_pLocalTree->editItem(m_pCurItem, 0);
}

void BtFtpClient::itemEditDone()
{
    if (!m_pCurItem)
        return;
    const QTreeWidget *pane = m_pCurItem->treeWidget();
    if (focusWidget() == m_pLocalTree && pane == m_pLocalTree)
        commitRename();
    else if (focusWidget() == m_pRemoteTree && pane == m_pRemoteTree && m_bNewItemEditing)
        commitRemoteFolder();
}

void BtFtpClient::commitRename()
{
    const QString newName = m_pCurItem->text(0);
    if (newName.isEmpty()) {
        refuseRename(tr("Can't leave the file name blank:%1!\n").arg(m_strOldName));
        return;
    }
    if (newName == m_strOldName)
        return;
    const QString folder = localrow::withSlash(m_pLocalCombo->currentText());
    if (!QFile::exists(folder + m_strOldName))
        return;
    if (QFile::exists(folder + newName)) {
        refuseRename(
            tr("Can't rename the file:%1!\nFile with the name '%2' already exists.").arg(m_strOldName, newName));
        return;
    }
    if (QFile::rename(folder + m_strOldName, folder + newName))
        m_strOldName = newName;
    else
        refuseRename(tr("Can't rename the file:%1!").arg(m_strOldName));
}

/** Says why a rename was refused and gives the row its name back. */
void BtFtpClient::refuseRename(const QString &text)
{
    refuseEdit(tr("Rename Fail"), text, [oldName = m_strOldName](QTreeWidgetItem *row) { row->setText(0, oldName); });
}

/**
 * Says why an edit came to nothing, and then undoes it in its row, if that is still there.
 *
 * When the focus went elsewhere, Qt is in the middle of moving it, between two widgets that must not go; under a box
 * they may. The box waits for the event loop then.
 */
void BtFtpClient::refuseEdit(const QString &title, const QString &text,
                             const std::function<void(QTreeWidgetItem *)> &undo)
{
    QTreeWidget *const tree = m_pCurItem->treeWidget();
    const auto refuse = [this, title, text, undo, tree,
                         edited =
                             QPersistentModelIndex(tree->model()->index(tree->indexOfTopLevelItem(m_pCurItem), 0))] {
        const QPointer<BtFtpClient> self(this);
        execMessageBox(QMessageBox::Critical, title, text, QMessageBox::Ok, this);
        if (self && edited.isValid())
            undo(tree->topLevelItem(edited.row()));
    };
    if (m_bFocusLeaves)
        QMetaObject::invokeMethod(this, refuse, Qt::QueuedConnection);
    else
        refuse();
}

void BtFtpClient::commitRemoteFolder()
{
    m_pCurItem->setFlags(m_pCurItem->flags() & ~Qt::ItemIsEditable);
    m_bNewItemEditing = false;
    const QString name = m_pCurItem->text(0);
    if (!fitsTransferText(name)) {
        refuseRemoteFolder(
            tr("The name '%1' is too long: %2 bytes are the limit.").arg(name, QString::number(maxTransferText)));
    } else if (m_pRemoteTree->findItems(name, Qt::MatchExactly, 0).size() >= 2) {
        refuseRemoteFolder(tr("Can't create the folder!\nFile or folder with the name '%1' already exists.").arg(name));
    } else if (Btsdk_FTPCreateDir(m_hConnection, name.toUtf8().constData()) != BTSDK_OK) {
        // The proposed name, whatever was typed.
        refuseRemoteFolder(tr("Can't create the folder:%1!\nWithout permission.").arg(m_strOldName));
    } else {
        UpdateRmtTree(m_pRemoteCombo->currentText());
    }
}

/** Says why a remote folder was not created and takes its placeholder out. */
void BtFtpClient::refuseRemoteFolder(const QString &text)
{
    refuseEdit(tr("Create Folder Failed"), text, [](QTreeWidgetItem *placeholder) { delete placeholder; });
}

bool BtFtpClient::confirmDeleteHint(QTreeWidgetItem *item, bool isFolder, int count)
{
    const QPointer<QMessageBox> box(new QMessageBox(QMessageBox::NoIcon, tr("Confirm File Delete"), QString(),
                                                    QMessageBox::Yes | QMessageBox::No, this));
    box->setWindowModality(Qt::WindowModal);
    box->setTextFormat(Qt::PlainText);
    if (count > 1)
        box->setText(tr("Are you sure delete the %1 items?").arg(count));
    else if (count == 1 && isFolder)
        box->setText(tr("Are you sure delete the folder:%1?").arg(item->text(0)));
    else if (count == 1)
        box->setText(tr("Are you sure delete the file:%1?").arg(item->text(0)));
    box->adjustSize();
    const int answer = box->exec();
    const bool confirmed = box && answer == QMessageBox::Yes;
    delete box.data();
    return confirmed;
}

void BtFtpClient::actionDelete(bool)
{
    if (focusWidget() == m_pLocalTree)
        deleteLocalSelection();
    else if (focusWidget() == m_pRemoteTree)
        deleteRemoteSelection();
}

void BtFtpClient::deleteLocalSelection()
{
    const QPointer<BtFtpClient> self(this);
    const QString folder = m_pLocalCombo->currentText();
    const QList<QTreeWidgetItem *> items = m_pLocalTree->selectedItems();
    if (items.isEmpty())
        return;
    const QStringList names = namesOf(items); // the rows may be gone after the question
    const QString base = localrow::withSlash(folder);
    if (!confirmDeleteHint(items.first(), QFileInfo(base + names.first()).isDir(), items.size()))
        return;
    for (const QString &name : names) {
        if (isRealFolder(base + name))
            deleteDir(base + name);
        else
            deleteFile(folder, name);
        if (!self)
            return;
    }
    UpdateLocTree(m_pLocalCombo->currentText());
}

void BtFtpClient::deleteRemoteSelection()
{
    const QPointer<BtFtpClient> self(this);
    const QString folder = m_pRemoteCombo->currentText();
    const QList<QTreeWidgetItem *> items = m_pRemoteTree->selectedItems();
    if (items.isEmpty())
        return;
    const QStringList names = namesOf(items);
    m_bConfirmingDelete = true;
    const bool confirmed = confirmDeleteHint(items.first(), remoteItemIsFolder(items.first()), items.size());
    if (!self)
        return;
    m_bConfirmingDelete = false;
    if (!confirmed)
        return;
    QList<QUrl> urls;
    for (const QString &name : names)
        urls.append(plainUrl(remotepath::child(folder, name)));
    DeleteRmtRequest(urls);
}

bool BtFtpClient::deleteFile(const QString &dirPath, const QString &name)
{
    const QString path = name.startsWith(QLatin1Char('/')) ? name : localrow::withSlash(dirPath) + name;
    const QFileInfo holder(dirPath);
    if (!holder.exists() || !entryExists(path))
        return false;
    const bool folder = isRealFolder(path);
    if (!holder.isWritable()) {
        const QString text = folder ? tr("can't delete the directory:%1/%2,without permission to delete it.")
                                    : tr("can't delete the file:%1/%2,without permission to delete it.");
        execMessageBox(QMessageBox::Warning, tr("delete failed"),
                       text.arg(dirPath, path.section(QLatin1Char('/'), -1, -1, QString::SectionSkipEmpty)),
                       QMessageBox::Ok, this);
        return false;
    }
    return folder ? QDir().rmdir(path) : QFile::remove(path);
}

bool BtFtpClient::deleteDir(const QString &path)
{
    const QPointer<BtFtpClient> self(this);
    const QString base = localrow::withSlash(path);
    const QDir::Filters all = QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    const QStringList files = QDir(path).entryList(QDir::Files | all);
    for (const QString &name : files) {
        if (!deleteFile(path, name) || !self)
            return false;
    }
    const QStringList folders = QDir(path).entryList(QDir::Dirs | all);
    for (const QString &name : folders) {
        const bool removed = isRealFolder(base + name) ? deleteDir(base + name) : deleteFile(path, name);
        if (!removed || !self)
            return false;
    }
    const QString whole = path.startsWith(QLatin1Char('/')) ? path : QDir::currentPath() + path;
    const int slash = whole.lastIndexOf(QLatin1Char('/'), -2);
    return deleteFile(slash <= 0 ? QStringLiteral("/") : whole.left(slash), whole);
}
