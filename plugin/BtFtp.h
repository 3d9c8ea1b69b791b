#ifndef BTFTP_H
#define BTFTP_H

#include "btsdk.h"

#include <QAction>
#include <QList>
#include <QObject>
#include <QString>

#include <atomic>

class BtFtpClient;

/**
 * The profile object: what stands behind the library's entry points. There is at most one, in s_pThis.
 *
 * It keeps the handles that the host spoke of last, the profile's menu actions, the open client windows and what there
 * is of the file transfer server. Every setter of a handle clears the others first, so each operation sees only the one
 * that its caller has just set.
 *
 * Lives on the GUI thread, but for DealFTPServerEvent. One class, one source file per concern: BtFtp.cpp (life and
 * handles), BtFtpMenus.cpp (menus, tips, double-clicks), BtFtpWindows.cpp (client windows), BtFtpServer.cpp (server).
 */
class BtFtp : public QObject
{
    Q_OBJECT

public:
    /** The host's callback; its arguments are told where it is called, in DealFTPServerEvent. */
    using InvokeVmFunction = unsigned int (*)(unsigned int, unsigned int, unsigned int, unsigned char *);

    /** @param parent  becomes the parent of the client windows; it does not own this object */
    explicit BtFtp(QWidget *parent);
    ~BtFtp() override;

    void resetHandles();
    void SetSeviceHandle(unsigned int service, unsigned int server);
    void SetShortcutHanlde(unsigned int shortcut);
    void SetConnectionHandle(unsigned int connection);
    void SetSvrHandle(unsigned int server);
    void SetInvokeVmFunction(InvokeVmFunction function);

    void createActions();
    /** The menu of a remote device's shortcut; the list's actions stay this object's, as in the two that follow. */
    QList<QAction *> GetActionList();
    /** The shorter menu for a remote device. */
    QList<QAction *> GetRemoteActionList();
    QList<QAction *> GetLocalSvrActionList(unsigned int server);
    QString getProfileTipByShortcut(unsigned int shortcut, unsigned int server);
    void performDefaultActionByShortcut(unsigned int shortcut);
    /** @return 0 */
    int performLocalSvrDefaultAction(unsigned int server);

    /** Closes the client window of the current shortcut, if there is one. */
    void closeClientDlg();

    /** Registers the server with the folder and the access mode of the settings; it is not started here. */
    void StartProfileServer();
    /** Deliberately empty: the server outlives the host's wish to stop the profile. */
    void StopProfileServer();
    /**
     * Makes sure that a folder exists, under the name of the logged-in user if need be.
     * @param path  260 bytes, NUL-terminated; may be null
     * @return whether path was rewritten
     */
    bool checkFtpShareFolder(char *path);
    /** Announces a received file to the host. On an SDK thread. @return the host's answer, 0 when it was not asked */
    static unsigned int DealFTPServerEvent(_BtSdkFileTransferReqStru *request);

private slots:
    void actionExploer();
    void actionProfileProperty();
    void actionProfileStatus();
    void actionDisconnect();
    void onfinish();
    void OperationInd(quint32 first, quint32 second, quint32 third);
    void handleMainWndClose(QWidget *pWnd);
    void actionOpenShare();
    void actionSvrEnable();
    void actionSvrStatus();
    void actionSvrProperty();

private:
    friend struct BtFtpPeer; // the unit test's view of the members

    bool isConnected() const;
    QList<BtFtpClient *> windowsOfShortcut() const;
    void appendDisconnect(QList<QAction *> &list, const QString &text);
    void showClient(BtFtpClient *client);
    void repairFolderSetting(const char *section, const char *key, char *path, const char *file);

    QWidget *m_pParent;
    QAction *m_pActOpen = nullptr; // null until the actions are created
    QAction *m_pActDisconnect = nullptr;
    QAction *m_pActProperties = nullptr;
    QAction *m_pActStatus = nullptr;
    QAction *m_pSeparator1 = nullptr;
    QAction *m_pSeparator2 = nullptr;
    QAction *m_pActOpenShare = nullptr;
    QAction *m_pActSvrEnable = nullptr;
    QAction *m_pActSvrStatus = nullptr;
    QAction *m_pActSvrProperties = nullptr;
    quint32 m_hService = 0;
    quint32 m_hServer = 0;
    quint32 m_hShortcut = 0;
    quint32 m_hConnection = 0;
    quint32 m_hSecondServer = 0;
    QObject *m_pFinished = nullptr; // deleted by onfinish
    qint32 m_nWindowOnIndication = 0;
    QList<QWidget *> m_clientWindows; // not owned: each deletes itself on close
    std::atomic<InvokeVmFunction> m_pInvokeVm{nullptr};
    quint32 m_hFtpService = 0;
    char m_szShareFolder[260] = {};
    char m_szReceivedFile[260] = {};
};

/** The profile object, null when there is none. Read on SDK threads too. */
extern std::atomic<BtFtp *> s_pThis;

#endif
