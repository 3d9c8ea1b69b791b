#include "remoteentry.h"
#include "remotepath.h"
#include "rowtexts.h"

#include <QDateTime>
#include <QTest>
#include <QTextDocument>

#include <cstring>
#include <ctime>

namespace {

FTP_FIND_DATA entry(const QByteArray &name, quint32 size = 0, const QByteArray &modified = {}, quint32 attributes = 0)
{
    FTP_FIND_DATA data{};
    data.size = size;
    memcpy(data.name, name.constData(), size_t(qMin(name.size(), int(sizeof data.name))));
    memcpy(data.modified, modified.constData(), size_t(qMin(modified.size(), int(sizeof data.modified))));
    data.attributes = attributes;
    return data;
}

void setTimeZone(const QByteArray &zone)
{
    qputenv("TZ", zone);
}

} // namespace

class RemoteEntryTest : public QObject
{
    Q_OBJECT

private slots:
    void init() { setTimeZone("UTC"); }

    void sizeText_everyBoundary_staysInTheLowerUnit_data();
    void sizeText_everyBoundary_staysInTheLowerUnit();
    void fileType_ofAName_isWhatFollowsTheLastDot_data();
    void fileType_ofAName_isWhatFollowsTheLastDot();

    void parent_ofAPath_isTheFolderAbove_data();
    void parent_ofAPath_isTheFolderAbove();
    void child_ofAFolder_hasOneSeparator_data();
    void child_ofAFolder_hasOneSeparator();
    void lastName_ofAPath_namesTheListing_data();
    void lastName_ofAPath_namesTheListing();

    void modified_inATimeZone_isLocalTime_data();
    void modified_inATimeZone_isLocalTime();
    void modified_invalidText_isEmpty_data();
    void modified_invalidText_isEmpty();
    void modified_everyDayOfTwoCenturies_agreesWithQt();

    void name_ofARecord_isUtf8_data();
    void name_ofARecord_isUtf8();
    void row_ofAFile_hasFourTexts();
    void row_ofAFolder_hasNoSizeAndTheTypeFolder();
    void row_attributesBeyondTheFolderBit_areNotRead();
    void toolTip_plainName_isTheTemplate();
    void toolTip_nameWithPlaceholders_isShownLiterally();
    void toolTip_nameThatLooksLikeRichText_isEscaped_data();
    void toolTip_nameThatLooksLikeRichText_isEscaped();
};

void RemoteEntryTest::sizeText_everyBoundary_staysInTheLowerUnit_data()
{
    QTest::addColumn<quint32>("bytes");
    QTest::addColumn<QString>("text");
    QTest::newRow("empty file") << 0U << "0 B";
    QTest::newRow("one byte") << 1U << "1 B";
    QTest::newRow("last of the bytes") << 1023U << "1023 B";
    QTest::newRow("first kilobyte") << 1024U << "1.0 KB";
    QTest::newRow("a kilobyte and a half") << 1536U << "1.5 KB";
    QTest::newRow("last of the kilobytes") << 1048576U << "1024.0 KB";
    QTest::newRow("first of the megabytes") << 1048577U << "1.0 MB";
    QTest::newRow("last of the megabytes") << 1073741824U << "1024.0 MB";
    QTest::newRow("first of the gigabytes") << 1073741825U << "1.0 GB";
    QTest::newRow("largest size of a record") << 4294967295U << "4.0 GB";
    QTest::newRow("just under a rounding step, beyond single precision") << 18087935U << "17.2 MB";
}

void RemoteEntryTest::sizeText_everyBoundary_staysInTheLowerUnit()
{
    QFETCH(quint32, bytes);
    QTEST(rowtexts::size(bytes), "text");
}

void RemoteEntryTest::fileType_ofAName_isWhatFollowsTheLastDot_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("type");
    QTest::newRow("one suffix") << "photo.jpg"
                                << "jpg";
    QTest::newRow("two suffixes") << "a.tar.gz"
                                  << "gz";
    QTest::newRow("hidden file") << ".profile"
                                 << "profile";
    QTest::newRow("no dot") << "README"
                            << "";
    QTest::newRow("dot at the end") << "archive."
                                    << "";
    QTest::newRow("dots alone") << "..."
                                << "";
    QTest::newRow("empty name") << ""
                                << "";
    QTest::newRow("beyond ASCII") << QString::fromUtf8("Größe.übel") << QString::fromUtf8("übel");
}

void RemoteEntryTest::fileType_ofAName_isWhatFollowsTheLastDot()
{
    QFETCH(QString, name);
    QTEST(rowtexts::fileType(name), "type");
}

void RemoteEntryTest::parent_ofAPath_isTheFolderAbove_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("parent");
    QTest::newRow("root") << "/"
                          << "/";
    QTest::newRow("first level") << "/Photos"
                                 << "/";
    QTest::newRow("second level") << "/Photos/2008"
                                  << "/Photos";
    QTest::newRow("name with a dot") << "/a.b/c.d"
                                     << "/a.b";
    QTest::newRow("no separator at all") << "Photos"
                                         << "/";
}

void RemoteEntryTest::parent_ofAPath_isTheFolderAbove()
{
    QFETCH(QString, path);
    QTEST(remotepath::parent(path), "parent");
}

void RemoteEntryTest::child_ofAFolder_hasOneSeparator_data()
{
    QTest::addColumn<QString>("folder");
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("path");
    QTest::newRow("in the root") << "/"
                                 << "a.txt"
                                 << "/a.txt";
    QTest::newRow("in a folder") << "/Docs"
                                 << "a.txt"
                                 << "/Docs/a.txt";
    QTest::newRow("name with spaces and signs") << "/Docs"
                                                << "50% %1 a%20b"
                                                << "/Docs/50% %1 a%20b";
}

void RemoteEntryTest::child_ofAFolder_hasOneSeparator()
{
    QFETCH(QString, folder);
    QFETCH(QString, name);
    QTEST(remotepath::child(folder, name), "path");
}

void RemoteEntryTest::lastName_ofAPath_namesTheListing_data()
{
    QTest::addColumn<QString>("path");
    QTest::addColumn<QString>("name");
    QTest::newRow("root") << "/"
                          << "/";
    QTest::newRow("first level") << "/Photos"
                                 << "Photos";
    QTest::newRow("second level") << "/Photos/2008"
                                  << "2008";
    QTest::newRow("no separator at all") << "Photos"
                                         << "Photos";
}

void RemoteEntryTest::lastName_ofAPath_namesTheListing()
{
    QFETCH(QString, path);
    QTEST(remotepath::lastName(path), "name");
}

void RemoteEntryTest::modified_inATimeZone_isLocalTime_data()
{
    QTest::addColumn<QByteArray>("zone");
    QTest::addColumn<QByteArray>("modified");
    QTest::addColumn<QString>("text");
    const auto row = [](const char *what, const char *zone, const char *modified, const char *text) {
        QTest::newRow(what) << QByteArray(zone) << QByteArray(modified) << QString::fromLatin1(text);
    };
    row("UTC itself", "UTC", "20080314T093000Z", "2008-03-14 09:30");
    row("an hour ahead", "CET-1", "20080314T093000Z", "2008-03-14 10:30");
    row("half an hour zone", "IST-5:30", "20080314T093000Z", "2008-03-14 15:00");
    row("behind, the day before", "PST8", "20080314T030000Z", "2008-03-13 19:00");
    row("ahead, the next year", "JST-9", "20081231T230000Z", "2009-01-01 08:00");
    row("summer time", "CET-1CEST,M3.5.0,M10.5.0/3", "20080714T093000Z", "2008-07-14 11:30");
    row("winter of the same zone", "CET-1CEST,M3.5.0,M10.5.0/3", "20080114T093000Z", "2008-01-14 10:30");
    row("seconds are cut", "UTC", "20080314T093059Z", "2008-03-14 09:30");
    row("leap day", "UTC", "20240229T000000Z", "2024-02-29 00:00");
    row("before the epoch", "UTC", "19691231T235959Z", "1969-12-31 23:59");
    row("beyond 32 bits of seconds", "UTC", "21060207T062816Z", "2106-02-07 06:28");
    row("first year", "UTC", "00010101T000000Z", "0001-01-01 00:00");
    row("last year", "UTC", "99991231T235900Z", "9999-12-31 23:59");
}

void RemoteEntryTest::modified_inATimeZone_isLocalTime()
{
    QFETCH(QByteArray, zone);
    QFETCH(QByteArray, modified);
    setTimeZone(zone);
    QTEST(remoteentry::modified(entry("a", 1, modified)), "text");
}

void RemoteEntryTest::modified_invalidText_isEmpty_data()
{
    QTest::addColumn<QByteArray>("modified");
    for (const char *text :
         {"", "20080314", "20080314T093000", "20080314T093000z", "20080314 093000Z", "20081314T093000Z",
          "20080230T093000Z", "20080314T243000Z", "20080314T096000Z", "20080314T093060Z", "00000314T093000Z",
          "2008-314T093000Z", "-0080314T093000Z", "20080314T09 000Z", "20080314T093000ZZ", " 0080314T093000Z",
          "20080314T093000Zabcd", "Friday the 14th"})
        QTest::newRow(*text ? text : "no text") << QByteArray(text);
}

void RemoteEntryTest::modified_invalidText_isEmpty()
{
    QFETCH(QByteArray, modified);
    QCOMPARE(remoteentry::modified(entry("a", 1, modified)), QString());
    // The plain way agrees that this is no time.
    const QString format = QStringLiteral("yyyyMMdd'T'hhmmss'Z'");
    QVERIFY(!QDateTime::fromString(QString::fromLatin1(modified), format).isValid());
}

void RemoteEntryTest::modified_everyDayOfTwoCenturies_agreesWithQt()
{
    setTimeZone("CET-1CEST,M3.5.0,M10.5.0/3");
    const QDateTime end(QDate(2037, 12, 31), QTime(0, 0), Qt::UTC);
    for (QDateTime utc(QDate(1980, 1, 1), QTime(0, 7, 13), Qt::UTC); utc < end; utc = utc.addSecs(86400 + 3600)) {
        const QByteArray text = utc.toString(QStringLiteral("yyyyMMdd'T'hhmmss'Z'")).toLatin1();
        QCOMPARE(remoteentry::modified(entry("a", 1, text)),
                 utc.toLocalTime().toString(QStringLiteral("yyyy-MM-dd hh:mm")));
    }
}

void RemoteEntryTest::name_ofARecord_isUtf8_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("name");
    QTest::newRow("plain") << QByteArray("a.txt") << "a.txt";
    QTest::newRow("umlauts") << QByteArray("\xC3\xA4\xC3\xB6") << QString::fromUtf8("äö");
    QTest::newRow("beyond the basic plane") << QByteArray("\xF0\x9F\x8E\xB5.mp3") << QString::fromUtf8("🎵.mp3");
    QTest::newRow("line break and tab") << QByteArray("a\nb\tc") << "a\nb\tc";
    QTest::newRow("placeholders and markup") << QByteArray("%1<b>&amp;%20") << "%1<b>&amp;%20";
    QTest::newRow("full field, no terminator") << QByteArray(296, 'x') << QString(296, QLatin1Char('x'));
    QTest::newRow("not UTF-8") << QByteArray("a\xFF"
                                             "b")
                               << QString(QLatin1Char('a')) + QChar(0xFFFD) + QLatin1Char('b');
}

void RemoteEntryTest::name_ofARecord_isUtf8()
{
    QFETCH(QByteArray, bytes);
    QTEST(remoteentry::name(entry(bytes)), "name");
}

void RemoteEntryTest::row_ofAFile_hasFourTexts()
{
    const FTP_FIND_DATA file = entry("a.tar.gz", 1536, "20080314T093000Z");
    QVERIFY(!remoteentry::isFolder(file));
    QCOMPARE(remoteentry::name(file), QStringLiteral("a.tar.gz"));
    QCOMPARE(remoteentry::size(file), QStringLiteral("1.5 KB"));
    QCOMPARE(remoteentry::type(file), QStringLiteral("gz"));
    QCOMPARE(remoteentry::modified(file), QStringLiteral("2008-03-14 09:30"));
}

void RemoteEntryTest::row_ofAFolder_hasNoSizeAndTheTypeFolder()
{
    const FTP_FIND_DATA folder = entry("Photos.old", 4096, "20080314T093000Z", BTSDK_FTP_FOLDER);
    QVERIFY(remoteentry::isFolder(folder));
    QCOMPARE(remoteentry::size(folder), QString());
    QCOMPARE(remoteentry::type(folder), QStringLiteral("Folder"));
    QCOMPARE(remoteentry::modified(folder), QStringLiteral("2008-03-14 09:30"));
}

void RemoteEntryTest::row_attributesBeyondTheFolderBit_areNotRead()
{
    QVERIFY(!remoteentry::isFolder(entry("a", 0, {}, 0xFFFFFFFEU)));
    QVERIFY(remoteentry::isFolder(entry("a", 0, {}, 0xFFFFFFFFU)));
}

void RemoteEntryTest::toolTip_plainName_isTheTemplate()
{
    QCOMPARE(remoteentry::toolTip(entry("a.txt", 1024, "20080314T093000Z")),
             QStringLiteral("Name:\ta.txt\nSize:\t1.0 KB\nType:\ttxt\nModified:\t2008-03-14 09:30"));
}

void RemoteEntryTest::toolTip_nameWithPlaceholders_isShownLiterally()
{
    QCOMPARE(remoteentry::toolTip(entry("%2%3%4", 5)),
             QStringLiteral("Name:\t%2%3%4\nSize:\t5 B\nType:\t\nModified:\t"));
}

void RemoteEntryTest::toolTip_nameThatLooksLikeRichText_isEscaped_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("bold") << QByteArray("<b>bold</b>");
    QTest::newRow("image") << QByteArray("<img src='x'>");
    QTest::newRow("entity") << QByteArray("&lt;b&gt;");
}

void RemoteEntryTest::toolTip_nameThatLooksLikeRichText_isEscaped()
{
    QFETCH(QByteArray, name);
    const QString tip = remoteentry::toolTip(entry(name));
    QVERIFY(Qt::mightBeRichText(tip));
    QVERIFY2(tip.contains(QString::fromUtf8(name).toHtmlEscaped()), qPrintable(tip));
    QVERIFY2(!tip.contains(QString::fromUtf8(name)), qPrintable(tip));
}

QTEST_APPLESS_MAIN(RemoteEntryTest)
#include "tst_remoteentry.moc"
