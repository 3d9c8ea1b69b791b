#include "servedfolder.h"

#include <atomic>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/socket.h>
#include <sys/sysmacros.h>
#include <sys/un.h>
#include <thread>

using obex::bytesOf;

namespace {

bool isRefusal(const Reply &reply)
{
    return reply.code >= 0xC0;
}

/** A session in which each packet does something: what a broken client may break at any place. */
QList<QByteArray> sampleSession(const RawClient &client)
{
    const auto put = [&](Opcode opcode, HeaderId body, const char *name) {
        return client.packet(opcode, [&](obex::PacketWriter &writer) {
            if (name)
                (void)writer.addText(HeaderId::Name, QString::fromLatin1(name));
            (void)writer.addNumber(HeaderId::Length, 8);
            (void)writer.addSequence(body, bytesOf("half"));
        });
    };
    return {client.packet(
                Opcode::Connect,
                [](obex::PacketWriter &writer) {
                    (void)writer.addConnectFields(1000);
                    (void)writer.addSequence(HeaderId::Target, {obex::FolderBrowsing, sizeof obex::FolderBrowsing});
                }),
            client.packet(Opcode::SetPath,
                          [](obex::PacketWriter &writer) {
                              (void)writer.addSetPathFields(obex::SetPathNoCreate);
                              (void)writer.addText(HeaderId::Name, QStringLiteral("sub"));
                          }),
            client.packet(Opcode::GetFinal,
                          [](obex::PacketWriter &writer) {
                              (void)writer.addSequence(HeaderId::Type, bytesOf(obex::ListingType));
                          }),
            put(Opcode::Put, HeaderId::Body, "inner.txt"), put(Opcode::PutFinal, HeaderId::EndOfBody, nullptr)};
}

} // namespace

class TestServerHostile : public QObject
{
    Q_OBJECT

private slots:
    void names_leadingElsewhere_areRefused_data();
    void names_leadingElsewhere_areRefused();
    void names_ofHalfACharacter_areRefused();
    void names_unusualButLegal_areStoredAndReportedAsGiven_data();
    void names_unusualButLegal_areStoredAndReportedAsGiven();
    void links_outOfTheShare_areRefused_data();
    void links_outOfTheShare_areRefused();
    void links_swappedDuringTheSession_neverLeadOutside();
    void sibling_whoseNameBeginsLikeTheShares_isNotReached();
    void specialFiles_areRefusedWithoutBlocking_data();
    void specialFiles_areRefusedWithoutBlocking();
    void readOnly_everyChange_isUnauthorizedAndNotBegun_data();
    void readOnly_everyChange_isUnauthorizedAndNotBegun();
    void diskFull_put_isDatabaseFullAndTheOldFileUnharmed();
    void packets_cutAnywhere_leaveNoTrace();
    void packets_brokenAnywhere_leaveNoTrace();
    void packetLengths_impossible_endTheLink_data();
    void packetLengths_impossible_endTheLink();
    void headers_malformed_areBadRequests_data();
    void headers_malformed_areBadRequests();
};

void TestServerHostile::names_leadingElsewhere_areRefused_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("the folder above") << QStringLiteral("..");
    QTest::newRow("the folder itself") << QStringLiteral(".");
    QTest::newRow("a file of a folder above") << QStringLiteral("../outside/secret.txt");
    QTest::newRow("down and up") << QStringLiteral("sub/../../outside/secret.txt");
    QTest::newRow("an absolute path") << QStringLiteral("/etc/passwd");
    QTest::newRow("a path within") << QStringLiteral("sub/inner.txt");
    QTest::newRow("a sibling") << QStringLiteral("../share-private/secret.txt");
    QTest::newRow("NUL in the middle") << QString::fromLatin1("file.txt\0.jpg", 13);
    QTest::newRow("NUL, then upwards") << QString::fromLatin1("a\0/../../outside/secret.txt", 27);
    QTest::newRow("300 bytes") << QString(300, QLatin1Char('n'));
    QTest::newRow("200 characters of 2 bytes each") << QString(200, QChar(0xE9));
}

void TestServerHostile::names_leadingElsewhere_areRefused()
{
    QFETCH(QString, name);
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client = served.client();
    QByteArray content;
    QVERIFY(isRefusal(client.getFile(name, &content)));
    QVERIFY(content.isEmpty());
    QVERIFY(isRefusal(client.list(&content, name)));
    QVERIFY(isRefusal(client.putFile(name, "evil")));
    QVERIFY(isRefusal(client.remove(name)));
    QVERIFY(isRefusal(client.setPath(name)));
    QVERIFY(isRefusal(client.setPath(name, 0)));
    QVERIFY(isRefusal(client.setPath(name, obex::SetPathBackup)));
    QCOMPARE(served.everything(), before);
    QVERIFY(served.observer.files().isEmpty());
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerHostile::names_ofHalfACharacter_areRefused()
{
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client = served.client();
    const QString half = QStringLiteral("a") + QChar(0xD83D);
    COMPARE_REPLY(client.putFile(half, "x"), ResponseCode::BadRequest);
    COMPARE_REPLY(client.getFile(half), ResponseCode::BadRequest);
    QCOMPARE(served.everything(), before);
}

void TestServerHostile::names_unusualButLegal_areStoredAndReportedAsGiven_data()
{
    QTest::addColumn<QString>("name");
    QTest::newRow("markup") << QStringLiteral("<b>bold<b>&amp;.txt");
    QTest::newRow("a newline") << QStringLiteral("one\ntwo");
    QTest::newRow("bidirectional marks") << (QChar(0x202E) + QStringLiteral("gpj.exe"));
    QTest::newRow("255 bytes") << QString(255, QLatin1Char('n'));
    QTest::newRow("placeholders") << QStringLiteral("%1 %s %n");
    QTest::newRow("a backslash path") << QStringLiteral("..\\..\\autoexec.bat");
    QTest::newRow("an escape sequence") << QStringLiteral("\x1B[2Jx");
}

void TestServerHostile::names_unusualButLegal_areStoredAndReportedAsGiven()
{
    QFETCH(QString, name);
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.putFile(name, "body"), ResponseCode::Success);
    QCOMPARE(served.read(("share/" + name.toUtf8()).constData()), QByteArray("body"));
    QCOMPARE(served.observer.files(), QStringList{QStringLiteral("file ") + name});
}

void TestServerHostile::links_outOfTheShare_areRefused_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("to a file") << QByteArray("../outside/secret.txt");
    QTest::newRow("to a folder") << QByteArray("../outside");
    QTest::newRow("dangling") << QByteArray("../outside/none");
    QTest::newRow("absolute file") << QByteArray("/etc/passwd");
    QTest::newRow("absolute folder") << QByteArray("/etc");
}

void TestServerHostile::links_outOfTheShare_areRefused()
{
    QFETCH(QByteArray, target);
    ServedFolder served;
    QCOMPARE(::symlink(target.constData(), served.local("share/link").constData()), 0);
    const QStringList before = served.everything();
    RawClient client = served.client();
    QByteArray content;
    COMPARE_REPLY(client.getFile(QStringLiteral("link"), &content), ResponseCode::Forbidden);
    QVERIFY(content.isEmpty());
    QVERIFY(isRefusal(client.putFile(QStringLiteral("link"), "evil")));
    QVERIFY(isRefusal(client.setPath(QStringLiteral("link"))));
    QVERIFY(isRefusal(client.setPath(QStringLiteral("link"), 0)));
    QVERIFY(isRefusal(client.list(&content, QStringLiteral("link"))));
    COMPARE_REPLY(client.list(&content), ResponseCode::Success);
    QVERIFY(!content.contains("link"));
    QCOMPARE(served.everything(), before);
    COMPARE_REPLY(client.remove(QStringLiteral("link")), ResponseCode::Success);
    QVERIFY(!served.exists("share/link"));
    QCOMPARE(served.read("outside/secret.txt"), QByteArray("secret"));
}

/** Once a client stands in a folder, the folder is swapped to and fro with a link that leads out. */
void TestServerHostile::links_swappedDuringTheSession_neverLeadOutside()
{
    ServedFolder served;
    served.write("share/sub/secret.txt", "harmless");
    QCOMPARE(::symlink("../outside", served.local("share/evil").constData()), 0);
    const QStringList outside = served.everything("outside");
    RawClient client = served.client();
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Success);
    const QByteArray folder = served.local("share/sub");
    const QByteArray evil = served.local("share/evil");
    std::atomic<bool> done{false};
    std::thread swapper([&] {
        while (!done)
            ::renameat2(AT_FDCWD, folder.constData(), AT_FDCWD, evil.constData(), RENAME_EXCHANGE);
    });
    bool leaked = false;
    for (int i = 0; i < 300 && !leaked; ++i) {
        QByteArray content;
        (void)client.getFile(QStringLiteral("secret.txt"), &content);
        leaked = content == "secret";
        (void)client.list(&content);
        leaked = leaked || content.contains("outside");
        (void)client.putFile(QStringLiteral("new.txt"), "evil");
        (void)client.remove(QStringLiteral("secret2.txt"));
    }
    done = true;
    swapper.join();
    QVERIFY(!leaked);
    QCOMPARE(served.everything("outside"), outside);
}

void TestServerHostile::sibling_whoseNameBeginsLikeTheShares_isNotReached()
{
    ServedFolder served;
    QCOMPARE(::symlink("../share-private", served.local("share/link").constData()), 0);
    const QStringList before = served.everything();
    RawClient client = served.client();
    for (const char *name : {"../share-private", "-private", "../share-private/secret.txt", "link"}) {
        QVERIFY2(isRefusal(client.setPath(QString::fromLatin1(name))), name);
        QVERIFY2(isRefusal(client.getFile(QString::fromLatin1(name))), name);
    }
    QCOMPARE(served.everything(), before);
}

void TestServerHostile::specialFiles_areRefusedWithoutBlocking_data()
{
    QTest::addColumn<QByteArray>("kind");
    QTest::newRow("FIFO") << QByteArray("fifo");
    QTest::newRow("socket") << QByteArray("socket");
    QTest::newRow("device") << QByteArray("device");
    QTest::newRow("link to a device") << QByteArray("link");
}

void TestServerHostile::specialFiles_areRefusedWithoutBlocking()
{
    QFETCH(QByteArray, kind);
    ServedFolder served;
    const QByteArray path = served.local("share/special");
    if (kind == "fifo") {
        QCOMPARE(::mkfifo(path.constData(), 0666), 0);
    } else if (kind == "socket") {
        sockaddr_un address = {};
        address.sun_family = AF_UNIX;
        QVERIFY(path.size() < static_cast<int>(sizeof address.sun_path));
        std::copy(path.begin(), path.end(), address.sun_path);
        const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
        QCOMPARE(::bind(fd, reinterpret_cast<const sockaddr *>(&address), sizeof address), 0);
        ::close(fd);
    } else if (kind == "link") {
        QCOMPARE(::symlink("/dev/zero", path.constData()), 0);
    } else if (::mknod(path.constData(), S_IFCHR | 0666, makedev(1, 5)) != 0) {
        QSKIP("this user may not make devices");
    }
    RawClient client = served.client();
    QByteArray content;
    COMPARE_REPLY(client.getFile(QStringLiteral("special"), &content), ResponseCode::Forbidden);
    QVERIFY(content.isEmpty());
    COMPARE_REPLY(client.putFile(QStringLiteral("special"), "x"), ResponseCode::Conflict);
    QVERIFY(isRefusal(client.setPath(QStringLiteral("special"))));
    COMPARE_REPLY(client.list(&content), ResponseCode::Success);
    QVERIFY(!content.contains("special"));
    QVERIFY(served.exists("share/special"));
}

void TestServerHostile::readOnly_everyChange_isUnauthorizedAndNotBegun_data()
{
    QTest::addColumn<QByteArray>("change");
    QTest::newRow("put of a new file") << QByteArray("put");
    QTest::newRow("put over a file") << QByteArray("replace");
    QTest::newRow("empty file") << QByteArray("empty");
    QTest::newRow("put in several packets") << QByteArray("large");
    QTest::newRow("put without a body: delete a file") << QByteArray("delete");
    QTest::newRow("put without a body: delete a folder") << QByteArray("deletefolder");
    QTest::newRow("new folder") << QByteArray("mkdir");
    QTest::newRow("put that has not named its file yet") << QByteArray("nameless");
}

void TestServerHostile::readOnly_everyChange_isUnauthorizedAndNotBegun()
{
    QFETCH(QByteArray, change);
    ServedFolder served([](obex::ServerConfig &config) { config.access = share::Access::ReadOnly; });
    const QStringList before = served.everything();
    RawClient client = served.client();
    Reply reply;
    if (change == "put")
        reply = client.putFile(QStringLiteral("new"), "x");
    else if (change == "replace")
        reply = client.putFile(QStringLiteral("file.txt"), "x");
    else if (change == "empty")
        reply = client.putFile(QStringLiteral("new"), "");
    else if (change == "large")
        reply = client.putFile(QStringLiteral("new"), QByteArray(300000, 'x'));
    else if (change == "delete")
        reply = client.remove(QStringLiteral("file.txt"));
    else if (change == "deletefolder")
        reply = client.remove(QStringLiteral("sub"));
    else if (change == "mkdir")
        reply = client.setPath(QStringLiteral("new"), 0);
    else
        reply = client.ask(Opcode::Put, {});
    COMPARE_REPLY(reply, ResponseCode::Unauthorized);
    QVERIFY(!reply.has(HeaderId::AuthChallenge)); // it is the share that is closed, no passkey helps
    QCOMPARE(served.everything(), before);
    QVERIFY(served.observer.files().isEmpty());
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
    COMPARE_REPLY(client.setPath(QStringLiteral("sub"), 0), ResponseCode::Success); // it is there: nothing to create
}

void TestServerHostile::diskFull_put_isDatabaseFullAndTheOldFileUnharmed()
{
    ServedFolder served;
    const QByteArray small = served.local("share/sub");
    if (::mount("none", small.constData(), "tmpfs", 0, "size=256k") != 0)
        QSKIP("this user may not mount a file system");
    served.write("share/sub/old.txt", "old");
    {
        RawClient client = served.client();
        COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Success);
        const QByteArray large(1 << 20, 'x');
        COMPARE_REPLY(client.putFile(QStringLiteral("old.txt"), large), ResponseCode::DatabaseFull);
        const Reply announced = client.ask(Opcode::Put, [](obex::PacketWriter &writer) {
            (void)writer.addText(HeaderId::Name, QStringLiteral("new"));
            (void)writer.addNumber(HeaderId::Length, 1 << 20);
            (void)writer.addSequence(HeaderId::Body, bytesOf("x"));
        });
        COMPARE_REPLY(announced, ResponseCode::DatabaseFull); // told at once, not after all has been sent
        COMPARE_REPLY(client.putFile(QStringLiteral("fits"), "x"), ResponseCode::Success);
    }
    QCOMPARE(served.read("share/sub/old.txt"), QByteArray("old"));
    QCOMPARE(QDir(served.path("share/sub")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
             (QStringList{QStringLiteral("fits"), QStringLiteral("old.txt")}));
    served.server().stop();
    QCOMPARE(::umount(small.constData()), 0);
}

/** The client is killed after every single byte of a session. */
void TestServerHostile::packets_cutAnywhere_leaveNoTrace()
{
    ServedFolder served;
    QByteArray session = sampleSession(RawClient(served.port)).join();
    session.chop(1); // but for the last byte the put is not complete
    const QStringList before = served.everything();
    for (int size = 1; size <= session.size(); ++size) {
        RawClient client(served.port);
        QVERIFY(client.send(session.left(size)));
    }
    QTRY_COMPARE_WITH_TIMEOUT(served.server().status().clients, 0u, 20000);
    QTRY_COMPARE_WITH_TIMEOUT(served.observer.count("left"), served.observer.count("connected"), 10000);
    served.server().stop();
    QCOMPARE(served.everything(), before);
}

/** Every byte of a session is changed in turn: the server must answer or hang up, and hurt nothing outside. */
void TestServerHostile::packets_brokenAnywhere_leaveNoTrace()
{
    ServedFolder served;
    const QByteArray session = sampleSession(RawClient(served.port)).join();
    const QStringList outside = served.everything("outside");
    for (int at = 0; at < session.size(); ++at) {
        for (const char change : {'\xFF', '\x01', '\x80'}) {
            QByteArray broken = session;
            broken[at] = static_cast<char>(broken.at(at) ^ change);
            RawClient client(served.port);
            (void)client.send(broken); // the server may have hung up already
        }
    }
    COMPARE_REPLY(RawClient(served.port).connect(), ResponseCode::Success);
    served.server().stop();
    QCOMPARE(served.everything("outside"), outside);
    QVERIFY(QDir(served.path("share")).entryList(QDir::Hidden | QDir::Files).filter(QLatin1String("part")).isEmpty());
}

void TestServerHostile::packetLengths_impossible_endTheLink_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("length 0") << QByteArray("\x02\x00\x00", 3);
    QTest::newRow("length 1") << QByteArray("\x02\x00\x01", 3);
    QTest::newRow("length 2") << QByteArray("\x02\x00\x02", 3);
    QTest::newRow("over what was offered") << QByteArray("\x02\x10\x01", 3);
}

void TestServerHostile::packetLengths_impossible_endTheLink()
{
    QFETCH(QByteArray, bytes);
    ServedFolder served([](obex::ServerConfig &config) { config.packetSize = 4096; });
    RawClient client = served.client();
    QCOMPARE(client.maxPacket, std::size_t(4096));
    QVERIFY(client.send(bytes));
    COMPARE_REPLY(client.receive(), ResponseCode::BadRequest);
    QVERIFY(client.isHungUpOn());
    COMPARE_REPLY(RawClient(served.port).connect(), ResponseCode::Success);
}

void TestServerHostile::headers_malformed_areBadRequests_data()
{
    QTest::addColumn<QByteArray>("header");
    QTest::newRow("a length that overruns") << QByteArray("\x01\x00\x40\x00\x61", 5);
    QTest::newRow("a length under its own prefix") << QByteArray("\x48\x00\x02", 3);
    QTest::newRow("odd UTF-16") << QByteArray("\x01\x00\x06\x00\x61\x00", 6);
    QTest::newRow("a number cut short") << QByteArray("\xC3\x00\x00", 3);
    QTest::newRow("an identifier alone") << QByteArray("\x48", 1);
}

void TestServerHostile::headers_malformed_areBadRequests()
{
    QFETCH(QByteArray, header);
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client = served.client();
    for (const int opcode : {0x02, 0x82, 0x03, 0x83}) {
        QByteArray packet = client.packet(static_cast<Opcode>(opcode), [](obex::PacketWriter &writer) {
            (void)writer.addText(HeaderId::Name, QStringLiteral("file.txt"));
        });
        packet += header;
        packet[2] = static_cast<char>(packet.size());
        QVERIFY(client.send(packet));
        COMPARE_REPLY(client.receive(), ResponseCode::BadRequest);
    }
    QCOMPARE(served.everything(), before);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

QTEST_GUILESS_MAIN(TestServerHostile)
#include "tst_server_hostile.moc"
