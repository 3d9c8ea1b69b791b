#include "btsdk_host.h"
#include "devices/bluez.h"

#include <QtTest>

using devices::BluetoothState;
using devices::Bluez;

/** A computer without Bluetooth: tests run with a bus address at which nobody listens. */
class TestAbsent : public QObject
{
    Q_OBJECT

private slots:
    void noBus_startAndEnd_areQuick();
    void noBus_everyCall_answers();
    void noBus_library_worksOverTheNetwork();
    void noBus_bluetoothDevice_isNoHandle();
};

void TestAbsent::noBus_startAndEnd_areQuick()
{
    QElapsedTimer clock;
    clock.start();
    {
        const Bluez bluez;
        QVERIFY2(clock.elapsed() < 2000, qPrintable(QString::number(clock.elapsed())));
        QTRY_COMPARE(bluez.state(), BluetoothState::NoBus);
    }
    QVERIFY2(clock.elapsed() < 3000, qPrintable(QString::number(clock.elapsed())));
}

void TestAbsent::noBus_everyCall_answers()
{
    Bluez bluez;
    bluez.publish("<record/>");
    QElapsedTimer clock;
    clock.start();
    bluez.stopDiscovery(std::chrono::seconds(5));
    QVERIFY(clock.elapsed() < 4000);
    QTRY_COMPARE(bluez.state(), BluetoothState::NoBus);
    QVERIFY(bluez.devices().empty());
    QVERIFY(bluez.localName().empty());
    QVERIFY(!bluez.find("00:11:22:33:44:55"));
}

void TestAbsent::noBus_library_worksOverTheNetwork()
{
    QTRY_COMPARE(Btsdk_HostGetBluetoothState(), unsigned(BTSDK_BLUETOOTH_NO_BUS));
    QCOMPARE(Btsdk_IsBluetoothReady(), static_cast<unsigned char>(1));
    QCOMPARE(Btsdk_StopDeviceDiscovery(), 0U);
    unsigned char name[256] = "";
    unsigned short length = sizeof name;
    QCOMPARE(Btsdk_GetLocalName(name, &length), 0U);
    QVERIFY(length > 0);
    const QTemporaryDir folder;
    const unsigned int server =
        Btsdk_RegisterFTPService(BTSDK_ACCESS_READ_ONLY, QFile::encodeName(folder.path()).constData());
    QCOMPARE(Btsdk_StartServer(server), 0U);
    BtSdkServerInfo info{};
    QCOMPARE(Btsdk_HostGetServer(server, &info), 0U);
    QVERIFY2(QByteArray(info.listening).startsWith("127.0.0.1:"), info.listening);
    QCOMPARE(Btsdk_StopServer(server), 0U);
    Btsdk_HostShutdown();
}

void TestAbsent::noBus_bluetoothDevice_isNoHandle()
{
    QCOMPARE(Btsdk_HostListDevices(nullptr, 0), 0U);
    QCOMPARE(Btsdk_HostSetAuthorizeCallback([](const char *, const char *, void *) { return 0; }, nullptr), 0U);
    QCOMPARE(Btsdk_HostSetAuthorizeCallback(nullptr, nullptr), 0U);
    Btsdk_HostShutdown();
}

QTEST_GUILESS_MAIN(TestAbsent)
#include "tst_absent.moc"
