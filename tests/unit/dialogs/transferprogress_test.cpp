#include "transferprogress.h"

#include <QtTest>

class TransferProgressTest : public QObject
{
    Q_OBJECT

private slots:
    void permille_ofOneReport_isSane_data();
    void permille_ofOneReport_isSane();
    void files_severalInTurn_areCounted();
    void file_withoutFirstReport_isToldByItsName();
    void name_null_keepsTheOneOfTheFile();
    void size_onlyOnTheFirstReport_isKept();
    void file_thatGrew_showsItsRealSize();
    void rate_beforeAnySample_isNotKnown();
    void rate_ofSteadyTransfer_settles();
    void rate_ofOneBurst_isSmoothed();
    void rate_withoutReports_falls();
    void rate_overManySmallFiles_countsThemAll();
    void rate_whenTheFileStartsAgain_isNotNegative();
    void secondsLeft_ofSteadyTransfer_counts();
    void secondsLeft_withoutSizeOrRate_isNotKnown();
    void scaled_sizes_keepFractionAndTime();
    void stalled_whenNothingMoves_untilItMovesAgain();
    void stalled_countAtItsLimit_isNotKnown();
};

namespace {

constexpr quint32 kMega = 1u << 20;
const QString kName = QStringLiteral("a.bin");

/** Moves a file of the given size at a steady rate, a report every 50 ms. @return the time of the last report */
qint64 move(TransferProgress &progress, quint32 size, quint32 upTo, quint32 perReport, qint64 start)
{
    progress.report(true, false, kName, size, 0, start);
    qint64 now = start;
    for (quint32 moved = perReport; moved <= upTo; moved += perReport) {
        now += 50;
        progress.report(false, moved == size, kName, size, moved, now);
    }
    return now;
}

} // namespace

void TransferProgressTest::permille_ofOneReport_isSane_data()
{
    QTest::addColumn<bool>("last");
    QTest::addColumn<quint32>("size");
    QTest::addColumn<quint32>("moved");
    QTest::addColumn<int>("permille");
    QTest::addColumn<bool>("known");
    QTest::newRow("half") << false << 2000u << 1000u << 500 << true;
    QTest::newRow("size not known yet") << false << 0u << 1000u << 0 << false;
    QTest::newRow("an empty file has ended") << true << 0u << 0u << 1000 << true;
    QTest::newRow("size never known, ended") << true << 0u << 5000u << 1000 << true;
    QTest::newRow("more than the whole") << false << 1000u << 1500u << 1000 << true;
    QTest::newRow("the largest numbers") << false << 0xFFFFFFFEu << 0x7FFFFFFFu << 500 << true;
    QTest::newRow("ended early") << true << 1000u << 400u << 1000 << true;
}

void TransferProgressTest::permille_ofOneReport_isSane()
{
    QFETCH(bool, last);
    QFETCH(quint32, size);
    QFETCH(quint32, moved);
    TransferProgress progress;
    progress.report(true, last, kName, size, moved, 0);
    QTEST(progress.permille(), "permille");
    QTEST(progress.isSizeKnown(), "known");
}

void TransferProgressTest::files_severalInTurn_areCounted()
{
    TransferProgress progress;
    QCOMPARE(progress.fileNumber(), 0);
    for (int i = 1; i <= 3; ++i) {
        progress.report(true, false, kName, 10, 0, i);
        progress.report(false, true, kName, 10, 10, i);
        QCOMPARE(progress.fileNumber(), i);
    }
    progress.report(true, true, QString(), 0, 0, 9);
    QCOMPARE(progress.fileNumber(), 4);
    QVERIFY(progress.fileName().isNull());
    QCOMPARE(progress.moved(), quint64(0));
}

void TransferProgressTest::file_withoutFirstReport_isToldByItsName()
{
    TransferProgress progress;
    progress.report(false, false, kName, 10, 5, 0);
    QCOMPARE(progress.fileNumber(), 1);
    progress.report(false, false, QStringLiteral("b.bin"), 0, 3, 1);
    QCOMPARE(progress.fileNumber(), 2);
    QVERIFY2(!progress.isSizeKnown(), "the size of the file before must not be taken for this one's");
}

void TransferProgressTest::name_null_keepsTheOneOfTheFile()
{
    TransferProgress progress;
    progress.report(true, false, kName, 10, 0, 0);
    progress.report(false, false, QString(), 10, 5, 1);
    QCOMPARE(progress.fileName(), kName);
    QCOMPARE(progress.fileNumber(), 1);
}

void TransferProgressTest::size_onlyOnTheFirstReport_isKept()
{
    TransferProgress progress;
    progress.report(true, false, kName, 1000, 0, 0);
    progress.report(false, false, kName, 0, 250, 1);
    QCOMPARE(progress.size(), quint64(1000));
    QCOMPARE(progress.permille(), 250);
}

void TransferProgressTest::file_thatGrew_showsItsRealSize()
{
    TransferProgress progress;
    progress.report(true, false, kName, 1000, 1500, 0);
    QCOMPARE(progress.size(), quint64(1500));
    progress.tick(1000);
    QVERIFY(progress.secondsLeft() <= 0);
}

void TransferProgressTest::rate_beforeAnySample_isNotKnown()
{
    TransferProgress progress;
    progress.tick(5000);
    QVERIFY(progress.rate() < 0);
    progress.report(true, false, kName, kMega, 0, 5000);
    progress.report(false, false, kName, kMega, 4096, 5010);
    QVERIFY2(progress.rate() < 0, "10 ms say nothing about a rate");
}

void TransferProgressTest::rate_ofSteadyTransfer_settles()
{
    TransferProgress progress;
    move(progress, 100 * kMega, 40 * kMega, kMega / 2, 0); // 10 MB/s
    QVERIFY2(qAbs(progress.rate() - 10.0 * kMega) < 0.5 * kMega, qPrintable(QString::number(progress.rate())));
}

void TransferProgressTest::rate_ofOneBurst_isSmoothed()
{
    TransferProgress progress;
    const qint64 now = move(progress, 1000 * kMega, 40 * kMega, kMega / 2, 0);
    progress.report(false, false, kName, 0, 100 * kMega, now + 500); // 120 MB/s for half a second
    QVERIFY(progress.rate() > 10.5 * kMega);
    QVERIFY(progress.rate() < 40.0 * kMega);
}

void TransferProgressTest::rate_withoutReports_falls()
{
    TransferProgress progress;
    const qint64 now = move(progress, 100 * kMega, 40 * kMega, kMega / 2, 0);
    const double before = progress.rate();
    for (int second = 1; second <= 10; ++second)
        progress.tick(now + second * 1000);
    QVERIFY(progress.rate() < before / 10);
    QVERIFY(progress.rate() >= 0);
}

void TransferProgressTest::rate_overManySmallFiles_countsThemAll()
{
    TransferProgress progress;
    for (int i = 0; i < 2000; ++i) {
        progress.report(true, false, kName, 1000, 0, i * 2);
        progress.report(false, true, kName, 1000, 1000, i * 2 + 1);
    }
    QVERIFY2(qAbs(progress.rate() - 500000) < 25000, qPrintable(QString::number(progress.rate())));
}

void TransferProgressTest::rate_whenTheFileStartsAgain_isNotNegative()
{
    TransferProgress progress;
    progress.report(true, false, kName, 1000, 0, 0);
    progress.report(false, false, kName, 1000, 900, 600);
    progress.report(false, false, kName, 1000, 10, 1200);
    QVERIFY(progress.rate() >= 0);
    QVERIFY(progress.rate() < 1500);
}

void TransferProgressTest::secondsLeft_ofSteadyTransfer_counts()
{
    TransferProgress progress;
    move(progress, 100 * kMega, 40 * kMega, kMega / 2, 0);
    const qint64 left = progress.secondsLeft();
    QVERIFY2(left >= 5 && left <= 7, qPrintable(QString::number(left)));
}

void TransferProgressTest::secondsLeft_withoutSizeOrRate_isNotKnown()
{
    TransferProgress progress;
    progress.report(true, false, kName, 0, 0, 0);
    progress.report(false, false, kName, 0, kMega, 1000);
    QCOMPARE(progress.secondsLeft(), qint64(-1));
    progress.report(true, false, kName, kMega, 0, 1001);
    for (int second = 2; second < 90; ++second)
        progress.tick(second * 1000);
    QCOMPARE(progress.secondsLeft(), qint64(-1));
}

void TransferProgressTest::scaled_sizes_keepFractionAndTime()
{
    TransferProgress progress;
    const quint32 size = TransferProgress::ScaledSize;
    progress.report(true, false, kName, size, 0, 0);
    progress.report(false, false, kName, size, size / 4, 10000);
    QVERIFY(progress.isScaled());
    QVERIFY(progress.permille() == 249 || progress.permille() == 250);
    QVERIFY(qAbs(progress.secondsLeft() - 30) <= 1);

    progress.report(true, false, QStringLiteral("small"), 1000, 0, 10001);
    QVERIFY(!progress.isScaled());
    QVERIFY2(progress.rate() < 0, "a rate of scaled sizes says nothing about the next file");
}

void TransferProgressTest::stalled_whenNothingMoves_untilItMovesAgain()
{
    TransferProgress progress;
    QVERIFY(!progress.isStalled(100000));
    progress.report(true, false, kName, 1000, 0, 0);
    progress.report(false, false, kName, 1000, 100, 10);
    QVERIFY(!progress.isStalled(4000));
    progress.report(false, false, kName, 1000, 100, 5000);
    QVERIFY2(progress.isStalled(6000), "a report of the same count is no movement");
    progress.report(false, false, kName, 1000, 101, 6001);
    QVERIFY(!progress.isStalled(6002));
    progress.report(false, true, kName, 1000, 1000, 6003);
    QVERIFY2(!progress.isStalled(20000), "an ended file waits for nothing");
}

void TransferProgressTest::stalled_countAtItsLimit_isNotKnown()
{
    TransferProgress progress;
    progress.report(true, false, kName, 0, 0, 0);
    progress.report(false, false, kName, 0, TransferProgress::ScaledSize - 1, 10);
    QVERIFY(progress.isStalled(6000));
    progress.report(false, false, kName, 0, TransferProgress::ScaledSize, 6001);
    QVERIFY2(!progress.isStalled(60000), "without a size, the count of a file over 4 GiB stops there");
}

QTEST_GUILESS_MAIN(TransferProgressTest)
#include "transferprogress_test.moc"
