#include "vmrl-ftp/options.h"
#include "vmrl-ftp/progressline.h"
#include "vmrl-ftp/remotepath.h"

#include <QtTest>

using namespace vmrlftp;

/** The command-line client's understanding: words, names, progress. */
class TestVmrlFtp : public QObject
{
    Q_OBJECT

private slots:
    void options_wrong_sentence_data();
    void options_wrong_sentence();
    void options_anywhere();
    void options_address_data();
    void options_address();
    void remote_text_data();
    void remote_text();
    void base_text_data();
    void base_text();
    void progress_line();
    void printable_controls();
    void sizes();
};

namespace {

std::vector<std::string> words(const QByteArray &line)
{
    std::vector<std::string> result;
    for (const QByteArray &word : line.split('|'))
        result.push_back(word.toStdString());
    return line.isEmpty() ? std::vector<std::string>() : result;
}

} // namespace

void TestVmrlFtp::options_wrong_sentence_data()
{
    QTest::addColumn<QByteArray>("line");
    for (const char *line :
         {"", "host:1", "host|ls", "host:0|ls", "host:65536|ls", "host:|ls", ":1|ls", "host:x|ls", "host:1|dance",
          "host:1|ls|a|b", "host:1|get", "host:1|get|a|b|c", "host:1|put", "host:1|rm", "host:1|mkdir",
          "--fast|host:1|ls", "host:1|ls|--passkey", "host:1|rm||", "host:1|get|"})
        QTest::newRow(*line ? line : "nothing") << QByteArray(line);
}

void TestVmrlFtp::options_wrong_sentence()
{
    QFETCH(QByteArray, line);
    std::string error;
    QVERIFY(!parseOptions(words(line), &error));
    QVERIFY2(error.size() > 10 && error.back() == '.', error.c_str());
}

void TestVmrlFtp::options_anywhere()
{
    std::string error;
    const auto options = parseOptions(words("-q|host:6502|--passkey|1234|get|-l|--|-name"), &error);
    QVERIFY2(options.has_value(), error.c_str());
    QVERIFY(options->quiet && options->longListing);
    QCOMPARE(options->passkey.value_or(""), std::string("1234"));
    QCOMPARE(options->command, std::string("get"));
    QCOMPARE(options->arguments, std::vector<std::string>{"-name"});
    QVERIFY(parseOptions({"--help"}, &error)->help);
    QCOMPARE(parseOptions(words("--passkey=a=b|h:1|ls"), &error)->passkey.value_or(""), std::string("a=b"));
}

void TestVmrlFtp::options_address_data()
{
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<QByteArray>("host");
    QTest::addColumn<uint>("port");
    QTest::newRow("name") << QByteArray("phone.local:6502") << QByteArray("phone.local") << 6502u;
    QTest::newRow("four numbers") << QByteArray("127.0.0.1:65535") << QByteArray("127.0.0.1") << 65535u;
    QTest::newRow("six groups in brackets") << QByteArray("[::1]:1") << QByteArray("::1") << 1u;
}

void TestVmrlFtp::options_address()
{
    QFETCH(QByteArray, address);
    QFETCH(QByteArray, host);
    QFETCH(uint, port);
    std::string error;
    const auto options = parseOptions({address.toStdString(), "ls"}, &error);
    QVERIFY2(options.has_value(), error.c_str());
    QCOMPARE(options->host, host.toStdString());
    QCOMPARE(options->port, port);
}

void TestVmrlFtp::remote_text_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("folder");
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<bool>("folderMeant");
    const QByteArray top("/");
    QTest::newRow("top") << QByteArray("/") << top << QByteArray() << true;
    QTest::newRow("nothing") << QByteArray() << top << QByteArray() << true;
    QTest::newRow("name") << QByteArray("a") << top << QByteArray("a") << false;
    QTest::newRow("absolute") << QByteArray("/a/b") << QByteArray("/a") << QByteArray("b") << false;
    QTest::newRow("folder meant") << QByteArray("a/b/") << QByteArray("/a") << QByteArray("b") << true;
    QTest::newRow("dots") << QByteArray("./a/../b//c") << QByteArray("/b") << QByteArray("c") << false;
    QTest::newRow("above the top") << QByteArray("../../a") << top << QByteArray("a") << false;
    QTest::newRow("back to the top") << QByteArray("a/..") << top << QByteArray() << true;
}

void TestVmrlFtp::remote_text()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, folder);
    QFETCH(QByteArray, name);
    QFETCH(bool, folderMeant);
    const RemotePath path = parseRemote(text.toStdString());
    QCOMPARE(path.folder, folder.toStdString());
    QCOMPARE(path.name, name.toStdString());
    QCOMPARE(path.folderMeant, folderMeant);
}

void TestVmrlFtp::base_text_data()
{
    QTest::addColumn<QByteArray>("text");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("name") << QByteArray("a") << QByteArray("a");
    QTest::newRow("path") << QByteArray("/a/b") << QByteArray("b");
    QTest::newRow("slash behind") << QByteArray("a/b/") << QByteArray("b");
    QTest::newRow("root") << QByteArray("/") << QByteArray();
    QTest::newRow("here") << QByteArray(".") << QByteArray();
    QTest::newRow("above") << QByteArray("../..") << QByteArray();
}

void TestVmrlFtp::base_text()
{
    QFETCH(QByteArray, text);
    QFETCH(QByteArray, name);
    QCOMPARE(baseName(text.toStdString()), name.toStdString());
}

void TestVmrlFtp::progress_line()
{
    using std::chrono::seconds;
    ProgressLine line;
    const ProgressLine::Clock::time_point start{};
    QCOMPARE(line.update(true, false, "file", 0, 0, 40, start), std::string("file") + std::string(30, ' ') + "  0 B");
    const std::string half = line.update(false, false, "file", 2048, 1024, 60, start + seconds(2));
    QVERIFY2(half.find(" 50%  1.0 KB  512 B/s  0:02 left") != std::string::npos, half.c_str());
    const std::string end = line.update(false, true, "file", 2048, 2048, 60, start + seconds(4));
    QVERIFY2(end.find("100%  2.0 KB  512 B/s  0:04") != std::string::npos, end.c_str());
    QVERIFY(line.update(false, false, std::string(500, 'x'), 10, 5, 60, start + seconds(5)).size() < 60);
}

void TestVmrlFtp::printable_controls()
{
    QCOMPARE(printable("a\x1b[2Jb\n\x7f"), std::string("a?[2Jb??"));
    QCOMPARE(printable("\xc2\x9b"
                       "2Jä"),
             std::string("?2Jä"));
    QCOMPARE(printable("日本"), std::string("日本"));
}

void TestVmrlFtp::sizes()
{
    QCOMPARE(sizeText(0), std::string("0 B"));
    QCOMPARE(sizeText(1023), std::string("1023 B"));
    QCOMPARE(sizeText(1536), std::string("1.5 KB"));
    QCOMPARE(sizeText(3ull << 30), std::string("3.0 GB"));
    QCOMPARE(timeText(7), std::string("0:07"));
    QCOMPARE(timeText(3723), std::string("1:02:03"));
}

QTEST_APPLESS_MAIN(TestVmrlFtp)
#include "tst_vmrlftp.moc"
