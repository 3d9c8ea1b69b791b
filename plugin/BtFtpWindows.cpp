#include "BtFtp.h"
#include "ProfileStatusClass.h"
#include "RmtProfilePropertyClass.h"
#include "btftpclient.h"

#include <QApplication>

QList<BtFtpClient *> BtFtp::windowsOfShortcut() const
{
    // A window that went without closing (its parent was deleted, say) has left its pointer behind, and another widget
    // may stand at its address by now.
    const QWidgetList alive = QApplication::topLevelWidgets();
    QList<BtFtpClient *> found;
    for (QWidget *window : m_clientWindows) {
        auto *const client = alive.contains(window) ? qobject_cast<BtFtpClient *>(window) : nullptr;
        if (client && client->shortcutHandle() == m_hShortcut)
            found.append(client);
    }
    return found;
}

void BtFtp::showClient(BtFtpClient *client)
{
    client->setShortcutHandle(m_hShortcut);
    client->setAttribute(Qt::WA_DeleteOnClose, true);
    client->setVisible(true);
    m_clientWindows.append(client);
}

void BtFtp::actionExploer()
{
    if (BtFtpClient *const open = windowsOfShortcut().value(0)) {
        open->raise();
        open->activateWindow();
        return;
    }
    auto *const client = new BtFtpClient(0, m_pParent);
    connect(client, SIGNAL(hideBtFtpClient(QWidget *)), this, SLOT(handleMainWndClose(QWidget *)));
    showClient(client);
}

void BtFtp::OperationInd(quint32, quint32 second, quint32 third)
{
    constexpr quint32 success = 1;
    if (m_nWindowOnIndication != 1 || second != success)
        return;
    // Its closing is deliberately not followed: such a window stays in the list.
    showClient(new BtFtpClient(third, m_pParent));
}

void BtFtp::handleMainWndClose(QWidget *pWnd)
{
    m_clientWindows.removeAll(pWnd);
}

void BtFtp::closeClientDlg()
{
    if (BtFtpClient *const client = windowsOfShortcut().value(0))
        client->close();
}

void BtFtp::actionDisconnect()
{
    closeClientDlg();
}

void BtFtp::actionProfileStatus()
{
    ProfileStatusClass dialog(m_hShortcut, true, nullptr);
    dialog.exec();
}

void BtFtp::actionProfileProperty()
{
    RmtProfilePropertyClass dialog(m_hShortcut, nullptr);
    dialog.exec();
}
