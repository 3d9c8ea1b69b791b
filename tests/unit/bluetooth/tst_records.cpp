#include "api/bluetoothserver.h"
#include "transport/bluetooth.h"

#include <QtTest>

using transport::FileTransferService;
using transport::parseServiceRecords;

namespace {

QByteArray sequence(const QByteArray &content)
{
    return QByteArray("\x35").append(char(content.size())).append(content);
}

QByteArray uuid(quint16 value)
{
    return QByteArray("\x19").append(char(value >> 8)).append(char(value));
}

QByteArray number8(quint8 value)
{
    return QByteArray("\x08").append(char(value));
}

QByteArray number16(quint16 value)
{
    return QByteArray("\x09").append(char(value >> 8)).append(char(value));
}

/** Attributes 1 (classes), 4 (protocols) and, unless psm is 0, 0x0200. */
QByteArray record(quint16 serviceClass, int channel, int psm)
{
    QByteArray protocols = sequence(uuid(0x0100));
    if (channel >= 0)
        protocols += sequence(uuid(0x0003) + number8(quint8(channel)));
    protocols += sequence(uuid(0x0008));
    QByteArray content = number16(1) + sequence(uuid(serviceClass)) + number16(4) + sequence(protocols);
    if (psm != 0)
        content += number16(0x0200) + number16(quint16(psm));
    return sequence(content);
}

QByteArray nested(int depth)
{
    QByteArray bytes;
    for (int i = 0; i < depth; ++i)
        bytes = QByteArray("\x36").append(char(bytes.size() >> 8)).append(char(bytes.size())).append(bytes);
    return bytes;
}

std::optional<std::vector<FileTransferService>> parse(const QByteArray &bytes)
{
    return parseServiceRecords(reinterpret_cast<const std::uint8_t *>(bytes.constData()), std::size_t(bytes.size()));
}

} // namespace

/** What a device says of its services, and what we say of ours. */
class TestRecords : public QObject
{
    Q_OBJECT

private slots:
    void parse_whatIsOffered_isFound_data();
    void parse_whatIsOffered_isFound();
    void parse_several_l2capComesFirst();
    void parse_brokenBytes_areRefused_data();
    void parse_brokenBytes_areRefused();
    void parse_everyTruncation_isRefusedOrEmpty();
    void parse_tooManyRecords_isCapped();
    void ownRecord_isWhatWeWouldFind_data();
    void ownRecord_isWhatWeWouldFind();
    void address_isRecognised_data();
    void address_isRecognised();
};

void TestRecords::parse_whatIsOffered_isFound_data()
{
    QTest::addColumn<QByteArray>("records");
    QTest::addColumn<int>("count");
    QTest::addColumn<int>("channel");
    QTest::addColumn<int>("psm");
    QTest::newRow("RFCOMM alone") << record(0x1106, 10, 0) << 1 << 10 << 0;
    QTest::newRow("RFCOMM and L2CAP") << record(0x1106, 10, 0x1007) << 1 << 10 << 0x1007;
    QTest::newRow("L2CAP alone") << record(0x1106, -1, 0x1007) << 1 << 0 << 0x1007;
    QTest::newRow("another service") << record(0x1105, 9, 0x1009) << 0 << 0 << 0;
    QTest::newRow("channel 0 and no L2CAP") << record(0x1106, 0, 0) << 0 << 0 << 0;
    QTest::newRow("channel 31 and no L2CAP") << record(0x1106, 31, 0) << 0 << 0 << 0;
    QTest::newRow("an even PSM is none") << record(0x1106, 10, 0x1006) << 1 << 10 << 0;
    QTest::newRow("a PSM with an odd upper byte is none") << record(0x1106, 10, 0x1107) << 1 << 10 << 0;
    QTest::newRow("nothing") << QByteArray() << 0 << 0 << 0;
}

void TestRecords::parse_whatIsOffered_isFound()
{
    QFETCH(QByteArray, records);
    QFETCH(int, count);
    QFETCH(int, channel);
    QFETCH(int, psm);
    const auto services = parse(sequence(records));
    QVERIFY(services.has_value());
    QCOMPARE(int(services->size()), count);
    if (count == 0)
        return;
    QCOMPARE(int(services->front().channel), channel);
    QCOMPARE(int(services->front().psm), psm);
}

void TestRecords::parse_several_l2capComesFirst()
{
    const auto services = parse(sequence(record(0x1106, 10, 0) + record(0x1106, 27, 0x1005)));
    QVERIFY(services.has_value());
    QCOMPARE(services->size(), std::size_t(2));
    QCOMPARE(int(services->front().channel), 27);
}

void TestRecords::parse_brokenBytes_areRefused_data()
{
    QTest::addColumn<QByteArray>("bytes");
    QTest::newRow("no bytes") << QByteArray();
    QTest::newRow("no sequence") << number16(5);
    QTest::newRow("a sequence that overruns") << QByteArray("\x35\x20\x19\x11\x06", 5);
    QTest::newRow("an inner sequence that overruns") << sequence(QByteArray("\x35\x20\x19\x11\x06", 5));
    QTest::newRow("a size of four bytes that overruns") << QByteArray("\x37\xff\xff\xff\xff\x00", 6);
    QTest::newRow("sequences in sequences, 17 deep") << nested(18);
    QTest::newRow("sequences in sequences, 20000 deep") << nested(20000);
}

void TestRecords::parse_brokenBytes_areRefused()
{
    QFETCH(QByteArray, bytes);
    QVERIFY(!parse(bytes).has_value());
}

void TestRecords::parse_everyTruncation_isRefusedOrEmpty()
{
    const QByteArray whole = sequence(record(0x1106, 10, 0x1007));
    for (int size = 0; size < whole.size(); ++size)
        QVERIFY2(!parse(whole.left(size)).has_value(), qPrintable(QString::number(size)));
}

void TestRecords::parse_tooManyRecords_isCapped()
{
    QByteArray records;
    for (int i = 0; i < 100; ++i)
        records += record(0x1106, 1 + i % 30, 0);
    const QByteArray bytes =
        QByteArray("\x36").append(char(records.size() >> 8)).append(char(records.size())) + records;
    const auto services = parse(bytes);
    QVERIFY(services.has_value());
    QCOMPARE(services->size(), std::size_t(16));
}

void TestRecords::ownRecord_isWhatWeWouldFind_data()
{
    QTest::addColumn<unsigned int>("channel");
    QTest::addColumn<unsigned int>("psm");
    QTest::addColumn<QStringList>("holds");
    QTest::newRow("both links") << 27U << 0x1005U << QStringList{"<uint8 value=\"0x1b\"/>", "0x0200", "0x1005"};
    QTest::newRow("RFCOMM alone") << 5U << 0U << QStringList{"<uint8 value=\"0x05\"/>"};
    QTest::newRow("L2CAP alone") << 0U << 0x1001U << QStringList{"0x0200", "0x1001"};
}

void TestRecords::ownRecord_isWhatWeWouldFind()
{
    QFETCH(unsigned int, channel);
    QFETCH(unsigned int, psm);
    QFETCH(QStringList, holds);
    const QString xml = QString::fromStdString(api::fileTransferRecord(channel, psm));
    QVERIFY(xml.contains("<uuid value=\"0x1106\"/>"));
    QCOMPARE(xml.contains("0x0200"), psm != 0);
    QCOMPARE(xml.contains("<uint8"), channel != 0);
    for (const QString &part : holds)
        QVERIFY2(xml.contains(part), qPrintable(part + " in " + xml));
}

void TestRecords::address_isRecognised_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<bool>("expected");
    QTest::newRow("an address") << QByteArray("00:AA:01:FF:00:42") << true;
    QTest::newRow("lower case, which BlueZ never writes") << QByteArray("00:aa:01:ff:00:42") << false;
    QTest::newRow("too short") << QByteArray("00:AA:01:FF:00") << false;
    QTest::newRow("no hexadecimal digit") << QByteArray("00:AG:01:FF:00:42") << false;
    QTest::newRow("a host and its port") << QByteArray("127.0.0.1:6502") << false;
    QTest::newRow("nothing") << QByteArray() << false;
}

void TestRecords::address_isRecognised()
{
    QFETCH(QByteArray, text);
    QTEST(transport::isBluetoothAddress(text.toStdString()), "expected");
}

QTEST_APPLESS_MAIN(TestRecords)
#include "tst_records.moc"
