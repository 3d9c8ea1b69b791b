#include "obex/headers.h"

#include <QRandomGenerator>
#include <QtTest>

#include <vector>

using namespace obex;

namespace {

QByteArray hex(const char *text)
{
    return QByteArray::fromHex(text);
}

} // namespace

class TestHeaders : public QObject
{
    Q_OBJECT

private slots:
    void reader_eachEncoding_givesItsValue();
    void reader_unknownHeaders_arePassedOver();
    void reader_malformed_staysSo_data();
    void reader_malformed_staysSo();
    void text_terminators_areLeftOut_data();
    void text_terminators_areLeftOut();
    void writer_eachEncoding_matchesTheVector();
    void writer_whatDoesNotFit_isRefusedWhole();
    void writer_smallestPacket_holdsItsPrefix();
    void writerAndReader_randomHeaders_stayInSync();
    void reader_randomBytes_neverOverruns();
};

void TestHeaders::reader_eachEncoding_givesItsValue()
{
    const QByteArray bytes = hex("CB"
                                 "00000007" // Connection Id 7
                                 "01"
                                 "0007"
                                 "0061"
                                 "0000" // Name "a"
                                 "42"
                                 "0006"
                                 "782F79" // Type "x/y"
                                 "97"
                                 "01" // Single Response Mode: enable
                                 "C3"
                                 "FFFFFFFF" // Length 4294967295
                                 "49"
                                 "0003"); // End of Body, empty
    HeaderReader reader(bytesOf(bytes));
    Header header;
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::ConnectionId);
    QCOMPARE(header.number, 7U);
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::Name);
    QCOMPARE(header.text(), QString("a"));
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::Type);
    QCOMPARE(header.latin1(), QString("x/y"));
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::Srm);
    QCOMPARE(header.number, 1U);
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::Length);
    QCOMPARE(header.number, 0xFFFFFFFFU);
    QCOMPARE(reader.next(header), HeaderReader::Next::Header);
    QCOMPARE(header.id, HeaderId::EndOfBody);
    QVERIFY(header.value.empty());
    QCOMPARE(reader.next(header), HeaderReader::Next::End);
    QCOMPARE(reader.next(header), HeaderReader::Next::End);
    QVERIFY(headersAreSound(bytesOf(bytes)));
}

void TestHeaders::reader_unknownHeaders_arePassedOver()
{
    const QByteArray bytes = hex("70"
                                 "0005"
                                 "AABB" // a sequence that nobody knows
                                 "30"
                                 "0003" // text that nobody knows
                                 "B0"
                                 "05" // a byte
                                 "F0"
                                 "00000001" // a number
                                 "CB"
                                 "00000009"); // Connection Id 9
    Header header;
    QVERIFY(findHeader(bytesOf(bytes), HeaderId::ConnectionId, header));
    QCOMPARE(header.number, 9U);
    QVERIFY(!findHeader(bytesOf(bytes), HeaderId::Name, header));
}

void TestHeaders::reader_malformed_staysSo_data()
{
    QTest::addColumn<QByteArray>("bytes");

    QTest::newRow("sequence without a length") << hex("48");
    QTest::newRow("half a length") << hex("4800");
    QTest::newRow("length 0") << hex("480000");
    QTest::newRow("length 1") << hex("480001");
    QTest::newRow("length 2") << hex("480002");
    QTest::newRow("one byte over") << hex("480005AA");
    QTest::newRow("length 65535") << hex("48FFFFAABB");
    QTest::newRow("text of an odd number of bytes") << hex("01000441");
    QTest::newRow("text of odd length, terminated") << hex("010006410000");
    QTest::newRow("byte without its value") << hex("97");
    QTest::newRow("number cut off") << hex("CB000000");
}

void TestHeaders::reader_malformed_staysSo()
{
    QFETCH(QByteArray, bytes);

    HeaderReader reader(bytesOf(bytes));
    Header header;
    QCOMPARE(reader.next(header), HeaderReader::Next::Malformed);
    QCOMPARE(reader.next(header), HeaderReader::Next::Malformed);
    QVERIFY(!headersAreSound(bytesOf(bytes)));
}

void TestHeaders::text_terminators_areLeftOut_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::addColumn<QString>("text");

    QTest::newRow("empty header") << hex("010003") << QString();
    QTest::newRow("terminator alone") << hex("0100050000") << QString();
    QTest::newRow("no terminator") << hex("0100050061") << QString("a");
    QTest::newRow("two terminators") << hex("010009006100000000") << QString("a");
    QTest::newRow("outside the first plane") << hex("010009D83DDE000000") << QString::fromUtf8("\xf0\x9f\x98\x80");
}

void TestHeaders::text_terminators_areLeftOut()
{
    QFETCH(QByteArray, bytes);
    QFETCH(QString, text);

    Header header;
    QVERIFY(findHeader(bytesOf(bytes), HeaderId::Name, header));
    QCOMPARE(header.text(), text);
}

void TestHeaders::writer_eachEncoding_matchesTheVector()
{
    std::uint8_t buffer[64];
    PacketWriter writer(buffer, sizeof buffer);
    writer.begin(Opcode::PutFinal);
    QVERIFY(writer.addNumber(HeaderId::ConnectionId, 7));
    QVERIFY(writer.addText(HeaderId::Name, "a"));
    QVERIFY(writer.addByte(HeaderId::Srm, SrmEnable));
    QVERIFY(writer.addSequence(HeaderId::EndOfBody, bytesOf("xyz")));
    const Bytes packet = writer.finish();
    const QByteArray bytes(reinterpret_cast<const char *>(packet.data), static_cast<int>(packet.size));
    QCOMPARE(bytes.toHex(), QByteArray("82"   // PUT, final
                                       "0017" // length 23
                                       "cb"
                                       "00000007" // Connection Id 7
                                       "01"
                                       "0007"
                                       "00610000" // Name "a"
                                       "97"
                                       "01" // Single Response Mode: enable
                                       "49"
                                       "0006"
                                       "78797a")); // End of Body
}

void TestHeaders::writer_whatDoesNotFit_isRefusedWhole()
{
    std::uint8_t buffer[16] = {};
    PacketWriter writer(buffer, 12);
    writer.begin(Opcode::Put);
    QVERIFY(!writer.addText(HeaderId::Name, "four"));
    QVERIFY(!writer.addSequence(HeaderId::Body, bytesOf("1234567")));
    QVERIFY(writer.addSequence(HeaderId::Body, bytesOf("123456")));
    QCOMPARE(writer.roomForSequence(), std::size_t(0));
    QVERIFY(!writer.addByte(HeaderId::Srm, 1));
    QVERIFY(!writer.addNumber(HeaderId::Length, 1));
    QCOMPARE(writer.finish().size, std::size_t(12));
    QCOMPARE(buffer[12], std::uint8_t(0));
    QVERIFY(!writer.addText(HeaderId::Name, QString(40'000, 'x')));
}

void TestHeaders::writer_smallestPacket_holdsItsPrefix()
{
    std::uint8_t buffer[PrefixSize];
    PacketWriter writer(buffer, sizeof buffer);
    writer.begin(ResponseCode::Success);
    QVERIFY(!writer.addSequence(HeaderId::Body, {}));
    QCOMPARE(writer.finish().size, PrefixSize);
}

void TestHeaders::writerAndReader_randomHeaders_stayInSync()
{
    QRandomGenerator random(20240229);
    std::vector<std::uint8_t> buffer(MaxPacketSize);
    for (int round = 0; round < 300; ++round) {
        PacketWriter writer(buffer.data(), MinPacketSize + random.bounded(1000U));
        writer.begin(Opcode::Put);
        std::vector<std::pair<HeaderId, QByteArray>> written;
        for (int i = 0; i < 40; ++i) {
            const auto id = static_cast<HeaderId>(random.bounded(256));
            QByteArray value;
            bool fitted = false;
            switch (encodingOf(id)) {
            case Encoding::Text: {
                const QString text(static_cast<int>(random.bounded(20)),
                                   QChar(0x20 + static_cast<int>(random.bounded(0x2000))));
                value = text.toUtf8();
                fitted = writer.addText(id, text);
                break;
            }
            case Encoding::Sequence:
                value = QByteArray(static_cast<int>(random.bounded(60)), static_cast<char>(random.bounded(256)));
                fitted = writer.addSequence(id, bytesOf(value));
                break;
            case Encoding::Byte:
                value = QByteArray(1, static_cast<char>(random.bounded(256)));
                fitted = writer.addByte(id, static_cast<std::uint8_t>(value[0]));
                break;
            case Encoding::Number:
                value = QByteArray::number(random.generate());
                fitted = writer.addNumber(id, value.toUInt());
                break;
            }
            if (fitted)
                written.emplace_back(id, value);
        }
        Packet packet;
        QCOMPARE(readPacket(writer.finish(), MaxPacketSize, packet), Parse::Ok);
        HeaderReader reader(packet.body);
        Header header;
        for (const auto &[id, value] : written) {
            QCOMPARE(reader.next(header), HeaderReader::Next::Header);
            QCOMPARE(header.id, id);
            const QByteArray raw(reinterpret_cast<const char *>(header.value.data),
                                 static_cast<int>(header.value.size));
            const Encoding encoding = encodingOf(id);
            QCOMPARE(encoding == Encoding::Text     ? header.text().toUtf8()
                     : encoding == Encoding::Number ? QByteArray::number(header.number)
                                                    : raw,
                     value);
        }
        QCOMPARE(reader.next(header), HeaderReader::Next::End);
    }
}

void TestHeaders::reader_randomBytes_neverOverruns()
{
    QRandomGenerator random(1);
    for (int round = 0; round < 20'000; ++round) {
        // On the heap and of just that size, so that a sanitizer sees the first byte too many.
        std::vector<std::uint8_t> bytes(random.bounded(40U));
        for (std::uint8_t &byte : bytes)
            byte = static_cast<std::uint8_t>(random.bounded(8) == 0 ? random.bounded(256) : random.bounded(6));
        HeaderReader reader({bytes.data(), bytes.size()});
        Header header;
        std::size_t seen = 0;
        while (reader.next(header) == HeaderReader::Next::Header) {
            seen += header.value.size + 1;
            (void)header.text();
        }
        QVERIFY(seen <= bytes.size());
    }
}

QTEST_GUILESS_MAIN(TestHeaders)
#include "tst_headers.moc"
