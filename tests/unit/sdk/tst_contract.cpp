#include "btsdk_host.h"
#include "vmcommon.h"

#include <QProcess>
#include <QRegularExpression>
#include <QtTest>

namespace {

// What a header declares: the names behind its export macro.
QStringList declared(const QString &header, const QString &macro)
{
    QFile file(qEnvironmentVariable("BTFTP_SOURCE_DIR") + QStringLiteral("/platform/include/") + header);
    if (!file.open(QIODevice::ReadOnly))
        return {};
    QStringList names;
    const QRegularExpression pattern(QLatin1Char('^') + macro + QStringLiteral("\\s[^;(]*?(\\w+)\\("),
                                     QRegularExpression::MultilineOption);
    auto matches = pattern.globalMatch(QString::fromUtf8(file.readAll()));
    while (matches.hasNext())
        names << matches.next().captured(1);
    names.sort();
    return names;
}

QString tool(const QString &program, const QStringList &arguments)
{
    QProcess process;
    process.start(program, arguments);
    return process.waitForFinished() && process.exitCode() == 0 ? QString::fromUtf8(process.readAllStandardOutput())
                                                                : QString();
}

QString libraryPath(const QString &name)
{
    return qEnvironmentVariable("BTFTP_BUILD_DIR") + QStringLiteral("/lib/") + name;
}

QStringList exported(const QString &library)
{
    QStringList names;
    const QString table = tool(QStringLiteral("nm"), {QStringLiteral("-D"), QStringLiteral("--defined-only"),
                                                      QStringLiteral("--format=posix"), libraryPath(library)});
    for (const QString &line : table.split(QLatin1Char('\n'), Qt::SkipEmptyParts)) {
        const QString name = line.section(QLatin1Char(' '), 0, 0);
        if (!name.startsWith(QLatin1String("__asan")) && !name.startsWith(QLatin1String("__odr_asan")))
            names << name;
    }
    names.sort();
    return names;
}

void ignoreEntry(unsigned char *) {}

} // namespace

/** The libraries' outside: symbols, sonames, null and nonsense in every argument. */
class TestContract : public QObject
{
    Q_OBJECT

private slots:
    void cleanup() { Btsdk_HostShutdown(); }
    void symbols_exactlyTheHeaders_data();
    void symbols_exactlyTheHeaders();
    void nullArguments_areRefused();
    void unknownHandles_areRefused();
    void listings_smallBuffers_neverOverrun();
    void networkDevice_addListRemove();
    void networkDevice_badArguments_data();
    void networkDevice_badArguments();
    void shortcutProperty_ofAKnownShortcut();
    void localName_fitsOrIsCut();
    void settings_badArguments();
    void settings_fullLifeOfAKey();
};

void TestContract::symbols_exactlyTheHeaders_data()
{
    QTest::addColumn<QString>("library");
    QTest::addColumn<QStringList>("names");
    QStringList client = declared(QStringLiteral("btsdk.h"), QStringLiteral("BTSDK_EXPORT")) +
                         declared(QStringLiteral("btsdk_host.h"), QStringLiteral("BTSDK_EXPORT"));
    client.sort();
    QTest::newRow("SDK") << QStringLiteral("libVmrlClient.so.1") << client;
    QTest::newRow("common") << QStringLiteral("libVmCommon.so.1")
                            << declared(QStringLiteral("vmcommon.h"), QStringLiteral("VMCM_EXPORT"));
}

void TestContract::symbols_exactlyTheHeaders()
{
    QFETCH(QString, library);
    QFETCH(QStringList, names);
    QVERIFY(names.size() >= 7);
    QCOMPARE(exported(library), names);
    QVERIFY(tool(QStringLiteral("readelf"), {QStringLiteral("-d"), libraryPath(library)})
                .contains(QStringLiteral("soname: [%1]").arg(library)));
}

void TestContract::nullArguments_areRefused()
{
    constexpr unsigned int refused = BTSDK_ER_INVALID_PARAMETER;
    QCOMPARE(Btsdk_ConnectEx(0, 0, 0, nullptr), refused);
    QCOMPARE(Btsdk_FTPSetRmtDir(0, nullptr), refused);
    QCOMPARE(Btsdk_FTPSetRmtDir(0, ""), refused);
    QCOMPARE(Btsdk_FTPBrowseFolder(0, nullptr, nullptr, 0), refused);
    for (const char *nothing : {static_cast<const char *>(nullptr), ""}) {
        QCOMPARE(Btsdk_FTPGetFile(0, nothing, "x"), refused);
        QCOMPARE(Btsdk_FTPGetFile(0, "x", nothing), refused);
        QCOMPARE(Btsdk_FTPGetDir(0, nothing, "x"), refused);
        QCOMPARE(Btsdk_FTPGetDir(0, "x", nothing), refused);
        QCOMPARE(Btsdk_FTPPutFile(0, nothing, "x"), refused);
        QCOMPARE(Btsdk_FTPPutFile(0, "x", nothing), refused);
        QCOMPARE(Btsdk_FTPPutDir(0, nothing, "x"), refused);
        QCOMPARE(Btsdk_FTPPutDir(0, "x", nothing), refused);
        QCOMPARE(Btsdk_FTPDeleteFile(0, nothing), refused);
        QCOMPARE(Btsdk_FTPDeleteDir(0, nothing), refused);
        QCOMPARE(Btsdk_FTPCreateDir(0, nothing), refused);
    }
    QCOMPARE(Btsdk_RegisterFTPService(1, nullptr), 0u);
    QCOMPARE(Btsdk_FTPRegisterDealReceiveFileCB(nullptr), 0u);
    QCOMPARE(Btsdk_GetServerStatus(0, nullptr), refused);
    QCOMPARE(Btsdk_GetServerAttributes(0, nullptr), refused);
    QCOMPARE(Btsdk_UpdateServerAttributes(0, nullptr), refused);
    unsigned short length = 0;
    unsigned char name[4];
    QCOMPARE(Btsdk_GetLocalName(nullptr, &length), refused);
    QCOMPARE(Btsdk_GetLocalName(name, nullptr), refused);
    QCOMPARE(Btsdk_GetLocalName(name, &length), refused);
    QCOMPARE(Btsdk_GetAllOutgoingConnections(nullptr, 5), 0u);
    QCOMPARE(Btsdk_GetConnectionProperty(0, nullptr), refused);
    QCOMPARE(Btsdk_GetShortCutProperty(nullptr), refused);
    QCOMPARE(Btsdk_HostGetDevice(0, nullptr), refused);
    QCOMPARE(Btsdk_HostGetShortcut(0, nullptr), refused);
    QCOMPARE(Btsdk_HostGetServer(0, nullptr), refused);
    QCOMPARE(Btsdk_HostGetPasskey(nullptr, 7), refused);
    QCOMPARE(Btsdk_HostListDevices(nullptr, 5), 0u);
    QCOMPARE(Btsdk_HostListShortcuts(0, nullptr, 5), 0u);
    QCOMPARE(Btsdk_HostListServers(nullptr, 5), 0u);
    QCOMPARE(Btsdk_HostSetEventCallback(nullptr, nullptr), 0u);
    QCOMPARE(Btsdk_HostSetPasskeyCallback(nullptr, nullptr), 0u);
}

void TestContract::unknownHandles_areRefused()
{
    constexpr unsigned int refused = BTSDK_ER_INVALID_HANDLE;
    unsigned int connection = 9;
    BtSdkConnectionProperty property{};
    BtSdkShortCutProperty shortcut{};
    BtSdkDeviceInfo device{};
    BtSdkShortcutInfo info{};
    BtSdkServerInfo server{};
    for (const unsigned int handle : {0u, 1u, 0x10000001u, 0x3FFFFFFFu, 0xFFFFFFFFu}) {
        QCOMPARE(Btsdk_ConnectEx(handle, BTSDK_CLS_OBEX_FILE_TRANS, 0, &connection), refused);
        QCOMPARE(Btsdk_Disconnect(handle), refused);
        QCOMPARE(Btsdk_FTPSetRmtDir(handle, "/"), refused);
        QCOMPARE(Btsdk_FTPBrowseFolder(handle, "/", ignoreEntry, 0), refused);
        QCOMPARE(Btsdk_FTPGetFile(handle, "x", "/tmp/x"), refused);
        QCOMPARE(Btsdk_FTPCancelTransfer(handle), refused);
        QCOMPARE(Btsdk_FTPRegisterStatusCallback(handle, nullptr), refused);
        QCOMPARE(Btsdk_GetConnectionProperty(handle, &property), refused);
        shortcut.shortcut = handle;
        QCOMPARE(Btsdk_GetShortCutProperty(&shortcut), refused);
        QCOMPARE(Btsdk_HostGetDevice(handle, &device), refused);
        QCOMPARE(Btsdk_HostGetShortcut(handle, &info), refused);
        QCOMPARE(Btsdk_HostGetServer(handle, &server), refused);
        QCOMPARE(Btsdk_HostRemoveDevice(handle), refused);
        QCOMPARE(Btsdk_HostIsShortcutConnected(handle), 0);
        QCOMPARE(VmCm_IsShortcutConnected(handle), 0);
    }
    QCOMPARE(connection, 9u);
    QCOMPARE(Btsdk_DisconnectShortCut(0), 0u);
    QCOMPARE(Btsdk_StopDeviceDiscovery(), 0u);
}

void TestContract::listings_smallBuffers_neverOverrun()
{
    for (unsigned int port = 1; port <= 3; ++port)
        QCOMPARE(Btsdk_HostAddTransientDevice("name", "host", port, nullptr), 0u);
    std::vector<BtSdkDeviceInfo> devices(3);
    devices[2].device = 77;
    QCOMPARE(Btsdk_HostListDevices(devices.data(), 2), 3u);
    QCOMPARE(devices[2].device, 77u);
    QVERIFY(devices[0].device != 0 && devices[1].device != 0);
    std::vector<BtSdkShortcutInfo> shortcuts(3);
    shortcuts[1].shortcut = 77;
    QCOMPARE(Btsdk_HostListShortcuts(0, shortcuts.data(), 1), 3u);
    QCOMPARE(shortcuts[1].shortcut, 77u);
    QCOMPARE(Btsdk_HostListShortcuts(devices[1].device, shortcuts.data(), 3), 1u);
    QCOMPARE(shortcuts[0].device, devices[1].device);
    QCOMPARE(QByteArray(shortcuts[0].name), QByteArray("File transfer on name"));
}

void TestContract::networkDevice_addListRemove()
{
    unsigned int handle = 0;
    const QByteArray name("Ein Gerät, \"meins\"");
    QCOMPARE(Btsdk_HostAddNetworkDevice(name.constData(), "192.0.2.1", 6502, &handle), 0u);
    BtSdkDeviceInfo info{};
    QCOMPARE(Btsdk_HostGetDevice(handle, &info), 0u);
    QCOMPARE(QByteArray(info.name), name);
    QCOMPARE(QByteArray(info.address), QByteArray("192.0.2.1"));
    QCOMPARE(info.port, 6502u);
    QCOMPARE(info.kind, std::uint32_t(BTSDK_DEVICE_NETWORK));
    QVERIFY(info.paired == 1 && info.reachable == 1);
    Btsdk_HostShutdown(); // it is remembered
    QCOMPARE(Btsdk_HostListDevices(&info, 1), 1u);
    QCOMPARE(QByteArray(info.name), name);
    QVERIFY(info.device != handle); // but handles of before are not given again
    QCOMPARE(Btsdk_HostRemoveDevice(info.device), 0u);
    QCOMPARE(Btsdk_HostListDevices(&info, 1), 0u);
}

void TestContract::networkDevice_badArguments_data()
{
    QTest::addColumn<QByteArray>("name");
    QTest::addColumn<QByteArray>("address");
    QTest::addColumn<uint>("port");
    QTest::addColumn<uint>("result");
    const QByteArray fine("fine");
    const uint refused = BTSDK_ER_INVALID_PARAMETER;
    const uint tooLong = BTSDK_ER_NAME_TOO_LONG;
    QTest::newRow("null name") << QByteArray() << fine << 1u << refused;
    QTest::newRow("empty name") << QByteArray("") << fine << 1u << refused;
    QTest::newRow("null address") << fine << QByteArray() << 1u << refused;
    QTest::newRow("empty address") << fine << QByteArray("") << 1u << refused;
    QTest::newRow("port 0") << fine << fine << 0u << refused;
    QTest::newRow("port 65536") << fine << fine << 65536u << refused;
    QTest::newRow("name of 256 bytes") << QByteArray(256, 'x') << fine << 1u << tooLong;
    QTest::newRow("address of 256 bytes") << fine << QByteArray(256, 'x') << 1u << tooLong;
}

void TestContract::networkDevice_badArguments()
{
    QFETCH(QByteArray, name);
    QFETCH(QByteArray, address);
    QFETCH(uint, port);
    QFETCH(uint, result);
    const auto text = [](const QByteArray &bytes) { return bytes.isNull() ? nullptr : bytes.constData(); };
    unsigned int handle = 5;
    QCOMPARE(Btsdk_HostAddNetworkDevice(text(name), text(address), port, &handle), result);
    QCOMPARE(Btsdk_HostAddTransientDevice(text(name), text(address), port, &handle), result);
    QCOMPARE(handle, 5u);
    QCOMPARE(Btsdk_HostListDevices(nullptr, 0), 0u);
}

void TestContract::shortcutProperty_ofAKnownShortcut()
{
    unsigned int device = 0;
    QCOMPARE(Btsdk_HostAddTransientDevice("Phone", "host", 1, &device), 0u);
    BtSdkShortcutInfo info{};
    QCOMPARE(Btsdk_HostListShortcuts(device, &info, 1), 1u);
    BtSdkShortCutProperty property{};
    property.shortcut = info.shortcut;
    QCOMPARE(Btsdk_GetShortCutProperty(&property), 0u);
    QCOMPARE(unsigned(property.device), device);
    QCOMPARE(int(property.serviceClass), 4358);
    QCOMPARE(QByteArray(property.name), QByteArray("File transfer on Phone"));
}

void TestContract::localName_fitsOrIsCut()
{
    unsigned char name[256];
    unsigned short length = sizeof name;
    QCOMPARE(Btsdk_GetLocalName(name, &length), 0u);
    const QByteArray whole(reinterpret_cast<const char *>(name));
    QCOMPARE(whole.size(), int(length));
    QVERIFY(!whole.isEmpty());
    unsigned char small[4] = {'#', '#', '#', '#'};
    length = 3;
    QCOMPARE(Btsdk_GetLocalName(small, &length), 0u);
    QCOMPARE(QByteArray(reinterpret_cast<const char *>(small)), whole.left(2));
    QCOMPARE(int(small[3]), int('#'));
}

void TestContract::settings_badArguments()
{
    const QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath(QStringLiteral("s.ini")));
    for (const char *nothing : {static_cast<const char *>(nullptr), ""}) {
        QCOMPARE(Btsdk_WritePrivateProfileString(nothing, "k", "v", file.constData()),
                 unsigned(BTSDK_ER_INVALID_PARAMETER));
        QCOMPARE(Btsdk_WritePrivateProfileString("s", nothing, "v", file.constData()),
                 unsigned(BTSDK_ER_INVALID_PARAMETER));
        QCOMPARE(Btsdk_WritePrivateProfileString("s", "k", "v", nothing), unsigned(BTSDK_ER_INVALID_PARAMETER));
        QCOMPARE(Btsdk_WritePrivateProfileInt("s", "k", 1, nothing), unsigned(BTSDK_ER_INVALID_PARAMETER));
    }
    QCOMPARE(Btsdk_WritePrivateProfileString("s", "k", nullptr, file.constData()),
             unsigned(BTSDK_ER_INVALID_PARAMETER));
    QCOMPARE(Btsdk_WritePrivateProfileString("s", "a=b", "v", file.constData()), unsigned(BTSDK_ER_INVALID_PARAMETER));
    QVERIFY(!QFile::exists(QString::fromUtf8(file)));
    QCOMPARE(Btsdk_WritePrivateProfileString("s", "k", "v", "/proc/none/s.ini"), unsigned(BTSDK_ER_SETTINGS));
}

void TestContract::settings_fullLifeOfAKey()
{
    const QTemporaryDir folder;
    const QByteArray file = QFile::encodeName(folder.filePath(QStringLiteral("s.ini")));
    QCOMPARE(Btsdk_WritePrivateProfileString("FTPSERVER", "SHAREFOLDER", "", file.constData()), 0u);
    char buffer[32] = "before";
    QCOMPARE(GetPrivateProfileString("ftpserver", "sharefolder", "default", buffer, sizeof buffer, file.constData()),
             0u);
    QCOMPARE(QByteArray(buffer), QByteArray());
    QCOMPARE(Btsdk_WritePrivateProfileInt("FTPSERVER", "DESIRED_ACCESS", INT_MIN, file.constData()), 0u);
    QCOMPARE(GetPrivateProfileInt("FTPSERVER", "DESIRED_ACCESS", 1, file.constData()), INT_MIN);
}

QTEST_APPLESS_MAIN(TestContract)
#include "tst_contract.moc"
