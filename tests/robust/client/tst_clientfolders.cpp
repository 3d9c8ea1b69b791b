#include "foldertest.h"

using namespace obex;

Q_DECLARE_METATYPE(obex::Error)

namespace {

int setPathsIn(const QVector<QByteArray> &requests)
{
    return static_cast<int>(std::count_if(requests.begin(), requests.end(), [](const QByteArray &request) {
        return static_cast<std::uint8_t>(request.at(0)) == static_cast<std::uint8_t>(Opcode::SetPath);
    }));
}

} // namespace

class TestClientFolders : public FolderTest
{
    Q_OBJECT

private slots:
    void folderChange_costsAsManyRoundTrips_data();
    void folderChange_costsAsManyRoundTrips();
    void setPath_root_isSentWithTheNextCall();
    void setPath_refused_keepsTheCurrentFolder();
    void setPath_refreshOfVanishedFolder_isNotFound();
    void setPath_unusable_isInvalid_data();
    void setPath_unusable_isInvalid();
    void createFolder_leavesTheCurrentFolder();

    void list_fromPeer_isNamedErrorOrEntriesLeftOut_data();
    void list_fromPeer_isNamedErrorOrEntriesLeftOut();
    void list_hundredThousandEntries_arrive();
    void list_inPacketsOfOneByte_arrives();

    void get_sizeSaidByTheListingAlone_isReported();
    void oneSession_manyCalls_stayInStep();
};

void TestClientFolders::folderChange_costsAsManyRoundTrips_data()
{
    QTest::addColumn<QByteArray>("from");
    QTest::addColumn<QByteArray>("to");
    QTest::addColumn<int>("roundTrips"); // listing included

    QTest::newRow("down from the root") << QByteArray("/") << QByteArray("/a") << 2;
    QTest::newRow("down one level, deep") << QByteArray("/a/b/c/d/e/f/g") << QByteArray("/a/b/c/d/e/f/g/h") << 2;
    QTest::newRow("up one level, deep") << QByteArray("/a/b/c/d/e/f/g") << QByteArray("/a/b/c/d/e/f") << 2;
    QTest::newRow("up to the root") << QByteArray("/a") << QByteArray("/") << 2;
    QTest::newRow("to a neighbour") << QByteArray("/a/b") << QByteArray("/a/c") << 3;
    QTest::newRow("refresh, deep") << QByteArray("/a/b/c") << QByteArray("/a/b/c") << 3;
    QTest::newRow("refresh of the root") << QByteArray("/") << QByteArray("/") << 1;
    QTest::newRow("from deep to the root") << QByteArray("/a/b/c/d/e") << QByteArray("/") << 2;
    QTest::newRow("from deep to another tree") << QByteArray("/a/b/c/d/e") << QByteArray("/z") << 3;
    QTest::newRow("slashes doubled and trailing") << QByteArray("/a") << QByteArray("//a//b/") << 2;
}

void TestClientFolders::folderChange_costsAsManyRoundTrips()
{
    QFETCH(QByteArray, from);
    QFETCH(QByteArray, to);
    QFETCH(int, roundTrips);

    ScriptedPeer peer(serving(listing("")));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.setPath(from).ok());
    QVERIFY(session.list([](const ListingEntry &) {}).ok());
    const quint64 before = session.roundTrips();
    QVERIFY(session.setPath(to).ok());
    QVERIFY(session.list([](const ListingEntry &) {}).ok());
    QCOMPARE(session.roundTrips() - before, quint64(roundTrips));
}

void TestClientFolders::setPath_root_isSentWithTheNextCall()
{
    ScriptedPeer peer(serving(listing("")));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.setPath("/a/b").ok());
    QCOMPARE(setPathsIn(peer.requests()), 2);
    QVERIFY(session.setPath("/").ok());
    QCOMPARE(setPathsIn(peer.requests()), 2);
    QVERIFY(session.setPath("/a/b/c").ok()); // by way of the root: nothing of it was sent
    QCOMPARE(setPathsIn(peer.requests()), 3);
    QVERIFY(session.setPath("/").ok());
    QVERIFY(session.list([](const ListingEntry &) {}).ok());
    QCOMPARE(setPathsIn(peer.requests()), 4);
}

void TestClientFolders::setPath_refused_keepsTheCurrentFolder()
{
    ScriptedPeer peer(serving(listing(""), {ResponseCode::Success, ResponseCode::Success, ResponseCode::NotFound}));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.setPath("/a").ok());
    QVERIFY(session.setPath("/a/b/gone").is(ResponseCode::NotFound)); // b is granted, gone is not
    const quint64 before = session.roundTrips();
    QVERIFY(session.list([](const ListingEntry &) {}).ok()); // up from b, and the listing of a
    QCOMPARE(session.roundTrips() - before, quint64(2));
    QVERIFY(session.isConnected());
}

void TestClientFolders::setPath_refreshOfVanishedFolder_isNotFound()
{
    ScriptedPeer peer(serving(listing(""), {ResponseCode::Success, ResponseCode::Success, ResponseCode::NotFound,
                                            ResponseCode::NotFound, ResponseCode::Success}));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.setPath("/a").ok());
    QVERIFY(session.setPath("/a").is(ResponseCode::NotFound));
    QVERIFY(session.list([](const ListingEntry &) {}).is(ResponseCode::NotFound));
    QVERIFY(session.setPath("/b").ok()); // the real folder is known: one move down from the root
    QCOMPARE(setPathsIn(peer.requests()), 5);
}

void TestClientFolders::setPath_unusable_isInvalid_data()
{
    QTest::addColumn<QByteArray>("path");

    QTest::newRow("empty") << QByteArray("");
    QTest::newRow("relative") << QByteArray("a/b");
    QTest::newRow("two dots in it") << QByteArray("/a/../b");
    QTest::newRow("a NUL in it") << QByteArray("/a\0b", 4);
    QTest::newRow("no UTF-8") << QByteArray("/\xff");
}

void TestClientFolders::setPath_unusable_isInvalid()
{
    QFETCH(QByteArray, path);

    ScriptedPeer peer(serving(listing("")));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.setPath(path).error, Error::InvalidParameter);
    QCOMPARE(peer.requests().size(), 1);
}

void TestClientFolders::createFolder_leavesTheCurrentFolder()
{
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.createFolder("new").ok());
    QVERIFY(session.createFolder("new").ok()); // it is there already
    QVERIFY(QFileInfo(remote("new")).isDir());
    QVector<QByteArray> names;
    QVERIFY(session.list([&](const ListingEntry &entry) { names.append(entry.name); }).ok());
    QCOMPARE(names, QVector<QByteArray>{"new"});
}

void TestClientFolders::list_fromPeer_isNamedErrorOrEntriesLeftOut_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<Error>("error");
    QTest::addColumn<QList<QByteArray>>("names");

    const auto row = [](const char *name, const QByteArray &document, Error error, const QList<QByteArray> &names) {
        QTest::newRow(name) << document << error << names;
    };
    const QByteArray good = "<file name=\"good\" size=\"1\"/>";
    row("empty folder", listing(""), Error::None, {});
    row("one file", listing(good), Error::None, {"good"});
    row("cut in the middle of an entry", listing(good).left(listing(good).size() - 25), Error::Protocol, {});
    row("cut before its end", listing(good).left(listing(good).size() - 5), Error::Protocol, {"good"});
    row("nothing at all", "", Error::Protocol, {});
    row("no XML", "not a listing", Error::Protocol, {});
    row("another document", "<html><file name=\"x\"/></html>", Error::Protocol, {});
    row("entity bomb",
        "<!DOCTYPE folder-listing [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;&a;&a;&a;\">"
        "<!ENTITY c \"&b;&b;&b;&b;&b;&b;&b;&b;\">]><folder-listing><file name=\"&c;\"/></folder-listing>",
        Error::Protocol, {});
    row("external entity",
        "<!DOCTYPE folder-listing [<!ENTITY a SYSTEM \"file:///etc/passwd\">]>"
        "<folder-listing><file name=\"&a;\"/></folder-listing>",
        Error::Protocol, {});
    row("bad names among good ones",
        listing("<file name=\"..\"/><file name=\".\"/><file name=\"\"/><file/><folder name=\"a/b\"/>" + good +
                "<file name=\"/\"/><file name=\"" + QByteArray(300, 'n') + "\"/>"),
        Error::None, {"good"});
    row("a NUL in a name", listing("<file name=\"a&#0;b\"/>" + good), Error::Protocol, {});
    row("a trailing NUL", listing(good) + QByteArray("\0", 1), Error::None, {"good"});
}

void TestClientFolders::list_fromPeer_isNamedErrorOrEntriesLeftOut()
{
    QFETCH(QByteArray, document);
    QFETCH(Error, error);
    QFETCH(QList<QByteArray>, names);

    ScriptedPeer peer(serving(document));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QList<QByteArray> seen;
    QCOMPARE(session.list([&](const ListingEntry &entry) { seen.append(entry.name); }).error, error);
    QCOMPARE(seen, names);
    // Either way the connection serves on, or says that it is gone and a new one works.
    if (!session.isConnected()) {
        ScriptedPeer decent(serving(listing("")));
        ClientSession next(decent.takeStream(), {});
        QVERIFY(next.connect().ok());
        QVERIFY(next.list([](const ListingEntry &) {}).ok());
    } else {
        QVERIFY(session.setPath("/a").ok());
    }
}

void TestClientFolders::list_hundredThousandEntries_arrive()
{
    QByteArray entries;
    for (int i = 0; i < 100'000; ++i)
        entries += "<file name=\"picture " + QByteArray::number(i) + "\" size=\"123\"/>";
    ScriptedPeer peer(serving(listing(entries)));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    int count = 0;
    QVERIFY(session.list([&](const ListingEntry &) { ++count; }).ok());
    QCOMPARE(count, 100'000);
}

void TestClientFolders::list_inPacketsOfOneByte_arrives()
{
    const QByteArray document = listing("<folder name=\"caf\xc3\xa9\"/><file name=\"b\" size=\"7\"/>");
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        for (int i = 0; i < document.size(); ++i) {
            (void)end.request();
            end.send(reply::body(i + 1 < document.size() ? ResponseCode::Continue : ResponseCode::Success,
                                 document.mid(i, 1)));
        }
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QList<QByteArray> seen;
    QVERIFY(session.list([&](const ListingEntry &entry) { seen.append(entry.name); }).ok());
    QCOMPARE(seen, (QList<QByteArray>{"caf\xc3\xa9", "b"}));
}

void TestClientFolders::get_sizeSaidByTheListingAlone_isReported()
{
    // Every get is answered with this, without a Length; a Length header could not hold the first size anyway.
    const QByteArray document = listing("<file name=\"big\" size=\"5000000000\"/><file name=\"small\" size=\"1000\"/>");
    std::vector<quint64> sizes;
    ClientOptions options;
    options.progress = [&](const Progress &progress) {
        if (progress.first || progress.last)
            sizes.push_back(progress.size);
    };
    ScriptedPeer peer(serving(document));
    ClientSession session(peer.takeStream(), options);
    QVERIFY(session.connect().ok());
    const auto all = static_cast<quint64>(document.size());
    QVERIFY(session.getFile("big", local("big").toUtf8()).ok());
    QCOMPARE(sizes, (std::vector<quint64>{0, all})); // nothing was listed yet
    QVERIFY(session.list([](const ListingEntry &) {}).ok());
    sizes.clear();
    QVERIFY(session.getFile("big", local("big").toUtf8()).ok());
    QCOMPARE(sizes, (std::vector<quint64>{5'000'000'000, all}));
    sizes.clear();
    QVERIFY(session.setPath("/elsewhere").ok());
    QVERIFY(session.getFile("big", local("big").toUtf8()).ok());
    QCOMPARE(sizes, (std::vector<quint64>{0, all}));
    sizes.clear();
    QVERIFY(session.getFolder("folder", local("folder").toUtf8()).ok());
    QCOMPARE(sizes, (std::vector<quint64>{5'000'000'000, all, 1000, all}));
}

void TestClientFolders::oneSession_manyCalls_stayInStep()
{
    write(remote("a/file"), "x");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    for (int i = 0; i < 50; ++i) {
        QVERIFY(session.setPath("/a").ok());
        QVERIFY(session.getFile("file", local("file").toUtf8()).ok());
        QVERIFY(session.putFile(local("file").toUtf8(), "other").ok());
        QVERIFY(session.getFile("missing", local("missing").toUtf8()).is(ResponseCode::NotFound));
        QVERIFY(session.setPath("/missing").is(ResponseCode::NotFound));
        QVERIFY(session.deleteFile("other").ok());
    }
    session.disconnect();
}

QTEST_GUILESS_MAIN(TestClientFolders)
#include "tst_clientfolders.moc"
