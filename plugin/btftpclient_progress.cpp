#include "ComProgressDlg.h"
#include "MyTreeWidget.h"
#include "btftpclient.h"
#include "skinimage.h"

#include <QIcon>

#include <thread>

namespace {

/** How many status callbacks are under way; a window that is destroyed waits until those that may know it have left. */
std::atomic<int> s_reporting{0};

/** A copy that outlives the SDK's buffer, null for an empty name; freed by procFtpStatusCallback. */
quint8 *copyName(const unsigned char *name)
{
    const size_t length = qstrlen(reinterpret_cast<const char *>(name));
    if (length == 0)
        return nullptr;
    auto *copy = new quint8[length + 1];
    memcpy(copy, name, length + 1);
    return copy;
}

} // namespace

void BtFtpClient::FTP_StatusCallback(unsigned char first, unsigned char last, unsigned char *filename,
                                     unsigned long filesize, unsigned long cursize)
{
    if (!first && !last && !filesize && !cursize)
        return;
    ++s_reporting; // before the pointer is read, so that leaveTransfer() sees one or the other
    if (BtFtpClient *client = m_pTransferingClient)
        emit client->FtpStatusCallback(first, last, copyName(filename), static_cast<quint32>(filesize),
                                       static_cast<quint32>(cursize));
    --s_reporting;
}

void BtFtpClient::leaveTransfer()
{
    BtFtpClient *self = this;
    m_pTransferingClient.compare_exchange_strong(self, nullptr);
    while (s_reporting != 0)
        std::this_thread::yield();
}

void BtFtpClient::procFtpStatusCallback(quint8 first, quint8 last, quint8 *filename, quint32 filesize, quint32 cursize)
{
    const std::unique_ptr<quint8[]> owner(filename);
    if (m_bLeaving)
        return;
    if (first && filesize == 0) {
        const QString name = QString::fromUtf8(reinterpret_cast<const char *>(filename));
        const QList<QTreeWidgetItem *> rows = m_pRemoteTree->findItems(name, Qt::MatchExactly, 0);
        if (const FTP_FIND_DATA *entry = RemoteItem::entryOf(rows.value(0)))
            filesize = entry->size;
    }
    if (m_pProgressDlg)
        emit sgnTransStatus(first, last, filename, filesize, cursize);
}

void BtFtpClient::showCompProgressDlg()
{
    delete m_pProgressDlg; // of a transfer whose request this one overwrote; nothing would close it any more
    m_pProgressDlg = new ComProgressDlg(m_strTransferSource, m_strTransferDestination, this);
    m_pProgressDlg->setWindowIcon(QIcon(skinImage(SKIN_WINDOW)));
    connect(m_pProgressDlg, SIGNAL(userActionInd(quint8)), this, SLOT(procUserAction(quint8)));
    connect(this, SIGNAL(sgnTransStatus(quint8, quint8, quint8 *, quint32, quint32)), m_pProgressDlg,
            SLOT(slotProcTransStatus(quint8, quint8, quint8 *, quint32, quint32)));
    m_pProgressDlg->setVisible(true);
}

void BtFtpClient::procUserAction(quint8 action)
{
    constexpr quint8 cancel = 1;
    if (action == cancel)
        procUserCancelTransfer();
}

void BtFtpClient::procUserCancelTransfer()
{
    if (m_nCurOperation != OPERATION_GET && m_nCurOperation != OPERATION_PUT)
        return;
    if (!m_pCancelThread) {
        m_pCancelThread = new WorkingThread(nullptr);
        connect(m_pCancelThread, SIGNAL(finished()), this, SLOT(onCancelFinished()));
    }
    m_nCurOperation = OPERATION_CANCEL;
    m_pCancelThread->StartOperation(OPERATION_CANCEL, m_hConnection, 0);
}

void BtFtpClient::onCancelFinished()
{
    // The end of an earlier cancel may be told only now that the same worker runs a new one, whose end follows.
    if (!m_pCancelThread || m_pCancelThread->isRunning())
        return;
    m_pCancelThread->wait();
    delete m_pCancelThread;
    m_pCancelThread = nullptr;
}
