#include "btftpclient.h"

#include "ComProgressDlg.h"
#include "MyTreeWidget.h"
#include "skinimage.h"
#include "vmcommon.h"

#include <QAbstractItemDelegate>
#include <QApplication>
#include <QMenu>
#include <QTimer>

std::atomic<BtFtpClient *> BtFtpClient::m_pBrowsingClient{nullptr};
std::atomic<BtFtpClient *> BtFtpClient::m_pTransferingClient{nullptr};

namespace {

/** Reports cross threads with pointers in them; queued delivery needs their types by name. */
void registerReportTypes()
{
    qRegisterMetaType<quint8 *>("quint8*");
    qRegisterMetaType<FTP_FIND_DATA *>("FTP_FIND_DATA*");
}

/**
 * Lets the menus of a window live for one more turn of the event loop. A menu writes to itself after the entry that it
 * carried out has returned, and under that entry's question the host may have closed the window.
 */
void outliveMenus(const QWidget &window)
{
    if (!QApplication::activeModalWidget())
        return;
    const QList<QMenu *> menus = window.findChildren<QMenu *>();
    for (QMenu *menu : menus) {
        menu->setParent(nullptr);
        QTimer::singleShot(0, menu, &QObject::deleteLater);
    }
}

} // namespace

BtFtpClient::BtFtpClient(unsigned long hConnection, QWidget *parent)
    : QMainWindow(parent), m_hConnection(static_cast<quint32>(hConnection)), m_workThread(nullptr)
{
    registerReportTypes();
    ui.setupUi(this);
    takeFormActions();
    loadSkin();
    connectSignals();
    ui.action_Up->setIcon(QIcon(skinImage(SKIN_UP)));
    ui.action_Create_Folder->setIcon(QIcon(skinImage(SKIN_NEW_FOLDER)));
    ui.action_Copy->setIcon(QIcon(skinImage(SKIN_COPY)));
    ui.action_Paste->setIcon(QIcon(skinImage(SKIN_PASTE)));
    createWidgets();
    setUpActions();
    setUpToolBar();

    m_pLocalTree->setFocus(Qt::ActiveWindowFocusReason);
    for (MyTreeWidget *tree : {m_pLocalTree, m_pRemoteTree}) {
        // Enter and Escape bring a hint with them.
        connect(tree->itemDelegate(), &QAbstractItemDelegate::closeEditor, this,
                [this](QWidget * /*editor*/, QAbstractItemDelegate::EndEditHint hint) {
                    m_bFocusLeaves = hint == QAbstractItemDelegate::NoHint;
                });
        connect(tree->itemDelegate(), SIGNAL(closeEditor(QWidget *, QAbstractItemDelegate::EndEditHint)), this,
                SLOT(itemEditDone()));
        watchCurrentItem(tree);
    }
}

void BtFtpClient::loadSkin()
{
    setWindowIcon(QIcon(skinImage(SKIN_WINDOW)));
    QString title;
    VmCm_GetSvcDisplayName(BTSDK_CLS_OBEX_FILE_TRANS, &title);
    setWindowTitle(title);
    m_strFolderIcon = skinImage(SKIN_FOLDER);
    m_strFileIcon = skinImage(SKIN_FILE);
    m_folderIcon = QIcon(m_strFolderIcon);
    m_fileIcon = QIcon(m_strFileIcon);
}

void BtFtpClient::connectSignals()
{
    connect(qApp, SIGNAL(focusChanged(QWidget *, QWidget *)), this, SLOT(focusChanged(QWidget *, QWidget *)));
    connect(ui.action_Home, SIGNAL(triggered()), this, SLOT(action_Home()));
    connect(ui.action_Up, SIGNAL(triggered()), this, SLOT(action_Up()));
    connect(ui.action_Quit, SIGNAL(triggered()), this, SLOT(close()));
    connect(ui.actionInfoList, SIGNAL(triggered()), this, SLOT(actionListView()));
    connect(ui.actionDetailedList, SIGNAL(triggered()), this, SLOT(actionDetailView()));
    connect(this, SIGNAL(BrowseFileFound(FTP_FIND_DATA *)), this, SLOT(ShowBrowseFile(FTP_FIND_DATA *)));
    connect(&m_workThread, SIGNAL(OperationInd(quint32, quint32, quint32)), this,
            SLOT(OperationInd(quint32, quint32, quint32)));
    connect(this, SIGNAL(FtpStatusCallback(quint8, quint8, quint8 *, quint32, quint32)), this,
            SLOT(procFtpStatusCallback(quint8, quint8, quint8 *, quint32, quint32)));
}

/** Keeps m_pCurItem from dangling, whichever way its row leaves the tree. */
void BtFtpClient::watchCurrentItem(MyTreeWidget *tree)
{
    connect(tree->model(), &QAbstractItemModel::modelAboutToBeReset, this, [this, tree] {
        if (m_pCurItem && m_pCurItem->treeWidget() == tree)
            m_pCurItem = nullptr;
    });
    connect(tree->model(), &QAbstractItemModel::rowsAboutToBeRemoved, this,
            [this, tree](const QModelIndex & /*parent*/, int first, int last) {
                if (!m_pCurItem || m_pCurItem->treeWidget() != tree)
                    return;
                const int row = tree->indexOfTopLevelItem(m_pCurItem);
                if (row >= first && row <= last)
                    m_pCurItem = nullptr;
            });
}

void BtFtpClient::setShortcutHandle(unsigned int hShortcut)
{
    m_hShortcut = hShortcut;
    UpdateRmtTree(QStringLiteral("/"));
}

BtFtpClient::~BtFtpClient()
{
    delete m_pProgressDlg;
    m_pProgressDlg = nullptr;
    stopWorkers();
    leaveTransfer();
    leaveListing();
    releaseReports();
    disconnect(this, SIGNAL(FtpStatusCallback(quint8, quint8, quint8 *, quint32, quint32)), this,
               SLOT(procFtpStatusCallback(quint8, quint8, quint8 *, quint32, quint32)));
    (void)Btsdk_DisconnectShortCut(m_hShortcut); // the link may be gone already, and nobody is left to tell
    m_pRemoteTree->clear();
    // What the base class still removes must not reach the members of a window that is no more.
    for (MyTreeWidget *tree : {m_pLocalTree, m_pRemoteTree})
        disconnect(tree->model(), nullptr, this, nullptr);
    outliveMenus(*this);
}

void BtFtpClient::stopWorkers()
{
    if (m_workThread.isRunning()) {
        if (m_nCurOperation == OPERATION_GET || m_nCurOperation == OPERATION_PUT)
            (void)Btsdk_FTPCancelTransfer(m_hConnection); // whether or not it could be cancelled, the wait follows
        m_workThread.wait();
    }
    if (m_pCancelThread) {
        if (m_pCancelThread->isRunning())
            m_pCancelThread->wait();
        delete m_pCancelThread;
        m_pCancelThread = nullptr;
    }
}

/** Delivers the reports that wait in the queue, so that their slots free the copies in them and do nothing else. */
void BtFtpClient::releaseReports()
{
    m_bLeaving = true;
    QCoreApplication::sendPostedEvents(this, QEvent::MetaCall);
}
