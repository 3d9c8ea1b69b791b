#ifndef WORKINGTHREAD_H
#define WORKINGTHREAD_H

#include <QMutex>
#include <QThread>
#include <QWaitCondition>

#include <atomic>

/** What a worker can do: the first argument of StartOperation and of the report. */
enum WorkingOperation : quint32 {
    OPERATION_NONE = 0,
    OPERATION_CONNECT = 1,
    OPERATION_GET = 2,
    OPERATION_PUT = 3,
    OPERATION_DISCONNECT = 4,
    OPERATION_CANCEL = 5,
    OPERATION_DELETE = 6
};

/** The second argument of a report. */
enum WorkingResult : quint32 {
    RESULT_SUCCESS = 1,
    RESULT_FAILURE = 2,
    RESULT_CONNECT_RETURNED = 3, /**< the blocking connect call has returned; success or failure follows */
    RESULT_CONNECT_STARTING = 4  /**< the blocking connect call is about to start */
};

/** What a get, put or delete works on. Allocated with new by the window, freed by the worker after the SDK call. */
struct TransferRequest
{
    quint32 connection;
    char remoteName[256]; /**< UTF-8, NUL-terminated: a name of the remote current folder, no path */
    char localPath[256];  /**< UTF-8, NUL-terminated: full path of the local file or folder */
    quint8 folder;        /**< non-zero: the entry is a folder */
};

/**
 * Runs one blocking SDK call on a thread of its own and reports the outcome by signal, which reaches the window
 * queued.
 *
 * StartOperation is called on the GUI thread. The owner waits for the thread before it destroys the object. A request
 * made while one runs overwrites the stored values and starts nothing; the reports that the run still makes carry the
 * new operation's code.
 */
class WorkingThread : public QThread
{
    Q_OBJECT

public:
    explicit WorkingThread(QObject *parent);
    ~WorkingThread() override;

    /**
     * @param opType  a WorkingOperation; every other value starts a thread that ends at once and reports nothing
     * @param wparam  connect: device handle; get, put, delete: address of a TransferRequest; disconnect and cancel:
     *                connection handle
     * @param lparam  connect: service class (its low 16 bits), otherwise 0
     */
    void StartOperation(quint32 opType, quintptr wparam, quint32 lparam);

signals:
    void OperationInd(quint32 opType, quint32 wparam, quint32 lparam);

protected:
    void run() override;

private:
    struct Operation
    {
        quint32 opType;
        quintptr wparam;
        quint32 lparam;
    };

    void report(quint32 result, quint32 lparam);
    void reportEnd(quint32 result, quint32 lparam);
    void connectDevice(quint32 device, quint16 serviceClass);

    QMutex m_mutex;            // plays no part
    QWaitCondition m_waitCond; // plays no part
    std::atomic<bool> m_bRestartRequested{false};
    bool m_bSpare = false;
    std::atomic<quint32> m_nOpType{OPERATION_NONE};
    std::atomic<quintptr> m_wparam{0};
    std::atomic<quint32> m_lparam{0};
    Operation m_started{OPERATION_NONE, 0, 0}; // written before the thread starts, read by it alone
    std::atomic<bool> m_bLastReport{false};    // the run has reported all that it will
};

#endif
