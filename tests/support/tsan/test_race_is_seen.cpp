#include <QCoreApplication>
#include <QMutex>
#include <QProcess>
#include <QTest>
#include <QThread>

// The set-up itself: a queued signal, a lock and a joined thread are quiet, and a race planted beside them is seen.
// Each case runs in a process of its own, since the sanitizer speaks once a process ends.

namespace {

int plain = 0;
int guarded = 0;
QMutex mutex;

class Worker : public QThread
{
    Q_OBJECT
public:
    explicit Worker(bool racing) : m_racing(racing) {}
signals:
    void done(int value);

protected:
    void run() override
    {
        mutex.lock();
        ++guarded;
        mutex.unlock();
        if (m_racing)
            ++plain;
        m_result = 42;
        emit done(1);
    }

private:
    bool m_racing;

public:
    int m_result = 0;
};

int child(bool racing)
{
    Worker worker(racing);
    int seen = 0;
    QObject receiver;
    QObject::connect(&worker, &Worker::done, &receiver, [&](int value) { seen = value + worker.m_result; });
    worker.start();
    mutex.lock();
    ++guarded;
    mutex.unlock();
    if (racing)
        ++plain;
    while (!seen)
        QCoreApplication::processEvents();
    worker.wait();
    return seen == 43 && worker.m_result == 42 ? 0 : 1;
}

} // namespace

class TestRaceIsSeen : public QObject
{
    Q_OBJECT
private slots:
    void queuedSignalLockAndJoin_areQuiet() { QCOMPARE(reportsOf("quiet"), 0); }
    void plantedRace_isReported() { QVERIFY(reportsOf("racing") > 0); }

private:
    static int reportsOf(const QString &mode)
    {
        QProcess process;
        process.start(QCoreApplication::applicationFilePath(), {mode});
        if (!process.waitForFinished(30000))
            return -1;
        return process.readAllStandardError().count("WARNING: ThreadSanitizer");
    }
};

int main(int argc, char *argv[])
{
    QCoreApplication application(argc, argv);
    if (argc == 2 && (qstrcmp(argv[1], "quiet") == 0 || qstrcmp(argv[1], "racing") == 0))
        return child(qstrcmp(argv[1], "racing") == 0);
    TestRaceIsSeen test;
    return QTest::qExec(&test, argc, argv);
}

#include "test_race_is_seen.moc"
