#ifndef BTFTPCLIENT_H
#define BTFTPCLIENT_H

#include "RemoteItem.h"
#include "WorkingThread.h"
#include "btsdk.h"
#include "ui_btftpclient.h"

#include <QIcon>
#include <QList>
#include <QMainWindow>
#include <QString>
#include <QUrl>
#include <QWaitCondition>

#include <atomic>
#include <functional>
#include <memory>

class ComProgressDlg;
class MyTreeWidget;
class QComboBox;
class QHBoxLayout;
class QLabel;
class QSplitter;
class QToolButton;
class QTreeWidgetItem;
class QVBoxLayout;
struct TransferNames;

/**
 * The window in which the user browses one remote device's file transfer service: the local file system on the left,
 * the remote device's current folder on the right.
 *
 * Lives on the GUI thread. One class, one source file per concern: btftpclient.cpp (construction, destruction),
 * _layout (widgets and menus), _view (focus, selection, view modes, keys), _remote (remote browsing), _operation
 * (completion of what the workers do), _local (local pane), _transfer (requests), _progress (status reports, cancel),
 * _files (create, rename, delete).
 *
 * Rules that every concern keeps:
 * - Rows of the remote tree are RemoteItem objects, which own and free their FTP_FIND_DATA; nobody else frees it.
 * - m_pCurItem becomes null by itself as soon as its row leaves its tree (removed, taken, deleted, tree cleared). To
 *   take a row out and delete it, keep the item in a local variable.
 * - After any modal box, menu or dialog the window may be gone: hold a QPointer and look before touching a member.
 */
class BtFtpClient : public QMainWindow
{
    Q_OBJECT

public:
    /** @param hConnection  connection handle, 0 when there is none yet */
    BtFtpClient(unsigned long hConnection, QWidget *parent);
    /** Cancels a running get or put, waits for the workers, disconnects the shortcut. */
    ~BtFtpClient() override;

    /** Takes the shortcut and lists the remote root, connecting first when need be. */
    void setShortcutHandle(unsigned int hShortcut);

    unsigned int shortcutHandle() const { return m_hShortcut; }
    /** True only while the confirmation of a remote delete is open. */
    bool isConfirmingDelete() const { return m_bConfirmingDelete; }

    /** Listing callback: @param data an FTP_FIND_DATA, valid during the call; null adds nothing. */
    static void BTSDK_FTP_UIShowBrowseFile(unsigned char *data);
    /** Status callback, called on a thread of the SDK's. */
    static void FTP_StatusCallback(unsigned char first, unsigned char last, unsigned char *filename,
                                   unsigned long filesize, unsigned long cursize);

protected:
    // Each marked by itself: the section keyword for signals would make them public.
    Q_SIGNAL void BrowseFileFound(FTP_FIND_DATA *pData);
    Q_SIGNAL void FtpStatusCallback(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize);
    Q_SIGNAL void UserCancelTrasfer();
    Q_SIGNAL void sgnTransStatus(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize);
    /** The window is closing. */
    Q_SIGNAL void hideBtFtpClient(QWidget *pWnd);

    void closeEvent(QCloseEvent *event) override;
    void keyPressEvent(QKeyEvent *event) override;

private slots:
    void ShowBrowseFile(FTP_FIND_DATA *pData);
    void cdUpLocal();
    void UpdateLocCombox(const QString &curr);
    void UpdateLocTree(const QString &curr);
    void itemDoubleClickedLocal(QTreeWidgetItem *item, int column);
    void cdUpRmt();
    void UpdateRmtCombox(const QString &curr);
    void UpdateRmtTree(const QString &curr);
    void itemDoubleClickedRmt(QTreeWidgetItem *item, int column);
    void itemClickedRmt(QTreeWidgetItem *item, int column);
    void UpdateActionRmt();
    void UpdateActionLocal();
    void UploadRequest(const QList<QUrl> &urls);
    void DownloadRequest(const QList<QUrl> &urls);
    void DeleteRmtRequest(const QList<QUrl> &urls);
    void action_Home();
    void action_Up();
    void action_Copy();
    void OperationInd(quint32 opType, quint32 wparam, quint32 lparam);
    void procFtpStatusCallback(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize);
    void procUserAction(quint8 action);
    void currentItemChanged(QTreeWidgetItem *current, QTreeWidgetItem *previous);
    void itemDoubleClicked(QTreeWidgetItem *item, int column);
    void itemExpanded(QTreeWidgetItem *item);
    void onCancelFinished();
    void itemClicked();
    void procLocMousePressEvent(QMouseEvent *event);
    void procRmtMousePressEvent(QMouseEvent *event);
    void actionUpload(bool);
    void actionDownload(bool);
    void actionNewFile(bool);
    void actionNewFolder(bool);
    void actionRename(bool);
    void refreshRemote();
    void actionListView();
    void actionDetailView();
    void actionDelete(bool);
    void actionHddDevice();
    void actionUsbDevice();
    void focusChanged(QWidget *old, QWidget *now);
    void itemEditDone();

private:
    friend struct BtFtpClientPeer; // the unit test's view of the members

    // btftpclient.cpp
    void loadSkin();
    void connectSignals();
    void watchCurrentItem(MyTreeWidget *tree);
    void stopWorkers();
    void releaseReports();

    // btftpclient_layout.cpp
    void takeFormActions();
    void createWidgets();
    QWidget *createLocalHeader();
    QWidget *createLocalPane();
    QWidget *createRemoteHeader();
    QWidget *createRemotePane();
    MyTreeWidget *createTree(const char *name, qint32 paneType);
    QAction *createUpAction(const char *name, const char *slot);
    void readLocalFolders();
    void setUpActions();
    void setUpToolBar();

    // btftpclient_view.cpp
    bool localHasFocus() const;
    bool remoteHasFocus() const;
    void enterPane(const MyTreeWidget *tree, MyTreeWidget *other);
    void setFocusedViewMode(int mode);
    void checkViewMode(int mode);

    // btftpclient_operation.cpp
    void procConnect(quint32 result, quint32 connection);
    void procGet(quint32 result);
    void procPut(quint32 result, quint32 code);
    void procCancel(quint32 result, quint32 transferType);
    void procDelete(quint32 result);
    void refreshPanes();
    void closeProgressDlg();

    // btftpclient_remote.cpp
    void connectToDevice();
    void listRemoteFolder(const QString &path);
    void insertListedRows();
    /** Entries that the SDK still gives out find no window; m_pBrowsingClient stays. */
    void leaveListing();
    static bool remoteItemIsFolder(const QTreeWidgetItem *item);
    static QString GetSizeString(unsigned int size);
    static QString FullStrToShowStr(const QString &path);
    static QString ShowStrToFullStr(const QString &path);

    // btftpclient_transfer.cpp
    bool beginRequest();
    bool checkLength(const TransferNames &names);
    bool confirmReplace(const QString &name, bool isFolder);
    void startTransfer(WorkingOperation operation, std::unique_ptr<TransferRequest> request);

    // btftpclient_progress.cpp
    void showCompProgressDlg();
    void procUserCancelTransfer();
    /** Takes this window out of m_pTransferingClient and lets a status callback that is under way leave. */
    void leaveTransfer();

    // btftpclient_files.cpp
    void createLocalFolder();
    void proposeRemoteFolder();
    void editRows(MyTreeWidget *tree, const QString &name);
    void commitRename();
    void refuseRename(const QString &text);
    void commitRemoteFolder();
    void refuseRemoteFolder(const QString &text);
    void refuseEdit(const QString &title, const QString &text, const std::function<void(QTreeWidgetItem *)> &undo);
    void deleteLocalSelection();
    void deleteRemoteSelection();
    bool confirmDeleteHint(QTreeWidgetItem *item, bool isFolder, int count);
    bool deleteFile(const QString &dirPath, const QString &name);
    bool deleteDir(const QString &path);

    QString m_strLocalHome; // of the selected local device, the target of Home; also the mark of the device mode
    QString m_strLocalPath; // home of the hard disk, as configured
    QString m_strDeviceRoot;
    QAction *m_pActUpload = nullptr;
    QAction *m_pActDownload = nullptr;
    QAction *m_pActNewFile = nullptr;
    QAction *m_pActNewFolder = nullptr;
    QAction *m_pActRename = nullptr;
    QAction *m_pActListView = nullptr;
    QAction *m_pActDetailView = nullptr;
    QAction *m_pActDelete = nullptr;
    QAction *m_pActHdd = nullptr;
    QAction *m_pActUsb = nullptr;
    QSplitter *m_pSplitter = nullptr;
    QVBoxLayout *m_pLocalVLayout = nullptr;
    QHBoxLayout *m_pLocalHLayout = nullptr;
    MyTreeWidget *m_pLocalTree = nullptr;
    QComboBox *m_pLocalCombo = nullptr;
    QToolButton *m_pLocalUpButton = nullptr;
    QAction *m_pLocalUpAction = nullptr;
    QLabel *m_pLocalLabel = nullptr;
    QVBoxLayout *m_pRemoteVLayout = nullptr;
    QHBoxLayout *m_pRemoteHLayout = nullptr;
    MyTreeWidget *m_pRemoteTree = nullptr;
    QComboBox *m_pRemoteCombo = nullptr;
    QToolButton *m_pRemoteUpButton = nullptr;
    QAction *m_pRemoteUpAction = nullptr;
    QToolButton *m_pRefreshButton = nullptr;
    QAction *m_pRefreshAction = nullptr;
    QLabel *m_pRemoteLabel = nullptr;
    ComProgressDlg *m_pProgressDlg = nullptr;
    WorkingThread *m_pCancelThread = nullptr;
    Ui_BtFtpClientClass ui;
    quint32 m_hConnection = 0; // 0: not connected
    quint32 m_hShortcut = 0;
    QTreeWidgetItem *m_pCurItem = nullptr;
    WorkingThread m_workThread;
    quint32 m_nCurOperation = OPERATION_NONE;
    quint32 m_nOpResult = 0; // RESULT_FAILURE while an operation runs, RESULT_SUCCESS after a success
    QWaitCondition m_waitCond;
    QString m_strFolderIcon;
    QString m_strFileIcon;
    QString m_strTransferSource;
    QString m_strTransferDestination;
    QString m_strOldName;
    bool m_bNewItemEditing = false;
    bool m_bConfirmingDelete = false;
    bool m_bFocusLeaves = false; // the edit that ended last did so because the focus went elsewhere
    QIcon m_folderIcon;          // of m_strFolderIcon, loaded once for all rows
    QIcon m_fileIcon;
    QList<QTreeWidgetItem *> m_listedFolders; // rows of the listing that runs, not yet in the tree
    QList<QTreeWidgetItem *> m_listedFiles;
    bool m_bListing = false;
    bool m_bLeaving = false; // the window is being destroyed: reports that still arrive are released, not shown

    // The SDK's callbacks are plain functions without a context, so they find their window here.
    static std::atomic<BtFtpClient *> m_pBrowsingClient;    // never reset
    static std::atomic<BtFtpClient *> m_pTransferingClient; // null when no transfer is under way
};

#endif
