#include "obex/packet.h"

#include <QtTest>

using namespace obex;

Q_DECLARE_METATYPE(obex::Parse)

class TestPacket : public QObject
{
    Q_OBJECT

private slots:
    void readPacket_byLength_isOkNeedMoreOrMalformed_data();
    void readPacket_byLength_isOkNeedMoreOrMalformed();
    void readPacket_several_takesTheFirst();
    void readConnectFields_cutOff_isMalformed_data();
    void readConnectFields_cutOff_isMalformed();
    void readSetPathFields_givesFlagsAndHeaders();
    void responses_finalBit_isSeen();
};

void TestPacket::readPacket_byLength_isOkNeedMoreOrMalformed_data()
{
    QTest::addColumn<QByteArray>("hex");
    QTest::addColumn<int>("limit");
    QTest::addColumn<Parse>("result");

    const auto row = [](const char *name, const char *hex, int limit, Parse result) {
        QTest::newRow(name) << QByteArray(hex) << limit << result;
    };
    row("nothing", "", 65535, Parse::NeedMore);
    row("the code alone", "A0", 65535, Parse::NeedMore);
    row("half the length", "A000", 65535, Parse::NeedMore);
    row("length 0", "A00000", 65535, Parse::Malformed);
    row("length 1", "A00001", 65535, Parse::Malformed);
    row("length 2", "A00002", 65535, Parse::Malformed);
    row("length 3, whole", "A00003", 65535, Parse::Ok);
    row("length 4, one byte short", "A00004", 65535, Parse::NeedMore);
    row("length 65535 with less behind it", "A0FFFF00", 65535, Parse::NeedMore);
    row("one over the limit", "A00100", 255, Parse::Malformed);
    row("just the limit", "A000FF", 255, Parse::NeedMore);
}

void TestPacket::readPacket_byLength_isOkNeedMoreOrMalformed()
{
    QFETCH(QByteArray, hex);
    QFETCH(int, limit);
    QFETCH(Parse, result);

    const QByteArray bytes = QByteArray::fromHex(hex);
    Packet packet;
    QCOMPARE(readPacket(bytesOf(bytes), static_cast<std::size_t>(limit), packet), result);
}

void TestPacket::readPacket_several_takesTheFirst()
{
    const QByteArray bytes = QByteArray::fromHex("90"     // Continue
                                                 "0005"   // length 5
                                                 "9701"   // Single Response Mode: enable
                                                 "A00003" // the next packet
    );
    Packet packet;
    QCOMPARE(readPacket(bytesOf(bytes), MaxPacketSize, packet), Parse::Ok);
    QCOMPARE(packet.response(), ResponseCode::Continue);
    QCOMPARE(packet.size, std::size_t(5));
    QCOMPARE(packet.body.size, std::size_t(2));
    QCOMPARE(packet.body.data[0], std::uint8_t(0x97));
}

void TestPacket::readConnectFields_cutOff_isMalformed_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<Parse>("result");

    for (int size = 0; size < 4; ++size)
        QTest::addRow("%d bytes", size) << size << Parse::Malformed;
    QTest::newRow("4 bytes") << 4 << Parse::Ok;
    QTest::newRow("4 bytes and headers") << 6 << Parse::Ok;
}

void TestPacket::readConnectFields_cutOff_isMalformed()
{
    QFETCH(int, size);
    QFETCH(Parse, result);

    const QByteArray bytes = QByteArray::fromHex("10"   // version 1.0
                                                 "01"   // flags
                                                 "1F40" // largest packet 8000
                                                 "9701")
                                 .left(size);
    ConnectFields fields;
    Bytes headers;
    QCOMPARE(readConnectFields(bytesOf(bytes), fields, headers), result);
    if (result != Parse::Ok)
        return;
    QCOMPARE(fields.version, std::uint8_t(0x10));
    QCOMPARE(fields.flags, std::uint8_t(1));
    QCOMPARE(fields.maxPacket, std::uint16_t(8000));
    QCOMPARE(headers.size, static_cast<std::size_t>(size - 4));
}

void TestPacket::readSetPathFields_givesFlagsAndHeaders()
{
    const QByteArray bytes = QByteArray::fromHex("03" // up, do not create
                                                 "00" // constant
                                                 "9701");
    SetPathFields fields;
    Bytes headers;
    QCOMPARE(readSetPathFields(bytesOf(bytes), fields, headers), Parse::Ok);
    QCOMPARE(fields.flags, std::uint8_t(SetPathBackup | SetPathNoCreate));
    QCOMPARE(headers.size, std::size_t(2));
    QCOMPARE(readSetPathFields(bytesOf(bytes.left(1)), fields, headers), Parse::Malformed);
}

void TestPacket::responses_finalBit_isSeen()
{
    Packet packet;
    packet.code = 0x20;
    QVERIFY(!packet.final());
    QCOMPARE(packet.response(), ResponseCode::Success);
    packet.code = 0xA0;
    QVERIFY(packet.final());
    QVERIFY(isSuccess(ResponseCode::Created));
    QVERIFY(!isSuccess(ResponseCode::Continue));
    QVERIFY(!isSuccess(ResponseCode::MultipleChoices));
    QVERIFY(!isSuccess(ResponseCode::DatabaseFull));
}

QTEST_GUILESS_MAIN(TestPacket)
#include "tst_packet.moc"
