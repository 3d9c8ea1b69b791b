#include "servedfolder.h"

#include <QDateTime>
#include <QXmlStreamReader>

#include <fcntl.h>

using obex::bytesOf;

namespace {

/** Bytes that differ from place to place, so that a piece in the wrong place shows. */
QByteArray pattern(int size)
{
    QByteArray bytes(size, '\0');
    for (int i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 31 + i / 251);
    return bytes;
}

void wantSrm(obex::PacketWriter &writer)
{
    (void)writer.addByte(HeaderId::Srm, obex::SrmEnable);
}

} // namespace

class TestServerSession : public QObject
{
    Q_OBJECT

private slots:
    void connect_folderBrowsing_isAnsweredWithConnectionIdAndWho();
    void connect_otherTargets_areRefused_data();
    void connect_otherTargets_areRefused();
    void connect_missingFolder_isNotFoundUntilItIsThere();
    void requests_beforeConnect_areRefused();
    void requests_withAnothersConnectionId_areRefused();
    void packets_peerTakesFewBytes_areNoLarger();
    void setPath_downUpAndRoot_movesAsAsked();
    void setPath_missing_createsUnlessForbidden();
    void setPath_toAFile_isRefusedAndTheFolderKept();
    void get_file_givesBytesLengthAndTime_data();
    void get_file_givesBytesLengthAndTime();
    void get_missingOrNameless_isRefused();
    void get_requestInSeveralPackets_isGathered();
    void get_fileThatShrinks_endsInAnError();
    void get_srm_streamsWithoutFurtherRequests();
    void get_srmWithWait_answersOneByOne();
    void get_srm_abortEndsTheStream();
    void put_file_isStoredWithItsTimeAndReportedOnce();
    void put_empty_isStored();
    void put_withoutBody_deletes();
    void put_withoutBody_inTwoPackets_deletes();
    void put_srm_isAnsweredAtBeginningAndEndAlone();
    void put_srm_refused_throwsAwayWhatIsOnItsWay();
    void put_srmNotOffered_isAnsweredPacketByPacket();
    void put_aborted_leavesNothingAndTheSessionGoesOn();
    void put_interruptedByAnotherRequest_leavesNothing();
    void listing_odditiesInNames_areEscapedOrLeftOut();
    void listing_ofNamedSubfolder_isGiven();
    void listing_tenThousandEntries_isWhole();
    void unknownOpcodes_areNotImplemented();
    void disconnect_isAnsweredAndTheLinkClosed();
};

void TestServerSession::connect_folderBrowsing_isAnsweredWithConnectionIdAndWho()
{
    ServedFolder served;
    RawClient client(served.port);
    const Reply reply = client.connect();
    COMPARE_REPLY(reply, ResponseCode::Success);
    QVERIFY(reply.number(HeaderId::ConnectionId) != 0);
    QCOMPARE(reply.sequence(HeaderId::Who).size(), 16);
    QCOMPARE(client.maxPacket, std::size_t(65535));
    QVERIFY(!reply.has(HeaderId::AuthChallenge));
    QTRY_COMPARE(served.server().status().clients, 1u);
}

void TestServerSession::connect_otherTargets_areRefused_data()
{
    QTest::addColumn<QByteArray>("target");
    QTest::newRow("none") << QByteArray();
    QTest::newRow("another service") << QByteArray(16, '\x42');
    QTest::newRow("half of it") << QByteArray(reinterpret_cast<const char *>(obex::FolderBrowsing), 8);
}

void TestServerSession::connect_otherTargets_areRefused()
{
    QFETCH(QByteArray, target);
    ServedFolder served;
    RawClient client(served.port);
    QVERIFY(client.send(client.packet(Opcode::Connect, [&](obex::PacketWriter &writer) {
        (void)writer.addConnectFields(1024);
        if (!target.isEmpty())
            (void)writer.addSequence(HeaderId::Target, bytesOf(target));
    })));
    COMPARE_REPLY(client.receive(true), ResponseCode::ServiceUnavailable);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::ServiceUnavailable);
}

void TestServerSession::connect_missingFolder_isNotFoundUntilItIsThere()
{
    ServedFolder served([](obex::ServerConfig &config) { config.folder += "/later"; });
    COMPARE_REPLY(RawClient(served.port).connect(), ResponseCode::NotFound);
    QVERIFY(QDir().mkpath(served.path("share/later")));
    COMPARE_REPLY(RawClient(served.port).connect(), ResponseCode::Success);
}

void TestServerSession::requests_beforeConnect_areRefused()
{
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client(served.port);
    QByteArray document;
    COMPARE_REPLY(client.list(&document), ResponseCode::ServiceUnavailable);
    QVERIFY(document.isEmpty());
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::ServiceUnavailable);
    COMPARE_REPLY(client.remove(QStringLiteral("file.txt")), ResponseCode::ServiceUnavailable);
    COMPARE_REPLY(client.putFile(QStringLiteral("new"), "x"), ResponseCode::ServiceUnavailable);
    QCOMPARE(served.everything(), before);
}

void TestServerSession::requests_withAnothersConnectionId_areRefused()
{
    ServedFolder served;
    RawClient client = served.client();
    ++client.connectionId;
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::ServiceUnavailable);
    COMPARE_REPLY(client.remove(QStringLiteral("file.txt")), ResponseCode::ServiceUnavailable);
    --client.connectionId;
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::packets_peerTakesFewBytes_areNoLarger()
{
    ServedFolder served;
    const QByteArray content = pattern(3000);
    served.write("share/some.bin", content);
    RawClient client(served.port);
    COMPARE_REPLY(client.connect(300), ResponseCode::Success);
    Reply reply = client.ask(Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("some.bin"));
    });
    QByteArray body = reply.body();
    QVERIFY(reply.headers.size() <= 297);
    while (reply.is(ResponseCode::Continue)) {
        reply = client.ask(Opcode::GetFinal, {});
        QVERIFY(reply.headers.size() <= 297);
        body += reply.body();
    }
    COMPARE_REPLY(reply, ResponseCode::Success);
    QCOMPARE(body, content);
}

void TestServerSession::setPath_downUpAndRoot_movesAsAsked()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Success);
    COMPARE_REPLY(client.getFile(QStringLiteral("inner.txt")), ResponseCode::Success);
    COMPARE_REPLY(client.up(), ResponseCode::Success);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
    COMPARE_REPLY(client.up(), ResponseCode::NotFound);
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Success);
    const quint8 upAndDown = obex::SetPathBackup | obex::SetPathNoCreate;
    COMPARE_REPLY(client.setPath(QStringLiteral("sub"), upAndDown), ResponseCode::Success);
    COMPARE_REPLY(client.getFile(QStringLiteral("inner.txt")), ResponseCode::Success);
    COMPARE_REPLY(client.setPath(QString()), ResponseCode::Success); // an empty name: the root
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::setPath_missing_createsUnlessForbidden()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.setPath(QStringLiteral("new")), ResponseCode::NotFound);
    QVERIFY(!served.exists("share/new"));
    COMPARE_REPLY(client.setPath(QStringLiteral("new"), 0), ResponseCode::Success);
    QVERIFY(QDir(served.path("share/new")).exists());
    COMPARE_REPLY(client.putFile(QStringLiteral("x"), "y"), ResponseCode::Success);
    QCOMPARE(served.read("share/new/x"), QByteArray("y"));
}

void TestServerSession::setPath_toAFile_isRefusedAndTheFolderKept()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.setPath(QStringLiteral("file.txt")), ResponseCode::NotFound);
    COMPARE_REPLY(client.setPath(QStringLiteral("file.txt"), 0), ResponseCode::Conflict);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::get_file_givesBytesLengthAndTime_data()
{
    QTest::addColumn<int>("size");
    QTest::newRow("empty") << 0;
    QTest::newRow("one byte") << 1;
    QTest::newRow("just under a packet") << 65000;
    QTest::newRow("around the packet size, less") << 65500;
    QTest::newRow("around the packet size") << 65535;
    QTest::newRow("several packets") << 1000000;
}

void TestServerSession::get_file_givesBytesLengthAndTime()
{
    QFETCH(int, size);
    ServedFolder served;
    const QByteArray content = pattern(size);
    served.write("share/data", content);
    const timespec times[2] = {{0, UTIME_NOW}, {1000000000, 0}};
    QCOMPARE(::utimensat(AT_FDCWD, served.local("share/data").constData(), times, 0), 0);
    RawClient client = served.client();
    Reply reply = client.ask(Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("data"));
    });
    QCOMPARE(reply.number(HeaderId::Length), quint32(size));
    QCOMPARE(reply.sequence(HeaderId::Time), QByteArray("20010909T014640Z"));
    QByteArray body = reply.body();
    while (reply.is(ResponseCode::Continue)) {
        reply = client.ask(Opcode::GetFinal, {});
        body += reply.body();
    }
    COMPARE_REPLY(reply, ResponseCode::Success);
    QVERIFY(reply.has(HeaderId::EndOfBody));
    QCOMPARE(body, content);
    QCOMPARE(served.server().status().sent, quint64(size));
}

void TestServerSession::get_missingOrNameless_isRefused()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.getFile(QStringLiteral("missing")), ResponseCode::NotFound);
    COMPARE_REPLY(client.getFile(QStringLiteral("sub")), ResponseCode::Conflict);
    COMPARE_REPLY(client.ask(Opcode::GetFinal, {}), ResponseCode::BadRequest);
    COMPARE_REPLY(client.ask(Opcode::GetFinal,
                             [](obex::PacketWriter &writer) {
                                 (void)writer.addSequence(HeaderId::Type, bytesOf("x-obex/capability"));
                             }),
                  ResponseCode::NotFound);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::get_requestInSeveralPackets_isGathered()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.ask(Opcode::Get,
                             [](obex::PacketWriter &writer) {
                                 (void)writer.addText(HeaderId::Name, QStringLiteral("file.txt"));
                             }),
                  ResponseCode::Continue);
    const Reply reply = client.ask(Opcode::GetFinal, {});
    COMPARE_REPLY(reply, ResponseCode::Success);
    QCOMPARE(reply.body(), QByteArray("content"));
}

void TestServerSession::get_fileThatShrinks_endsInAnError()
{
    ServedFolder served;
    served.write("share/data", pattern(200000));
    RawClient client = served.client();
    Reply reply = client.ask(Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("data"));
    });
    COMPARE_REPLY(reply, ResponseCode::Continue);
    QVERIFY(QFile::resize(served.path("share/data"), 70000));
    while (reply.is(ResponseCode::Continue))
        reply = client.ask(Opcode::GetFinal, {});
    COMPARE_REPLY(reply, ResponseCode::InternalServerError);
}

void TestServerSession::get_srm_streamsWithoutFurtherRequests()
{
    ServedFolder served;
    const QByteArray content = pattern(3000000);
    served.write("share/data", content);
    RawClient client = served.client();
    Reply reply = client.ask(Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("data"));
        wantSrm(writer);
    });
    QCOMPARE(reply.number(HeaderId::Srm), quint32(obex::SrmEnable));
    QByteArray body = reply.body();
    while (reply.is(ResponseCode::Continue)) {
        reply = client.receive();
        body += reply.body();
    }
    COMPARE_REPLY(reply, ResponseCode::Success);
    QCOMPARE(body, content);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::get_srmWithWait_answersOneByOne()
{
    ServedFolder served;
    const QByteArray content = pattern(300000);
    served.write("share/data", content);
    RawClient client = served.client();
    const auto wait = [](obex::PacketWriter &writer) { (void)writer.addByte(HeaderId::SrmParameters, obex::SrmpWait); };
    Reply reply = client.ask(Opcode::GetFinal, [&](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("data"));
        wantSrm(writer);
        wait(writer);
    });
    COMPARE_REPLY(reply, ResponseCode::Continue);
    QByteArray body = reply.body();
    QVERIFY(!client.isReadable(100));
    reply = client.ask(Opcode::GetFinal, wait);
    body += reply.body();
    QVERIFY(!client.isReadable(100));
    reply = client.ask(Opcode::GetFinal, {});
    body += reply.body();
    while (reply.is(ResponseCode::Continue)) {
        reply = client.receive();
        body += reply.body();
    }
    QCOMPARE(body, content);
}

void TestServerSession::get_srm_abortEndsTheStream()
{
    ServedFolder served;
    QFile big(served.path("share/big"));
    QVERIFY(big.open(QIODevice::WriteOnly) && big.resize(qint64(1) << 32)); // sparse
    RawClient client = served.client();
    Reply reply = client.ask(Opcode::GetFinal, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("big"));
        wantSrm(writer);
    });
    QVERIFY(!reply.has(HeaderId::Length)); // more than the header can say
    QVERIFY(client.send(client.packet(Opcode::Abort, {})));
    while (reply.is(ResponseCode::Continue))
        reply = client.receive();
    COMPARE_REPLY(reply, ResponseCode::Success);
    QVERIFY(!reply.has(HeaderId::EndOfBody));
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::put_file_isStoredWithItsTimeAndReportedOnce()
{
    ServedFolder served;
    const QByteArray content = pattern(200000);
    RawClient client = served.client();
    COMPARE_REPLY(client.setPath(QStringLiteral("sub")), ResponseCode::Success);
    const Reply reply =
        client.putFile(QStringLiteral("n\u00E4me \u4E2D \U0001F600.bin"), content, [&](obex::PacketWriter &w) {
            (void)w.addNumber(HeaderId::Length, 200000);
            (void)w.addSequence(HeaderId::Time, bytesOf("20010909T014640Z"));
        });
    COMPARE_REPLY(reply, ResponseCode::Success);
    const char stored[] = u8"share/sub/n\u00E4me \u4E2D \U0001F600.bin";
    QCOMPARE(served.read(stored), content);
    QCOMPARE(QFileInfo(served.path(stored)).lastModified().toSecsSinceEpoch(), qint64(1000000000));
    QCOMPARE(served.observer.files(), QStringList{QString::fromUtf8("file %1").arg(QString::fromUtf8(stored + 6))});
    QCOMPARE(served.server().status().received, quint64(200000));
}

void TestServerSession::put_empty_isStored()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.putFile(QStringLiteral("empty"), ""), ResponseCode::Success);
    QVERIFY(served.exists("share/empty"));
    QCOMPARE(served.observer.files().size(), 1);
}

void TestServerSession::put_withoutBody_deletes()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.remove(QStringLiteral("file.txt")), ResponseCode::Success);
    QVERIFY(!served.exists("share/file.txt"));
    COMPARE_REPLY(client.remove(QStringLiteral("sub")), ResponseCode::Success);
    QVERIFY(!served.exists("share/sub"));
    COMPARE_REPLY(client.remove(QStringLiteral("sub")), ResponseCode::NotFound);
    COMPARE_REPLY(client.ask(Opcode::PutFinal, {}), ResponseCode::BadRequest);
    QVERIFY(served.observer.files().isEmpty());
}

void TestServerSession::put_withoutBody_inTwoPackets_deletes()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.ask(Opcode::Put,
                             [](obex::PacketWriter &writer) {
                                 (void)writer.addText(HeaderId::Name, QStringLiteral("file.txt"));
                             }),
                  ResponseCode::Continue);
    COMPARE_REPLY(client.ask(Opcode::PutFinal, {}), ResponseCode::Success);
    QVERIFY(!served.exists("share/file.txt"));
}

void TestServerSession::put_srm_isAnsweredAtBeginningAndEndAlone()
{
    ServedFolder served;
    RawClient client = served.client();
    const QByteArray piece = pattern(60000);
    const Reply first = client.ask(Opcode::Put, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("big"));
        wantSrm(writer);
    });
    COMPARE_REPLY(first, ResponseCode::Continue);
    QCOMPARE(first.number(HeaderId::Srm), quint32(obex::SrmEnable));
    const auto body = [&](obex::PacketWriter &w) { (void)w.addSequence(HeaderId::Body, bytesOf(piece)); };
    for (int i = 0; i < 50; ++i)
        QVERIFY(client.send(client.packet(Opcode::Put, body)));
    QVERIFY(!client.isReadable(50));
    const auto end = [&](obex::PacketWriter &w) { (void)w.addSequence(HeaderId::EndOfBody, {}); };
    COMPARE_REPLY(client.ask(Opcode::PutFinal, end), ResponseCode::Success);
    QVERIFY(!client.isReadable(50));
    QCOMPARE(QFileInfo(served.path("share/big")).size(), qint64(3000000));
}

void TestServerSession::put_srm_refused_throwsAwayWhatIsOnItsWay()
{
    ServedFolder served;
    RawClient client = served.client();
    const auto start = [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("sub")); // a folder: refused when the first byte comes
        wantSrm(writer);
    };
    const auto body = [](obex::PacketWriter &w) { (void)w.addSequence(HeaderId::Body, bytesOf("0123456789")); };
    COMPARE_REPLY(client.ask(Opcode::Put, start), ResponseCode::Continue);
    for (int i = 0; i < 20; ++i)
        QVERIFY(client.send(client.packet(Opcode::Put, body)));
    QVERIFY(client.send(client.packet(Opcode::PutFinal, body)));
    COMPARE_REPLY(client.receive(), ResponseCode::Conflict);
    QVERIFY(!client.isReadable(100)); // one answer to all of it
    COMPARE_REPLY(client.putFile(QStringLiteral("next"), "x"), ResponseCode::Success);
    QCOMPARE(served.read("share/sub/inner.txt"), QByteArray("inner"));
}

void TestServerSession::put_srmNotOffered_isAnsweredPacketByPacket()
{
    ServedFolder served([](obex::ServerConfig &config) { config.singleResponseMode = false; });
    RawClient client = served.client();
    const Reply first = client.ask(Opcode::Put, [](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("new"));
        wantSrm(writer);
    });
    COMPARE_REPLY(first, ResponseCode::Continue);
    QVERIFY(!first.has(HeaderId::Srm));
    const auto body = [](obex::PacketWriter &w) { (void)w.addSequence(HeaderId::Body, bytesOf("0123456789")); };
    COMPARE_REPLY(client.ask(Opcode::Put, body), ResponseCode::Continue);
    COMPARE_REPLY(client.ask(Opcode::PutFinal, body), ResponseCode::Success);
    QCOMPARE(served.read("share/new"), QByteArray("01234567890123456789"));
}

void TestServerSession::put_aborted_leavesNothingAndTheSessionGoesOn()
{
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client = served.client();
    for (const char *name : {"file.txt", "new"}) {
        const auto begin = [&](obex::PacketWriter &writer) {
            (void)writer.addText(HeaderId::Name, QString::fromLatin1(name));
            (void)writer.addSequence(HeaderId::Body, bytesOf("half"));
        };
        COMPARE_REPLY(client.ask(Opcode::Put, begin), ResponseCode::Continue);
        COMPARE_REPLY(client.abort(), ResponseCode::Success);
    }
    QCOMPARE(served.everything(), before);
    COMPARE_REPLY(client.putFile(QStringLiteral("file.txt"), "whole"), ResponseCode::Success);
    QCOMPARE(served.read("share/file.txt"), QByteArray("whole"));
}

void TestServerSession::put_interruptedByAnotherRequest_leavesNothing()
{
    ServedFolder served;
    const QStringList before = served.everything();
    RawClient client = served.client();
    const auto begin = [&](obex::PacketWriter &writer) {
        (void)writer.addText(HeaderId::Name, QStringLiteral("file.txt"));
        (void)writer.addSequence(HeaderId::Body, bytesOf("half"));
    };
    COMPARE_REPLY(client.ask(Opcode::Put, begin), ResponseCode::Continue);
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
    QCOMPARE(served.everything(), before);
}

void TestServerSession::listing_odditiesInNames_areEscapedOrLeftOut()
{
    ServedFolder served;
    const QList<QByteArray> carried = {"a&b<c>\"d'.txt", "tab\there", "new\nline", "return\rhere",
                                       "\xC3\xA9\xF0\x9F\x98\x80"};
    const QList<QByteArray> leftOut = {"bell\x07",     "esc\x1B[0m",   "\xFF\xFE",
                                       "\xEF\xBF\xBF", "\xED\xA0\x80", "\xC0\xAF"};
    for (const QByteArray &name : carried + leftOut) {
        const int fd = ::open((served.local("share/sub/") + name).constData(), O_CREAT | O_WRONLY, 0666);
        QVERIFY(fd >= 0);
        ::close(fd);
    }
    RawClient client = served.client();
    QByteArray document;
    COMPARE_REPLY(client.list(&document, QStringLiteral("sub")), ResponseCode::Success);
    QXmlStreamReader xml(document);
    QSet<QByteArray> names;
    bool hasParent = false;
    while (!xml.atEnd()) {
        xml.readNext();
        hasParent = hasParent || (xml.isStartElement() && xml.name() == QLatin1String("parent-folder"));
        if (xml.isStartElement() && xml.name() == QLatin1String("file"))
            names.insert(xml.attributes().value(QLatin1String("name")).toUtf8());
    }
    QVERIFY2(!xml.hasError(), qPrintable(xml.errorString()));
    QVERIFY(hasParent);
    QSet<QByteArray> expected(carried.begin(), carried.end());
    expected.insert("inner.txt");
    QCOMPARE(names, expected);
    for (const QByteArray &name : leftOut) // Qt cannot remove a name that is not UTF-8
        ::unlink((served.local("share/sub/") + name).constData());
}

void TestServerSession::listing_ofNamedSubfolder_isGiven()
{
    ServedFolder served;
    RawClient client = served.client();
    QByteArray document;
    COMPARE_REPLY(client.list(&document, QStringLiteral("sub")), ResponseCode::Success);
    QVERIFY(document.contains("inner.txt"));
    COMPARE_REPLY(client.list(&document), ResponseCode::Success);
    QVERIFY(document.contains("file.txt"));
    QVERIFY(!document.contains("parent-folder"));
    COMPARE_REPLY(client.list(&document, QStringLiteral("missing")), ResponseCode::NotFound);
    COMPARE_REPLY(client.list(&document, QStringLiteral("..")), ResponseCode::BadRequest);
}

void TestServerSession::listing_tenThousandEntries_isWhole()
{
    ServedFolder served;
    for (int i = 0; i < 10000; ++i)
        served.write(QByteArray("share/sub/file " + QByteArray::number(i)).constData(), "");
    RawClient client = served.client();
    QByteArray document;
    COMPARE_REPLY(client.list(&document, QStringLiteral("sub")), ResponseCode::Success);
    QCOMPARE(document.count("<file "), 10001);
    QVERIFY(document.endsWith("</folder-listing>\n"));
}

void TestServerSession::unknownOpcodes_areNotImplemented()
{
    ServedFolder served;
    RawClient client = served.client();
    for (const int opcode : {0x04, 0x84, 0x86, 0x87, 0x90, 0xA0, 0xC0, 0x00}) {
        const Reply reply = client.ask(static_cast<Opcode>(opcode), {});
        COMPARE_REPLY(reply, ResponseCode::NotImplemented);
    }
    COMPARE_REPLY(client.getFile(QStringLiteral("file.txt")), ResponseCode::Success);
}

void TestServerSession::disconnect_isAnsweredAndTheLinkClosed()
{
    ServedFolder served;
    RawClient client = served.client();
    COMPARE_REPLY(client.disconnect(), ResponseCode::Success);
    QVERIFY(client.isHungUpOn());
    QTRY_COMPARE(served.observer.notes(), (QStringList{QStringLiteral("connected 1"), QStringLiteral("left 1")}));
    QCOMPARE(served.server().status().clients, 0u);
}

QTEST_GUILESS_MAIN(TestServerSession)
#include "tst_server_session.moc"
