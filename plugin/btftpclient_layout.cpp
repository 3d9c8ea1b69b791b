#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "skinimage.h"
#include "vmcommon.h"

#include <QComboBox>
#include <QDir>
#include <QHBoxLayout>
#include <QLabel>
#include <QSplitter>
#include <QToolButton>
#include <QVBoxLayout>

namespace {

void removeGaps(QBoxLayout *layout)
{
    layout->setContentsMargins(0, 0, 0, 0);
    layout->setSpacing(0);
}

template <class Widget>
Widget *createNamed(const char *name)
{
    auto *widget = new Widget;
    widget->setObjectName(QLatin1String(name));
    return widget;
}

QWidget *createHolder(QLayout *layout)
{
    auto *widget = new QWidget;
    widget->setLayout(layout);
    return widget;
}

QLabel *createLabel(const QString &text, QWidget *buddy)
{
    auto *label = new QLabel(text);
    label->setMargin(0);
    label->setBuddy(buddy);
    return label;
}

} // namespace

void BtFtpClient::createWidgets()
{
    QWidget *local = createLocalPane();
    QWidget *remote = createRemotePane();

    m_pSplitter = createNamed<QSplitter>("m_pSplitter");
    m_pSplitter->addWidget(local);
    m_pSplitter->addWidget(remote);
    setCentralWidget(m_pSplitter);

    connect(m_pLocalCombo, SIGNAL(currentIndexChanged(const QString &)), this, SLOT(UpdateLocTree(const QString &)));
    readLocalFolders();
    for (const QString &path : {QDir::rootPath(), QDir::homePath(), m_strLocalHome})
        UpdateLocCombox(path);
    // The remote box is wired only when it holds the root, so that its first entry does not start a listing.
    UpdateRmtCombox(QStringLiteral("/"));
    connect(m_pRemoteCombo, SIGNAL(currentIndexChanged(const QString &)), this, SLOT(UpdateRmtTree(const QString &)));
}

QWidget *BtFtpClient::createLocalHeader()
{
    m_pLocalCombo = createNamed<QComboBox>("m_pLocalCombo");
    m_pLocalUpButton = createNamed<QToolButton>("m_pLocalUpButton");
    m_pLocalLabel = createLabel(tr("Local:"), m_pLocalCombo);
    m_pLocalHLayout = new QHBoxLayout;
    removeGaps(m_pLocalHLayout);
    m_pLocalHLayout->addWidget(m_pLocalLabel);
    m_pLocalHLayout->addWidget(m_pLocalCombo, 1);
    m_pLocalHLayout->addWidget(m_pLocalUpButton);
    m_pLocalUpAction = createUpAction("m_pLocalUpAction", SLOT(cdUpLocal()));
    m_pLocalUpButton->setDefaultAction(m_pLocalUpAction);
    return createHolder(m_pLocalHLayout);
}

QWidget *BtFtpClient::createLocalPane()
{
    QWidget *header = createLocalHeader();
    m_pLocalTree = createTree("m_pLocalTree", TREE_PANE_LOCAL);
    m_pLocalVLayout = new QVBoxLayout;
    removeGaps(m_pLocalVLayout);
    m_pLocalVLayout->addWidget(header);
    m_pLocalVLayout->addWidget(m_pLocalTree);
    connect(m_pLocalTree, SIGNAL(SignalMousePressEvent(QMouseEvent *)), this,
            SLOT(procLocMousePressEvent(QMouseEvent *)));
    connect(m_pLocalTree, SIGNAL(itemDoubleClicked(QTreeWidgetItem *, int)), this,
            SLOT(itemDoubleClickedLocal(QTreeWidgetItem *, int)));
    connect(m_pLocalTree, SIGNAL(DownloadRequest(QList<QUrl>)), this, SLOT(DownloadRequest(QList<QUrl>)));
    connect(m_pLocalTree, SIGNAL(itemSelectionChanged()), this, SLOT(UpdateActionLocal()));
    return createHolder(m_pLocalVLayout);
}

QWidget *BtFtpClient::createRemoteHeader()
{
    m_pRemoteCombo = createNamed<QComboBox>("m_pRemoteCombo");
    m_pRemoteUpButton = createNamed<QToolButton>("m_pRemoteUpButton");
    m_pRefreshButton = createNamed<QToolButton>("m_pRefreshButton");
    m_pRemoteLabel = createLabel(tr("Remote:"), m_pRemoteCombo);
    m_pRemoteHLayout = new QHBoxLayout;
    removeGaps(m_pRemoteHLayout);
    m_pRemoteHLayout->addWidget(m_pRemoteLabel);
    m_pRemoteHLayout->addWidget(m_pRemoteCombo, 1);
    m_pRemoteHLayout->addWidget(m_pRemoteUpButton);
    m_pRemoteHLayout->addWidget(m_pRefreshButton);

    m_pRemoteUpAction = createUpAction("m_pRemoteUpAction", SLOT(cdUpRmt()));
    m_pRemoteUpButton->setDefaultAction(m_pRemoteUpAction);
    m_pRefreshAction = ui.action_Refresh;
    m_pRefreshAction->setIcon(QIcon(skinImage(SKIN_REFRESH)));
    m_pRefreshAction->setStatusTip(tr("Refresh contents on the remote device."));
    connect(m_pRefreshAction, SIGNAL(triggered()), this, SLOT(refreshRemote()));
    m_pRefreshButton->setDefaultAction(m_pRefreshAction);
    return createHolder(m_pRemoteHLayout);
}

QWidget *BtFtpClient::createRemotePane()
{
    QWidget *header = createRemoteHeader();
    m_pRemoteTree = createTree("m_pRemoteTree", TREE_PANE_REMOTE);
    m_pRemoteVLayout = new QVBoxLayout;
    removeGaps(m_pRemoteVLayout);
    m_pRemoteVLayout->addWidget(header);
    m_pRemoteVLayout->addWidget(m_pRemoteTree);
    connect(m_pRemoteTree, SIGNAL(SignalMousePressEvent(QMouseEvent *)), this,
            SLOT(procRmtMousePressEvent(QMouseEvent *)));
    connect(m_pRemoteTree, SIGNAL(itemSelectionChanged()), this, SLOT(UpdateActionRmt()));
    connect(m_pRemoteTree, SIGNAL(itemDoubleClicked(QTreeWidgetItem *, int)), this,
            SLOT(itemDoubleClickedRmt(QTreeWidgetItem *, int)));
    connect(m_pRemoteTree, SIGNAL(UploadRequest(QList<QUrl>)), this, SLOT(UploadRequest(QList<QUrl>)));
    return createHolder(m_pRemoteVLayout);
}

MyTreeWidget *BtFtpClient::createTree(const char *name, qint32 paneType)
{
    auto *tree = new MyTreeWidget(nullptr);
    tree->setObjectName(QLatin1String(name));
    tree->m_nPaneType = paneType;
    tree->setDragDropMode(QAbstractItemView::DragDrop);
    tree->setSelectionMode(QAbstractItemView::ExtendedSelection);
    // A row that was once edited stays editable; F2 or a double-click on it must not begin an edit behind our back.
    tree->setEditTriggers(QAbstractItemView::NoEditTriggers);
    return tree;
}

QAction *BtFtpClient::createUpAction(const char *name, const char *slot)
{
    auto *action = new QAction(QIcon(skinImage(SKIN_UP)), tr("&Up Folder"), this);
    action->setObjectName(QLatin1String(name));
    action->setStatusTip(tr("Enter upper folder."));
    connect(action, SIGNAL(triggered()), this, slot);
    return action;
}

void BtFtpClient::readLocalFolders()
{
    char settings[256] = {};
    (void)VmCm_GetCommonSettingFilePath(settings, sizeof settings); // without a settings file the default holds
    char folder[256] = {};
    GetPrivateProfileString("FtpClient", "DefaultLocalFolder", "/home/user/My Documents", folder, sizeof folder,
                            settings);
    m_strLocalHome = QString::fromUtf8(folder);
    m_strLocalPath = m_strLocalHome;
    m_strDeviceRoot = QStringLiteral("/media");
}

void BtFtpClient::takeFormActions()
{
    m_pActUpload = ui.actionUpload;
    m_pActDownload = ui.actionDownload;
    m_pActNewFile = ui.action_New_File;
    m_pActNewFolder = ui.actionNew_Folder;
    m_pActListView = ui.actionInfoList;
    m_pActDetailView = ui.actionDetailedList;
    m_pActDelete = ui.action_Delete;
    m_pActHdd = ui.actionHdd;
    m_pActUsb = ui.actionUsb;
}

void BtFtpClient::setUpActions()
{
    struct Entry
    {
        QAction *action;
        SkinImage image;
        const char *statusTip;
        const char *signal;
        const char *slot;
        bool checkable;
    };
    const char *const plain = SIGNAL(triggered());
    const char *const withState = SIGNAL(triggered(bool));
    const Entry entries[] = {
        {m_pActUpload, SKIN_UPLOAD, QT_TR_NOOP("Upload the selected files."), withState, SLOT(actionUpload(bool)),
         false},
        {m_pActDownload, SKIN_DOWNLOAD, QT_TR_NOOP("Download the selected files."), withState,
         SLOT(actionDownload(bool)), false},
        {m_pActNewFile, SKIN_FILE, QT_TR_NOOP("Create new file."), withState, SLOT(actionNewFile(bool)), false},
        {m_pActNewFolder, SKIN_NEW_FOLDER, QT_TR_NOOP("Create new folder."), withState, SLOT(actionNewFolder(bool)),
         false},
        {m_pActDelete, SKIN_DELETE, QT_TR_NOOP("Delete the selected file."), withState, SLOT(actionDelete(bool)),
         false},
        // The view actions are wired already; each trigger runs their slots twice, and the second run changes nothing.
        {m_pActListView, SKIN_LIST, QT_TR_NOOP("View in list."), plain, SLOT(actionListView()), true},
        {m_pActDetailView, SKIN_DETAILS, QT_TR_NOOP("View in details."), plain, SLOT(actionDetailView()), true},
        {m_pActHdd, SKIN_HARD_DISK, QT_TR_NOOP("List files in hdd device."), plain, SLOT(actionHddDevice()), true},
        {m_pActUsb, SKIN_USB, QT_TR_NOOP("List files in usb device."), plain, SLOT(actionUsbDevice()), true},
    };
    for (const Entry &entry : entries) {
        entry.action->setCheckable(entry.checkable);
        entry.action->setIcon(QIcon(skinImage(entry.image)));
        entry.action->setStatusTip(tr(entry.statusTip));
        connect(entry.action, entry.signal, this, entry.slot);
    }
    m_pActHdd->setChecked(true);

    m_pActRename = new QAction(tr("Rename"), this);
    m_pActRename->setObjectName(QStringLiteral("m_pActRename"));
    m_pActRename->setStatusTip(tr("Rename a file or folder."));
    connect(m_pActRename, SIGNAL(triggered(bool)), this, SLOT(actionRename(bool)));
}

void BtFtpClient::setUpToolBar()
{
    ui.toolBar->addActions({m_pActUpload, m_pActDownload});
    ui.toolBar->addSeparator();
    ui.toolBar->addActions({m_pActListView, m_pActDetailView});
    ui.toolBar->addSeparator();
    ui.toolBar->addActions({m_pActHdd, m_pActUsb});
    ui.toolBar->addSeparator();
}
