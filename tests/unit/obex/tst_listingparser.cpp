#include "obex/listingparser.h"

#include <QElapsedTimer>
#include <QtTest>

using namespace obex;

Q_DECLARE_METATYPE(obex::Error)

namespace {

struct Parsed
{
    Error error = Error::None;
    QVector<ListingEntry> entries;
};

Parsed parse(const QByteArray &document, int step = 1 << 30)
{
    Parsed parsed;
    ListingParser parser([&](const ListingEntry &entry) { parsed.entries.append(entry); });
    for (int at = 0; at < document.size() && parsed.error == Error::None; at += step) {
        const QByteArray piece = document.mid(at, step);
        parsed.error = parser.feed(
            {reinterpret_cast<const std::uint8_t *>(piece.constData()), static_cast<std::size_t>(piece.size())});
    }
    if (parsed.error == Error::None)
        parsed.error = parser.finish();
    return parsed;
}

QByteArray listing(const QByteArray &entries)
{
    return "<folder-listing>" + entries + "</folder-listing>";
}

} // namespace

class TestListingParser : public QObject
{
    Q_OBJECT

private slots:
    void entry_attributes_areRead_data();
    void entry_attributes_areRead();
    void entry_name_isTakenOrLeftOut_data();
    void entry_name_isTakenOrLeftOut();
    void document_shape_isAcceptedOrRefused_data();
    void document_shape_isAcceptedOrRefused();
    void document_byteByByte_isTheSame();
    void document_noTextBehindIt_isAccepted_data();
    void document_noTextBehindIt_isAccepted();
    void caps_areKept_data();
    void caps_areKept();
    void manyEntries_growInLine();
};

void TestListingParser::entry_attributes_areRead_data()
{
    QTest::addColumn<QByteArray>("entry");
    QTest::addColumn<bool>("folder");
    QTest::addColumn<quint64>("size");
    QTest::addColumn<qint64>("modified");

    const auto row = [](const char *name, const char *entry, bool folder, quint64 size, qint64 modified) {
        QTest::newRow(name) << QByteArray(entry) << folder << size << modified;
    };
    const quint64 most = std::numeric_limits<quint64>::max();
    row("file", "<file name='n' size='12' modified='20240229T235958Z'/>", false, 12, 1709251198);
    row("folder", "<folder name='n' modified='20240229T235958Z'/>", true, 0, 1709251198);
    row("element with an end tag", "<file name='n' size='1'>words</file>", false, 1, NoTime);
    row("unknown attributes", "<file name='n' user-perm='RWD' mem-type='DEV' size='3'/>", false, 3, NoTime);
    row("no size", "<file name='n'/>", false, 0, NoTime);
    row("negative size", "<file name='n' size='-1'/>", false, 0, NoTime);
    row("size in words", "<file name='n' size='many'/>", false, 0, NoTime);
    row("size over 32 bits", "<file name='n' size='4294967296'/>", false, 4294967296U, NoTime);
    row("the largest size", "<file name='n' size='18446744073709551615'/>", false, most, NoTime);
    row("one more saturates", "<file name='n' size='18446744073709551616'/>", false, most, NoTime);
    row("a size of forty digits saturates", "<file name='n' size='1111111111222222222233333333334444444444'/>", false,
        most, NoTime);
    row("a date that is none", "<file name='n' modified='20241301T000000Z'/>", false, 0, NoTime);
    row("a date in words", "<file name='n' modified='today'/>", false, 0, NoTime);
}

void TestListingParser::entry_attributes_areRead()
{
    QFETCH(QByteArray, entry);
    QFETCH(bool, folder);
    QFETCH(quint64, size);
    QFETCH(qint64, modified);

    const Parsed parsed = parse(listing(entry));
    QCOMPARE(parsed.error, Error::None);
    QCOMPARE(parsed.entries.size(), 1);
    QCOMPARE(parsed.entries[0].name, QByteArray("n"));
    QCOMPARE(parsed.entries[0].folder, folder);
    QCOMPARE(parsed.entries[0].size, size);
    QCOMPARE(qint64(parsed.entries[0].modified), modified);
}

void TestListingParser::entry_name_isTakenOrLeftOut_data()
{
    QTest::addColumn<QByteArray>("attribute");
    QTest::addColumn<QByteArray>("name"); // empty: left out

    const auto row = [](const char *what, const QByteArray &attribute, const QByteArray &name) {
        QTest::newRow(what) << attribute << name;
    };
    row("plain", "name", "name");
    row("spaces and dots", " a . b ", " a . b ");
    row("three dots", "...", "...");
    row("hidden", ".profile", ".profile");
    row("escaped marks", "&lt;&amp;&gt;&quot;&apos;", "<&>\"'");
    row("line feed and tab", "a&#10;b&#9;c", "a\nb\tc");
    row("accents", "caf\xc3\xa9", "caf\xc3\xa9");
    row("outside the first plane", "\xf0\x9f\x98\x80", "\xf0\x9f\x98\x80");
    row("backslash", "a\\b", "a\\b");
    row("295 bytes", QByteArray(295, 'n'), QByteArray(295, 'n'));
    row("296 bytes", QByteArray(296, 'n'), "");
    row("148 letters of two bytes", QByteArray("\xc3\xa9").repeated(148), "");
    row("empty", "", "");
    row("dot", ".", "");
    row("two dots", "..", "");
    row("slash", "/", "");
    row("path", "a/b", "");
    row("way out", "../../etc/passwd", "");
}

void TestListingParser::entry_name_isTakenOrLeftOut()
{
    QFETCH(QByteArray, attribute);
    QFETCH(QByteArray, name);

    const Parsed parsed = parse(listing("<file name=\"" + attribute + "\"/><file name=\"other\"/>"));
    QCOMPARE(parsed.error, Error::None);
    QCOMPARE(parsed.entries.size(), name.isEmpty() ? 1 : 2);
    QCOMPARE(parsed.entries[0].name, name.isEmpty() ? QByteArray("other") : name);
}

void TestListingParser::document_shape_isAcceptedOrRefused_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<Error>("error");
    QTest::addColumn<int>("entries");

    const auto row = [](const char *name, const QByteArray &document, Error error, int entries) {
        QTest::newRow(name) << document << error << entries;
    };
    const QByteArray file = "<file name='n'/>";
    row("as the standard has it",
        "<?xml version=\"1.0\"?><!DOCTYPE folder-listing SYSTEM \"obex-folder-listing.dtd\"><folder-listing "
        "version=\"1.0\"><parent-folder/>" +
            file + "</folder-listing>",
        Error::None, 1);
    row("attributes declared", "<!DOCTYPE folder-listing [<!ATTLIST file mem-type CDATA #IMPLIED>]>" + listing(file),
        Error::None, 1);
    row("entities declared", "<!DOCTYPE folder-listing [<!ENTITY a 'x'>]>" + listing(file), Error::Protocol, 0);
    row("parameter entities declared",
        "<!DOCTYPE folder-listing [<!ENTITY % a '<!ENTITY b \"x\">'>%a;]>" + listing(file), Error::Protocol, 0);
    row("unknown entity", listing("<file name='&a;'/>"), Error::Protocol, 0);
    row("entries within entries are none", listing("<folder name='a'><file name='b'/></folder>"), Error::None, 1);
    row("unknown elements", listing("<thing name='a'/>" + file), Error::None, 1);
    row("comments and instructions", listing("<!-- <file name='a'/> --><?php x?>" + file), Error::None, 1);
    row("something behind it", listing(file) + "<<<", Error::None, 1);
    row("wrong root", "<listing>" + file + "</listing>", Error::Protocol, 0);
    row("tags crossed", "<folder-listing><file name='a'></folder-listing></file>", Error::Protocol, 1);
    row("attribute twice", listing("<file name='a' name='b'/>"), Error::Protocol, 0);
    row("bytes that are no text", QByteArray("\xff\xfe\xfd\x00\x01", 5), Error::Protocol, 0);
    row("empty", "", Error::Protocol, 0);
    row("white space alone", " \n ", Error::Protocol, 0);
}

void TestListingParser::document_shape_isAcceptedOrRefused()
{
    QFETCH(QByteArray, document);
    QFETCH(Error, error);
    QFETCH(int, entries);

    const Parsed parsed = parse(document);
    QCOMPARE(parsed.error, error);
    QCOMPARE(parsed.entries.size(), entries);
}

void TestListingParser::document_byteByByte_isTheSame()
{
    const QByteArray document = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n" +
                                listing("<file name='caf\xc3\xa9 \xf0\x9f\x98\x80' size='5'/>\n<folder name='b'/>");
    for (const int step : {1, 2, 3, 7}) {
        const Parsed parsed = parse(document, step);
        QCOMPARE(parsed.error, Error::None);
        QCOMPARE(parsed.entries.size(), 2);
        QCOMPARE(parsed.entries[0].name, QByteArray("caf\xc3\xa9 \xf0\x9f\x98\x80"));
        QVERIFY(parsed.entries[1].folder);
    }
}

void TestListingParser::document_noTextBehindIt_isAccepted_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<int>("entries");

    const QByteArray declaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n";
    const QByteArray garbage("\xff\xfe\x00\xc3", 4);
    QTest::newRow("a listing") << declaration + listing("<file name='n'/>") + garbage << 1;
    QTest::newRow("entries with end tags")
        << listing("<file name='n'></file><folder name='o'> </folder>") + garbage << 2;
    QTest::newRow("white space in its end tag")
        << QByteArray("<folder-listing><file name='n'/></folder-listing \n>") + garbage << 1;
    QTest::newRow("an empty element") << declaration + "<folder-listing/>" + garbage << 0;
    QTest::newRow("an empty element behind a comment")
        << "<!-- a > b --><folder-listing version='1.0' />" + garbage << 0;
    QTest::newRow("an empty listing") << listing("") + garbage << 0;
}

void TestListingParser::document_noTextBehindIt_isAccepted()
{
    QFETCH(QByteArray, document);
    QFETCH(int, entries);

    for (const int step : {1, 2, 3, 7, 1 << 20}) {
        const Parsed parsed = parse(document, step);
        QCOMPARE(parsed.error, Error::None);
        QCOMPARE(parsed.entries.size(), entries);
    }
}

void TestListingParser::caps_areKept_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<Error>("error");

    QTest::newRow("a name without end") << QByteArray("<folder-listing><file name='" + QByteArray(1 << 20, 'n'))
                                        << Error::TooMuch;
    QTest::newRow("nested without end") << QByteArray("<folder-listing>" + QByteArray("<a>").repeated(100'000))
                                        << Error::Protocol;
    QByteArray attributes;
    for (int i = 0; i < 1000; ++i)
        attributes += " a" + QByteArray::number(i) + "='x'";
    QTest::newRow("a thousand attributes")
        << QByteArray("<folder-listing><file" + attributes + "/>") << Error::Protocol;
    QTest::newRow("a comment without end")
        << QByteArray("<folder-listing><!--" + QByteArray(1 << 20, 'n')) << Error::TooMuch;
}

void TestListingParser::caps_areKept()
{
    QFETCH(QByteArray, document);
    QFETCH(Error, error);
    QCOMPARE(parse(document, 65'000).error, error);
}

void TestListingParser::manyEntries_growInLine()
{
    // A guard against quadratic growth, far from any real machine's speed.
    QByteArray entries;
    for (int i = 0; i < 200'000; ++i)
        entries += "<file name='picture " + QByteArray::number(i) + "' size='123' modified='20240229T235958Z'/>";
    QElapsedTimer timer;
    timer.start();
    const Parsed parsed = parse(listing(entries), 65'000);
    QCOMPARE(parsed.error, Error::None);
    QCOMPARE(parsed.entries.size(), 200'000);
    QVERIFY(timer.elapsed() < 60'000);
}

QTEST_GUILESS_MAIN(TestListingParser)
#include "tst_listingparser.moc"
