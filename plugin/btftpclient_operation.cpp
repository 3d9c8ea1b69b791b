#include "ComProgressDlg.h"
#include "btftpclient.h"
#include "messagebox.h"

#include <QComboBox>
#include <QPointer>

void BtFtpClient::OperationInd(quint32 opType, quint32 wparam, quint32 lparam)
{
    if (m_bLeaving)
        return;
    switch (opType) {
    case OPERATION_CONNECT:
        procConnect(wparam, lparam);
        break;
    case OPERATION_GET:
        procGet(wparam);
        break;
    case OPERATION_PUT:
        procPut(wparam, lparam);
        break;
    case OPERATION_CANCEL:
        procCancel(wparam, lparam);
        break;
    case OPERATION_DELETE:
        procDelete(wparam);
        break;
    default:
        break;
    }
}

void BtFtpClient::procConnect(quint32 result, quint32 connection)
{
    switch (result) {
    case RESULT_CONNECT_STARTING:
        ui.action_Quit->setEnabled(false); // the call cannot be left while it blocks
        return;
    case RESULT_CONNECT_RETURNED:
        ui.action_Quit->setEnabled(true);
        return;
    case RESULT_SUCCESS:
        ui.statusbar->showMessage(tr("Connected."));
        m_hConnection = connection;
        UpdateRmtTree(QStringLiteral("/"));
        break;
    case RESULT_FAILURE:
        ui.statusbar->showMessage(tr("Cannot connect to the FTP service."));
        break;
    default:
        break;
    }
    m_nCurOperation = OPERATION_NONE;
    unsetCursor();
}

void BtFtpClient::procGet(quint32 result)
{
    refreshPanes();
    if (result == RESULT_SUCCESS)
        m_nOpResult = RESULT_SUCCESS;
    ui.statusbar->showMessage(result == RESULT_SUCCESS ? tr("Download succeeded.")
                                                       : tr("Download was not successful."));
    m_nCurOperation = OPERATION_NONE;
    closeProgressDlg();
    m_pTransferingClient = nullptr;
}

void BtFtpClient::procPut(quint32 result, quint32 code)
{
    refreshPanes();
    if (result == RESULT_SUCCESS)
        m_nOpResult = RESULT_SUCCESS;
    ui.statusbar->showMessage(result == RESULT_SUCCESS ? tr("Upload succeeded.") : tr("Upload was not successful."));
    m_nCurOperation = OPERATION_NONE;
    closeProgressDlg();
    if (code == BTSDK_ER_READ_ONLY) {
        const QPointer<BtFtpClient> alive = this;
        execMessageBox(QMessageBox::Warning, tr("Upload failed"),
                       tr("\tUpload failed!\nRemote device may have set its FTP service Read Only."), QMessageBox::Ok,
                       this);
        if (!alive)
            return; // its destructor has let go of the transfer
    }
    m_pTransferingClient = nullptr;
}

void BtFtpClient::procCancel(quint32 result, quint32 transferType)
{
    refreshRemote();
    if (result != RESULT_SUCCESS) {
        ui.statusbar->showMessage(tr("Cancel was not successful."));
    } else {
        m_nOpResult = RESULT_SUCCESS;
        if (transferType == OPERATION_GET)
            ui.statusbar->showMessage(tr("Download was not successful."));
        else if (transferType == OPERATION_PUT)
            ui.statusbar->showMessage(tr("Upload was not successful."));
    }
    m_nCurOperation = OPERATION_NONE;
    closeProgressDlg();
    m_pTransferingClient = nullptr;
}

// Leaves the current operation, the cursor and the transfer's owner as they are.
void BtFtpClient::procDelete(quint32 result)
{
    refreshRemote();
    if (result == RESULT_SUCCESS) {
        ui.statusbar->showMessage(tr("Delete succeeded."));
        return;
    }
    const QPointer<BtFtpClient> alive = this;
    execMessageBox(QMessageBox::Warning, tr("Delete failed"),
                   tr("\tDelete failed!\nYou may have not enough permissions to delete."), QMessageBox::Ok, this);
    if (alive)
        ui.statusbar->showMessage(tr("Delete was not successful."));
}

void BtFtpClient::refreshPanes()
{
    UpdateLocTree(m_pLocalCombo->currentText());
    refreshRemote();
}

void BtFtpClient::closeProgressDlg()
{
    if (!m_pProgressDlg)
        return;
    m_pProgressDlg->done(0);
    QObject::disconnect(this, nullptr, m_pProgressDlg, nullptr);
    delete m_pProgressDlg;
    m_pProgressDlg = nullptr;
}
