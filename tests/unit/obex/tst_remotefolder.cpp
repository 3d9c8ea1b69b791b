#include "obex/remotefolder.h"

#include <QtTest>

using namespace obex;

namespace {

FolderPath path(const QByteArray &text)
{
    FolderPath components;
    if (!splitPath(text, components))
        qFatal("no path");
    return components;
}

QString describe(const QVector<FolderMove> &moves)
{
    QStringList words;
    for (const FolderMove &move : moves)
        words.append(move.kind == FolderMove::Root ? QString("/")
                     : move.kind == FolderMove::Up ? QString("..")
                                                   : move.name);
    return words.join(' ');
}

} // namespace

class TestRemoteFolder : public QObject
{
    Q_OBJECT

private slots:
    void movesBetween_areTheFewest_data();
    void movesBetween_areTheFewest();
    void movesBetween_always_leadThere();
    void movesToRefresh_goUpAndDown();
    void splitPath_text_isComponentsOrRefused_data();
    void splitPath_text_isComponentsOrRefused();
    void entryName_illFormed_isNull();
};

void TestRemoteFolder::movesBetween_areTheFewest_data()
{
    QTest::addColumn<QString>("from");
    QTest::addColumn<QString>("to");
    QTest::addColumn<QString>("moves");

    const auto row = [](const char *name, const char *from, const char *to, const char *moves) {
        QTest::newRow(name) << QString(from) << QString(to) << QString(moves);
    };
    row("stay", "/a/b", "/a/b", "");
    row("down", "/a", "/a/b", "b");
    row("down twice", "/", "/a/b", "a b");
    row("up", "/a/b", "/a", "..");
    row("up to the root", "/a", "/", "..");
    row("neighbour", "/a/b", "/a/c", ".. c");
    row("far up", "/a/b/c/d", "/", "/");
    row("far up, but not to the top", "/a/b/c/d", "/a", "/ a");
    row("equally far either way", "/a/b/c", "/a", ".. ..");
    row("another tree", "/a/b/c", "/x/y", "/ x y");
    row("same name at another depth", "/a/a", "/a", "..");
}

void TestRemoteFolder::movesBetween_areTheFewest()
{
    QFETCH(QString, from);
    QFETCH(QString, to);
    QFETCH(QString, moves);
    QCOMPARE(describe(movesBetween(path(from.toUtf8()), path(to.toUtf8()))), moves);
}

void TestRemoteFolder::movesBetween_always_leadThere()
{
    const QVector<FolderPath> paths{path("/"),    path("/a"),         path("/b"),
                                    path("/a/b"), path("/a/b/c/d/e"), path("/b/a/a")};
    for (const FolderPath &from : paths) {
        for (const FolderPath &to : paths) {
            FolderPath at = from;
            for (const FolderMove &move : movesBetween(from, to))
                at = after(at, move);
            QCOMPARE(at, to);
        }
    }
}

void TestRemoteFolder::movesToRefresh_goUpAndDown()
{
    QCOMPARE(describe(movesToRefresh(path("/a/b"))), QString(".. b"));
    QCOMPARE(describe(movesToRefresh(path("/"))), QString());
}

void TestRemoteFolder::splitPath_text_isComponentsOrRefused_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("usable");
    QTest::addColumn<QString>("components");

    const auto row = [](const char *name, const QByteArray &text, bool usable, const char *components) {
        QTest::newRow(name) << text << usable << QString::fromUtf8(components);
    };
    row("root", "/", true, "");
    row("two levels", "/a/b", true, "a|b");
    row("slashes doubled", "//a///b//", true, "a|b");
    row("per cent sign", "/100%", true, "100%");
    row("accents", "/caf\xc3\xa9", true, "caf\xc3\xa9");
    row("empty", "", false, "");
    row("relative", "a", false, "");
    row("dot", "/a/.", false, "");
    row("two dots", "/a/..", false, "");
    row("no UTF-8", "/\xc3", false, "");
    row("component of 296 bytes", "/" + QByteArray(296, 'n'), false, "");
}

void TestRemoteFolder::splitPath_text_isComponentsOrRefused()
{
    QFETCH(QByteArray, text);
    QFETCH(bool, usable);
    QFETCH(QString, components);

    FolderPath split;
    QCOMPARE(splitPath(text, split), usable);
    if (usable)
        QCOMPARE(QStringList(split.toList()).join('|'), components);
}

void TestRemoteFolder::entryName_illFormed_isNull()
{
    QVERIFY(entryName("\xff").isNull());
    QVERIFY(entryName(QByteArray("a\0b", 3)).isNull());
    QVERIFY(entryName("\xed\xa0\x80").isNull()); // half a character
    QCOMPARE(entryName("a b"), QString("a b"));
}

QTEST_GUILESS_MAIN(TestRemoteFolder)
#include "tst_remotefolder.moc"
