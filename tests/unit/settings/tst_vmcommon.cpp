#include "btsdk.h"
#include "vmcommon.h"

#include <QtTest>

#include <thread>

/** The host's common library, through its exported functions. */
class TestVmCommon : public QObject
{
    Q_OBJECT

private slots:
    void init();
    void string_missing_givesDefault_data();
    void string_missing_givesDefault();
    void string_buffer_neverOverrun_data();
    void string_buffer_neverOverrun();
    void string_writtenThroughTheSdk_isRead();
    void integer_text_data();
    void integer_text();
    void paths_fitOrAreEmpty();
    void names_ofServices();
    void shortcut_unknown_isNotConnected();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
    QByteArray m_path;
};

void TestVmCommon::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
    m_path = QFile::encodeName(m_folder->filePath("settings.ini"));
    QFile file(QString::fromUtf8(m_path));
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write("[FTPSERVER]\nSHAREFOLDER = /home/me/My Files\nDESIRED_ACCESS = 2\nname = aé寸\nbad = two\n");
}

void TestVmCommon::string_missing_givesDefault_data()
{
    QTest::addColumn<QByteArray>("section");
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<bool>("file");
    QTest::newRow("file") << QByteArray("FTPSERVER") << QByteArray("SHAREFOLDER") << false;
    QTest::newRow("section") << QByteArray("OTHER") << QByteArray("SHAREFOLDER") << true;
    QTest::newRow("key") << QByteArray("FTPSERVER") << QByteArray("OTHER") << true;
    QTest::newRow("null section") << QByteArray() << QByteArray("SHAREFOLDER") << true;
    QTest::newRow("null key") << QByteArray("FTPSERVER") << QByteArray() << true;
}

void TestVmCommon::string_missing_givesDefault()
{
    QFETCH(QByteArray, section);
    QFETCH(QByteArray, key);
    QFETCH(bool, file);
    const char *const sectionText = section.isNull() ? nullptr : section.constData();
    const char *const keyText = key.isNull() ? nullptr : key.constData();
    const QByteArray path = file ? m_path : m_path + ".none";
    char buffer[16] = "before";
    QCOMPARE(GetPrivateProfileString(sectionText, keyText, "default", buffer, sizeof buffer, path.constData()), 7u);
    QCOMPARE(QByteArray(buffer), QByteArray("default"));
    QCOMPARE(GetPrivateProfileString(sectionText, keyText, nullptr, buffer, sizeof buffer, path.constData()), 0u);
    QCOMPARE(QByteArray(buffer), QByteArray(""));
    QCOMPARE(GetPrivateProfileInt(sectionText, keyText, 7, path.constData()), 7);
    QCOMPARE(GetPrivateProfileInt(sectionText, keyText, 7, nullptr), 7);
}

void TestVmCommon::string_buffer_neverOverrun_data()
{
    QTest::addColumn<int>("size");
    QTest::addColumn<QByteArray>("expected");
    QTest::newRow("all") << 7 << QByteArray("aé寸");
    QTest::newRow("no room for the NUL") << 6 << QByteArray("aé");
    QTest::newRow("within the last character") << 5 << QByteArray("aé");
    QTest::newRow("within the second") << 3 << QByteArray("a");
    QTest::newRow("the NUL alone") << 1 << QByteArray("");
}

void TestVmCommon::string_buffer_neverOverrun()
{
    QFETCH(int, size);
    QFETCH(QByteArray, expected);
    std::vector<char> buffer(16, '#');
    const unsigned int count = GetPrivateProfileString("ftpserver", "NAME", "", buffer.data(),
                                                       static_cast<unsigned int>(size), m_path.constData());
    QCOMPARE(QByteArray(buffer.data()), expected);
    QCOMPARE(count, static_cast<unsigned int>(expected.size()));
    for (std::size_t byte = static_cast<std::size_t>(size); byte < buffer.size(); ++byte)
        QCOMPARE(buffer[byte], '#');
    QCOMPARE(GetPrivateProfileString("ftpserver", "NAME", "", buffer.data(), 0, m_path.constData()), 0u);
    QCOMPARE(GetPrivateProfileString("ftpserver", "NAME", "", nullptr, 16, m_path.constData()), 0u);
}

void TestVmCommon::string_writtenThroughTheSdk_isRead()
{
    QCOMPARE(Btsdk_WritePrivateProfileString("FTPSERVER", "sharefolder", " \"odd\" folder ", m_path.constData()), 0u);
    QCOMPARE(Btsdk_WritePrivateProfileInt("New", "Number", -5, m_path.constData()), 0u);
    char buffer[64];
    GetPrivateProfileString("FTPSERVER", "SHAREFOLDER", "", buffer, sizeof buffer, m_path.constData());
    QCOMPARE(QByteArray(buffer), QByteArray(" \"odd\" folder "));
    QCOMPARE(GetPrivateProfileInt("new", "number", 0, m_path.constData()), -5);
    QCOMPARE(GetPrivateProfileInt("FTPSERVER", "DESIRED_ACCESS", 0, m_path.constData()), 2);
}

void TestVmCommon::integer_text_data()
{
    QTest::addColumn<QByteArray>("key");
    QTest::addColumn<int>("number");
    QTest::newRow("number") << QByteArray("DESIRED_ACCESS") << 2;
    QTest::newRow("in other case") << QByteArray("desired_Access") << 2;
    QTest::newRow("text") << QByteArray("bad") << 9;
}

void TestVmCommon::integer_text()
{
    QFETCH(QByteArray, key);
    QFETCH(int, number);
    QCOMPARE(GetPrivateProfileInt("FTPSERVER", key.constData(), 9, m_path.constData()), number);
}

void TestVmCommon::paths_fitOrAreEmpty()
{
    const QByteArray expected = qgetenv("VELMARO_SETTINGS");
    char buffer[1024] = "before";
    QCOMPARE(VmCm_GetCommonSettingFilePath(buffer, sizeof buffer), 0);
    QCOMPARE(QByteArray(buffer), expected);
    QCOMPARE(VmCm_GetCommonSettingFilePath(buffer, expected.size() + 1), 0);
    QVERIFY(VmCm_GetCommonSettingFilePath(buffer, expected.size()) != 0);
    QCOMPARE(QByteArray(buffer), QByteArray(""));
    QVERIFY(VmCm_GetCommonSettingFilePath(nullptr, 10) != 0);
    QVERIFY(VmCm_GetCommonSettingFilePath(buffer, 0) != 0);
    QVERIFY(VmCm_GetCommonSettingFilePath(buffer, -1) != 0);

    QCOMPARE(VmCm_GetWorkingDir(buffer, sizeof buffer), 0);
    QCOMPARE(QByteArray(buffer), qgetenv("XDG_DATA_HOME") + "/velmaro");
    QVERIFY(VmCm_GetWorkingDir(buffer, 3) != 0);
    QCOMPARE(QByteArray(buffer), QByteArray(""));
}

void TestVmCommon::names_ofServices()
{
    QString text = QStringLiteral("before");
    QCOMPARE(VmCm_GetSvcDisplayName(4358, &text), 0);
    QCOMPARE(text, QStringLiteral("Bluetooth File Transfer"));
    QCOMPARE(VmCm_GetLocSvcDesc(4358, &text), 0);
    QCOMPARE(text,
             QStringLiteral("Allow other Bluetooth devices to browse and access files or folders on this computer."));
    QVERIFY(VmCm_GetSvcDisplayName(1, &text) != 0);
    QVERIFY(text.isEmpty());
    QVERIFY(VmCm_GetLocSvcDesc(1, &text) != 0);
    QVERIFY(VmCm_GetSvcDisplayName(4358, nullptr) != 0);
    QVERIFY(VmCm_GetLocSvcDesc(4358, nullptr) != 0);
}

void TestVmCommon::shortcut_unknown_isNotConnected()
{
    QCOMPARE(VmCm_IsShortcutConnected(0), 0);
    QCOMPARE(VmCm_IsShortcutConnected(0xFFFFFFFF), 0);
}

QTEST_APPLESS_MAIN(TestVmCommon)
#include "tst_vmcommon.moc"
