#include "foldertest.h"

#include <sys/stat.h>
#include <unistd.h>

using namespace obex;

namespace {

Packet parsed(const QByteArray &packet)
{
    Packet result;
    (void)readPacket(bytesOf(packet), MaxPacketSize, result);
    return result;
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

/** Whole folders: put, fetched and deleted with all that they hold. */
class TestClientFolderTrees : public FolderTest
{
    Q_OBJECT

private slots:
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
};

void TestClientFolderTrees::putAndGetFolder_throughServer_givesTheSameTree()
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

void TestClientFolderTrees::getFolder_intoExisting_merges()
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

void TestClientFolderTrees::getFolder_overFile_isLocalFile()
{
    write(remote("folder/x"), "x");
    write(local("folder"), "a file");
    const SharedFolder shared(remote());
    ClientSession session(shared.dial(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFolder("folder", local("folder").toUtf8()).error, Error::LocalFile);
    QCOMPARE(tree(local()), (QMap<QString, QByteArray>{{"folder", "a file"}}));
}

void TestClientFolderTrees::getFolder_fileWhereFolderStands_leavesItOutAndSaysSo()
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

void TestClientFolderTrees::getFolder_peerNestsForEver_ends()
{
    ScriptedPeer peer(serving(listing("<folder name=\"again\"/>")));
    ClientSession session(peer.takeStream(), {});
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFolder("again", local("again").toUtf8()).error, Error::TooMuch);
    QVERIFY(session.isConnected());
}

void TestClientFolderTrees::putFolder_linkLoop_ends()
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

void TestClientFolderTrees::putFolder_folderThatCannotBeSearched_isLocalFileAndTheRestGoes()
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

void TestClientFolderTrees::deleteFolder_withContents_removesAll()
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

void TestClientFolderTrees::deleteFolder_peerRefusesFullFolders_emptiesItFirst()
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

void TestClientFolderTrees::deleteFolder_linkThatThePeerGoesUpFromElsewhere_staysInTheFolder()
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

QTEST_GUILESS_MAIN(TestClientFolderTrees)
#include "tst_clientfoldertrees.moc"
