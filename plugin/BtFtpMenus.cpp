#include "BtFtp.h"
#include "ProfileStatusClass.h"
#include "btftpclient.h"
#include "btsdk.h"
#include "vmcommon.h"

namespace {

/** @return 0, which no state has, when the query fails */
quint16 serverStatus(unsigned int server)
{
    quint16 status = 0;
    (void)Btsdk_GetServerStatus(server, &status);
    return status;
}

QString ftpDisplayName()
{
    QString name;
    (void)VmCm_GetSvcDisplayName(BTSDK_CLS_OBEX_FILE_TRANS, &name);
    return name;
}

} // namespace

void BtFtp::createActions()
{
    if (m_pActOpen)
        return;
    const struct
    {
        QAction *BtFtp::*member;
        const char *text;
        const char *slot;
    } rows[] = {
        {&BtFtp::m_pActOpen, QT_TR_NOOP("&Open"), SLOT(actionExploer())},
        {&BtFtp::m_pActProperties, QT_TR_NOOP("&Properties"), SLOT(actionProfileProperty())},
        {&BtFtp::m_pActStatus, QT_TR_NOOP("&Status"), SLOT(actionProfileStatus())},
        {&BtFtp::m_pActDisconnect, QT_TR_NOOP("&Disconnect"), SLOT(actionDisconnect())},
        {&BtFtp::m_pActOpenShare, QT_TR_NOOP("&Open shared folder"), SLOT(actionOpenShare())},
        {&BtFtp::m_pActSvrEnable, QT_TR_NOOP("&Disable"), SLOT(actionSvrEnable())},
        {&BtFtp::m_pActSvrStatus, QT_TR_NOOP("&Status"), SLOT(actionSvrStatus())},
        {&BtFtp::m_pActSvrProperties, QT_TR_NOOP("&Properties"), SLOT(actionSvrProperty())},
    };
    for (const auto &row : rows) {
        QAction *const action = this->*row.member = new QAction(tr(row.text), this);
        connect(action, SIGNAL(triggered()), this, row.slot);
    }
    for (QAction *BtFtp::*separator : {&BtFtp::m_pSeparator1, &BtFtp::m_pSeparator2}) {
        this->*separator = new QAction(this);
        (this->*separator)->setSeparator(true);
    }
}

bool BtFtp::isConnected() const
{
    return VmCm_IsShortcutConnected(m_hShortcut) != 0;
}

void BtFtp::appendDisconnect(QList<QAction *> &list, const QString &text)
{
    const QList<BtFtpClient *> windows = windowsOfShortcut();
    for (const BtFtpClient *window : windows) {
        if (window->isConfirmingDelete())
            continue;
        m_pActDisconnect->setText(text);
        list.append(m_pActDisconnect);
    }
}

QList<QAction *> BtFtp::GetActionList()
{
    createActions();
    if (!isConnected()) {
        m_pActOpen->setText(tr("&Open"));
        return {m_pActOpen, m_pActStatus, m_pActProperties};
    }
    QList<QAction *> list;
    appendDisconnect(list, tr("&Disconnect"));
    list << m_pActStatus << m_pActProperties;
    return list;
}

QList<QAction *> BtFtp::GetRemoteActionList()
{
    createActions();
    if (!isConnected()) {
        m_pActOpen->setText(tr("&Open File Explorer"));
        return {m_pActOpen};
    }
    QList<QAction *> list;
    appendDisconnect(list, tr("&Disconnect %1").arg(ftpDisplayName(), 0, QLatin1Char(' ')));
    return list;
}

QList<QAction *> BtFtp::GetLocalSvrActionList(unsigned int server)
{
    m_hServer = server;
    createActions();
    const quint16 status = serverStatus(server);
    QFont font = m_pActSvrEnable->font();
    // The bold entry is the one that a double-click performs. Other states leave the last labels.
    if (status == BTSDK_SERVER_STOPPED) {
        font.setWeight(QFont::Bold);
        m_pActSvrEnable->setFont(font);
        font.setWeight(QFont::Normal);
        m_pActOpenShare->setFont(font);
        m_pActSvrEnable->setText(tr("&Enable"));
    } else if (status == BTSDK_SERVER_STARTED) {
        font.setWeight(QFont::Normal);
        m_pActSvrEnable->setFont(font);
        m_pActSvrEnable->setText(tr("&Disable"));
        font.setWeight(QFont::Bold);
        m_pActOpenShare->setFont(font);
    }
    return {m_pActOpenShare, m_pSeparator1, m_pActSvrEnable, m_pActSvrStatus, m_pSeparator2, m_pActSvrProperties};
}

QString BtFtp::getProfileTipByShortcut(unsigned int shortcut, unsigned int server)
{
    QString tip;
    if (shortcut != 0) {
        SetShortcutHanlde(shortcut);
        tip = isConnected() ? tr("Double-click to show service's status.\n")
                            : tr("Double-click to open the file explorer.\n");
    } else if (server != 0) {
        quint16 status = 0;
        const bool known = Btsdk_GetServerStatus(server, &status) == BTSDK_OK;
        tip = known && status == BTSDK_SERVER_CONNECTED ? tr("Double-click to show service's status.\n")
                                                        : tr("Double-click to view the shared folder.\n");
    }
    return tip + tr("Right-click to get more options.");
}

void BtFtp::performDefaultActionByShortcut(unsigned int shortcut)
{
    SetShortcutHanlde(shortcut);
    if (isConnected())
        actionProfileStatus();
    else
        actionExploer();
}

int BtFtp::performLocalSvrDefaultAction(unsigned int server)
{
    switch (serverStatus(server)) {
    case BTSDK_SERVER_STOPPED:
        // Unlike the menu's entry, the double-click neither asks for a transport nor remembers the choice.
        (void)Btsdk_StartServer(server);
        break;
    case BTSDK_SERVER_STARTED:
        actionOpenShare();
        break;
    case BTSDK_SERVER_CONNECTED: {
        ProfileStatusClass dialog(server, nullptr);
        dialog.exec();
        break;
    }
    default:
        break;
    }
    return 0;
}
