#include "obex/clientsession.h"
#include "obex/server.h"
#include "scriptedpeer.h"
#include "transport/tcp.h"

#include <QTemporaryDir>
#include <QtTest>

#include <sys/stat.h>
#include <unistd.h>

using namespace obex;

Q_DECLARE_METATYPE(obex::Error)

namespace {

QByteArray listing(const QByteArray &entries)
{
    return "<?xml version=\"1.0\"?>\n<!DOCTYPE folder-listing SYSTEM \"obex-folder-listing.dtd\">\n"
           "<folder-listing version=\"1.0\">" +
           entries + "</folder-listing>";
}

Packet parsed(const QByteArray &packet)
{
    Packet result;
    (void)readPacket(bytesOf(packet), MaxPacketSize, result);
    return result;
}

/** Answers every SETPATH as told and every listing with these bytes, in packets of at most 60,000. */
ScriptedPeer::Script serving(const QByteArray &document, QVector<ResponseCode> setPathAnswers = {})
{
    return [document, setPathAnswers](PeerEnd &peer) mutable {
        acceptConnect(peer);
        int sent = 0;
        for (QByteArray request = peer.request(); !request.isEmpty(); request = peer.request()) {
            if (static_cast<std::uint8_t>(request.at(0)) == static_cast<std::uint8_t>(Opcode::SetPath)) {
                peer.send(reply::packet(setPathAnswers.isEmpty() ? ResponseCode::Success : setPathAnswers.takeFirst()));
                continue;
            }
            const QByteArray piece = document.mid(sent, 60'000);
            sent += piece.size();
            const bool last = sent == document.size();
            peer.send(reply::body(last ? ResponseCode::Success : ResponseCode::Continue, piece));
            if (last)
                sent = 0;
        }
    };
}

int setPathsIn(const QVector<QByteArray> &requests)
{
    return static_cast<int>(std::count_if(requests.begin(), requests.end(), [](const QByteArray &request) {
        return static_cast<std::uint8_t>(request.at(0)) == static_cast<std::uint8_t>(Opcode::SetPath);
    }));
}

/** A server of ours over loopback. */
class SharedFolder
{
public:
    explicit SharedFolder(const QString &folder)
    {
        ServerConfig config;
        config.folder = folder.toStdString();
        config.access = share::Access::Writable;
        m_server = std::make_unique<Server>(config);
        std::unique_ptr<transport::TcpListener> listener = transport::TcpListener::listen("127.0.0.1", 0);
        m_port = listener->port();
        std::vector<std::unique_ptr<transport::Listener>> listeners;
        listeners.push_back(std::move(listener));
        m_server->start(std::move(listeners));
    }

    std::unique_ptr<transport::Stream> dial() const
    {
        const transport::Wakeup never;
        return transport::TcpConnector("127.0.0.1", m_port)
            .connect(transport::Deadline::after(std::chrono::seconds(10)), never)
            .stream;
    }

private:
    std::unique_ptr<Server> m_server;
    std::uint16_t m_port = 0;
};

void write(const QString &path, const QByteArray &bytes)
{
    QVERIFY(QFileInfo(path).dir().mkpath("."));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(bytes), qint64(bytes.size()));
}

/** Relative path to contents; folders end with a slash. */
QMap<QString, QByteArray> tree(const QString &root)
{
    QMap<QString, QByteArray> result;
    QDirIterator it(root, QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot,
                    QDirIterator::Subdirectories);
    while (it.hasNext()) {
        const QString path = it.next();
        const QString name = path.mid(root.size() + 1);
        if (it.fileInfo().isDir()) {
            result.insert(name + '/', {});
        } else {
            QFile file(path);
            result.insert(name, file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("unreadable"));
        }
    }
    return result;
}

} // namespace

class TestClientFolders : public QObject
{
    Q_OBJECT

private slots:
    void init();

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
    void putAndGetFolder_throughServer_givesTheSameTree();
    void getFolder_intoExisting_merges();
    void getFolder_overFile_isLocalFile();
    void getFolder_fileWhereFolderStands_leavesItOutAndSaysSo();
    void getFolder_peerNestsForEver_ends();
    void putFolder_linkLoop_ends();
    void putFolder_folderThatCannotBeSearched_isLocalFileAndTheRestGoes();
    void deleteFolder_withContents_removesAll();
    void deleteFolder_peerRefusesFullFolders_emptiesItFirst();
    void deleteFolder_linkThatThePeerGoesUpFromElsewhere_staysInTheFolder();
    void oneSession_manyCalls_stayInStep();

private:
    QString local(const QString &name = {}) const { return name.isEmpty() ? m_local->path() : m_local->filePath(name); }
    QString remote(const QString &name = {}) const
    {
        return name.isEmpty() ? m_remote->path() : m_remote->filePath(name);
    }

    std::unique_ptr<QTemporaryDir> m_local;
    std::unique_ptr<QTemporaryDir> m_remote;
};

void TestClientFolders::init()
{
    m_local = std::make_unique<QTemporaryDir>();
    m_remote = std::make_unique<QTemporaryDir>();
    QVERIFY(m_local->isValid() && m_remote->isValid());
}

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

void TestClientFolders::putAndGetFolder_throughServer_givesTheSameTree()
{
    write(local("source/a file"), "1");
    write(local("source/empty"), "");
    write(local("source/100%&#é.txt"), QByteArray(200'000, 'x'));
    write(local("source/deep/er/down/x"), "2");
    QVERIFY(QDir(local()).mkpath("source/deep/nothing in it"));
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFolder(local("source").toUtf8(), "copy").ok());
    QCOMPARE(tree(remote("copy")), tree(local("source")));
    QVERIFY(session.getFolder("copy", local("back").toUtf8()).ok());
    QCOMPARE(tree(local("back")), tree(local("source")));
    QCOMPARE(QFileInfo(local("back/a file")).lastModified().toSecsSinceEpoch(),
             QFileInfo(local("source/a file")).lastModified().toSecsSinceEpoch());
}

void TestClientFolders::getFolder_intoExisting_merges()
{
    write(remote("folder/same"), "new");
    write(remote("folder/inner/theirs"), "theirs");
    write(local("folder/same"), "old");
    write(local("folder/inner/ours"), "ours");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFolder("folder", local("folder").toUtf8()).ok());
    const QMap<QString, QByteArray> expected{
        {"same", "new"}, {"inner/", {}}, {"inner/theirs", "theirs"}, {"inner/ours", "ours"}};
    QCOMPARE(tree(local("folder")), expected);
}

void TestClientFolders::getFolder_overFile_isLocalFile()
{
    write(remote("folder/x"), "x");
    write(local("folder"), "a file");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFolder("folder", local("folder").toUtf8()).error, Error::LocalFile);
    QCOMPARE(tree(local()), (QMap<QString, QByteArray>{{"folder", "a file"}}));
}

void TestClientFolders::getFolder_fileWhereFolderStands_leavesItOutAndSaysSo()
{
    write(remote("folder/blocked"), "x");
    write(remote("folder/free"), "y");
    QVERIFY(QDir(local()).mkpath("folder/blocked"));
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFolder("folder", local("folder").toUtf8()).error, Error::LocalFile);
    QCOMPARE(tree(local("folder")), (QMap<QString, QByteArray>{{"blocked/", {}}, {"free", "y"}}));
}

void TestClientFolders::getFolder_peerNestsForEver_ends()
{
    ScriptedPeer peer(serving(listing("<folder name=\"again\"/>")));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFolder("again", local("again").toUtf8()).error, Error::TooMuch);
    QVERIFY(session.isConnected());
}

void TestClientFolders::putFolder_linkLoop_ends()
{
    write(local("source/inner/file"), "x");
    QVERIFY(QFile::link(local("source"), local("source/inner/loop")));
    QVERIFY(QFile::link("file", local("source/inner/link")));
    QVERIFY(QFile::link("missing", local("source/inner/dangling")));
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.putFolder(local("source").toUtf8(), "copy").ok());
    QCOMPARE(tree(remote("copy")),
             (QMap<QString, QByteArray>{{"inner/", {}}, {"inner/file", "x"}, {"inner/link", "x"}}));
}

void TestClientFolders::putFolder_folderThatCannotBeSearched_isLocalFileAndTheRestGoes()
{
    write(local("folder/closed/inside"), "inside");
    write(local("folder/open/inside"), "inside");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    // Its names can be read, and nothing behind them. Root may do everything, so be somebody else for a moment.
    constexpr uid_t nobody = 65534;
    const uid_t self = ::geteuid();
    for (const char *folder : {"folder", "folder/open", "folder/closed"})
        QCOMPARE(::chmod(local(folder).toUtf8().constData(), 0755), 0);
    for (const QString &folder : {local(), remote()})
        QCOMPARE(::chmod(folder.toUtf8().constData(), 0777), 0);
    QCOMPARE(::chmod(local("folder/closed").toUtf8().constData(), 0444), 0);
    QVERIFY(self != 0 || ::seteuid(nobody) == 0);
    const Outcome outcome = session.putFolder(local("folder").toUtf8(), "sent");
    QVERIFY(self != 0 || ::seteuid(self) == 0);
    QCOMPARE(::chmod(local("folder/closed").toUtf8().constData(), 0755), 0);
    QCOMPARE(outcome.error, Error::LocalFile);
    QCOMPARE(tree(remote("sent")),
             (QMap<QString, QByteArray>{{"closed/", {}}, {"open/", {}}, {"open/inside", "inside"}}));
}

void TestClientFolders::deleteFolder_withContents_removesAll()
{
    write(remote("folder/a"), "x");
    write(remote("folder/b/c/d"), "x");
    QVERIFY(QDir(remote()).mkpath("folder/b/empty"));
    write(remote("stays"), "x");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.deleteFolder("folder").ok());
    QCOMPARE(tree(remote()), (QMap<QString, QByteArray>{{"stays", "x"}}));
    QVERIFY(session.deleteFolder("folder").is(ResponseCode::NotFound));
}

void TestClientFolders::deleteFolder_peerRefusesFullFolders_emptiesItFirst()
{
    // folder holds file and inner, inner holds nothing; full folders are refused with 0xCC.
    QStringList log;
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        bool fileThere = true;
        bool innerThere = true;
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request()) {
            const Packet packet = parsed(request);
            Header header;
            if (packet.opcode() == Opcode::GetFinal) {
                end.send(reply::body(ResponseCode::Success, listing("<file name=\"file\"/><folder name=\"inner\"/>")));
            } else if (packet.opcode() == Opcode::SetPath) {
                end.send(reply::packet(ResponseCode::Success));
            } else if (findHeader(packet.body, HeaderId::Name, header)) {
                const bool full = header.text() == "folder" && (fileThere || innerThere);
                fileThere = fileThere && header.text() != "file";
                innerThere = innerThere && header.text() != "inner";
                log.append(header.text() + (full ? " refused" : " gone"));
                end.send(reply::packet(full ? ResponseCode::PreconditionFailed : ResponseCode::Success));
            }
        }
    });
    {
        ClientSession session(peer.takeStream(), {});
        QVERIFY(session.connect().ok());
        QVERIFY(session.deleteFolder("folder").ok());
    }
    QCOMPARE(log, (QStringList{"folder refused", "file gone", "inner gone", "folder gone"}));
}

namespace {

QByteArray listingOf(const QString &folder)
{
    QByteArray entries;
    for (const QFileInfo &info : QDir(folder).entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot, QDir::Name))
        entries += (info.isDir() ? "<folder name=\"" : "<file name=\"") + info.fileName().toUtf8() + "\"/>";
    return listing(entries);
}

/** Deletes files and empty folders alone; links to folders it takes for folders. */
ResponseCode removeAsFewServersDo(const QString &path)
{
    const QFileInfo info(path);
    const bool gone = info.isDir() ? !info.isSymLink() && QDir().rmdir(path) : QFile::remove(path);
    return gone ? ResponseCode::Success : ResponseCode::PreconditionFailed;
}

/** Serves a real folder as the system sees it: up from behind a link is above the folder that the link leads to. */
ScriptedPeer::Script servingAsTheSystemGoes(const QString &root)
{
    return [root](PeerEnd &peer) {
        acceptConnect(peer);
        QString at = root;
        for (QByteArray request = peer.request(); !request.isEmpty(); request = peer.request()) {
            const Packet packet = parsed(request);
            Header header;
            if (packet.opcode() == Opcode::GetFinal) {
                peer.send(reply::body(ResponseCode::Success, listingOf(at)));
            } else if (packet.opcode() == Opcode::SetPath) {
                SetPathFields fields;
                Bytes headers;
                (void)readSetPathFields(packet.body, fields, headers);
                const QString name = findHeader(headers, HeaderId::Name, header) ? header.text() : QString();
                const bool up = (fields.flags & SetPathBackup) != 0;
                at = QFileInfo(up ? at + "/.." : name.isEmpty() ? root : at + '/' + name).canonicalFilePath();
                peer.send(reply::packet(ResponseCode::Success));
            } else if (findHeader(packet.body, HeaderId::Name, header)) {
                peer.send(reply::packet(removeAsFewServersDo(at + '/' + header.text())));
            }
        }
    };
}

} // namespace

void TestClientFolders::deleteFolder_linkThatThePeerGoesUpFromElsewhere_staysInTheFolder()
{
    write(remote("folder/aa/file"), "x");
    write(remote("other/aa/precious"), "x");
    QVERIFY(QDir(remote()).mkpath("other/link"));
    QVERIFY(QFile::link(remote("other/link"), remote("folder/link")));
    ScriptedPeer peer(servingAsTheSystemGoes(remote()));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QVERIFY(session.deleteFolder("folder").is(ResponseCode::PreconditionFailed)); // the peer keeps the link
    QVERIFY(QFileInfo(remote("other/link")).isDir());
    QVERIFY(QFileInfo(remote("other/aa/precious")).isFile());
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
