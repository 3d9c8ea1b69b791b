#include "WorkingThread.h"
#include "double.h"
#include "testmain.h"

#include <QDeadlineTimer>
#include <QDir>
#include <QMetaMethod>
#include <QSignalSpy>
#include <QTemporaryDir>

#include <cstring>

namespace {

constexpr quint32 connection = 502;

/** Where gets put what they fetch: nothing is there before a test. */
QByteArray localTarget()
{
    static const QTemporaryDir folder;
    return QFile::encodeName(folder.filePath(QStringLiteral("target")));
}

TransferRequest *request(const char *remoteName, const char *localPath, bool folder)
{
    auto *const made = new TransferRequest{};
    made->connection = connection;
    std::strcpy(made->remoteName, remoteName);
    std::strcpy(made->localPath, QByteArray(localPath).replace("%LOCAL%", localTarget()).constData());
    made->folder = folder;
    return made;
}

quintptr address(const TransferRequest *made)
{
    return reinterpret_cast<quintptr>(made);
}

QString text(const QList<QVariant> &report)
{
    return QStringLiteral("%1,%2,%3").arg(report.at(0).toUInt()).arg(report.at(1).toUInt()).arg(report.at(2).toUInt());
}

QString described(const Call &call)
{
    QStringList arguments;
    for (const QVariant &argument : call.arguments)
        arguments.append(argument.toString());
    const QString text =
        QString::fromLatin1(call.function).mid(6) + QLatin1Char(' ') + arguments.join(QLatin1Char(' '));
    return QString(text).replace(QFile::decodeName(localTarget()), QLatin1String("%LOCAL%"));
}

} // namespace

/** A worker on the doubles: what it calls, on which thread, and what it reports. */
class WorkingThreadTest : public QObject
{
    Q_OBJECT

private slots:
    void init()
    {
        Double::instance().reset();
        const QString target = QFile::decodeName(localTarget());
        QFileInfo(target).isDir() ? QDir(target).removeRecursively() : QFile::remove(target);
    }

    void run_eachOperation_makesOneCallAndReports_data();
    void run_eachOperation_makesOneCallAndReports();
    void run_connect_reportsStartReturnAndHandleInOrder();
    void run_connect_isFreshOfDeviceDiscovery();
    void run_connect_usesTheLowHalfOfTheServiceClass();
    void run_connectRefused_reportsTheCode();
    void run_callsAndReports_happenOnTheWorker();
    void run_smallStack_isWhatTheThreadHas();
    void cancel_afterATransfer_tellsItsKindOnce_data();
    void cancel_afterATransfer_tellsItsKindOnce();
    void cancel_ofARunningGet_endsItFromASecondWorker();
    void delete_afterAPut_leavesTheTransferKindAlone();
    void unknownOperation_startsAThreadThatReportsNothing_data();
    void unknownOperation_startsAThreadThatReportsNothing();
    void start_whileRunning_startsNothingAndChangesTheCodeOfReports();
    void start_whileRunning_freesTheRequestThatIsNeverRun();
    void start_onTheLastReport_isNotLost();
    void meta_object_hasOneSignal();

private:
    void finish(WorkingThread &worker) const { QVERIFY(worker.wait(QDeadlineTimer(10000))); }
    QStringList reports(const QSignalSpy &spy) const
    {
        QStringList texts;
        for (const QList<QVariant> &report : spy)
            texts.append(text(report));
        return texts;
    }
};

void WorkingThreadTest::run_eachOperation_makesOneCallAndReports_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<QByteArray>("function");
    QTest::addColumn<uint>("result");
    QTest::addColumn<QString>("call");
    QTest::addColumn<QString>("report");
    const auto row = [](const char *what, quint32 operation, bool folder, const char *function, uint result,
                        const char *arguments, const char *report) {
        QTest::newRow(what) << operation << folder << QByteArray(function) << result
                            << QString::fromLatin1(function).mid(6) + QString::fromLatin1(arguments)
                            << QString::fromLatin1(report);
    };
    constexpr uint failure = BTSDK_ER_LINK_LOST;
    row("get of a file", OPERATION_GET, false, "Btsdk_FTPGetFile", 0, " 502 name %LOCAL%", "2,1,0");
    row("get of a file fails", OPERATION_GET, false, "Btsdk_FTPGetFile", failure, " 502 name %LOCAL%", "2,2,0");
    row("get of a folder", OPERATION_GET, true, "Btsdk_FTPGetDir", 0, " 502 name %LOCAL%", "2,1,0");
    row("get of a folder fails", OPERATION_GET, true, "Btsdk_FTPGetDir", failure, " 502 name %LOCAL%", "2,2,0");
    row("put of a file", OPERATION_PUT, false, "Btsdk_FTPPutFile", 0, " 502 %LOCAL% name", "3,1,0");
    row("put of a file fails", OPERATION_PUT, false, "Btsdk_FTPPutFile", failure, " 502 %LOCAL% name", "3,2,10");
    row("put to a read-only device", OPERATION_PUT, false, "Btsdk_FTPPutFile", BTSDK_ER_READ_ONLY, " 502 %LOCAL% name",
        "3,2,1729");
    row("put of a folder", OPERATION_PUT, true, "Btsdk_FTPPutDir", 0, " 502 %LOCAL% name", "3,1,0");
    row("put of a folder fails", OPERATION_PUT, true, "Btsdk_FTPPutDir", failure, " 502 %LOCAL% name", "3,2,10");
    row("disconnect", OPERATION_DISCONNECT, false, "Btsdk_Disconnect", 0, " 502", "4,1,0");
    row("disconnect fails", OPERATION_DISCONNECT, false, "Btsdk_Disconnect", failure, " 502", "4,2,0");
    row("cancel", OPERATION_CANCEL, false, "Btsdk_FTPCancelTransfer", 0, " 502", "5,1,0");
    row("cancel fails", OPERATION_CANCEL, false, "Btsdk_FTPCancelTransfer", failure, " 502", "5,2,0");
    row("delete of a file", OPERATION_DELETE, false, "Btsdk_FTPDeleteFile", 0, " 502 name", "6,1,0");
    row("delete of a file fails", OPERATION_DELETE, false, "Btsdk_FTPDeleteFile", failure, " 502 name", "6,2,0");
    row("delete of a folder", OPERATION_DELETE, true, "Btsdk_FTPDeleteDir", 0, " 502 name", "6,1,0");
    row("delete of a folder fails", OPERATION_DELETE, true, "Btsdk_FTPDeleteDir", failure, " 502 name", "6,2,0");
}

void WorkingThreadTest::run_eachOperation_makesOneCallAndReports()
{
    QFETCH(quint32, operation);
    QFETCH(bool, folder);
    QFETCH(QByteArray, function);
    QFETCH(uint, result);
    QFETCH(QString, call);
    // No transfer before: the kind that a cancel tells is none.
    WorkingThread worker(nullptr);
    worker.StartOperation(OPERATION_DISCONNECT, 0, 0);
    finish(worker);
    Double::instance().clearCalls();

    Double::instance().queueResult(function.constData(), result);
    QSignalSpy spy(&worker, &WorkingThread::OperationInd);
    const bool byHandle = operation == OPERATION_DISCONNECT || operation == OPERATION_CANCEL;
    worker.StartOperation(operation, byHandle ? connection : address(request("name", "%LOCAL%", folder)), 0);
    finish(worker);
    QCOMPARE(Double::instance().calls().size(), 1);
    QCOMPARE(described(Double::instance().calls().constFirst()), call);
    QCOMPARE(spy.size(), 1);
    QTEST(text(spy.at(0)), "report");
}

void WorkingThreadTest::run_connect_reportsStartReturnAndHandleInOrder()
{
    Double &script = Double::instance();
    WorkingThread worker(nullptr);
    QSignalSpy spy(&worker, &WorkingThread::OperationInd);
    script.hold("Btsdk_ConnectEx");
    worker.StartOperation(OPERATION_CONNECT, 1007, BTSDK_CLS_OBEX_FILE_TRANS);
    QTRY_COMPARE(script.held("Btsdk_ConnectEx"), 1);
    QCOMPARE(reports(spy), QStringList{QStringLiteral("1,4,0")});
    script.release("Btsdk_ConnectEx");
    finish(worker);
    const QStringList expected{QStringLiteral("1,4,0"), QStringLiteral("1,3,0"),
                               QStringLiteral("1,1,%1").arg(Double::firstConnection)};
    QCOMPARE(reports(spy), expected);
}

void WorkingThreadTest::run_connect_isFreshOfDeviceDiscovery()
{
    WorkingThread worker(nullptr);
    worker.StartOperation(OPERATION_CONNECT, 1007, BTSDK_CLS_OBEX_FILE_TRANS);
    finish(worker);
    const QStringList expected{QStringLiteral("Btsdk_StopDeviceDiscovery"), QStringLiteral("Btsdk_ConnectEx")};
    QCOMPARE(Double::instance().order(), expected);
    QCOMPARE(described(Double::instance().last("Btsdk_ConnectEx")), QStringLiteral("ConnectEx 1007 4358 0"));
}

void WorkingThreadTest::run_connect_usesTheLowHalfOfTheServiceClass()
{
    WorkingThread worker(nullptr);
    worker.StartOperation(OPERATION_CONNECT, 1007, 0xABCD1106);
    finish(worker);
    QCOMPARE(Double::instance().last("Btsdk_ConnectEx").number(1), 0x1106U);
}

void WorkingThreadTest::run_connectRefused_reportsTheCode()
{
    Double::instance().queueResult("Btsdk_ConnectEx", BTSDK_ER_CONNECT_FAILED);
    WorkingThread worker(nullptr);
    QSignalSpy spy(&worker, &WorkingThread::OperationInd);
    worker.StartOperation(OPERATION_CONNECT, 1007, BTSDK_CLS_OBEX_FILE_TRANS);
    finish(worker);
    const QStringList expected{QStringLiteral("1,4,0"), QStringLiteral("1,3,0"), QStringLiteral("1,2,9")};
    QCOMPARE(reports(spy), expected);
}

void WorkingThreadTest::run_callsAndReports_happenOnTheWorker()
{
    WorkingThread worker(nullptr);
    QThread *reporter = nullptr;
    connect(
        &worker, &WorkingThread::OperationInd, this, [&reporter] { reporter = QThread::currentThread(); },
        Qt::DirectConnection);
    worker.StartOperation(OPERATION_DELETE, address(request("name", "", false)), 0);
    finish(worker);
    QCOMPARE(reporter, static_cast<QThread *>(&worker));
    QVERIFY(Double::instance().last("Btsdk_FTPDeleteFile").thread !=
            reinterpret_cast<quintptr>(QThread::currentThreadId()));
}

void WorkingThreadTest::run_smallStack_isWhatTheThreadHas()
{
    QCOMPARE(WorkingThread(nullptr).stackSize(), 65536U);
    WorkingThread worker(nullptr);
    Double::instance().hold("Btsdk_FTPDeleteFile");
    worker.StartOperation(OPERATION_DELETE, address(request("name", "", false)), 0);
    QTRY_COMPARE(Double::instance().held("Btsdk_FTPDeleteFile"), 1);
    QCOMPARE(worker.priority(), QThread::LowPriority);
    Double::instance().release("Btsdk_FTPDeleteFile");
    finish(worker);
}

void WorkingThreadTest::cancel_afterATransfer_tellsItsKindOnce_data()
{
    QTest::addColumn<quint32>("transfer");
    QTest::addColumn<uint>("cancelResult");
    QTest::addColumn<QString>("report");
    QTest::newRow("after a get") << quint32(OPERATION_GET) << 0U << "5,1,2";
    QTest::newRow("after a put") << quint32(OPERATION_PUT) << 0U << "5,1,3";
    QTest::newRow("after a get, refused") << quint32(OPERATION_GET) << 5U << "5,2,2";
    QTest::newRow("after a put, refused") << quint32(OPERATION_PUT) << 5U << "5,2,3";
}

void WorkingThreadTest::cancel_afterATransfer_tellsItsKindOnce()
{
    QFETCH(quint32, transfer);
    QFETCH(uint, cancelResult);
    WorkingThread worker(nullptr);
    worker.StartOperation(transfer, address(request("name", "%LOCAL%", false)), 0);
    finish(worker);

    WorkingThread canceller(nullptr);
    QSignalSpy spy(&canceller, &WorkingThread::OperationInd);
    Double::instance().queueResult("Btsdk_FTPCancelTransfer", cancelResult);
    canceller.StartOperation(OPERATION_CANCEL, connection, 0);
    finish(canceller);
    QTEST(text(spy.at(0)), "report");
    canceller.StartOperation(OPERATION_CANCEL, connection, 0);
    finish(canceller);
    QCOMPARE(text(spy.at(1)), QStringLiteral("5,1,0"));
}

void WorkingThreadTest::cancel_ofARunningGet_endsItFromASecondWorker()
{
    Double::instance().setTransfersHang(true);
    WorkingThread worker(nullptr);
    WorkingThread canceller(nullptr);
    QSignalSpy ended(&worker, &WorkingThread::OperationInd);
    QSignalSpy cancelled(&canceller, &WorkingThread::OperationInd);
    worker.StartOperation(OPERATION_GET, address(request("name", "%LOCAL%", false)), 0);
    QTRY_COMPARE(Double::instance().hangingTransfers(), 1);
    canceller.StartOperation(OPERATION_CANCEL, connection, 0);
    finish(canceller);
    finish(worker);
    QCOMPARE(reports(cancelled), QStringList{QStringLiteral("5,1,2")});
    QCOMPARE(reports(ended), QStringList{QStringLiteral("2,2,0")});
}

void WorkingThreadTest::delete_afterAPut_leavesTheTransferKindAlone()
{
    WorkingThread worker(nullptr);
    QSignalSpy spy(&worker, &WorkingThread::OperationInd);
    worker.StartOperation(OPERATION_PUT, address(request("name", "%LOCAL%", false)), 0);
    finish(worker);
    worker.StartOperation(OPERATION_DELETE, address(request("name", "", false)), 0);
    finish(worker);
    worker.StartOperation(OPERATION_CANCEL, connection, 0);
    finish(worker);
    QCOMPARE(text(spy.last()), QStringLiteral("5,1,3"));
}

void WorkingThreadTest::unknownOperation_startsAThreadThatReportsNothing_data()
{
    QTest::addColumn<quint32>("operation");
    QTest::newRow("none") << 0U;
    QTest::newRow("seven") << 7U;
    QTest::newRow("largest") << 0xFFFFFFFFU;
}

void WorkingThreadTest::unknownOperation_startsAThreadThatReportsNothing()
{
    QFETCH(quint32, operation);
    // It stays the caller's: freeing it here would be freeing it twice.
    const std::unique_ptr<TransferRequest> kept(request("name", "", false));
    WorkingThread worker(nullptr);
    QSignalSpy reported(&worker, &WorkingThread::OperationInd);
    QSignalSpy started(&worker, &QThread::started);
    QSignalSpy finished(&worker, &QThread::finished);
    worker.StartOperation(operation, address(kept.get()), 0);
    finish(worker);
    QTRY_COMPARE(finished.size(), 1);
    QCOMPARE(started.size(), 1);
    QCOMPARE(reported.size(), 0);
    QCOMPARE(Double::instance().calls().size(), 0);
    QCOMPARE(kept->connection, connection);
}

void WorkingThreadTest::start_whileRunning_startsNothingAndChangesTheCodeOfReports()
{
    Double &script = Double::instance();
    WorkingThread worker(nullptr);
    QSignalSpy reported(&worker, &WorkingThread::OperationInd);
    QSignalSpy started(&worker, &QThread::started);
    script.hold("Btsdk_FTPGetFile");
    worker.StartOperation(OPERATION_GET, address(request("first", "%LOCAL%", false)), 0);
    QTRY_COMPARE(script.held("Btsdk_FTPGetFile"), 1);
    worker.StartOperation(OPERATION_DELETE, address(request("second", "", false)), 0);
    script.release("Btsdk_FTPGetFile");
    finish(worker);
    QCOMPARE(script.order(), QStringList{QStringLiteral("Btsdk_FTPGetFile")});
    QCOMPARE(reports(reported).size(), 1);
    QCOMPARE(reported.at(0).at(0).toUInt(), uint(OPERATION_DELETE));
    QCOMPARE(started.size(), 1);
}

void WorkingThreadTest::start_whileRunning_freesTheRequestThatIsNeverRun()
{
    // Asked for at once after the start, long before the thread may have looked at what it is to do: each request is
    // freed once, which the leak and address checkers see, and the first of them is the one that is run.
    for (int i = 0; i < 50; ++i) {
        Double::instance().clearCalls();
        WorkingThread worker(nullptr);
        Double::instance().hold("Btsdk_FTPDeleteFile");
        worker.StartOperation(OPERATION_DELETE, address(request("first", "", false)), 0);
        worker.StartOperation(OPERATION_DELETE, address(request("second", "", true)), 0);
        worker.StartOperation(OPERATION_GET, address(request("third", "", false)), 0);
        Double::instance().release("Btsdk_FTPDeleteFile");
        finish(worker);
        QCOMPARE(Double::instance().calls().size(), 1);
        QCOMPARE(Double::instance().last("Btsdk_FTPDeleteFile").text(1), QByteArray("first"));
    }
}

void WorkingThreadTest::start_onTheLastReport_isNotLost()
{
    // What the window does after a broken transfer: it connects anew when the report comes, which may be before the
    // thread that made it has ended.
    WorkingThread worker(nullptr);
    QSignalSpy started(&worker, &QThread::started);
    QSignalSpy reported(&worker, &WorkingThread::OperationInd);
    std::atomic<bool> again{false};
    connect(&worker, &WorkingThread::OperationInd, this, [&](quint32 operation) {
        if (operation != OPERATION_DELETE)
            return;
        QVERIFY(worker.isRunning());
        again = true;
        worker.StartOperation(OPERATION_DISCONNECT, connection, 0);
    });
    // A thread that is slow to end: it is there when its report comes, and a little longer.
    const auto linger = [&again] {
        for (int i = 0; i < 5000 && !again; ++i)
            QThread::msleep(1);
        QThread::msleep(100);
    };
    connect(&worker, &WorkingThread::OperationInd, &worker, linger, Qt::DirectConnection);
    worker.StartOperation(OPERATION_DELETE, address(request("name", "", false)), 0);
    QTRY_VERIFY(again);
    finish(worker);
    QCOMPARE(started.size(), 2);
    const QStringList expected{QStringLiteral("6,1,0"), QStringLiteral("4,1,0")};
    QCOMPARE(reports(reported), expected);
}

void WorkingThreadTest::meta_object_hasOneSignal()
{
    const QMetaObject &meta = WorkingThread::staticMetaObject;
    QCOMPARE(meta.methodCount() - meta.methodOffset(), 1);
    const QMetaMethod method = meta.method(meta.methodOffset());
    QCOMPARE(method.methodType(), QMetaMethod::Signal);
    QCOMPARE(meta.indexOfSignal("OperationInd(quint32,quint32,quint32)"), meta.methodOffset());
    const QList<QByteArray> names{"opType", "wparam", "lparam"};
    QCOMPARE(method.parameterNames(), names);
}

BTFTP_TEST_MAIN(WorkingThreadTest)
#include "tst_workingthread.moc"
