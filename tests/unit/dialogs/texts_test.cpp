#include "texts.h"

#include <QtTest>

class TextsTest : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase() { QLocale::setDefault(QLocale::c()); }
    void size_ofBytes_isReadable_data();
    void size_ofBytes_isReadable();
    void timeLeft_ofSeconds_isRounded_data();
    void timeLeft_ofSeconds_isRounded();
    void since_aMoment_saysHowLongAgo_data();
    void since_aMoment_saysHowLongAgo();
    void oneLine_ofHostileNames_showsThem_data();
    void oneLine_ofHostileNames_showsThem();
    void toolTip_ofTextLikeMarkup_isEscaped();
};

void TextsTest::size_ofBytes_isReadable_data()
{
    QTest::addColumn<quint64>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("nothing") << quint64(0) << "0 B";
    QTest::newRow("the last of the bytes") << quint64(1023) << "1023 B";
    QTest::newRow("one KB") << quint64(1024) << "1.0 KB";
    QTest::newRow("just under one MB does not read 1024.0 KB") << quint64(1048575) << "1.0 MB";
    QTest::newRow("12.3 MB") << quint64(12897485) << "12.3 MB";
    QTest::newRow("4 GB") << (quint64(4) << 30) << "4.0 GB";
    QTest::newRow("beyond the largest unit") << (quint64(5) << 40) << "5120.0 GB";
}

void TextsTest::size_ofBytes_isReadable()
{
    QFETCH(quint64, bytes);
    QTEST(texts::size(bytes), "text");
}

void TextsTest::timeLeft_ofSeconds_isRounded_data()
{
    QTest::addColumn<qint64>("seconds");
    QTest::addColumn<QString>("text");
    QTest::newRow("none") << qint64(0) << "A few seconds left";
    QTest::newRow("four") << qint64(4) << "A few seconds left";
    QTest::newRow("17 s, up to the next five") << qint64(17) << "About 20 s left";
    QTest::newRow("59 s are a minute") << qint64(59) << "About 1 min left";
    QTest::newRow("61 s, up to the next minute") << qint64(61) << "About 2 min left";
    QTest::newRow("two hours and ten minutes") << qint64(7790) << "About 2 h 10 min left";
    QTest::newRow("two days") << qint64(2 * 86400) << "More than a day left";
    QTest::newRow("the largest number") << std::numeric_limits<qint64>::max() << "More than a day left";
}

void TextsTest::timeLeft_ofSeconds_isRounded()
{
    QFETCH(qint64, seconds);
    QTEST(texts::timeLeft(seconds), "text");
}

void TextsTest::since_aMoment_saysHowLongAgo_data()
{
    QTest::addColumn<qint64>("passed");
    QTest::addColumn<QString>("end");
    QTest::newRow("seconds") << qint64(5999) << "(5 s)";
    QTest::newRow("minutes") << qint64(3 * 60000 + 5) << "(3 min)";
    QTest::newRow("hours") << qint64(26 * 3600000) << "(26 h 0 min)";
    QTest::newRow("a clock that was set back") << qint64(-5000) << "(0 s)";
}

void TextsTest::since_aMoment_saysHowLongAgo()
{
    QFETCH(qint64, passed);
    QFETCH(QString, end);
    const qint64 moment = 1795000000000;
    const QString text = texts::since(moment, moment + passed);
    QVERIFY2(text.endsWith(end), qPrintable(text));
    QVERIFY(text.size() > end.size() + 5);
}

void TextsTest::oneLine_ofHostileNames_showsThem_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("shown");
    QTest::newRow("plain") << "report.txt"
                           << "report.txt";
    QTest::newRow("accents and symbols") << QStringLiteral("été & 50%.txt") << QStringLiteral("été & 50%.txt");
    QTest::newRow("line break and tab") << "a\nb\tc" << QStringLiteral("a\uFFFDb\uFFFDc");
    QTest::newRow("turned writing direction") << QStringLiteral("gpj\u202Eexe") << QStringLiteral("gpj\uFFFDexe");
    QTest::newRow("line separator") << QStringLiteral("a\u2028b") << QStringLiteral("a\uFFFDb");
    QTest::newRow("an emoji stays whole") << QStringLiteral("\U0001F600.png") << QStringLiteral("\U0001F600.png");
}

void TextsTest::oneLine_ofHostileNames_showsThem()
{
    QFETCH(QString, name);
    QTEST(texts::oneLine(name), "shown");
}

void TextsTest::toolTip_ofTextLikeMarkup_isEscaped()
{
    QCOMPARE(texts::toolTip(QStringLiteral("a & b")), QStringLiteral("a & b"));
    QCOMPARE(texts::toolTip(QStringLiteral("<b>x</b>")), QStringLiteral("<span>&lt;b&gt;x&lt;/b&gt;</span>"));
}

QTEST_GUILESS_MAIN(TextsTest)
#include "texts_test.moc"
