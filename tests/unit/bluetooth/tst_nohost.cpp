#include "devices/bluez.h"

#include <QtTest>

/** A program without a QCoreApplication cannot speak to a bus. */
class TestNoHost : public QObject
{
    Q_OBJECT

private slots:
    void noApplication_bluez_saysSoAtOnce()
    {
        devices::Bluez bluez;
        QCOMPARE(bluez.state(), devices::BluetoothState::NoHost);
        bluez.publish("<record/>");
        bluez.stopDiscovery(std::chrono::seconds(5));
        QVERIFY(bluez.devices().empty());
    }
};

QTEST_APPLESS_MAIN(TestNoHost)
#include "tst_nohost.moc"
