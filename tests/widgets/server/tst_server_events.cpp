#include "double.h"
#include "plugin.h"
#include "testmain.h"

#include <QThread>

/** What the host hears of files that remote devices put into the shared folder. */
class TestServerEvents : public QObject
{
    Q_OBJECT

private slots:
    void initTestCase();
    void init();
    void cleanup();

    void receivedFile_always_isAnnouncedWithFolderAndName();
    void receivedFile_always_isAnnouncedOnTheLibrarysThread();
    void receivedFile_hostAnswers_answerIsHandedBack_data();
    void receivedFile_hostAnswers_answerIsHandedBack();
    void receivedFile_ofOtherEvents_touchesNothing_data();
    void receivedFile_ofOtherEvents_touchesNothing();
    void receivedFile_folderChangedMeanwhile_isAnnouncedWithTheNewOne();
    void receivedFile_nameOfAnyKind_reachesTheHostAsItIs_data();
    void receivedFile_nameOfAnyKind_reachesTheHostAsItIs();
    void receivedFile_twoInARow_listHoldsTheLatestAlone();
    void receivedFile_withoutHostCallback_touchesNothing();
    void receivedFile_withoutProfileObject_touchesNothing();
    void receivedFile_aThousand_areEachAnnouncedOnce();

private:
    Plugin *m_plugin = nullptr;
};

namespace {

struct Announcement
{
    QList<unsigned int> numbers;
    QStringList texts;
    quintptr thread = 0;
    const void *list = nullptr;
};

QList<Announcement> announcements;
unsigned int answer = 0;

unsigned int host(unsigned int first, unsigned int second, unsigned int third, unsigned char *data)
{
    const auto *const list = reinterpret_cast<const QList<QString> *>(data);
    announcements.append(
        {{first, second, third}, QStringList(*list), reinterpret_cast<quintptr>(QThread::currentThreadId()), data});
    return answer;
}

} // namespace

void TestServerEvents::initTestCase()
{
    m_plugin = &Plugin::load();
}

void TestServerEvents::init()
{
    announcements.clear();
    answer = 0;
    m_plugin->startAfresh();
    Double::instance().setSetting("FTPSERVER", "SHAREFOLDER", "/tmp");
    m_plugin->setVmCommFunc(host);
    m_plugin->StartProfileServer();
    Double::instance().clearCalls();
}

void TestServerEvents::cleanup()
{
    m_plugin->stop();
}

void TestServerEvents::receivedFile_always_isAnnouncedWithFolderAndName()
{
    Double::instance().receiveFile(0x06A00300, "photo.jpg");
    QCOMPARE(announcements.size(), 1);
    QCOMPARE(announcements.first().numbers, (QList<unsigned int>{1, 7, 260}));
    QCOMPARE(announcements.first().texts, (QStringList{"/tmp", "photo.jpg"}));
    QCOMPARE(Double::instance().order(), (QStringList{"VmCm_GetCommonSettingFilePath", "GetPrivateProfileString"}));
    QCOMPARE(Double::instance().last("VmCm_GetCommonSettingFilePath").number(0), 260u);
    QCOMPARE(Double::instance().last("GetPrivateProfileString").arguments,
             (QVariantList{QByteArray("FTPSERVER"), QByteArray("SHAREFOLDER"), QByteArray(""), 256u,
                           QByteArray("/double/settings.ini")}));
}

void TestServerEvents::receivedFile_always_isAnnouncedOnTheLibrarysThread()
{
    Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a");
    QVERIFY(announcements.first().thread != reinterpret_cast<quintptr>(QThread::currentThreadId()));
}

void TestServerEvents::receivedFile_hostAnswers_answerIsHandedBack_data()
{
    QTest::addColumn<uint>("given");
    QTest::newRow("zero") << 0u;
    QTest::newRow("one") << 1u;
    QTest::newRow("largest") << 0xFFFFFFFFu;
}

void TestServerEvents::receivedFile_hostAnswers_answerIsHandedBack()
{
    QFETCH(uint, given);
    answer = given;
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), given);
}

void TestServerEvents::receivedFile_ofOtherEvents_touchesNothing_data()
{
    QTest::addColumn<quint32>("event");
    QTest::newRow("none") << 0u;
    QTest::newRow("the one before") << 0x06A002FFu;
    QTest::newRow("the one after") << 0x06A00301u;
    QTest::newRow("bytes swapped") << 0x0003A006u;
}

void TestServerEvents::receivedFile_ofOtherEvents_touchesNothing()
{
    QFETCH(quint32, event);
    answer = 9;
    QCOMPARE(Double::instance().receiveFile(event, "a"), 0u);
    QCOMPARE(Double::instance().order(), QStringList());
    QVERIFY(announcements.isEmpty());
}

void TestServerEvents::receivedFile_folderChangedMeanwhile_isAnnouncedWithTheNewOne()
{
    Double::instance().setSetting("FTPSERVER", "SHAREFOLDER", "/srv/\xC3\xBC");
    Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a");
    QCOMPARE(announcements.first().texts, (QStringList{QString::fromUtf8("/srv/ü"), "a"}));
}

void TestServerEvents::receivedFile_nameOfAnyKind_reachesTheHostAsItIs_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QString>("announced");
    const auto same = [](const char *row, const QByteArray &name) {
        QTest::newRow(row) << name << QString::fromUtf8(name);
    };
    same("markup", "<b>bold</b>&lt;");
    same("line break", "two\nlines");
    same("bidirectional mark", "\xE2\x80\xAEgpj.exe");
    same("placeholders", "%1%2%n");
    same("other alphabets", "\xE6\x97\xA5\xE6\x9C\xAC.txt");
    same("empty", "");
    same("255 bytes", QByteArray(255, 'n'));
    same("259 bytes", QByteArray(259, 'n'));
    QTest::newRow("300 bytes") << QByteArray(300, 'n') << QString(259, QLatin1Char('n'));
    QTest::newRow("cut within a character") << QByteArray(258, 'n') + "\xC3\xBC" + "end"
                                            << QString(258, QLatin1Char('n')) + QChar(QChar::ReplacementCharacter);
    QTest::newRow("not UTF-8") << QByteArray("a\xFF") << QString(QLatin1Char('a')) + QChar(QChar::ReplacementCharacter);
}

void TestServerEvents::receivedFile_nameOfAnyKind_reachesTheHostAsItIs()
{
    QFETCH(QByteArray, name);
    QFETCH(QString, announced);
    Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, name);
    QCOMPARE(announcements.first().texts, (QStringList{"/tmp", announced}));
}

void TestServerEvents::receivedFile_twoInARow_listHoldsTheLatestAlone()
{
    Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a longer name first");
    Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "b");
    QCOMPARE(announcements.size(), 2);
    QCOMPARE(announcements.at(1).texts, (QStringList{"/tmp", "b"}));
    QCOMPARE(announcements.at(0).list, announcements.at(1).list);
}

void TestServerEvents::receivedFile_withoutHostCallback_touchesNothing()
{
    m_plugin->setVmCommFunc(nullptr);
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), 0u);
    QCOMPARE(Double::instance().order(), QStringList());
    QVERIFY(announcements.isEmpty());
}

void TestServerEvents::receivedFile_withoutProfileObject_touchesNothing()
{
    m_plugin->UninitProfile();
    QCOMPARE(Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, "a"), 0u);
    QCOMPARE(Double::instance().order(), QStringList());
    QVERIFY(announcements.isEmpty());
}

void TestServerEvents::receivedFile_aThousand_areEachAnnouncedOnce()
{
    QStringList sent;
    for (int i = 0; i < 1000; ++i) {
        sent.append(QStringLiteral("file %1").arg(i));
        Double::instance().receiveFile(BTSDK_EVENT_FILE_RECEIVED, sent.last().toUtf8());
    }
    QStringList heard;
    for (const Announcement &announcement : qAsConst(announcements))
        heard.append(announcement.texts.value(1));
    QCOMPARE(heard, sent);
}

BTFTP_TEST_MAIN(TestServerEvents)
#include "tst_server_events.moc"
