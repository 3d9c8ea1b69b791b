#include "peer.h"

#include <QtTest>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr qint64 size = (qint64(1) << 32) + 12345;
const QByteArray mark = "here";

// A hole with a mark at its beginning, across the border of 32 bits, and at its end.
const std::vector<qint64> places{0, (qint64(1) << 32) - 2, size - 4};

bool makeSparse(const QString &path)
{
    QFile file(path);
    if (!file.open(QIODevice::WriteOnly) || !file.resize(size))
        return false;
    for (const qint64 place : places) {
        if (!file.seek(place) || file.write(mark) != mark.size())
            return false;
    }
    return true;
}

void compare(const QString &path)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::ReadOnly));
    QCOMPARE(file.size(), size);
    qint64 marks = 0;
    QByteArray block;
    qint64 others = 0;
    while (!(block = file.read(1 << 20)).isEmpty())
        others += block.size() - block.count('\0');
    for (const qint64 place : places) {
        QVERIFY(file.seek(place));
        marks += file.read(mark.size()) == mark;
    }
    QCOMPARE(marks, qint64(places.size()));
    QCOMPARE(others, qint64(places.size()) * mark.size());
}

} // namespace

/** A file over 4 GiB, both ways. */
class TestLarge : public QObject
{
    Q_OBJECT

private slots:
    void overFourGigabytes_bothWays();
};

void TestLarge::overFourGigabytes_bothWays()
{
    const QTemporaryDir local;
    const QTemporaryDir shared;
    QVERIFY(makeSparse(local.filePath(QStringLiteral("sparse"))));
    DeviceProcess device;
    QVERIFY(device.start(shared.path()));
    Client client(device.port());
    QCOMPARE(client.connect(), 0u);
    QCOMPARE(Btsdk_FTPRegisterStatusCallback(client.connection, &StatusLog::callback), 0u);

    const QByteArray path = QFile::encodeName(local.filePath(QStringLiteral("sparse")));
    QCOMPARE(Btsdk_FTPPutFile(client.connection, path.constData(), "sparse"), 0u);
    QVERIFY(QFile::remove(local.filePath(QStringLiteral("sparse"))));
    compare(shared.filePath(QStringLiteral("sparse")));
    for (const StatusLog::Report &report : StatusLog::reports()) {
        QVERIFY(report.size <= 0xFFFFFFFFul);
        QVERIFY(report.done <= report.size || report.size == 0);
    }
    QCOMPARE(StatusLog::reports().back().done, StatusLog::reports().back().size);
    const std::vector<Listed> entries = listed(client.connection);
    QCOMPARE(entries.size(), std::size_t(1));
    QCOMPARE(entries[0].size, 0xFFFFFFFFu); // as large as the record can say

    QCOMPARE(Btsdk_FTPGetFile(client.connection, "sparse", path.constData()), 0u);
    compare(local.filePath(QStringLiteral("sparse")));
    Btsdk_HostShutdown();
}

QTEST_GUILESS_MAIN(TestLarge)
#include "tst_large.moc"
