#include "DeviceDialog.h"

#include <QLabel>
#include <QLineEdit>
#include <QTest>

using namespace manager;

class ManagerDevices : public QObject
{
    Q_OBJECT

private slots:
    void check_data();
    void check();
    void tidied_takesOffBlanksAndBrackets();
    void dialog_withAnError_staysOpenAndPointsAtTheField();
    void dialog_typingAgain_clearsTheError();
    void dialog_withAGoodAnswer_closesWithIt();

private:
    static void type(DeviceDialog &dialog, const char *field, const QString &text)
    {
        dialog.findChild<QLineEdit *>(QString::fromLatin1(field))->setText(text);
    }
};

void ManagerDevices::check_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("address");
    QTest::addColumn<QString>("port");
    QTest::addColumn<int>("field");
    const QString good = QStringLiteral("192.168.1.20");
    QTest::newRow("an IPv4 address") << "Desk" << good << "6502" << int(InputError::None);
    QTest::newRow("a host name") << "Desk"
                                 << "living-room.local"
                                 << "6502" << int(InputError::None);
    QTest::newRow("an international host name")
        << "Desk" << QStringLiteral("büro.example") << "1" << int(InputError::None);
    QTest::newRow("an IPv6 address") << "Desk"
                                     << "fe80::1%eth0"
                                     << "65535" << int(InputError::None);
    QTest::newRow("an IPv6 address in brackets") << "Desk"
                                                 << "[::1]"
                                                 << "6502" << int(InputError::None);
    QTest::newRow("blanks around everything") << " Desk "
                                              << " 127.0.0.1 "
                                              << " 6502 " << int(InputError::None);
    QTest::newRow("no name") << " " << good << "6502" << int(InputError::Name);
    QTest::newRow("a name of 255 bytes") << QString(255, u'a') << good << "6502" << int(InputError::None);
    QTest::newRow("a name of 256 bytes in 128 characters")
        << QString(128, u'é') << good << "6502" << int(InputError::Name);
    QTest::newRow("a name with a line break") << "De\nsk" << good << "6502" << int(InputError::Name);
    QTest::newRow("no address") << "Desk"
                                << ""
                                << "6502" << int(InputError::Address);
    QTest::newRow("an address with a blank") << "Desk"
                                             << "living room"
                                             << "6502" << int(InputError::Address);
    QTest::newRow("an address with its port") << "Desk"
                                              << "192.168.1.20:6502"
                                              << "1" << int(InputError::Address);
    QTest::newRow("an address with a number over 255") << "Desk"
                                                       << "192.168.1.256"
                                                       << "1" << int(InputError::Address);
    QTest::newRow("an address that is a URL") << "Desk"
                                              << "http://desk/"
                                              << "1" << int(InputError::Address);
    QTest::newRow("port 0") << "Desk" << good << "0" << int(InputError::Port);
    QTest::newRow("port 65536") << "Desk" << good << "65536" << int(InputError::Port);
    QTest::newRow("a port in words") << "Desk" << good << "obex" << int(InputError::Port);
    QTest::newRow("no port") << "Desk" << good << "" << int(InputError::Port);
    QTest::newRow("a device that is known") << "Other"
                                            << "known.example"
                                            << "650" << int(InputError::Address);
    QTest::newRow("a known address at another port") << "Other"
                                                     << "known.example"
                                                     << "651" << int(InputError::None);
}

void ManagerDevices::check()
{
    QFETCH(QString, name);
    QFETCH(QString, address);
    QFETCH(QString, port);
    const InputError error =
        checkDeviceInput({name, address, port}, {{QStringLiteral("Known"), QStringLiteral("known.example"), 650}});
    QTEST(int(error.field), "field");
    QCOMPARE(error.sentence.isEmpty(), error.field == InputError::None);
}

void ManagerDevices::tidied_takesOffBlanksAndBrackets()
{
    const DeviceInput input = tidied({QStringLiteral(" a b "), QStringLiteral(" [::1] "), QStringLiteral(" 7 ")});
    QCOMPARE(input.name, QStringLiteral("a b"));
    QCOMPARE(input.address, QStringLiteral("::1"));
    QCOMPARE(input.port, QStringLiteral("7"));
}

void ManagerDevices::dialog_withAnError_staysOpenAndPointsAtTheField()
{
    DeviceDialog dialog({});
    dialog.show();
    QApplication::setActiveWindow(&dialog);
    type(dialog, "deviceName", QStringLiteral("Desk"));
    type(dialog, "deviceAddress", QStringLiteral("127.0.0.1"));
    type(dialog, "devicePort", QStringLiteral("x"));
    dialog.accept();
    QVERIFY(dialog.isVisible());
    QVERIFY(!dialog.findChild<QLabel *>(QStringLiteral("deviceError"))->text().isEmpty());
    QCOMPARE(dialog.focusWidget(), static_cast<QWidget *>(dialog.findChild<QLineEdit *>(QStringLiteral("devicePort"))));
}

void ManagerDevices::dialog_typingAgain_clearsTheError()
{
    DeviceDialog dialog({});
    dialog.show();
    dialog.accept();
    auto *error = dialog.findChild<QLabel *>(QStringLiteral("deviceError"));
    QVERIFY(!error->text().isEmpty());
    QTest::keyClicks(dialog.findChild<QLineEdit *>(QStringLiteral("deviceName")), QStringLiteral("D"));
    QVERIFY(error->text().isEmpty());
}

void ManagerDevices::dialog_withAGoodAnswer_closesWithIt()
{
    DeviceDialog dialog({});
    dialog.show();
    type(dialog, "deviceName", QStringLiteral(" Desk "));
    type(dialog, "deviceAddress", QStringLiteral("127.0.0.1"));
    type(dialog, "devicePort", QStringLiteral("6502"));
    dialog.accept();
    QCOMPARE(dialog.result(), int(QDialog::Accepted));
    QCOMPARE(dialog.input().name, QStringLiteral("Desk"));
}

QTEST_MAIN(ManagerDevices)
#include "tst_manager_devices.moc"
