#include "obex/clientsession.h"
#include "servedfolder.h"
#include "transport/wakeup.h"

#include <csignal>
#include <sys/resource.h>

using namespace obex;

namespace {

/** A small limit on the size of files, which is what a full disk looks like, for as long as it lives. */
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t bytes) : m_handler(std::signal(SIGXFSZ, SIG_IGN))
    {
        (void)::getrlimit(RLIMIT_FSIZE, &m_old);
        const rlimit small = {bytes, m_old.rlim_max};
        m_set = ::setrlimit(RLIMIT_FSIZE, &small) == 0;
    }
    ~FileSizeLimit()
    {
        (void)::setrlimit(RLIMIT_FSIZE, &m_old);
        std::signal(SIGXFSZ, m_handler);
    }
    bool isSet() const { return m_set; }

private:
    rlimit m_old = {};
    void (*const m_handler)(int);
    bool m_set = false;
};

} // namespace

/** Our client and our server, at the points where each has to guess what is still on its way. */
class TestServerOwnClient : public QObject
{
    Q_OBJECT

private slots:
    void put_refusedMidway_linkStaysInStep_data();
    void put_refusedMidway_linkStaysInStep();
};

void TestServerOwnClient::put_refusedMidway_linkStaysInStep_data()
{
    QTest::addColumn<bool>("srm");
    QTest::addColumn<int>("packetSize");

    QTest::newRow("streamed in the largest packets") << true << 65535;
    QTest::newRow("streamed in small packets") << true << 1000;
    QTest::newRow("each packet answered") << false << 65535;
}

void TestServerOwnClient::put_refusedMidway_linkStaysInStep()
{
    QFETCH(bool, srm);
    QFETCH(int, packetSize);

    ServedFolder served;
    const QByteArray source = served.local("outside/big");
    {
        QFile file(QFile::decodeName(source));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.resize(20'000'000));
    }
    const QStringList before = served.everything("share");
    ClientOptions options;
    options.singleResponseMode = srm;
    options.packetSize = static_cast<std::size_t>(packetSize);
    options.cancelTimeout = std::chrono::seconds(20); // what an ABORT without an answer takes
    transport::Wakeup never;
    transport::Dialled dialled = transport::TcpConnector("127.0.0.1", served.port)
                                     .connect(transport::Deadline::after(std::chrono::seconds(10)), never);
    QVERIFY(dialled.stream);
    ClientSession session(std::move(dialled.stream), options);
    QVERIFY(session.connect().ok());

    const FileSizeLimit limit(1'000'000);
    QVERIFY(limit.isSet());
    for (int round = 0; round < 20; ++round) {
        QElapsedTimer timer;
        timer.start();
        QVERIFY(session.putFile(source, "big").is(ResponseCode::DatabaseFull));
        QVERIFY2(timer.elapsed() < 10000, "the ABORT was not answered at once");
        QVERIFY(session.bytesSent() < quint64(round + 1) * 20'000'000);
        QVERIFY(session.isConnected());
        // The next answers belong to the next requests: a name that is not there, one that is.
        QVERIFY(session.deleteFile("none").is(ResponseCode::NotFound));
        QVERIFY(session.getFile("file.txt", served.local("outside/got")).ok());
    }
    QCOMPARE(served.read("outside/got"), QByteArray("content"));
    QCOMPARE(served.everything("share"), before);
    QVERIFY(served.observer.files().isEmpty());
}

QTEST_GUILESS_MAIN(TestServerOwnClient)
#include "tst_server_ownclient.moc"
