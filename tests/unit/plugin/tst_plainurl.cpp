#include "MyMime.h"
#include "plainurl.h"

#include <QSysInfo>
#include <QTest>

/** Paths keep every character of their names on their way through URLs and drag payloads. */
class TestPlainUrl : public QObject
{
    Q_OBJECT

private slots:
    void plainUrl_anyName_comesBackAsItWentIn_data() { hostilePaths(); }
    void plainUrl_anyName_comesBackAsItWentIn();
    void plainUrl_inAPayload_comesBackAsItWentIn_data() { hostilePaths(); }
    void plainUrl_inAPayload_comesBackAsItWentIn();
    void plainUrl_readByAnotherProcess_comesBackAsItWentIn_data() { hostilePaths(); }
    void plainUrl_readByAnotherProcess_comesBackAsItWentIn();
    void plainUrl_ofAPath_hasNoSchemeAndNoHost();
    void plainUrl_ofNothing_isTheEmptyUrl();
    void localPath_ofAUrl_isWhatItNames_data();
    void localPath_ofAUrl_isWhatItNames();

private:
    static void hostilePaths();
};

void TestPlainUrl::hostilePaths()
{
    QTest::addColumn<QString>("path");
    const QList<QPair<const char *, QString>> rows{
        {"plain name", QStringLiteral("/a.txt")},
        {"name in a folder", QStringLiteral("/docs/a.txt")},
        {"percent escape in the name", QStringLiteral("/a%20b")},
        {"percent sign at the end", QStringLiteral("/50%")},
        {"percent sign alone", QStringLiteral("/%")},
        {"escaped slash in the name", QStringLiteral("/a%2Fb")},
        {"angle brackets and ampersand", QStringLiteral("/<a & b>")},
        {"backslash", QStringLiteral("/a\\b")},
        {"question mark", QStringLiteral("/what?.txt")},
        {"hash", QStringLiteral("/track #1")},
        {"colon", QStringLiteral("/c:d")},
        {"space at both ends", QStringLiteral("/ a ")},
        {"quotes", QStringLiteral("/\"a\" 'b'")},
        {"brackets", QStringLiteral("/[a] {b}")},
        {"template mark", QStringLiteral("/%1")},
        {"control characters", QStringLiteral("/a\tb\nc")},
        {"umlaut and kanji", QString::fromUtf8("/\xC3\xA4\xE6\xBC\xA2")},
        {"outside the basic plane", QString::fromUtf8("/\xF0\x9F\x93\x81")},
        {"right-to-left mark", QString::fromUtf8("/\xE2\x80\xAEgpj.exe")},
        {"replacement character", QString::fromUtf8("/\xEF\xBF\xBD")},
        {"dots", QStringLiteral("/..a/...")},
        {"doubled slash inside", QStringLiteral("/docs//a")},
        {"trailing slash", QStringLiteral("/docs/")},
        {"the root", QStringLiteral("/")},
    };
    for (const auto &row : rows)
        QTest::newRow(row.first) << row.second;
}

void TestPlainUrl::plainUrl_anyName_comesBackAsItWentIn()
{
    QFETCH(QString, path);
    QCOMPARE(plainPath(plainUrl(path)), path);
    QCOMPARE(localPath(plainUrl(path)), std::optional<QString>(path));
}

void TestPlainUrl::plainUrl_inAPayload_comesBackAsItWentIn()
{
    QFETCH(QString, path);
    MyMimeData payload;
    payload.setUrls({plainUrl(path)});
    QCOMPARE(payload.urls().size(), 1);
    QCOMPARE(plainPath(payload.urls().constFirst()), path);
}

void TestPlainUrl::plainUrl_readByAnotherProcess_comesBackAsItWentIn()
{
    QFETCH(QString, path);
    MyMimeData payload;
    payload.setUrls({plainUrl(path)});
    QMimeData received;
    received.setData(QStringLiteral("text/uri-list"), payload.data(QStringLiteral("text/uri-list")));
    QCOMPARE(received.urls().size(), 1);
    QCOMPARE(plainPath(received.urls().constFirst()), path);
}

void TestPlainUrl::plainUrl_ofAPath_hasNoSchemeAndNoHost()
{
    const QUrl url = plainUrl(QStringLiteral("/docs/a"));
    QVERIFY(url.scheme().isEmpty());
    QVERIFY(url.host().isEmpty());
}

void TestPlainUrl::plainUrl_ofNothing_isTheEmptyUrl()
{
    QCOMPARE(plainUrl(QString()), QUrl());
    QCOMPARE(plainPath(QUrl()), QString());
    QCOMPARE(localPath(QUrl()), std::optional<QString>(QString()));
}

void TestPlainUrl::localPath_ofAUrl_isWhatItNames_data()
{
    QTest::addColumn<QString>("url");
    QTest::addColumn<bool>("accepted");
    QTest::addColumn<QString>("path");
    const QString here = QSysInfo::machineHostName();
    QTest::newRow("file") << "file:///tmp/a.txt" << true << "/tmp/a.txt";
    QTest::newRow("file with escapes") << "file:///tmp/a%20b%25" << true << "/tmp/a b%";
    QTest::newRow("folder with a trailing slash") << "file:///tmp/photos/" << true << "/tmp/photos";
    QTest::newRow("the root") << "file:///" << true << "/";
    QTest::newRow("file on localhost") << "file://localhost/tmp/a" << true << "/tmp/a";
    QTest::newRow("file on this machine by its name") << "file://" + here + "/tmp/a" << true << "/tmp/a";
    QTest::newRow("file on another machine") << "file://elsewhere.example/tmp/a" << false << "";
    QTest::newRow("web page") << "http://example.org/a.txt" << false << "";
    QTest::newRow("sftp") << "sftp://example.org/a.txt" << false << "";
    QTest::newRow("data") << "data:,hello" << false << "";
    QTest::newRow("this window's own") << "/docs/a" << true << "/docs/a";
}

void TestPlainUrl::localPath_ofAUrl_isWhatItNames()
{
    QFETCH(QString, url);
    QFETCH(bool, accepted);
    QFETCH(QString, path);
    const std::optional<QString> answer = localPath(QUrl(url));
    QCOMPARE(answer.has_value(), accepted);
    QCOMPARE(answer.value_or(QString()), path);
}

QTEST_GUILESS_MAIN(TestPlainUrl)
#include "tst_plainurl.moc"
