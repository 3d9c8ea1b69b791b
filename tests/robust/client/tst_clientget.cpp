#include "obex/localfile.h"
#include "transferhelpers.h"

#include <QElapsedTimer>
#include <QTemporaryDir>

#include <csignal>
#include <sched.h>
#include <sys/mount.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace obex;

Q_DECLARE_METATYPE(ScriptedPeer::Script)
Q_DECLARE_METATYPE(obex::Error)

namespace {

constexpr int Pieces = 6;
constexpr int PieceSize = 1000;

QByteArray piece(int number)
{
    return QByteArray(PieceSize, static_cast<char>('a' + number));
}

/** Sends the object in Pieces packets, each asked for. */
void serveGet(PeerEnd &peer, int closeBefore = -1)
{
    for (int i = 0; i < Pieces; ++i) {
        (void)peer.request();
        if (i == closeBefore)
            return;
        peer.send(reply::body(i + 1 < Pieces ? ResponseCode::Continue : ResponseCode::Success, piece(i)));
    }
}

} // namespace

class TestClientGet : public QObject
{
    Q_OBJECT

private slots:
    void init();

    void get_peerMisbehaves_namesTheErrorAndKeepsTheOldFile_data();
    void get_peerMisbehaves_namesTheErrorAndKeepsTheOldFile();
    void get_peerClosesAtEachPacket_keepsTheOldFileAndLeavesNoLitter();
    void get_streamClosesAtEachPacket_keepsTheOldFileAndLeavesNoLitter();
    void get_complete_replacesTheOldFileAndKeepsItsMode();
    void get_peerGivesTime_setsIt();
    void get_streamedWithoutAsking_takesAllPackets();
    void get_peerAsksToWaitWhileStreaming_asksOnce();
    void get_overFolder_isLocalFileAndNothingIsSent();
    void get_overFifo_isLocalFile();
    void get_intoMissingFolder_isLocalFile();
    void get_overLink_replacesTheLinkAlone();
    void get_moreAnnouncedThanComes_isProtocol();
    void get_unusableNames_areRefusedBeforeAnythingIsSent_data();
    void get_unusableNames_areRefusedBeforeAnythingIsSent();
    void get_refused_keepsTheLink();
    void get_noSpaceForIt_isDiskFull();
    void get_noSpaceAnnounced_isDiskFullAtOnce();
    void get_largerThanTheDiskTakes_isDiskFull();
    void get_whereAKilledProcessLeftLitter_removesItAndNothingElse();
    void progress_reportsFirstAndLastOfEachFile();

private:
    /** The link ends when the script does: the old file stays, and nothing else. */
    void getFromAPeerThatLeaves(const ScriptedPeer::Script &serve);

    QString target() const { return m_folder->filePath("target"); }
    QByteArray targetPath() const { return target().toUtf8(); }

    std::unique_ptr<QTemporaryDir> m_folder;
};

void TestClientGet::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    QVERIFY(m_folder->isValid());
}

void TestClientGet::get_peerMisbehaves_namesTheErrorAndKeepsTheOldFile_data()
{
    QTest::addColumn<ScriptedPeer::Script>("afterRequest");
    QTest::addColumn<Error>("error");

    const auto sending = [](const char *name, const QByteArray &bytes, Error error) {
        QTest::newRow(name) << ScriptedPeer::Script([bytes](PeerEnd &peer) {
            peer.send(bytes);
            peer.stayAway();
        }) << error;
    };
    sending("never answers", {}, Error::TimedOut);
    sending("packet length 0", hex("900000"), Error::Protocol);
    sending("packet length 1", hex("900001"), Error::Protocol);
    sending("packet length 2", hex("900002"), Error::Protocol);
    sending("packet length 65535 with less behind it", hex("90FFFF48FFFC4142"), Error::TimedOut);
    sending("a body that overruns", hex("90000848FFFF4142"), Error::Protocol);
    sending("a body header of length 2", hex("9000074800024142"), Error::Protocol);
    sending("text of an odd number of bytes", hex("90000A0100044148000341"), Error::Protocol);
    sending("refuses", reply::packet(ResponseCode::NotFound), Error::Refused);
    sending("two packets and then silence",
            reply::body(ResponseCode::Continue, "x") + reply::body(ResponseCode::Continue, "y"), Error::TimedOut);
    const auto repeating = [](const char *name, const QByteArray &packet) {
        QTest::newRow(name) << ScriptedPeer::Script([packet](PeerEnd &peer) {
            QElapsedTimer timer; // the test ends even if the client does not
            timer.start();
            do
                peer.send(packet);
            while (!peer.request().isEmpty() && timer.elapsed() < 3000);
        }) << Error::TimedOut;
    };
    QTest::newRow("streams headers without bytes for ever") << ScriptedPeer::Script([](PeerEnd &peer) {
        peer.send(reply::packet(ResponseCode::Continue,
                                [](PacketWriter &writer) { writer.addByte(HeaderId::Srm, SrmEnable); }));
        const QByteArray packet = reply::packet(
            ResponseCode::Continue, [](PacketWriter &writer) { writer.addText(HeaderId::Description, "soon"); });
        const QByteArray many = packet.repeated(4000); // so that the client never has to wait for the next
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 2000)
            peer.send(many);
    }) << Error::TimedOut;
    repeating("says wait for ever", reply::packet(ResponseCode::Continue));
    repeating("sends empty bodies for ever", reply::body(ResponseCode::Continue, {}));
    repeating("sends headers without bytes for ever", reply::packet(ResponseCode::Continue, [](PacketWriter &writer) {
                  writer.addText(HeaderId::Description, "soon");
                  writer.addSequence(HeaderId::Body, {});
              }));
}

void TestClientGet::get_peerMisbehaves_namesTheErrorAndKeepsTheOldFile()
{
    QFETCH(ScriptedPeer::Script, afterRequest);
    QFETCH(Error, error);

    write(target(), "old");
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        afterRequest(end);
    });
    // Impatient only where the peer is to be given up: a busy machine is slow, too.
    ClientSession session(peer.takeStream(), error == Error::TimedOut ? impatient() : ClientOptions());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, error);
    QCOMPARE(session.isConnected(), error == Error::Refused);
    QCOMPARE(contents(target()), QByteArray("old"));
    QCOMPARE(everythingIn(m_folder->path()), QStringList{"target"});

    ScriptedPeer decent([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        end.stayAway();
    });
    ClientSession next(decent.takeStream(), patient());
    QVERIFY(next.connect().ok());
    QVERIFY(next.getFile("name", targetPath()).ok());
    QCOMPARE(contents(target()).size(), Pieces * PieceSize);
}

void TestClientGet::getFromAPeerThatLeaves(const ScriptedPeer::Script &serve)
{
    write(target(), "old");
    ScriptedPeer peer([&](PeerEnd &end) {
        acceptConnect(end);
        serve(end);
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::LinkLost);
    QVERIFY(!session.isConnected());
    QCOMPARE(contents(target()), QByteArray("old"));
    QCOMPARE(everythingIn(m_folder->path()), QStringList{"target"});
}

void TestClientGet::get_peerClosesAtEachPacket_keepsTheOldFileAndLeavesNoLitter()
{
    for (int closeBefore = 0; closeBefore < Pieces; ++closeBefore)
        getFromAPeerThatLeaves([&](PeerEnd &end) { serveGet(end, closeBefore); });
}

namespace {

void streamGet(PeerEnd &peer, int packets)
{
    (void)peer.request();
    for (int i = 0; i < packets; ++i) {
        peer.send(reply::body(i + 1 < Pieces ? ResponseCode::Continue : ResponseCode::Success, piece(i),
                              [&](PacketWriter &writer) {
                                  if (i == 0)
                                      writer.addByte(HeaderId::Srm, SrmEnable);
                              }));
    }
}

} // namespace

void TestClientGet::get_streamClosesAtEachPacket_keepsTheOldFileAndLeavesNoLitter()
{
    for (int packets = 0; packets < Pieces; ++packets)
        getFromAPeerThatLeaves([&](PeerEnd &end) { streamGet(end, packets); });
}

void TestClientGet::get_complete_replacesTheOldFileAndKeepsItsMode()
{
    write(target(), "old");
    QCOMPARE(::chmod(targetPath().constData(), 0600), 0);
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QByteArray expected;
    for (int i = 0; i < Pieces; ++i)
        expected += piece(i);
    QCOMPARE(contents(target()), expected);
    struct stat info
    {
    };
    QCOMPARE(::stat(targetPath().constData(), &info), 0);
    QCOMPARE(info.st_mode & 0777, mode_t(0600));
    QCOMPARE(everythingIn(m_folder->path()), QStringList{"target"});
    QCOMPARE(session.bytesReceived(), quint64(expected.size()));
}

void TestClientGet::get_peerGivesTime_setsIt()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::body(ResponseCode::Success, "x", [](PacketWriter &writer) {
            writer.addSequence(HeaderId::Time, {reinterpret_cast<const std::uint8_t *>("20010203T040506Z"), 16});
        }));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QCOMPARE(QFileInfo(target()).lastModified().toUTC(), QDateTime(QDate(2001, 2, 3), QTime(4, 5, 6), Qt::UTC));
}

void TestClientGet::get_streamedWithoutAsking_takesAllPackets()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        streamGet(end, Pieces);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QCOMPARE(contents(target()).size(), Pieces * PieceSize);
    QCOMPARE(peer.requests().size(), 2);
    QVERIFY(carries(peer.requests()[1], HeaderId::Srm));
}

void TestClientGet::get_peerAsksToWaitWhileStreaming_asksOnce()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::body(ResponseCode::Continue, "a", [](PacketWriter &writer) {
            writer.addByte(HeaderId::Srm, SrmEnable);
            writer.addByte(HeaderId::SrmParameters, SrmpWait);
        }));
        (void)end.request();
        end.send(reply::body(ResponseCode::Continue, "b"));
        end.send(reply::body(ResponseCode::Success, "c"));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QCOMPARE(contents(target()), QByteArray("abc"));
    QCOMPARE(peer.requests().size(), 3);
}

void TestClientGet::get_overFolder_isLocalFileAndNothingIsSent()
{
    QVERIFY(QDir(m_folder->path()).mkpath("target/inside"));
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), impatient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::LocalFile);
    QVERIFY(session.isConnected());
    QCOMPARE(peer.requests().size(), 1);
    QVERIFY(QFileInfo(m_folder->filePath("target/inside")).isDir());
}

void TestClientGet::get_overFifo_isLocalFile()
{
    QCOMPARE(::mkfifo(targetPath().constData(), 0600), 0);
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), impatient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::LocalFile);
}

void TestClientGet::get_intoMissingFolder_isLocalFile()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), impatient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", m_folder->filePath("missing/target").toUtf8()).error, Error::LocalFile);
}

void TestClientGet::get_overLink_replacesTheLinkAlone()
{
    write(m_folder->filePath("elsewhere"), "theirs");
    QVERIFY(QFile::link("elsewhere", target()));
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QVERIFY(!QFileInfo(target()).isSymLink());
    QCOMPARE(contents(m_folder->filePath("elsewhere")), QByteArray("theirs"));
}

void TestClientGet::get_moreAnnouncedThanComes_isProtocol()
{
    write(target(), "old");
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::body(ResponseCode::Success, "short",
                             [](PacketWriter &writer) { writer.addNumber(HeaderId::Length, 6); }));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::Protocol);
    QCOMPARE(contents(target()), QByteArray("old"));
    QVERIFY(session.isConnected());
}

void TestClientGet::get_unusableNames_areRefusedBeforeAnythingIsSent_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<Error>("error");

    QTest::newRow("empty") << QByteArray("") << Error::InvalidParameter;
    QTest::newRow("dot") << QByteArray(".") << Error::InvalidParameter;
    QTest::newRow("two dots") << QByteArray("..") << Error::InvalidParameter;
    QTest::newRow("a slash") << QByteArray("a/b") << Error::InvalidParameter;
    QTest::newRow("a NUL") << QByteArray("a\0b", 3) << Error::InvalidParameter;
    QTest::newRow("no UTF-8") << QByteArray("\xff\xfe") << Error::InvalidParameter;
    QTest::newRow("300 bytes") << QByteArray(300, 'n') << Error::NameTooLong;
}

void TestClientGet::get_unusableNames_areRefusedBeforeAnythingIsSent()
{
    QFETCH(QByteArray, name);
    QFETCH(Error, error);

    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), impatient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile(name, targetPath()).error, error);
    QCOMPARE(session.getFolder(name, targetPath()).error, error);
    QCOMPARE(session.createFolder(name).error, error);
    QCOMPARE(session.deleteFile(name).error, error);
    QCOMPARE(session.deleteFolder(name).error, error);
    QCOMPARE(session.putFile("/etc/hostname", name).error, error);
    QCOMPARE(session.putFolder(m_folder->path().toUtf8(), name).error, error);
    QCOMPARE(peer.requests().size(), 1);
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
}

void TestClientGet::get_refused_keepsTheLink()
{
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::NotFound));
        serveGet(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("gone", targetPath()).is(ResponseCode::NotFound));
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
    QVERIFY(session.getFile("there", targetPath()).ok());
}

namespace {

/** A file system of 256 KiB over a folder, seen by this test alone; false where that is not allowed. */
bool mountSmallDisk(const QByteArray &folder)
{
    return ::unshare(CLONE_NEWNS) == 0 && ::mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0 &&
           ::mount("tmpfs", folder.constData(), "tmpfs", 0, "size=256k") == 0;
}

} // namespace

void TestClientGet::get_noSpaceForIt_isDiskFull()
{
    if (!mountSmallDisk(m_folder->path().toUtf8()))
        QSKIP("Mounting a small file system takes privileges that this process lacks.");
    write(target(), "old");
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        for (QByteArray request = end.request(); !request.isEmpty(); request = end.request()) {
            const bool aborted = static_cast<std::uint8_t>(request.at(0)) == static_cast<std::uint8_t>(Opcode::Abort);
            end.send(aborted ? reply::packet(ResponseCode::Success)
                             : reply::body(ResponseCode::Continue, QByteArray(4000, 'x')));
        }
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::DiskFull);
    QCOMPARE(contents(target()), QByteArray("old"));
    QCOMPARE(everythingIn(m_folder->path()), QStringList{"target"});
    QVERIFY(session.isConnected());
    QCOMPARE(static_cast<std::uint8_t>(peer.requests().last().at(0)), static_cast<std::uint8_t>(Opcode::Abort));
    (void)::umount2(m_folder->path().toUtf8().constData(), MNT_DETACH);
}

void TestClientGet::get_noSpaceAnnounced_isDiskFullAtOnce()
{
    if (!mountSmallDisk(m_folder->path().toUtf8()))
        QSKIP("Mounting a small file system takes privileges that this process lacks.");
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        (void)end.request();
        end.send(reply::body(ResponseCode::Continue, "x",
                             [](PacketWriter &writer) { writer.addNumber(HeaderId::Length, 2 * 1024 * 1024); }));
        (void)end.request();
        end.send(reply::body(ResponseCode::Continue, "x"));
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QCOMPARE(session.getFile("name", targetPath()).error, Error::DiskFull);
    QVERIFY(session.isConnected());
    QVERIFY(everythingIn(m_folder->path()).isEmpty());
    (void)::umount2(m_folder->path().toUtf8().constData(), MNT_DETACH);
}

void TestClientGet::get_largerThanTheDiskTakes_isDiskFull()
{
    // A limit on the size of files stands in for a file system that takes only small ones: both say EFBIG.
    rlimit before{};
    QCOMPARE(::getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    write(target(), "old");
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        (void)end.request();
        end.send(reply::packet(ResponseCode::Success));
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    const rlimit small{PieceSize, before.rlim_max};
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &small), 0);
    const Outcome outcome = session.getFile("name", targetPath());
    QCOMPARE(::setrlimit(RLIMIT_FSIZE, &before), 0);
    (void)std::signal(SIGXFSZ, handler);
    QCOMPARE(outcome.error, Error::DiskFull);
    QCOMPARE(contents(target()), QByteArray("old"));
    QCOMPARE(everythingIn(m_folder->path()), QStringList{"target"});
}

namespace {

/** Begins a file of a few bytes as a get does. */
bool beginFile(const QByteArray &folder, Download &file)
{
    static LocalFolder open; // the file needs it as long as it lives
    QByteArray name;
    return LocalFolder::openParent(folder + "/begun", open, name) == Error::None &&
           file.open(open, name) == Error::None && file.start(3) == Error::None;
}

} // namespace

void TestClientGet::get_whereAKilledProcessLeftLitter_removesItAndNothingElse()
{
    const QByteArray folder = m_folder->path().toUtf8();
    const pid_t child = ::fork();
    if (child == 0) {
        Download file;
        (void)beginFile(folder, file);
        (void)::raise(SIGKILL);
    }
    int status = 0;
    QCOMPARE(::waitpid(child, &status, 0), child);
    QVERIFY(WIFSIGNALED(status));
    const QStringList litter = everythingIn(m_folder->path());
    QCOMPARE(litter.size(), 1);

    Download inUse;
    QVERIFY(beginFile(folder, inUse));
    write(m_folder->filePath(".btftp-part-of-somebody-else"), "theirs");
    QStringList expected = everythingIn(m_folder->path());
    expected.removeAll(litter.first());
    expected.append("target");
    expected.sort();

    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), patient());
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("name", targetPath()).ok());
    QCOMPARE(everythingIn(m_folder->path()), expected);
}

void TestClientGet::progress_reportsFirstAndLastOfEachFile()
{
    struct Report
    {
        bool first;
        bool last;
        QByteArray name;
        quint64 size;
        quint64 done;
    };
    std::vector<Report> reports;
    ClientOptions options = patient();
    options.progress = [&](const Progress &p) { reports.push_back({p.first, p.last, p.name, p.size, p.done}); };
    ScriptedPeer peer([](PeerEnd &end) {
        acceptConnect(end);
        serveGet(end);
        end.stayAway();
    });
    ClientSession session(peer.takeStream(), options);
    QVERIFY(session.connect().ok());
    QVERIFY(session.getFile("na\xc3\xafve", targetPath()).ok());
    QVERIFY(reports.size() >= 2);
    QVERIFY(reports.front().first && !reports.front().last);
    QCOMPARE(reports.front().done, quint64(0));
    QVERIFY(!reports.back().first && reports.back().last);
    QCOMPARE(reports.back().done, quint64(Pieces * PieceSize));
    QCOMPARE(reports.back().size, quint64(Pieces * PieceSize));
    QCOMPARE(reports.back().name, QByteArray("na\xc3\xafve"));
}

QTEST_GUILESS_MAIN(TestClientGet)
#include "tst_clientget.moc"
