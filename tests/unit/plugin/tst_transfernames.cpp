#include "defaultname.h"
#include "localrow.h"
#include "testmain.h"
#include "transferrequest.h"

/** The pure functions behind transfers and new entries. */
class TestTransferNames : public QObject
{
    Q_OBJECT

private slots:
    void defaultName_someTaken_isTheFirstFreeOne_data();
    void defaultName_someTaken_isTheFirstFreeOne();
    void defaultName_search_asksForFiftyNamesInOrder();
    void text_length_isCountedInBytes_data();
    void text_length_isCountedInBytes();
    void request_fields_holdWhatWasGiven();
    void request_textTooLong_isCutAtTheByteAndTerminated();
    void folder_slash_isAddedOnce_data();
    void folder_slash_isAddedOnce();
};

void TestTransferNames::defaultName_someTaken_isTheFirstFreeOne_data()
{
    QTest::addColumn<QStringList>("taken");
    QTest::addColumn<QString>("expected");
    QTest::newRow("nothing") << QStringList() << "new file";
    QTest::newRow("the base name") << QStringList{"new file"} << "new file1";
    QTest::newRow("a gap") << QStringList{"new file", "new file2"} << "new file1";
    QTest::newRow("the base name free") << QStringList{"new file1"} << "new file";
}

void TestTransferNames::defaultName_someTaken_isTheFirstFreeOne()
{
    QFETCH(QStringList, taken);
    QFETCH(QString, expected);
    const auto isTaken = [&taken](const QString &name) { return taken.contains(name); };
    QCOMPARE(freeDefaultName("new file", "new file%1", isTaken), expected);
}

void TestTransferNames::defaultName_search_asksForFiftyNamesInOrder()
{
    QStringList asked;
    const QString found = freeDefaultName("new file", "new file%1", [&asked](const QString &name) {
        asked.append(name);
        return true;
    });
    QCOMPARE(found, QString());
    QCOMPARE(asked.size(), 50);
    QCOMPARE(asked.first(), QStringLiteral("new file"));
    QCOMPARE(asked.at(1), QStringLiteral("new file1"));
    QCOMPARE(asked.last(), QStringLiteral("new file49"));
}

void TestTransferNames::text_length_isCountedInBytes_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<bool>("fits");
    QTest::newRow("nothing") << "" << true;
    QTest::newRow("255 letters") << QString(255, 'x') << true;
    QTest::newRow("256 letters") << QString(256, 'x') << false;
    QTest::newRow("254 bytes in letters of two") << QStringLiteral("\u00e4").repeated(127) << true;
    QTest::newRow("256 bytes in letters of two") << QStringLiteral("\u00e4").repeated(128) << false;
    QTest::newRow("252 bytes in letters of four") << QString::fromUtf8("\xF0\x9F\x98\x80").repeated(63) << true;
    QTest::newRow("256 bytes in letters of four") << QString::fromUtf8("\xF0\x9F\x98\x80").repeated(64) << false;
}

void TestTransferNames::text_length_isCountedInBytes()
{
    QFETCH(QString, text);
    QFETCH(bool, fits);
    QCOMPARE(fitsTransferText(text), fits);
}

void TestTransferNames::request_fields_holdWhatWasGiven()
{
    const auto request = makeTransferRequest(42, {QStringLiteral("\u00e9"), QStringLiteral("/a b/\u00e9")}, true);
    QCOMPARE(request->connection, 42u);
    QCOMPARE(QByteArray(request->remoteName), QByteArray("\xC3\xA9"));
    QCOMPARE(QByteArray(request->localPath), QByteArray("/a b/\xC3\xA9"));
    QVERIFY(request->folder != 0);
    QCOMPARE(int(makeTransferRequest(1, {}, false)->folder), 0);
}

void TestTransferNames::request_textTooLong_isCutAtTheByteAndTerminated()
{
    // The unused path of a delete; it is cut raw, in the middle of a letter if need be.
    const QString path = QLatin1Char('x') + QStringLiteral("\u00e4").repeated(200);
    const auto request = makeTransferRequest(1, {QStringLiteral("name"), path}, false);
    QCOMPARE(qstrlen(request->localPath), 255u);
    QCOMPARE(QByteArray(request->localPath), path.toUtf8().left(255));
}

void TestTransferNames::folder_slash_isAddedOnce_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("expected");
    QTest::newRow("root") << "/"
                          << "/";
    QTest::newRow("folder") << "/a"
                            << "/a/";
    QTest::newRow("folder with a slash") << "/a/"
                                         << "/a/";
    QTest::newRow("nothing") << ""
                             << "/";
}

void TestTransferNames::folder_slash_isAddedOnce()
{
    QFETCH(QString, folder);
    QFETCH(QString, expected);
    QCOMPARE(localrow::withSlash(folder), expected);
}

BTFTP_TEST_MAIN(TestTransferNames)
#include "tst_transfernames.moc"
