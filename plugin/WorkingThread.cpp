#include "WorkingThread.h"

#include "btsdk.h"

#include <memory>

namespace {

constexpr uint s_stackSize = 65536;

bool carriesRequest(quint32 opType)
{
    return opType == OPERATION_GET || opType == OPERATION_PUT || opType == OPERATION_DELETE;
}

TransferRequest *requestAt(quintptr wparam)
{
    return reinterpret_cast<TransferRequest *>(wparam);
}

quint32 get(const TransferRequest &request)
{
    const auto call = request.folder ? Btsdk_FTPGetDir : Btsdk_FTPGetFile;
    return call(request.connection, request.remoteName, request.localPath);
}

quint32 put(const TransferRequest &request)
{
    const auto call = request.folder ? Btsdk_FTPPutDir : Btsdk_FTPPutFile;
    return call(request.connection, request.localPath, request.remoteName);
}

quint32 remove(const TransferRequest &request)
{
    const auto call = request.folder ? Btsdk_FTPDeleteDir : Btsdk_FTPDeleteFile;
    return call(request.connection, request.remoteName);
}

} // namespace

WorkingThread::WorkingThread(QObject *parent) : QThread(parent)
{
    setStackSize(s_stackSize);
}

WorkingThread::~WorkingThread() = default;

void WorkingThread::StartOperation(quint32 opType, quintptr wparam, quint32 lparam)
{
    // A run that has nothing left to report is over but for its last instructions. What its report leads to, such as
    // connecting anew after a broken transfer, must not be lost to them.
    if (m_bLastReport)
        wait();
    m_nOpType = opType;
    m_wparam = wparam;
    m_lparam = lparam;
    if (isRunning()) {
        m_bRestartRequested = true;
        // It will never be run, and the run that goes on holds its own.
        if (carriesRequest(opType))
            delete requestAt(wparam);
        return;
    }
    m_started = {opType, wparam, lparam};
    m_bLastReport = false;
    start(QThread::LowPriority);
}

void WorkingThread::report(quint32 result, quint32 lparam)
{
    m_bLastReport = result == RESULT_SUCCESS || result == RESULT_FAILURE;
    emit OperationInd(m_nOpType, result, lparam);
}

void WorkingThread::run()
{
    // The kind of the last transfer, of whichever worker; the cancel, which runs on another one, tells it.
    static std::atomic<quint32> g_nTransferType{OPERATION_NONE};

    // What was asked for when the thread was started: a later request overwrites the stored values at any moment.
    const Operation operation = m_started;
    const std::unique_ptr<TransferRequest> request(carriesRequest(operation.opType) ? requestAt(operation.wparam)
                                                                                    : nullptr);
    switch (operation.opType) {
    case OPERATION_CONNECT:
        connectDevice(static_cast<quint32>(operation.wparam), static_cast<quint16>(operation.lparam));
        break;
    case OPERATION_GET:
        g_nTransferType = OPERATION_GET;
        reportEnd(get(*request), 0);
        break;
    case OPERATION_PUT: {
        g_nTransferType = OPERATION_PUT;
        const quint32 result = put(*request);
        reportEnd(result, result);
        break;
    }
    case OPERATION_DISCONNECT:
        reportEnd(Btsdk_Disconnect(static_cast<quint32>(operation.wparam)), 0);
        g_nTransferType = OPERATION_NONE;
        break;
    case OPERATION_CANCEL: {
        const quint32 result = Btsdk_FTPCancelTransfer(static_cast<quint32>(operation.wparam));
        reportEnd(result, g_nTransferType);
        g_nTransferType = OPERATION_NONE;
        break;
    }
    case OPERATION_DELETE:
        reportEnd(remove(*request), 0);
        break;
    default:
        m_bLastReport = true;
        break;
    }
}

void WorkingThread::connectDevice(quint32 device, quint16 serviceClass)
{
    (void)Btsdk_StopDeviceDiscovery(); // a search that goes on only slows the connect
    report(RESULT_CONNECT_STARTING, 0);
    quint32 connection = 0;
    const quint32 result = Btsdk_ConnectEx(device, serviceClass, 0, &connection);
    report(RESULT_CONNECT_RETURNED, 0);
    reportEnd(result, result == BTSDK_OK ? connection : result);
}

void WorkingThread::reportEnd(quint32 result, quint32 lparam)
{
    report(result == BTSDK_OK ? RESULT_SUCCESS : RESULT_FAILURE, lparam);
}
