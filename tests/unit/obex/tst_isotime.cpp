#include "obex/isotime.h"

#include <QtTest>

using namespace obex;

class TestIsoTime : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void parse_text_isSecondsOrNoTime_data();
    void parse_text_isSecondsOrNoTime();
    void format_seconds_isTextInUtc_data();
    void format_seconds_isTextInUtc();
};

void TestIsoTime::initTestCase()
{
    // Two hours ahead of UTC, without summer time.
    qputenv("TZ", "EET-2");
    ::tzset();
}

void TestIsoTime::parse_text_isSecondsOrNoTime_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<qint64>("seconds");

    const auto row = [](const char *name, const char *text, qint64 seconds) {
        QTest::newRow(name) << QString::fromLatin1(text) << seconds;
    };
    row("UTC", "20240229T235958Z", 1709251198);
    row("local time is handed on as UTC", "20240229T235958", 1709251198 - 2 * 3600);
    row("the first second", "19700101T000000Z", 0);
    row("before the epoch", "19691231T235959Z", -1);
    row("beyond 32 bits", "21060207T062816Z", 4294967296);
    row("leap second", "20161231T235960Z", 1483228800);
    row("empty", "", NoTime);
    row("words", "yesterday", NoTime);
    row("no T", "20240229 235958Z", NoTime);
    row("lower case z", "20240229T235958z", NoTime);
    row("29 February of a common year", "20230229T000000Z", NoTime);
    row("month 0", "20230001T000000Z", NoTime);
    row("month 13", "20231301T000000Z", NoTime);
    row("day 0", "20230100T000000Z", NoTime);
    row("hour 24", "20230101T240000Z", NoTime);
    row("minute 60", "20230101T006000Z", NoTime);
    row("second 61", "20230101T000061Z", NoTime);
    row("year 0", "00000101T000000Z", NoTime);
    row("a sign among the digits", "2024022-T235958Z", NoTime);
    row("too short", "20240229T2359Z", NoTime);
    row("too long", "20240229T235958Z0", NoTime);
}

void TestIsoTime::parse_text_isSecondsOrNoTime()
{
    QFETCH(QString, text);
    QFETCH(qint64, seconds);
    QCOMPARE(qint64(parseTime(text)), seconds);
}

void TestIsoTime::format_seconds_isTextInUtc_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QByteArray>("text");

    QTest::newRow("a leap day") << qint64(1709251198) << QByteArray("20240229T235958Z");
    QTest::newRow("the epoch") << qint64(0) << QByteArray("19700101T000000Z");
    QTest::newRow("none") << qint64(NoTime) << QByteArray();
    QTest::newRow("beyond the year 9999") << qint64(253402300800) << QByteArray();
    QTest::newRow("beyond any year") << std::numeric_limits<qint64>::max() << QByteArray();
}

void TestIsoTime::format_seconds_isTextInUtc()
{
    QFETCH(qint64, seconds);
    QFETCH(QByteArray, text);
    QCOMPARE(formatTime(seconds), text);
}

QTEST_GUILESS_MAIN(TestIsoTime)
#include "tst_isotime.moc"
