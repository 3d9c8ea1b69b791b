#include "DemoDevice.h"

#include <QDir>
#include <QSignalSpy>
#include <QTemporaryDir>
#include <QTest>

#include <csignal>

using namespace manager;

Q_DECLARE_METATYPE(manager::Endpoint)

class ManagerDemo : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { qRegisterMetaType<manager::Endpoint>("manager::Endpoint"); }
    void parseListening_data();
    void parseListening();
    void start_aProgramThatListens_saysWhere();
    void start_aProgramThatIsMissing_fails();
    void start_aProgramThatEnds_failsWithItsLastWords();
    void start_aProgramThatSaysNothing_failsInTime();
    void end_aRunningProgram_isReported();
    void stop_aProgramThatIgnoresIt_killsIt();

private:
    QString script(const QByteArray &body);

    QTemporaryDir m_dir;
    int m_count = 0;
};

QString ManagerDemo::script(const QByteArray &body)
{
    QFile file(m_dir.filePath(QStringLiteral("demo%1").arg(m_count++)));
    if (!file.open(QIODevice::WriteOnly))
        return {};
    file.write("#!/bin/sh\n" + body);
    file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    return file.fileName();
}

void ManagerDemo::parseListening_data()
{
    QTest::addColumn<QByteArray>("line");
    QTest::addColumn<QString>("address");
    QTest::addColumn<unsigned int>("port");
    QTest::newRow("an address and a port") << QByteArray("listening 127.0.0.1:6502\n") << "127.0.0.1" << 6502U;
    QTest::newRow("an IPv6 address") << QByteArray("listening ::1:6502") << "::1" << 6502U;
    QTest::newRow("another line") << QByteArray("making the large file\n") << "" << 0U;
    QTest::newRow("no port") << QByteArray("listening 127.0.0.1:\n") << "" << 0U;
    QTest::newRow("no address") << QByteArray("listening :6502\n") << "" << 0U;
    QTest::newRow("a port over the last") << QByteArray("listening 127.0.0.1:65536\n") << "" << 0U;
    QTest::newRow("a port below zero") << QByteArray("listening 127.0.0.1:-1\n") << "" << 0U;
    QTest::newRow("nothing") << QByteArray() << "" << 0U;
}

void ManagerDemo::parseListening()
{
    QFETCH(QByteArray, line);
    const auto where = manager::parseListening(line);
    QTEST(where ? where->address : QString(), "address");
    QTEST(where ? where->port : 0U, "port");
}

void ManagerDemo::start_aProgramThatListens_saysWhere()
{
    DemoDevice demo(script("echo preparing\necho listening 127.0.0.1:6502\nexec sleep 60\n"));
    QSignalSpy listening(&demo, &DemoDevice::listening);
    demo.start();
    QVERIFY(listening.wait());
    QCOMPARE(listening[0][0].value<Endpoint>().port, 6502U);
    const auto pid = static_cast<pid_t>(demo.processId());
    QVERIFY(pid > 0);
    demo.stop();
    QVERIFY(kill(pid, 0) != 0);
}

void ManagerDemo::start_aProgramThatIsMissing_fails()
{
    DemoDevice demo(m_dir.filePath(QStringLiteral("missing")));
    QSignalSpy failed(&demo, &DemoDevice::failed);
    demo.start();
    QTRY_COMPARE(failed.size(), 1);
    QVERIFY(!failed[0][0].toString().isEmpty());
}

void ManagerDemo::start_aProgramThatEnds_failsWithItsLastWords()
{
    DemoDevice demo(script("echo 'No port is free.' >&2\nexit 1\n"));
    QSignalSpy failed(&demo, &DemoDevice::failed);
    demo.start();
    QTRY_COMPARE(failed.size(), 1);
    QCOMPARE(failed[0][0].toString(), QStringLiteral("No port is free."));
}

void ManagerDemo::start_aProgramThatSaysNothing_failsInTime()
{
    DemoDevice demo(script("exec sleep 60\n"));
    QSignalSpy failed(&demo, &DemoDevice::failed);
    demo.start(100);
    QTRY_COMPARE(failed.size(), 1);
    QVERIFY(!demo.isRunning());
}

void ManagerDemo::end_aRunningProgram_isReported()
{
    DemoDevice demo(script("echo listening 127.0.0.1:6502\nexec sleep 60\n"));
    QSignalSpy listening(&demo, &DemoDevice::listening);
    QSignalSpy failed(&demo, &DemoDevice::failed);
    demo.start();
    QVERIFY(listening.wait());
    QCOMPARE(kill(static_cast<pid_t>(demo.processId()), SIGKILL), 0);
    QTRY_COMPARE(failed.size(), 1);
}

void ManagerDemo::stop_aProgramThatIgnoresIt_killsIt()
{
    DemoDevice demo(script("trap '' TERM\necho listening 127.0.0.1:6502\nwhile :; do sleep 1; done\n"));
    QSignalSpy listening(&demo, &DemoDevice::listening);
    demo.start();
    QVERIFY(listening.wait());
    demo.stop();
    QVERIFY(!demo.isRunning());
}

QTEST_MAIN(ManagerDemo)
#include "tst_manager_demo.moc"
